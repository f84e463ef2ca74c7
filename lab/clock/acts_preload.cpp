// What a thread may do beyond waking and waiting again: each of these functions notes it in the
// node's account. Where nodes share a processor, a datagram goes out when nobody of any node runs,
// and its sender goes on when all whom it reached rest again: so it does not matter how soon the
// kernel delivers it.
//
// Together with sleep(), select() and the clock's other functions these are all functions of the
// daemon that matter to the account; a test holds the list of what the daemon calls against it.

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>

#include "lab/clock/own_page.h"

#define LAB_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

// The function behind ours: the C library's own.
template <typename Function>
class Behind {
public:
    explicit constexpr Behind(const char* name) : name_(name) {}
    Function* get() {
        Function* found = found_.load(std::memory_order_relaxed);
        if (found == nullptr) {
            found = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name_));
            found_.store(found, std::memory_order_relaxed);
        }
        return found;
    }

private:
    const char* name_;
    std::atomic<Function*> found_ = nullptr;
};

constinit Behind<pid_t()> fork_behind{"fork"};
constinit Behind<pid_t(pid_t, int*, int)> waitpid_behind{"waitpid"};
constinit Behind<int(const char*)> system_behind{"system"};
constinit Behind<FILE*(const char*, const char*)> popen_behind{"popen"};
constinit Behind<int(FILE*)> pclose_behind{"pclose"};

bool is_message(const sockaddr* to) {
    return to != nullptr && to->sa_family == AF_INET;
}

bool waits(int fd, int flags) {
    return (flags & MSG_DONTWAIT) == 0 && (syscall(SYS_fcntl, fd, F_GETFL) & O_NONBLOCK) == 0;
}

}  // namespace

LAB_EXPORT ssize_t sendto(int fd, const void* bytes, size_t size, int flags, const sockaddr* to,
                          socklen_t to_size) {
    const bool in_turn = is_message(to) && lab::own_exact();
    if (in_turn) {
        lab::own_call_await(lab::SLOT_SEND, 0);
    }
    const long sent = syscall(SYS_sendto, fd, bytes, size, flags, to, to_size);
    if (in_turn) {
        const int reason = errno;
        lab::own_call_await(lab::SLOT_SENT, 0);
        errno = reason;
    }
    return sent;
}

// The time after which a socket gives up is the machine's: who moves exactly waits on.
LAB_EXPORT ssize_t recvfrom(int fd, void* bytes, size_t size, int flags, sockaddr* from,
                            socklen_t* from_size) {
    if (!waits(fd, flags)) {
        return syscall(SYS_recvfrom, fd, bytes, size, flags, from, from_size);
    }
    const socklen_t room = from_size == nullptr ? 0 : *from_size;
    long got = -1;
    lab::own_wait_begin();
    do {
        if (from_size != nullptr) {
            *from_size = room;
        }
        got = syscall(SYS_recvfrom, fd, bytes, size, flags, from, from_size);
    } while (got < 0 && errno == EAGAIN && lab::own_exact());
    lab::own_wait_end();
    return got;
}

LAB_EXPORT pid_t fork() noexcept {
    lab::own_handed_note();
    return fork_behind.get()();
}

LAB_EXPORT pid_t waitpid(pid_t pid, int* status, int options) {
    const pid_t ended = waitpid_behind.get()(pid, status, options);
    lab::own_handed_note();
    return ended;
}

LAB_EXPORT int system(const char* line) {
    lab::own_line_begin();
    const int status = system_behind.get()(line);
    lab::own_line_end();
    return status;
}

LAB_EXPORT FILE* popen(const char* line, const char* mode) {
    lab::own_line_begin();
    FILE* const stream = popen_behind.get()(line, mode);
    if (stream == nullptr) {
        lab::own_line_end();
    }
    return stream;
}

LAB_EXPORT int pclose(FILE* stream) {
    const int status = pclose_behind.get()(stream);
    lab::own_line_end();
    return status;
}
