// Bytes of somebody who asks a mesh in the background: on its Unix socket, and at the page's port,
// where nothing may happen without the token. The server is the real one, the mesh only remembers.

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <vector>

#include "lab/program/server.h"
#include "lab/scenario/step_values.h"
#include "lab/scenario/words.h"
#include "tests/fuzz/bed/input.h"
#include "tests/fuzz/bed/place.h"
#include "tests/lab_program/fake_mesh.h"

namespace {

using fuzz::require;

constexpr std::string_view TOKEN = "0123456789abcdef";
constexpr std::uint16_t PORT = 8080;
constexpr int MOST_TURNS = 60;
constexpr std::string_view HEADER_END = "\r\n\r\n";

sockaddr_un place_of(bool is_web) {
    sockaddr_un place{};
    place.sun_family = AF_UNIX;
    std::strcpy(place.sun_path, is_web ? "/tmp/web" : "/tmp/control");
    return place;
}

int listener_make(bool is_web) {
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const sockaddr_un place = place_of(is_web);
    unlink(place.sun_path);
    require(bind(fd, reinterpret_cast<const sockaddr*>(&place), sizeof(place)) == 0 &&
                listen(fd, 4) == 0,
            "a socket can listen");
    return fd;
}

int peer_make(bool is_web, const std::string& bytes) {
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_un place = place_of(is_web);
    require(connect(fd, reinterpret_cast<const sockaddr*>(&place), sizeof(place)) == 0,
            "the server listens");
    require(send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT) ==
                static_cast<ssize_t>(bytes.size()),
            "an input fits into the socket");
    shutdown(fd, SHUT_WR);
    return fd;
}

/// What came since the last call; whether the server has closed.
bool answers_take(int fd, std::string& text) {
    std::array<char, 4096> block{};
    ssize_t got = 0;
    while ((got = recv(fd, block.data(), block.size(), MSG_DONTWAIT)) > 0) {
        text.append(block.data(), static_cast<size_t>(got));
    }
    return got == 0 || errno != EAGAIN;
}

/// The first answer. Who asks for a head only gets one with the length of the body that is left
/// out.
void answer_check(const std::string& text, bool head_only) {
    require(text.empty() || text.starts_with("HTTP/1.1 "), "an answer is HTTP");
    const size_t end = text.find(HEADER_END);
    if (end == std::string::npos || text.find("Content-Type: application/json\r\n") > end) {
        return;
    }
    const size_t length = text.find("Content-Length: ");
    std::int64_t size = -1;
    require(length < end &&
                lab::word_number(text.substr(length + 16, text.find('\r', length) - length - 16),
                                 std::int64_t{0}, INT64_MAX, &size),
            "an answer tells its length");
    const std::string body = text.substr(end + HEADER_END.size(), static_cast<size_t>(size));
    const lab::Json told = lab::Json::parse(body, nullptr, false);
    require(head_only || (told.is_object() && told.at("version") == lab::JSON_VERSION),
            "an answer is an object with a version");
}

/// Serves until the peer has all of its answers, or nothing comes any more.
std::string serve(lab::Server& server, lab::Control& control, int fd) {
    std::string text;
    bool is_over = false;
    for (int turn = 0; turn < MOST_TURNS && !is_over && !control.ends; ++turn) {
        const size_t before = text.size();
        server.turn();
        is_over = answers_take(fd, text);
        const bool waits = !control.jobs.empty() && !control.pace.paused;
        is_over = is_over || (turn > 1 && text.size() == before && !waits);
    }
    return text;
}

void verbs_check(const lab::FakeMesh& mesh, const lab::Scenario& scenario) {
    for (const std::string& verb : mesh.verbs) {
        lab::ScenarioStep step;
        std::vector<std::string> words;
        std::string error;
        require(
            lab::line_words(verb, &words, error) && lab::step_parse(words, scenario, &step, error),
            "what reaches the mesh is a verb about its nodes");
    }
}

}  // namespace

// The name is the fuzzer engine's. The first byte says which way the rest comes.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::Input input(data, size);
    const bool is_web = (input.byte() & 1U) != 0;
    const std::string bytes = input.rest();
    lab::FakeMesh mesh;
    mesh.log = {{100, "backhaul_intf_state_change : change ath0 state from 3 to 4"}};
    mesh.events = {{"violation", 5, "e1", "one-uplink"}};
    lab::Control control = mesh.control();
    control.pace.speed = lab::SPEED_FASTEST;
    // A turn with nothing to do is then a short one.
    control.mesh.tools_serve = [] {
        return true;
    };
    std::string error;
    auto server = lab::Server::make(control, listener_make(false), error);
    require(server != nullptr &&
                server->web_add(listener_make(true), {std::string(TOKEN), PORT}, error),
            "the server begins");
    const int peer = peer_make(is_web, bytes);
    answer_check(serve(*server, control, peer), bytes.find("HEAD") != std::string::npos);
    close(peer);
    server.reset();
    verbs_check(mesh, control.scenario);
    if (is_web && bytes.find(TOKEN) == std::string::npos) {
        require(mesh.verbs.empty() && control.jobs.empty() && !control.ends &&
                    control.pace.speed == lab::SPEED_FASTEST && !control.pace.paused,
                "without the token nothing happens");
    }
    return 0;
}
