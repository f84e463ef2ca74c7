// Asking the model of the air instead of the local state.
//
// While /run/lab/state/air.sock exists, tools whose answers depend on what a node can hear hand
// their call to the server that listens there, and print what it says. One connection carries one
// call:
//
//   request   TOOL <tab> WORD <tab> WORD ... <line end>      escaped as in lab/tools/text_escape.h
//   reply     "local\n"                                      the tool answers from its local state
//          or an answer as in lab/tools/answer.h             exit code, standard error, output
//
// followed by the end of the stream. The server may change the node's files and send driver
// events before it replies: the tool waits in the kernel. A server that is gone, that closes
// without a reply or that replies anything else counts as "local".
//
// Asked are iwconfig, iwpriv, wpa_cli, ifconfig, wifi, wireless, radartool, vl1905App and hyctl.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "lab/tools/answer.h"

namespace lab {

struct AirRequest {
    std::string tool;
    std::vector<std::string> words;
};

struct AirReply {
    bool local = true;
    ToolAnswer answer;  // when not local; gate and run_tool are ignored
};

std::string air_socket_path(const std::string& root);

// True for a tool that asks.
bool air_is_asked(const std::string& tool);

// Functions of values: the texts on the wire and back. False when the text is not well formed.
std::string air_request_encode(const AirRequest& request);
bool air_request_decode(std::string_view text, AirRequest* request);
std::string air_reply_encode(const AirReply& reply);
AirReply air_reply_decode(std::string_view text);

// The tool's side: asks and waits. `local` is set when there is no server.
AirReply air_ask(const std::string& root, const AirRequest& request);

// The server's side. Returns a listening, close-on-exec descriptor or -1.
int air_listen(const std::string& root);

// Accepts one connection (waits for one), answers it and closes it. False when accepting failed
// or the request was not well formed or not whole for so many milliseconds; nothing is replied
// then.
bool air_serve_one(int listener, const std::function<AirReply(const AirRequest&)>& handler,
                   int patience = 30000);

// True when a tool waits to be served. A node at rest with nothing pending is truly at rest.
bool air_is_pending(int listener);

}  // namespace lab
