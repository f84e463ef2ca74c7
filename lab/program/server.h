// Holds a mesh and serves the table of api.h on its Unix socket, on one thread: between two seconds
// of the mesh libmicrohttpd reads requests and sends answers. Peers may be slow, send anything and
// go away at any time.
#pragma once

#include <csignal>
#include <list>
#include <memory>
#include <string>

#include "lab/program/control.h"

struct MHD_Connection;
struct MHD_Daemon;

namespace lab {

inline constexpr unsigned MOST_CLIENTS = 32;

// A peer that neither sends nor takes anything for so long is cut off; one that waits for a step or
// for events is not. Seconds.
inline constexpr unsigned LONGEST_SILENCE = 30;

struct ServerRequest;

class Server {
public:
    // Takes the listening, non-blocking socket over. Null with a sentence in `error`.
    static std::unique_ptr<Server> make(Control& control, int listener, std::string& error);
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    // One round: a second of the mesh when it is due, else waiting for requests (a second at most);
    // then serves everybody who has something.
    void turn();

    // Turns until somebody asks for the end or `*ends` is set by a signal handler. Then it ends the
    // mesh, answers whoever waits and closes the connections.
    void run(const volatile std::sig_atomic_t* ends);

    // Connections that have an unanswered request.
    std::size_t requests() const {
        return requests_.size();
    }

    // For the functions that libmicrohttpd calls.
    ServerRequest& request_begin(MHD_Connection* connection);
    bool request_answer(ServerRequest& request, const char* path, const char* method);
    void request_forget(const ServerRequest& request);
    long events_put(ServerRequest& request, char* block, std::size_t size);

private:
    explicit Server(Control& control);
    void wait(std::int64_t longest);
    void serve();
    void answer_late(ServerRequest& request, const Answer& answer);
    void streams_wake();
    void close_all();

    Control& control_;
    MHD_Daemon* daemon_ = nullptr;
    int events_fd_ = -1;  // readable when libmicrohttpd has something to do
    std::list<std::unique_ptr<ServerRequest>> requests_;
    int next_number_ = 1;
    bool ended_ = false;
};

}  // namespace lab
