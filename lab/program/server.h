// Holds a mesh and serves the table of api.h on its Unix socket, on one thread: between two seconds
// of the mesh libmicrohttpd reads requests and sends answers. Peers may be slow, send anything and
// go away at any time.
#pragma once

#include <csignal>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "lab/program/control.h"
#include "lab/program/web.h"

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

    // Serves the page and the same table on a TCP socket too, which it takes over. False with a
    // sentence.
    bool web_add(int listener, const WebGate& gate, std::string& error);

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
    ServerRequest& request_begin(MHD_Connection* connection, bool from_web);
    bool request_answer(ServerRequest& request, const char* path, const char* method);
    void request_forget(const ServerRequest& request);
    long events_put(ServerRequest& request, char* block, std::size_t size);

private:
    // A listening socket of libmicrohttpd's.
    struct Front {
        MHD_Daemon* daemon = nullptr;
        int events_fd = -1;  // readable when it has something to do
    };

    explicit Server(Control& control);
    bool front_add(int listener, bool for_web, std::string& error);
    std::optional<bool> web_answer(ServerRequest& request, const char* path);
    void wait(std::int64_t longest);
    void serve();
    void answer_late(ServerRequest& request, const Answer& answer);
    void streams_wake();
    void close_all();

    Control& control_;
    std::vector<Front> fronts_;
    WebGate gate_;
    std::list<std::unique_ptr<ServerRequest>> requests_;
    int next_number_ = 1;
    bool ended_ = false;
};

}  // namespace lab
