#include "lab/program/server.h"

#include <microhttpd.h>
#include <poll.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "lab/scenario/words.h"

namespace lab {

// A request from its first line until its answer is sent or its peer is gone.
struct ServerRequest {
    Server* server = nullptr;
    MHD_Connection* connection = nullptr;
    int number = 0;  // in requests to the control; never used twice
    bool from_web = false;
    std::string body;
    bool too_large = false;
    bool begun = false;      // handed to the control
    bool suspended = false;  // libmicrohttpd leaves it alone until it is resumed
    bool answered = false;
    bool peer_gone = false;
    Answer answer;
    bool ends = false;     // what it asked for is the end of the mesh
    bool streams = false;  // its answer are the events
    std::int64_t next_event = 0;
    std::string unsent;  // of the events
};

namespace {

constexpr std::int64_t LONGEST_WAIT = 1000;  // ms: how late a signal is seen at most
constexpr std::int64_t NEXT_TOOL_WAIT = 10;  // a script calls one tool after the other
constexpr std::int64_t CLOSING_TIME = 500;
constexpr int ROUNDS_AT_ONCE = 64;  // of libmicrohttpd, before the next second
constexpr std::size_t BLOCK = 16384;

std::int64_t now_ms() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

MHD_Result answer_send(MHD_Connection* connection, const Answer& answer) {
    std::string text = json_text(json_versioned(answer.body)) + "\n";
    MHD_Response* response =
        MHD_create_response_from_buffer(text.size(), text.data(), MHD_RESPMEM_MUST_COPY);
    MHD_add_response_header(response, MHD_HTTP_HEADER_CONTENT_TYPE, "application/json");
    const MHD_Result queued =
        MHD_queue_response(connection, static_cast<unsigned>(answer.status), response);
    MHD_destroy_response(response);
    return queued;
}

MHD_Result asset_send(MHD_Connection* connection, const WebAsset& asset) {
    MHD_Response* response = MHD_create_response_from_buffer(
        asset.content.size(), const_cast<char*>(asset.content.data()), MHD_RESPMEM_PERSISTENT);
    for (const auto& [name, value] :
         {std::pair<const char*, const char*>(MHD_HTTP_HEADER_CONTENT_TYPE, asset.type.data()),
          {"Content-Security-Policy", WEB_POLICY},
          {"X-Content-Type-Options", "nosniff"},
          {"Referrer-Policy", "no-referrer"},
          {MHD_HTTP_HEADER_CACHE_CONTROL, "no-store"}}) {
        MHD_add_response_header(response, name, value);
    }
    const MHD_Result queued = MHD_queue_response(connection, MHD_HTTP_OK, response);
    MHD_destroy_response(response);
    return queued;
}

ssize_t stream_read(void* request, std::uint64_t /*position*/, char* block, std::size_t size) {
    auto& stream = *static_cast<ServerRequest*>(request);
    return stream.server->events_put(stream, block, size);
}

MHD_Result stream_begin(ServerRequest& request) {
    MHD_Response* response =
        MHD_create_response_from_callback(MHD_SIZE_UNKNOWN, BLOCK, stream_read, &request, nullptr);
    MHD_add_response_header(response, MHD_HTTP_HEADER_CONTENT_TYPE, "application/x-ndjson");
    const MHD_Result queued = MHD_queue_response(request.connection, MHD_HTTP_OK, response);
    MHD_destroy_response(response);
    return queued;
}

/// The number behind that name in the URL; -1 when there is none. False when it is no number.
bool number_take(MHD_Connection* connection, const char* name, std::int64_t& number) {
    const char* word = MHD_lookup_connection_value(connection, MHD_GET_ARGUMENT_KIND, name);
    return word == nullptr || word_number(word, std::int64_t{0}, INT64_MAX, &number);
}

bool call_read(const ServerRequest& request, ApiCall& call, Answer& error) {
    if (!number_take(request.connection, "from", call.from) ||
        !number_take(request.connection, "last", call.last)) {
        error = answer_say(HttpStatus::bad_request, "`from` and `last` are numbers");
        return false;
    }
    call.body = request.body.empty() ? Json::object() : Json::parse(request.body, nullptr, false);
    if (!call.body.is_object()) {
        error = answer_say(HttpStatus::bad_request, "the body is no JSON object");
        return false;
    }
    return true;
}

void body_take(ServerRequest& request, const char* data, std::size_t& size) {
    request.too_large = request.too_large || request.body.size() + size > LONGEST_BODY;
    if (!request.too_large) {
        request.body.append(data, size);
    }
    size = 0;
}

template <bool FROM_WEB>
MHD_Result on_access(void* server, MHD_Connection* connection, const char* path, const char* method,
                     const char* /*version*/, const char* data, std::size_t* size, void** place) {
    if (*place == nullptr) {
        *place = &static_cast<Server*>(server)->request_begin(connection, FROM_WEB);
        return MHD_YES;
    }
    auto& request = *static_cast<ServerRequest*>(*place);
    if (*size > 0) {
        body_take(request, data, *size);
        return MHD_YES;
    }
    return request.server->request_answer(request, path, method) ? MHD_YES : MHD_NO;
}

void on_completed(void* server, MHD_Connection* /*connection*/, void** place,
                  MHD_RequestTerminationCode /*code*/) {
    if (*place != nullptr) {
        static_cast<Server*>(server)->request_forget(*static_cast<ServerRequest*>(*place));
        *place = nullptr;
    }
}

}  // namespace

Server::Server(Control& control) : control_(control) {}

std::unique_ptr<Server> Server::make(Control& control, int listener, std::string& error) {
    std::unique_ptr<Server> server(new Server(control));
    if (!server->front_add(listener, false, error)) {
        return nullptr;
    }
    return server;
}

bool Server::front_add(int listener, bool for_web, std::string& error) {
    // With epoll there is no limit to the numbers of descriptors, of which a large mesh has many.
    MHD_Daemon* const daemon = MHD_start_daemon(
        MHD_USE_EPOLL | MHD_ALLOW_SUSPEND_RESUME, 0, nullptr, nullptr,
        for_web ? on_access<true> : on_access<false>, this, MHD_OPTION_LISTEN_SOCKET, listener,
        MHD_OPTION_CONNECTION_LIMIT, MOST_CLIENTS, MHD_OPTION_CONNECTION_TIMEOUT, LONGEST_SILENCE,
        MHD_OPTION_NOTIFY_COMPLETED, on_completed, this, MHD_OPTION_END);
    const MHD_DaemonInfo* info =
        daemon == nullptr ? nullptr : MHD_get_daemon_info(daemon, MHD_DAEMON_INFO_EPOLL_FD);
    if (info == nullptr) {
        error = std::string("the socket cannot be served: ") + strerror(errno);
        return false;
    }
    fronts_.push_back({daemon, info->epoll_fd});
    return true;
}

bool Server::web_add(int listener, const WebGate& gate, std::string& error) {
    gate_ = gate;
    return front_add(listener, true, error);
}

Server::~Server() {
    if (!fronts_.empty()) {
        close_all();
    }
    for (const Front& front : fronts_) {
        MHD_stop_daemon(front.daemon);
    }
}

ServerRequest& Server::request_begin(MHD_Connection* connection, bool from_web) {
    requests_.push_back(std::make_unique<ServerRequest>());
    ServerRequest& request = *requests_.back();
    request.server = this;
    request.connection = connection;
    request.from_web = from_web;
    request.number = next_number_++;
    return request;
}

/// Serves a file of the page, or refuses who may not ask, and says whether that could be sent.
/// Nothing: it is for the table.
std::optional<bool> Server::web_answer(ServerRequest& request, const char* path) {
    const auto header = [&request](const char* name) {
        return MHD_lookup_connection_value(request.connection, MHD_HEADER_KIND, name);
    };
    const WebAsset* const asset = web_asset_find(path);
    if (!web_host_is(gate_, header(MHD_HTTP_HEADER_HOST))) {
        request.answer = answer_say(HttpStatus::forbidden, "not under this name");
    } else if (asset != nullptr) {
        return asset_send(request.connection, *asset) == MHD_YES;
    } else if (!web_token_is(gate_, header(MHD_HTTP_HEADER_AUTHORIZATION))) {
        request.answer = answer_say(HttpStatus::forbidden, "without the token of the address");
    } else {
        return std::nullopt;
    }
    return answer_send(request.connection, request.answer) == MHD_YES;
}

/// Called once the request is whole, and again when it is resumed with its answer.
bool Server::request_answer(ServerRequest& request, const char* path, const char* method) {
    if (request.peer_gone) {
        return false;
    }
    if (!request.begun) {
        request.begun = true;
        const std::optional<bool> answered =
            request.from_web ? web_answer(request, path) : std::nullopt;
        if (answered) {
            return *answered;
        }
        ApiCall call;
        Answer& answer = request.answer;
        const ApiRow* row = api_find(method, path, call.node, answer);
        if (request.too_large) {
            answer = answer_say(HttpStatus::too_large, "the body is longer than " +
                                                           std::to_string(LONGEST_BODY) + " bytes");
        } else if (row != nullptr && call_read(request, call, answer)) {
            call.action = row->action;
            const Outcome outcome = control_request(control_, request.number, call, now_ms());
            if (outcome.waits) {
                request.ends = call.action == ApiAction::down;
                request.suspended = true;
                MHD_suspend_connection(request.connection);
                return true;
            }
            answer = outcome.answer;
            if (call.action == ApiAction::events) {
                request.streams = true;
                request.next_event = call.from >= 0 ? call.from : control_.events.next();
                return stream_begin(request) == MHD_YES;
            }
        }
    }
    return answer_send(request.connection, request.answer) == MHD_YES;
}

void Server::request_forget(const ServerRequest& request) {
    control_forget(control_, request.number);
    requests_.remove_if([&request](const auto& each) { return each.get() == &request; });
}

long Server::events_put(ServerRequest& request, char* block, std::size_t size) {
    while (request.unsent.size() < size) {
        const std::string line = control_event(control_, request.next_event);
        if (line.empty()) {
            break;
        }
        request.unsent += line;
    }
    if (request.unsent.empty()) {
        if (ended_ || request.peer_gone) {
            return MHD_CONTENT_READER_END_OF_STREAM;
        }
        request.suspended = true;
        MHD_suspend_connection(request.connection);
        return 0;
    }
    const std::size_t count = std::min(size, request.unsent.size());
    request.unsent.copy(block, count);
    request.unsent.erase(0, count);
    return static_cast<long>(count);
}

void Server::answer_late(ServerRequest& request, const Answer& answer) {
    request.answer = answer;
    request.suspended = false;
    MHD_resume_connection(request.connection);
}

void Server::streams_wake() {
    for (const auto& request : requests_) {
        if (request->streams && request->suspended &&
            (ended_ || request->next_event < control_.events.next())) {
            request->suspended = false;
            MHD_resume_connection(request->connection);
        }
    }
}

/// Waits until libmicrohttpd has something to do. Of those that wait themselves it does not learn
/// that they are gone: that is seen here.
void Server::wait(std::int64_t longest) {
    std::vector<pollfd> places;
    std::vector<ServerRequest*> waiting;
    for (const Front& front : fronts_) {
        MHD_UNSIGNED_LONG_LONG timeout = 0;
        if (MHD_get_timeout(front.daemon, &timeout) == MHD_YES) {
            longest = std::min(longest, static_cast<std::int64_t>(timeout));
        }
        places.push_back({front.events_fd, POLLIN, 0});
    }
    for (const auto& request : requests_) {
        if (request->suspended) {
            const MHD_ConnectionInfo* info =
                MHD_get_connection_info(request->connection, MHD_CONNECTION_INFO_CONNECTION_FD);
            places.push_back({info->connect_fd, 0, 0});
            waiting.push_back(request.get());
        }
    }
    if (poll(places.data(), places.size(), static_cast<int>(longest)) <= 0) {
        return;
    }
    for (std::size_t at = 0; at < waiting.size(); ++at) {
        if ((places[fronts_.size() + at].revents & (POLLHUP | POLLERR | POLLNVAL)) != 0) {
            waiting[at]->peer_gone = true;
            control_forget(control_, waiting[at]->number);
            answer_late(*waiting[at], {});
        }
    }
}

void Server::serve() {
    bool more = true;
    for (int round = 0; round < ROUNDS_AT_ONCE && more; ++round) {
        more = false;
        for (const Front& front : fronts_) {
            MHD_run(front.daemon);
            pollfd place{front.events_fd, POLLIN, 0};
            MHD_UNSIGNED_LONG_LONG timeout = 1;
            more = more || (MHD_get_timeout(front.daemon, &timeout) == MHD_YES && timeout == 0) ||
                   poll(&place, 1, 0) > 0;
        }
    }
}

void Server::turn() {
    std::int64_t longest = pace_wait(control_.pace, now_ms());
    if (longest == 0) {
        for (const LateAnswer& late : control_second(control_, now_ms())) {
            const auto request = std::ranges::find_if(
                requests_, [&late](const auto& each) { return each->number == late.client; });
            if (request != requests_.end()) {
                answer_late(**request, late.answer);
            }
        }
    } else {
        const bool served = control_.mesh.tools_serve && control_.mesh.tools_serve();
        const std::int64_t most = served ? NEXT_TOOL_WAIT : LONGEST_WAIT;
        longest = longest < 0 ? most : std::min(longest, most);
    }
    streams_wake();
    wait(longest);
    serve();
}

void Server::close_all() {
    ended_ = true;
    for (const auto& request : requests_) {
        if (request->suspended && !request->streams) {
            answer_late(*request, request->ends ? answer_say(HttpStatus::good, "")
                                                : answer_say(HttpStatus::ended, "the mesh ended"));
        }
    }
    const std::int64_t until = now_ms() + CLOSING_TIME;
    do {
        streams_wake();
        serve();
        if (!requests_.empty()) {
            wait(std::max<std::int64_t>(0, until - now_ms()));
        }
    } while (!requests_.empty() && now_ms() < until);
    // It must not stop with somebody suspended.
    for (const auto& request : requests_) {
        if (request->suspended) {
            request->peer_gone = true;
            answer_late(*request, {});
        }
    }
    for (const Front& front : fronts_) {
        MHD_run(front.daemon);
    }
}

void Server::run(const volatile std::sig_atomic_t* ends) {
    while (!control_.ends && *ends == 0) {
        turn();
    }
    if (control_.mesh.end) {
        control_.mesh.end();
    }
    close_all();
}

}  // namespace lab
