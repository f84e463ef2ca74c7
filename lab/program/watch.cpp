#include <unistd.h>

#include <cstdio>

#include "lab/program/client.h"
#include "lab/program/commands.h"
#include "lab/program/terminal.h"
#include "lab/program/watch_view.h"

namespace lab {
namespace {

constexpr int REDRAW_MS = 500;
constexpr char LOG_LINES_SHOWN[] = "60";

/// Asks how everything is. False when the mesh is gone; `view->message` says so.
bool view_refresh(int fd, WatchView* view) {
    const Answer answer = client_ask(fd, {"status"});
    MeshStatus status;
    ServerStatus server;
    if (answer.code != EXIT_GOOD || !status_decode(answer.lines, &status, &server)) {
        view->message = answer.code != EXIT_GOOD ? answer.text : "another version of the mesh";
        return false;
    }
    view->status = std::move(status);
    view->server = server;
    view->log.clear();
    if (view->selected < view->status.nodes.size()) {
        const std::string& name = view->status.nodes[view->selected].name;
        view->log = client_ask(fd, {"log", name, "-1", LOG_LINES_SHOWN}).lines;
    }
    return true;
}

void key_do(int fd, int key, WatchView* view) {
    const std::vector<std::string> words = watch_key(view, key);
    if (words.empty()) {
        return;
    }
    const Answer answer = client_ask(fd, words);
    view->message.clear();
    for (const std::string& word : words) {
        view->message += word == "do" ? "" : (view->message.empty() ? "" : " ") + word;
    }
    view->message += answer.text.empty() ? "" : ": " + answer.text;
}

}  // namespace

int watch_command(const Arguments& arguments) {
    const int fd = mesh_connect(arguments);
    if (fd < 0) {
        return EXIT_DIFFERS;
    }
    WatchView view;
    bool alive = true;
    {
        const Terminal terminal;
        if (!terminal.is_open()) {
            close(fd);
            return complain("`watch` needs a terminal; `status` does not");
        }
        const bool in_colour = wants_colour(arguments);
        while (!view.quits && !terminal.ends() && (alive = view_refresh(fd, &view))) {
            terminal.show(watch_draw(view, terminal.rows(), terminal.columns(), in_colour));
            for (const int key : watch_keys(terminal.keys(REDRAW_MS))) {
                key_do(fd, key, &view);
            }
        }
    }
    close(fd);
    return alive ? EXIT_GOOD : complain(view.message);
}

}  // namespace lab
