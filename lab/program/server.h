// Holds a mesh and serves its control socket, on one thread: between two seconds of the mesh it
// reads requests and sends answers. Peers may be slow, send anything and go away at any time.
//
// server_run is the whole life of a server; the other functions are its pieces, for tests.
#pragma once

#include <csignal>
#include <cstdint>
#include <string>
#include <vector>

#include "lab/program/control.h"

namespace lab {

struct ServerClient {
    int fd = -1;
    int number = 0;                // in requests to the control; never used twice
    std::string in;                // what has no line end yet
    std::string out;               // what could not be sent yet
    bool waits = false;            // its request is not answered yet; the next ones have to wait
    std::vector<int> descriptors;  // go with the first byte of `out`
};

struct Server {
    Control* control = nullptr;
    int listener = -1;  // -1: takes nobody in
    std::vector<ServerClient> clients;
    int next_number = 1;
};

inline constexpr std::size_t MOST_CLIENTS = 32;
inline constexpr std::size_t MOST_UNSENT = 16U << 20U;  // bytes; a peer that is slower is cut off

// Takes a connected socket in and makes it non-blocking. It is the server's now.
void server_client_add(Server* server, int fd);

// One round: a second of the mesh when it is due, else waiting for requests (a second at most);
// then serves everybody who has something.
void server_turn(Server* server);

// Closes all connections once what is to be sent is sent (half a second at most).
void server_close(Server* server);

// Turns until somebody asks for the end or `*ends` is set by a signal handler. Then it ends the
// mesh and closes the connections.
void server_run(Server* server, const volatile std::sig_atomic_t* ends);

}  // namespace lab
