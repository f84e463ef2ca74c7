#include <utility>

#include "lab/program/client.h"
#include "lab/program/commands.h"
#include "lab/program/terminal.h"
#include "lab/program/watch_view.h"

namespace lab {
namespace {

constexpr int REDRAW_MS = 500;
constexpr char LOG_LINES_SHOWN[] = "last=60";

/// Asks how everything is. False when the mesh is gone; `view.message` says so.
bool view_refresh(MeshClient& client, WatchView& view) {
    const Answer answer = client.ask(ApiAction::status);
    MeshStatus status;
    if (answer.status != HttpStatus::good) {
        view.message = answer_text(answer);
        return false;
    }
    if (!status_read(answer.body, status, view.message)) {
        return false;
    }
    view.status = std::move(status);
    view.log.clear();
    if (view.selected < view.status.nodes.size()) {
        const std::string& name = view.status.nodes[view.selected].name;
        const Answer log = client.ask(ApiAction::log, name, LOG_LINES_SHOWN);
        for (const Json& line : log.body.value("lines", Json::array())) {
            view.log.push_back(duration_text(line.value("seconds", 0)) + "  " +
                               line.value("text", ""));
        }
    }
    return true;
}

void key_do(MeshClient& client, int key, WatchView& view) {
    const WatchRequest request = watch_key(view, key);
    if (request.text.empty()) {
        return;
    }
    const Answer answer = client.ask(request.action, "", "", request.body);
    const std::string said = answer_text(answer);
    if (request.action == ApiAction::speed && answer.status == HttpStatus::good) {
        // The next key may come before the next look.
        view.status.pace.speed = request.body.value("speed", view.status.pace.speed);
        view.status.pace.paused = request.body.value("paused", view.status.pace.paused);
    }
    view.message = request.text + (said.empty() ? "" : ": " + said);
}

}  // namespace

int watch_command(const Arguments& arguments) {
    MeshClient client(socket_of(arguments));
    WatchView view;
    if (!view_refresh(client, view)) {
        return complain(arguments, view.message);
    }
    bool alive = true;
    {
        const Terminal terminal;
        if (!terminal.is_open()) {
            return complain(arguments, "`watch` needs a terminal; `status` does not");
        }
        const bool in_colour = wants_colour(arguments);
        while (alive && !view.quits && !terminal.ends()) {
            terminal.show(watch_draw(view, terminal.rows(), terminal.columns(), in_colour));
            for (const int key : watch_keys(terminal.keys(REDRAW_MS))) {
                key_do(client, key, view);
            }
            alive = view_refresh(client, view);
        }
    }
    return alive ? EXIT_GOOD : complain(arguments, view.message);
}

}  // namespace lab
