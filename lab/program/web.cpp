#include "lab/program/web.h"

#include <arpa/inet.h>
#include <sys/random.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "lab/program/web_files.h"

namespace lab {
namespace {

constexpr int BACKLOG = 16;
constexpr std::size_t TOKEN_BYTES = 16;
constexpr std::string_view BEARER = "Bearer ";

constexpr std::array<WebAsset, 4> ASSETS = {{
    {"/", "text/html; charset=utf-8", WEB_PAGE_HTML},
    {"/page.css", "text/css; charset=utf-8", WEB_PAGE_CSS},
    {"/page.js", "text/javascript; charset=utf-8", WEB_PAGE_JS},
    {"/d3.js", "text/javascript; charset=utf-8", WEB_D3_JS},
}};

bool token_make(std::string& token) {
    constexpr std::string_view DIGITS = "0123456789abcdef";
    std::array<unsigned char, TOKEN_BYTES> bytes{};
    if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) {
        return false;
    }
    for (const unsigned char byte : bytes) {
        token += {DIGITS[byte >> 4U], DIGITS[byte & 0xFU]};
    }
    return true;
}

}  // namespace

const WebAsset* web_asset_find(std::string_view path) {
    for (const WebAsset& asset : ASSETS) {
        if (asset.path == path) {
            return &asset;
        }
    }
    return nullptr;
}

bool web_host_is(const WebGate& gate, const char* host) {
    const std::string port = ":" + std::to_string(gate.port);
    return host != nullptr && (host == "127.0.0.1" + port || host == "localhost" + port);
}

bool web_token_is(const WebGate& gate, const char* authorization) {
    const std::string_view said = authorization == nullptr ? "" : authorization;
    if (gate.token.empty() || !said.starts_with(BEARER) ||
        said.size() != BEARER.size() + gate.token.size()) {
        return false;
    }
    // As long for a wrong token as for a nearly right one.
    unsigned difference = 0;
    for (std::size_t at = 0; at < gate.token.size(); ++at) {
        difference |= static_cast<unsigned char>(said[BEARER.size() + at]) ^
                      static_cast<unsigned char>(gate.token[at]);
    }
    return difference == 0;
}

int web_listen(WebGate& gate, std::string& error) {
    sockaddr_in place{};
    place.sin_family = AF_INET;
    place.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(place);
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (listener < 0 ||
        bind(listener, reinterpret_cast<const sockaddr*>(&place), sizeof(place)) != 0 ||
        listen(listener, BACKLOG) != 0 ||
        getsockname(listener, reinterpret_cast<sockaddr*>(&place), &size) != 0 ||
        !token_make(gate.token)) {
        error = std::string("no page: ") + strerror(errno);
        if (listener >= 0) {
            close(listener);
        }
        return -1;
    }
    gate.port = ntohs(place.sin_port);
    return listener;
}

std::string web_address(const WebGate& gate) {
    return "http://127.0.0.1:" + std::to_string(gate.port) + "/#" + gate.token;
}

}  // namespace lab
