#include "intake/msg_socket.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cstdio>
#include <cstdlib>

#include "runtime/runtime_block.h"
#include "runtime/worker_end.h"

void msg_socket_open() {
    if (runtime.master) {
        runtime.backhaul_valid = true;
    }
    runtime.msg_fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
    if (runtime.msg_fd < 0) {
        std::perror("socket");
        worker_end_now(EXIT_FAILURE);
    }
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    address.sin_port = htons(BACKHAUL_MSG_PORT);
    // Without SO_REUSEADDR: a second daemon on the node has to fail here.
    if (bind(runtime.msg_fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) < 0) {
        std::perror("bind");
        worker_end_now(EXIT_FAILURE);
    }
}
