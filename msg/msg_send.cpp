#include "msg/msg_send.h"

#include "msg/bridge_address.h"
#include "msg/msg_cipher.h"
#include "runtime/descriptor.h"
#include "runtime/flow_log.h"
#include "runtime/runtime_block.h"
#include "runtime/worker_end.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace {

enum class send_outcome {
    done,   ///< sent, or given up
    again,  ///< the network is not there yet
};

/// A new socket for one try, so that nothing of a failed one is left. A node without sockets cannot
/// work at all: the supervisor restarts it.
int socket_require() {
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        std::perror("socket");
        worker_end_now(EXIT_FAILURE);
    }
    return fd;
}

/// Enciphers and sends `message`. Returns 0 (also when there was nothing to send) or the error.
int datagram_send(const Descriptor& sock, msg_word message, const sockaddr_in& address) {
    msg_bytes bytes{};
    const size_t size = backhaul_msg_encrypt(msg_word_text(message), bytes);
    if (size == 0) {
        return 0;
    }
    const ssize_t sent = sendto(sock.get(), bytes.data(), size, 0,
                                reinterpret_cast<const sockaddr*>(&address), sizeof(address));
    return sent < 0 ? errno : 0;
}

void broadcast_options_set(const Descriptor& sock) {
    const int on = 1;
    if (setsockopt(sock.get(), SOL_SOCKET, SO_BROADCAST, &on, sizeof(on)) < 0) {
        std::perror("setsockopt");
    }
    if (setsockopt(sock.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on)) < 0) {
        std::perror("set sock reuse addr error");
    }
}

send_outcome broadcast_try(msg_word message, uint16_t port) {
    Descriptor sock(socket_require());
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

send_outcome unicast_try(msg_word message, uint16_t port, const char* ip) {
    const Descriptor sock(socket_require());
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

void backhaul_send_msg(msg_word message, uint16_t port) {
    if (!runtime.backhaul_valid) {
        // The message itself is dropped, not queued.
        backhaul_send_root_msg(msg_word::check_valid, BACKHAUL_MSG_PORT);
        return;
    }
    while (broadcast_try(message, port) == send_outcome::again) {
        sleep(SEND_RETRY_PAUSE);
    }
}

void backhaul_send_unicast_msg(msg_word message, uint16_t port, const char* ip) {
    while (unicast_try(message, port, ip) == send_outcome::again) {
        sleep(SEND_RETRY_PAUSE);
    }
}

void backhaul_send_root_msg(msg_word message, uint16_t port) {
    while (unicast_try(message, port, runtime.rootap_ip.get().data()) == send_outcome::again) {
        sleep(SEND_RETRY_PAUSE);
    }
}
