#include "lab/program/terminal.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "lab/program/commands.h"
#include "lab/program/socket_place.h"
#include "lab/program/watch_view.h"

namespace lab {
namespace {

constexpr char ENTER[] = "\033[?1049h\033[?25l\033[2J";
constexpr char LEAVE[] = "\033[0m\033[?25h\033[?1049l";
constexpr std::array ENDING_SIGNALS = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};
constexpr std::size_t USUAL_ROWS = 24;
constexpr std::size_t USUAL_COLUMNS = 80;

// Plain values: a signal handler sets the first, the others belong to the one open terminal.
volatile std::sig_atomic_t ending = 0;
termios before{};
std::array<struct sigaction, ENDING_SIGNALS.size()> actions_before{};
struct sigaction resize_before {};

void ending_note(int /*number*/) {
    ending = 1;
}

// There only so that a wait for keys ends when the size changes.
void resize_note(int /*number*/) {}

winsize size_now() {
    winsize size{};
    ioctl(STDOUT_FILENO, TIOCGWINSZ, &size);
    return size;
}

void signals_take() {
    struct sigaction action {};
    sigemptyset(&action.sa_mask);
    action.sa_handler = ending_note;
    for (std::size_t at = 0; at < ENDING_SIGNALS.size(); ++at) {
        sigaction(ENDING_SIGNALS[at], &action, &actions_before[at]);
    }
    action.sa_handler = resize_note;
    sigaction(SIGWINCH, &action, &resize_before);
}

void signals_give_back() {
    for (std::size_t at = 0; at < ENDING_SIGNALS.size(); ++at) {
        sigaction(ENDING_SIGNALS[at], &actions_before[at], nullptr);
    }
    sigaction(SIGWINCH, &resize_before, nullptr);
}

}  // namespace

void json_print(const Json& object) {
    printf("%s\n", json_text(json_versioned(object)).c_str());
}

int complain(const Arguments& arguments, const std::string& text, int code) {
    if (arguments.json) {
        json_print({{"good", false}, {"text", text}});
        return code;
    }
    // An error of a scenario has a line for each place.
    for (std::size_t at = 0; at <= text.size();) {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        const std::string line = line_clipped(text.substr(at, end - at), std::string::npos);
        fprintf(stderr, "%s%s\n", at == 0 ? "backhaul_lab: " : "", line.c_str());
        at = end + 1;
    }
    return code;
}

bool wants_colour(const Arguments& arguments) {
    return !arguments.colour_never && isatty(STDOUT_FILENO) != 0 && getenv("NO_COLOR") == nullptr;
}

std::string socket_of(const Arguments& arguments) {
    return arguments.socket.empty() ? usual_socket() : arguments.socket;
}

Terminal::Terminal() {
    if (isatty(STDIN_FILENO) == 0 || isatty(STDOUT_FILENO) == 0 ||
        tcgetattr(STDIN_FILENO, &before) != 0) {
        return;
    }
    ending = 0;
    signals_take();
    termios raw = before;
    raw.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    raw.c_cc[VMIN] = 0;
    raw.c_cc[VTIME] = 0;
    // A stopped program would leave its screen behind.
    raw.c_cc[VSUSP] = _POSIX_VDISABLE;
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &raw);
    opened_ = true;
    show(ENTER);
}

Terminal::~Terminal() {
    if (!opened_) {
        return;
    }
    show(LEAVE);
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &before);
    signals_give_back();
}

std::size_t Terminal::rows() const {
    const winsize size = size_now();
    return size.ws_row == 0 ? USUAL_ROWS : size.ws_row;
}

std::size_t Terminal::columns() const {
    const winsize size = size_now();
    return size.ws_col == 0 ? USUAL_COLUMNS : size.ws_col;
}

void Terminal::show(std::string_view text) const {
    while (!text.empty()) {
        const ssize_t put = write(STDOUT_FILENO, text.data(), text.size());
        if (put < 0 && errno == EINTR && ending == 0) {
            continue;
        }
        if (put <= 0) {
            return;
        }
        text.remove_prefix(static_cast<std::size_t>(put));
    }
}

std::string Terminal::keys(int wait) const {
    pollfd place{STDIN_FILENO, POLLIN, 0};
    if (poll(&place, 1, wait) <= 0) {
        return {};
    }
    std::array<char, 256> block{};
    const ssize_t got = read(STDIN_FILENO, block.data(), block.size());
    if (got <= 0) {
        // The terminal is gone: without this the loop would turn for ever.
        ending = (place.revents & (POLLHUP | POLLERR)) != 0 ? 1 : ending;
        return {};
    }
    return {block.data(), static_cast<std::size_t>(got)};
}

bool Terminal::ends() const {
    return ending != 0;
}

}  // namespace lab
