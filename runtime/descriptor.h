#pragma once

// A descriptor that is closed when its owner goes. Whoever makes one asks for close-on-exec: the
// tools and services that the daemon starts never inherit it.

#include <unistd.h>

class Descriptor {
public:
    /// Owns `fd`; a negative one is no descriptor.
    explicit Descriptor(int fd) : fd_(fd) {}
    ~Descriptor() {
        close_now();
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

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
    /// Hands the descriptor over to the caller.
    int release() {
        const int fd = fd_;
        fd_ = -1;
        return fd;
    }

private:
    int fd_;
};
