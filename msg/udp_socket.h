#pragma once

// A socket that is closed when it goes. Sending makes one for each try, so that nothing of a
// failed try is left; the tools that the daemon starts never inherit it.

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

class Socket {
public:
    /// An IPv4 socket of `type` (SOCK_DGRAM, SOCK_STREAM), close-on-exec; `get()` is negative and
    /// errno set when it could not be made.
    explicit Socket(int type, int protocol = 0)
        : fd_(socket(AF_INET, type | SOCK_CLOEXEC, protocol)) {}
    ~Socket() {
        close_now();
    }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    int get() const {
        return fd_;
    }
    explicit operator bool() const {
        return fd_ >= 0;
    }
    void close_now() {
        if (fd_ >= 0) {
            close(fd_);
        }
        fd_ = -1;
    }

private:
    int fd_;
};
