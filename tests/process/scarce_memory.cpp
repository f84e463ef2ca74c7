#include "tests/process/scarce_memory.h"

#include <execinfo.h>
#include <fcntl.h>
#include <pthread.h>
#include <sqlite3.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <new>

namespace {

/// Places that were refused, of supervisor and workers together.
using places = std::array<std::atomic<uint64_t>, 8192>;
places* refused = nullptr;
sqlite3_mem_methods sqlite_own{};

/// A number for the callers of this allocation.
uint64_t place_now() {
    std::array<void*, 12> callers{};
    const int depth = backtrace(callers.data(), callers.size());
    uint64_t number = 14695981039346656037U;
    for (int at = 0; at < depth; ++at) {
        const auto caller = reinterpret_cast<uintptr_t>(callers[static_cast<size_t>(at)]);
        number = (number ^ caller) * 1099511628211U;
    }
    return number | 1U;
}

void refusal_note(const char* what) {
    std::array<char, 64> line{};
    const int length = std::snprintf(line.data(), line.size(), "%s\n", what);
    const int fd = open(SCARCE_REFUSED, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    [[maybe_unused]] const ssize_t put = write(fd, line.data(), static_cast<size_t>(length));
    close(fd);
}

bool is_refused(const char* what) {
    // The unwinder allocates as well.
    thread_local bool is_busy = false;
    if (is_busy || refused == nullptr || access(SCARCE_NOW, F_OK) != 0) {
        return false;
    }
    is_busy = true;
    const uint64_t place = place_now();
    bool is_new = false;
    for (auto& known : *refused) {
        uint64_t before = 0;
        is_new = known.compare_exchange_strong(before, place);
        if (is_new || before == place) {
            break;
        }
    }
    if (is_new) {
        refusal_note(what);
    }
    is_busy = false;
    errno = is_new ? ENOMEM : errno;
    return is_new;
}

void* sqlite_malloc(int size) {
    return is_refused("sqlite") ? nullptr : sqlite_own.xMalloc(size);
}

void* sqlite_realloc(void* memory, int size) {
    return is_refused("sqlite") ? nullptr : sqlite_own.xRealloc(memory, size);
}

/// Before main().
[[gnu::constructor]] void scarce_start() {
    void* const memory =
        mmap(nullptr, sizeof(places), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        std::perror("mmap");
        _exit(1);
    }
    refused = new (memory) places{};
    sqlite3_config(SQLITE_CONFIG_GETMALLOC, &sqlite_own);
    sqlite3_mem_methods scarce = sqlite_own;
    scarce.xMalloc = sqlite_malloc;
    scarce.xRealloc = sqlite_realloc;
    sqlite3_config(SQLITE_CONFIG_MALLOC, &scarce);
}

}  // namespace

// The linker turns the calls of the daemon's own objects over to these.

extern "C" {

void* __real_calloc(size_t count, size_t size);
void* __wrap_calloc(size_t count, size_t size) {
    return is_refused("calloc") ? nullptr : __real_calloc(count, size);
}

FILE* __real_fdopen(int fd, const char* mode);
FILE* __wrap_fdopen(int fd, const char* mode) {
    return is_refused("fdopen") ? nullptr : __real_fdopen(fd, mode);
}

FILE* __real_popen(const char* line, const char* mode);
FILE* __wrap_popen(const char* line, const char* mode) {
    return is_refused("popen") ? nullptr : __real_popen(line, mode);
}

int __real_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                          void* (*entry)(void*), void* argument);
int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                          void* (*entry)(void*), void* argument) {
    return is_refused("thread") ? EAGAIN
                                : __real_pthread_create(thread, attributes, entry, argument);
}

}  // extern "C"
