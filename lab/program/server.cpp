#include "lab/program/server.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>

namespace lab {
namespace {

constexpr std::int64_t LONGEST_WAIT = 1000;  // ms: how late a signal is seen at most
constexpr std::int64_t NEXT_TOOL_WAIT = 10;  // a script calls one tool after the other
constexpr std::int64_t CLOSING_TIME = 500;

std::int64_t now_ms() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

void descriptors_close(std::vector<int>* descriptors) {
    for (const int fd : *descriptors) {
        close(fd);
    }
    descriptors->clear();
}

void client_drop(Server* server, ServerClient* client) {
    descriptors_close(&client->descriptors);
    close(client->fd);
    client->fd = -1;
    control_forget(server->control, client->number);
}

/// Sends some bytes, the descriptors with the first of them.
ssize_t send_some(ServerClient* client) {
    iovec piece{client->out.data(), client->out.size()};
    msghdr message{};
    message.msg_iov = &piece;
    message.msg_iovlen = 1;
    alignas(cmsghdr) std::array<char, 256> control{};
    const std::size_t bytes = client->descriptors.size() * sizeof(int);
    if (bytes > 0 && CMSG_SPACE(bytes) <= control.size()) {
        message.msg_control = control.data();
        message.msg_controllen = CMSG_SPACE(bytes);
        cmsghdr* header = CMSG_FIRSTHDR(&message);
        header->cmsg_level = SOL_SOCKET;
        header->cmsg_type = SCM_RIGHTS;
        header->cmsg_len = CMSG_LEN(bytes);
        std::memcpy(CMSG_DATA(header), client->descriptors.data(), bytes);
    }
    return sendmsg(client->fd, &message, MSG_NOSIGNAL | MSG_DONTWAIT);
}

void client_send(Server* server, ServerClient* client) {
    while (!client->out.empty()) {
        const ssize_t sent = send_some(client);
        if (sent < 0 && errno == EINTR) {
            continue;
        }
        if (sent < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
            break;
        }
        if (sent <= 0) {
            client_drop(server, client);
            return;
        }
        descriptors_close(&client->descriptors);
        client->out.erase(0, static_cast<std::size_t>(sent));
    }
    if (client->out.size() > MOST_UNSENT) {
        client_drop(server, client);
    }
}

/// Answers the requests that are whole, up to the first that has to wait.
void client_answer(Server* server, ServerClient* client) {
    while (!client->waits && client->out.empty()) {
        const std::size_t end = client->in.find('\n');
        if (end == std::string::npos) {
            break;
        }
        const std::string line = client->in.substr(0, end);
        client->in.erase(0, end + 1);
        Outcome outcome =
            control_request(server->control, client->number, request_words(line), now_ms());
        client->waits = outcome.waits;
        if (!outcome.waits) {
            client->out = answer_text(outcome.answer);
            client->descriptors = std::move(outcome.descriptors);
            client_send(server, client);
            if (client->fd < 0) {
                return;
            }
        }
    }
}

void client_read(Server* server, ServerClient* client) {
    std::array<char, 4096> block{};
    const ssize_t got = recv(client->fd, block.data(), block.size(), MSG_DONTWAIT);
    if (got < 0 && (errno == EAGAIN || errno == EINTR)) {
        return;
    }
    if (got > 0) {
        client->in.append(block.data(), static_cast<std::size_t>(got));
    }
    if (got <= 0 || client->in.size() > LONGEST_LINE) {
        client_drop(server, client);
    }
}

void listener_accept(Server* server) {
    const int fd = accept4(server->listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (fd < 0) {
        return;
    }
    if (server->clients.size() >= MOST_CLIENTS) {
        close(fd);
        return;
    }
    server_client_add(server, fd);
}

void answers_hand_out(Server* server, const std::vector<LateAnswer>& answers) {
    for (const LateAnswer& late : answers) {
        const auto client = std::ranges::find(server->clients, late.client, &ServerClient::number);
        if (client != server->clients.end() && client->fd >= 0) {
            client->waits = false;
            client->out += answer_text(late.answer);
            client_send(server, &*client);
        }
    }
}

/// Waits for something to read or for room to write, and deals with it.
void sockets_serve(Server* server, std::int64_t wait) {
    std::vector<pollfd> places;
    for (const ServerClient& client : server->clients) {
        const short out = client.out.empty() ? short{0} : short{POLLOUT};
        places.push_back({client.fd, static_cast<short>(POLLIN | out), 0});
    }
    places.push_back({server->listener, POLLIN, 0});
    if (poll(places.data(), places.size(), static_cast<int>(wait)) <= 0) {
        return;
    }
    for (std::size_t at = 0; at < server->clients.size(); ++at) {
        ServerClient& client = server->clients[at];
        if ((places[at].revents & (POLLIN | POLLHUP | POLLERR)) != 0) {
            client_read(server, &client);
        }
        if (client.fd >= 0 && (places[at].revents & POLLOUT) != 0) {
            client_send(server, &client);
        }
    }
    if ((places.back().revents & POLLIN) != 0) {
        listener_accept(server);
    }
}

}  // namespace

void server_client_add(Server* server, int fd) {
    fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) | O_NONBLOCK);
    ServerClient client;
    client.fd = fd;
    client.number = server->next_number++;
    server->clients.push_back(std::move(client));
}

void server_turn(Server* server) {
    Control* control = server->control;
    std::int64_t wait = pace_wait(control->pace, now_ms());
    if (wait == 0) {
        answers_hand_out(server, control_second(control, now_ms()));
    } else {
        const bool served = control->mesh.tools_serve && control->mesh.tools_serve();
        const std::int64_t longest = served ? NEXT_TOOL_WAIT : LONGEST_WAIT;
        wait = wait < 0 ? longest : std::min(wait, longest);
    }
    sockets_serve(server, wait);
    for (ServerClient& client : server->clients) {
        if (client.fd >= 0) {
            client_answer(server, &client);
        }
    }
    std::erase_if(server->clients, [](const ServerClient& client) { return client.fd < 0; });
}

void server_close(Server* server) {
    const std::int64_t until = now_ms() + CLOSING_TIME;
    const auto has_more = [](const ServerClient& client) {
        return client.fd >= 0 && !client.out.empty();
    };
    while (std::ranges::any_of(server->clients, has_more) && now_ms() < until) {
        sockets_serve(server, until - now_ms());
        std::erase_if(server->clients, [](const ServerClient& client) { return client.fd < 0; });
    }
    for (ServerClient& client : server->clients) {
        client_drop(server, &client);
    }
    server->clients.clear();
}

void server_run(Server* server, const volatile std::sig_atomic_t* ends) {
    while (!server->control->ends && *ends == 0) {
        server_turn(server);
    }
    // Who waits for the end learns of it by the end of the connection.
    if (server->control->mesh.end) {
        server->control->mesh.end();
    }
    server_close(server);
}

}  // namespace lab
