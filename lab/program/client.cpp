#include "lab/program/client.h"

#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "lab/program/arguments.h"

namespace lab {
namespace {

constexpr std::size_t MOST_DESCRIPTORS = 8;

Answer broken(const std::string& text) {
    return {EXIT_DIFFERS, text, {}};
}

void descriptors_take(msghdr* message, std::vector<int>* descriptors) {
    for (cmsghdr* header = CMSG_FIRSTHDR(message); header != nullptr;
         header = CMSG_NXTHDR(message, header)) {
        if (header->cmsg_level != SOL_SOCKET || header->cmsg_type != SCM_RIGHTS) {
            continue;
        }
        const std::size_t count = (header->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        for (std::size_t at = 0; at < count; ++at) {
            int fd = -1;
            std::memcpy(&fd, CMSG_DATA(header) + at * sizeof(int), sizeof(fd));
            if (descriptors == nullptr) {
                close(fd);
            } else {
                descriptors->push_back(fd);
            }
        }
    }
}

/// As recv(), with the descriptors that come along.
ssize_t receive(int fd, char* block, std::size_t size, std::vector<int>* descriptors) {
    iovec piece{block, size};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(MOST_DESCRIPTORS * sizeof(int))> control{};
    msghdr message{};
    message.msg_iov = &piece;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    const ssize_t got = recvmsg(fd, &message, MSG_CMSG_CLOEXEC);
    if (got >= 0) {
        descriptors_take(&message, descriptors);
    }
    return got;
}

bool send_all(int fd, const std::string& text) {
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t sent = send(fd, text.data() + done, text.size() - done, MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR) {
            continue;
        }
        if (sent <= 0) {
            return false;
        }
        done += static_cast<std::size_t>(sent);
    }
    return true;
}

}  // namespace

Answer client_ask(int fd, const std::vector<std::string>& words, std::vector<int>* descriptors) {
    const std::string line = request_line(words) + "\n";
    if (line.size() > LONGEST_LINE || !send_all(fd, line)) {
        return broken("the mesh does not listen any more");
    }
    AnswerReader reader;
    std::array<char, 16384> block{};
    for (;;) {
        const ssize_t got = receive(fd, block.data(), block.size(), descriptors);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            return broken("the mesh went away");
        }
        if (reader.feed({block.data(), static_cast<std::size_t>(got)})) {
            return reader.is_broken() ? broken("the mesh gave no answer that can be read")
                                      : reader.answer();
        }
    }
}

void client_await_end(int fd) {
    std::array<char, 512> block{};
    ssize_t got = 0;
    do {
        got = recv(fd, block.data(), block.size(), 0);
    } while (got > 0 || (got < 0 && errno == EINTR));
}

}  // namespace lab
