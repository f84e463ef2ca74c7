#include "msg/msg_send.h"

#include "msg/bridge_address.h"
#include "msg/msg_cipher.h"
#include "msg/udp_socket.h"
#include "runtime/flow_log.h"
#include "runtime/worker.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstdio>

namespace {

enum class send_outcome {
    done,   ///< sent, or given up
    again,  ///< the network is not there yet
};

/// A node without sockets cannot work at all: the supervisor restarts it.
void socket_require(const Socket& sock) {
    if (!sock) {
        std::perror("socket");
        worker_end_now(1);
    }
}

/// Enciphers and sends `message`. Returns 0 (also when there was nothing to send) or the error.
int datagram_send(const Socket& sock, const char* message, const sockaddr_in& address) {
    msg_bytes bytes{};
    const size_t size = backhaul_msg_encrypt(message, bytes);
    if (size == 0) {
        return 0;
    }
    const ssize_t sent = sendto(sock.get(), bytes.data(), size, 0,
                                reinterpret_cast<const sockaddr*>(&address), sizeof(address));
    return sent < 0 ? errno : 0;
}

void broadcast_options_set(const Socket& sock) {
    const int on = 1;
    if (setsockopt(sock.get(), SOL_SOCKET, SO_BROADCAST, &on, sizeof(on)) < 0) {
        std::perror("setsockopt");
    }
    if (setsockopt(sock.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on)) < 0) {
        std::perror("set sock reuse addr error");
    }
}

send_outcome broadcast_try(const char* message, uint16_t port) {
    Socket sock(SOCK_DGRAM);
    socket_require(sock);
    sockaddr_in address{};
    if (get_intf_bcast_address(LAN_BRIDGE, &address) < 0) {
        sock.close_now();
        flow_log("%s : get broadcast address fail\n", "backhaul_send_msg");
        return send_outcome::done;
    }
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    broadcast_options_set(sock);
    const int error = datagram_send(sock, message, address);
    if (error == 0) {
        return send_outcome::done;
    }
    flow_log("%s : sendto error %d\n", "backhaul_send_msg", error);
    return msg_send_error_is_transient(error) ? send_outcome::again : send_outcome::done;
}

send_outcome unicast_try(const char* message, uint16_t port, const char* ip) {
    const Socket sock(SOCK_DGRAM);
    socket_require(sock);
    // Without SO_BROADCAST: a send to the empty address is refused at once.
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = inet_addr(ip);
    const int error = datagram_send(sock, message, address);
    if (error == 0) {
        return send_outcome::done;
    }
    flow_log("%s : sendto error %d '%s'\n", "backhaul_send_unicast_msg", error, ip);
    return msg_send_error_is_transient(error) ? send_outcome::again : send_outcome::done;
}

}  // namespace

bool msg_send_error_is_transient(int error) {
    return error == ENODEV || error == ENETUNREACH;
}

void backhaul_send_msg(const char* message, uint16_t port) {
    if (runtime.backhaul_valid != 1) {
        // The message itself is dropped, not queued.
        backhaul_send_root_msg("CHECK_VALID", BACKHAUL_MSG_PORT);
        return;
    }
    while (broadcast_try(message, port) == send_outcome::again) {
        sleep(SEND_RETRY_PAUSE);
    }
}

void backhaul_send_unicast_msg(const char* message, uint16_t port, const char* ip) {
    while (unicast_try(message, port, ip) == send_outcome::again) {
        sleep(SEND_RETRY_PAUSE);
    }
}

void backhaul_send_root_msg(const char* message, uint16_t port) {
    while (unicast_try(message, port, runtime.rootap_ip.get().data()) == send_outcome::again) {
        sleep(SEND_RETRY_PAUSE);
    }
}
