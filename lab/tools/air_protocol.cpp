#include "lab/tools/air_protocol.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include "lab/tools/small_file.h"
#include "lab/tools/state_layout.h"
#include "lab/tools/text_escape.h"

namespace lab {
namespace {

constexpr std::array<std::string_view, 9> ASKING_TOOLS = {"iwconfig",  "iwpriv",    "wpa_cli",
                                                          "ifconfig",  "wifi",      "wireless",
                                                          "radartool", "vl1905App", "hyctl"};
constexpr std::string_view LOCAL = "local\n";
constexpr std::size_t LONGEST_REQUEST = 64 * 1024;
constexpr int BACKLOG = 64;

bool socket_address(const std::string& path, sockaddr_un* address) {
    *address = {};
    address->sun_family = AF_UNIX;
    if (path.size() >= sizeof address->sun_path) {
        return false;
    }
    std::memcpy(address->sun_path, path.data(), path.size());
    return true;
}

bool send_all(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = send(descriptor, text.data(), text.size(), MSG_NOSIGNAL);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return false;
        }
        text.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

// Receives until the end of the stream, or until a line end when `line` is set.
bool receive_text(int descriptor, bool line, std::string* text) {
    std::array<char, 4096> buffer;
    while (text->size() < LONGEST_REQUEST || !line) {
        const ssize_t count = recv(descriptor, buffer.data(), buffer.size(), 0);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return count == 0 && !line;
        }
        text->append(buffer.data(), static_cast<std::size_t>(count));
        if (line && text->find('\n') != std::string::npos) {
            return true;
        }
    }
    return false;
}

// From then on a peer that is stopped in the middle counts as gone.
void patience_set(int descriptor, int milliseconds) {
    const timeval limit{static_cast<time_t>(milliseconds / 1000),
                        static_cast<suseconds_t>(milliseconds % 1000 * 1000)};
    setsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    setsockopt(descriptor, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
}

int connect_to(const std::string& path) {
    sockaddr_un address;
    if (!socket_address(path, &address)) {
        return -1;
    }
    const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (descriptor < 0) {
        return -1;
    }
    // The kernel's address type stands for all families; this is how it is handed over.
    if (connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        close(descriptor);
        return -1;
    }
    return descriptor;
}

}  // namespace

std::string air_socket_path(const std::string& root) {
    return state_path(root, "air.sock");
}

bool air_is_asked(const std::string& tool) {
    return std::find(ASKING_TOOLS.begin(), ASKING_TOOLS.end(), tool) != ASKING_TOOLS.end();
}

std::string air_request_encode(const AirRequest& request) {
    std::string text = text_escape(request.tool);
    for (const std::string& word : request.words) {
        text.append("\t").append(text_escape(word));
    }
    return text + "\n";
}

bool air_request_decode(std::string_view text, AirRequest* request) {
    if (text.size() < 2 || text.back() != '\n') {
        return false;
    }
    text.remove_suffix(1);
    const std::vector<std::string_view> fields = text_split(text, '\t');
    request->tool = text_unescape(fields.front());
    request->words.clear();
    for (std::size_t at = 1; at < fields.size(); ++at) {
        request->words.push_back(text_unescape(fields[at]));
    }
    return !request->tool.empty();
}

std::string air_reply_encode(const AirReply& reply) {
    return reply.local ? std::string(LOCAL) : answer_encode(reply.answer);
}

AirReply air_reply_decode(std::string_view text) {
    AirReply reply;
    reply.local = !answer_decode(text, &reply.answer);
    return reply;
}

AirReply air_ask(const std::string& root, const AirRequest& request) {
    const int descriptor = connect_to(air_socket_path(root));
    if (descriptor < 0) {
        return {};
    }
    std::string text;
    const bool replied =
        send_all(descriptor, air_request_encode(request)) && receive_text(descriptor, false, &text);
    close(descriptor);
    return replied ? air_reply_decode(text) : AirReply{};
}

int air_listen(const std::string& root) {
    const std::string path = air_socket_path(root);
    sockaddr_un address;
    folder_make(state_path(root, ""));
    file_remove(path);
    if (!socket_address(path, &address)) {
        return -1;
    }
    const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (listener < 0) {
        return -1;
    }
    if (bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        listen(listener, BACKLOG) != 0) {
        close(listener);
        return -1;
    }
    return listener;
}

bool air_serve_one(int listener, const std::function<AirReply(const AirRequest&)>& handler,
                   int patience) {
    const int descriptor = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    if (descriptor < 0) {
        return false;
    }
    patience_set(descriptor, patience);
    std::string text;
    AirRequest request;
    const bool good = receive_text(descriptor, true, &text) && air_request_decode(text, &request) &&
                      send_all(descriptor, air_reply_encode(handler(request)));
    close(descriptor);
    return good;
}

bool air_is_pending(int listener) {
    pollfd readable{listener, POLLIN, 0};
    return poll(&readable, 1, 0) == 1 && (readable.revents & POLLIN) != 0;
}

}  // namespace lab
