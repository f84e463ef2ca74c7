// The mesh as a page in a browser: the table of api.h over TCP on loopback, and the page's own
// files.
//
// Anybody on the machine can reach a loopback port, and so can pages of other sites in the user's
// browser: every request but for the page's files has to show the token of the printed address, and
// every one the host name that was printed. Functions of values, but for web_listen; on the
// program's only thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace lab {

struct WebAsset {
    std::string_view path;
    std::string_view type;
    std::string_view content;
};

// The page's own file of that path, or null.
const WebAsset* web_asset_find(std::string_view path);

// Who may ask.
struct WebGate {
    std::string token;
    std::uint16_t port = 0;
};

// What the page may do in a browser: load its own files and ask its own server.
inline constexpr char WEB_POLICY[] =
    "default-src 'none'; script-src 'self'; style-src 'self'; connect-src 'self'; "
    "img-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'";

// Whether the Host header (null: none) is that of the printed address. A name that somebody else
// lets point here is not.
bool web_host_is(const WebGate& gate, const char* host);

// Whether the Authorization header (null: none) has the token: "Bearer TOKEN".
bool web_token_is(const WebGate& gate, const char* authorization);

// A listening socket on a free port of 127.0.0.1, and a token of 128 random bits. -1 with a
// sentence in `error`. Called before the sandbox, whose own loopback nobody else could reach.
int web_listen(WebGate& gate, std::string& error);

// "http://127.0.0.1:PORT/#TOKEN": what stands behind the mark no browser sends on.
std::string web_address(const WebGate& gate);

}  // namespace lab
