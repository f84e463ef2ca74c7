#include "intake/root_announce.h"

#include "intf/intf_table.h"
#include "msg/bridge_address.h"
#include "msg/msg_cipher.h"
#include "msg/msg_word.h"
#include "runtime/file_io.h"
#include "runtime/flow_log.h"
#include "runtime/runtime_block.h"
#include "runtime/worker_end.h"

#include <pthread.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr char LISTENER_NAME[] = "loop_slave_handle";
constexpr time_t RECEIVE_TIMEOUT = 30;

/// Makes the listener's socket, with a new try every second; says so each time.
int announce_socket_create() {
    for (;;) {
        flow_log("%s : Enter\n", LISTENER_NAME);
        const int sock = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
        if (sock >= 0) {
            return sock;
        }
        std::perror("socket");
        sleep(1);
    }
}

/// Sets the receive timeout and binds the announce port; ends the worker when the port is taken.
void announce_socket_bind(int sock) {
    const timeval limit{RECEIVE_TIMEOUT, 0};
    if (setsockopt(sock, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit)) < 0) {
        std::perror("set sock rcv timeout");
    }
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(ROOT_ANNOUNCE_PORT);
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    if (bind(sock, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) < 0) {
        std::perror("bind");
        worker_end_now(EXIT_FAILURE);
    }
}

}  // namespace

void root_announce_handle(std::span<const uint8_t> data, const in_addr& sender) {
    msg_text text{};
    backhaul_msg_decrypt(data, text);
    if (msg_word_find(text.data()) != msg_word::root_announcement) {
        return;
    }
    const auto ip = ip_text_get(sender);
    // Written only when the root changes; an empty address differs from every other.
    if (std::strcmp(runtime.rootap_ip.get().data(), ip.data()) != 0) {
        runtime.rootap_ip.set(ip.data());
        rootap_ip_file_write(ip.data());
    }
}

void root_announce_recv(int sock) {
    msg_bytes data{};
    sockaddr_in sender{};
    socklen_t sender_size = sizeof(sender);
    const ssize_t size = recvfrom(sock, data.data(), data.size(), 0,
                                  reinterpret_cast<sockaddr*>(&sender), &sender_size);
    if (size > 0) {
        root_announce_handle(std::span(data).first(static_cast<size_t>(size)), sender.sin_addr);
    }
}

void* loop_slave_handle(void* /*argument*/) {
    pthread_detach(pthread_self());
    const int sock = announce_socket_create();
    announce_socket_bind(sock);
    // The record is not used further: an extender must have one.
    if (intf_find_by_name(ETH_INTF_NAME) == nullptr) {
        flow_log("%s : Can not get ethernet interface\n", __func__);
        worker_end_now(EXIT_FAILURE);
    }
    for (;;) {
        root_announce_recv(sock);
    }
}

void rootap_ip_file_write(const char* ip) {
    std::array<char, IP_TEXT_SIZE + 1> line{};
    std::snprintf(line.data(), line.size(), "%s\n", ip);
    file_rewrite(ROOTAP_IP_PATH, line.data());
}
