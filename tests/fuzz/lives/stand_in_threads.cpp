// Stands in for the system's time, threads, locks and memory, as stand_in.cpp does for the rest.
#include <pthread.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <ctime>

#include "link/timeout_check.h"
#include "runtime/runtime_block.h"
#include "tests/fuzz/lives/life.h"

namespace lives {
namespace {

// A call from within this many bytes of a small function's begin is that function's own.
constexpr uintptr_t LOOP_CODE_SIZE = 768;

bool is_lock_of_daemon(const pthread_mutex_t* mutex) {
    const auto* const at = reinterpret_cast<const char*>(mutex);
    const auto* const block = reinterpret_cast<const char*>(&runtime);
    return at >= block && at < block + sizeof runtime;
}

}  // namespace
}  // namespace lives

using lives::Life;
using lives::life_of_caller;
using lives::WaitKind;

extern "C" {

// Time.

time_t __real_time(time_t* out);
time_t __wrap_time(time_t* out) {
    const Life* const life = life_of_caller();
    return life == nullptr ? __real_time(out) : life->wall_clock();
}

int __real_gettimeofday(timeval* now, void* zone);
int __wrap_gettimeofday(timeval* now, void* zone) {
    const Life* const life = life_of_caller();
    if (life == nullptr) {
        return __real_gettimeofday(now, zone);
    }
    *now = {.tv_sec = life->wall_clock(), .tv_usec = 0};
    return 0;
}

unsigned __real_sleep(unsigned seconds);
unsigned __wrap_sleep(unsigned seconds) {
    Life* const life = life_of_caller();
    if (life == nullptr) {
        return __real_sleep(seconds);
    }
    const auto caller = reinterpret_cast<uintptr_t>(__builtin_return_address(0));
    const auto loop = reinterpret_cast<uintptr_t>(&backhaul_timer_monitor);
    life->current->is_home = caller > loop && caller < loop + lives::LOOP_CODE_SIZE;
    life->wait({.kind = WaitKind::seconds, .until = life->elapsed + seconds});
    return 0;
}

// Threads, locks and memory.

int __real_pthread_create(pthread_t* thread, const pthread_attr_t* how, void* (*entry)(void*),
                          void* argument);
int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* how, void* (*entry)(void*),
                          void* argument) {
    Life* const life = life_of_caller();
    if (life == nullptr) {
        return __real_pthread_create(thread, how, entry, argument);
    }
    return life->thread_add(entry, argument) ? 0 : EAGAIN;
}

int __real_pthread_detach(pthread_t thread);
int __wrap_pthread_detach(pthread_t thread) {
    return life_of_caller() == nullptr ? __real_pthread_detach(thread) : 0;
}

int __real_pthread_mutex_lock(pthread_mutex_t* mutex);
int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex) {
    Life* const life = life_of_caller();
    if (life == nullptr || !lives::is_lock_of_daemon(mutex)) {
        return __real_pthread_mutex_lock(mutex);
    }
    life->lock(mutex);
    return 0;
}

int __real_pthread_mutex_unlock(pthread_mutex_t* mutex);
int __wrap_pthread_mutex_unlock(pthread_mutex_t* mutex) {
    Life* const life = life_of_caller();
    if (life == nullptr || !lives::is_lock_of_daemon(mutex)) {
        return __real_pthread_mutex_unlock(mutex);
    }
    life->unlock(mutex);
    return 0;
}

int __real_pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex);
int __wrap_pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex) {
    Life* const life = life_of_caller();
    if (life == nullptr) {
        return __real_pthread_cond_wait(condition, mutex);
    }
    life->unlock(mutex);
    life->current->is_home = true;
    life->wait({.kind = WaitKind::condition, .mutex = mutex});
    life->lock(mutex);
    return 0;
}

int __real_pthread_cond_signal(pthread_cond_t* condition);
int __wrap_pthread_cond_signal(pthread_cond_t* condition) {
    Life* const life = life_of_caller();
    if (life == nullptr) {
        return __real_pthread_cond_signal(condition);
    }
    for (const auto& thread : life->threads) {
        if (thread->wait.kind == WaitKind::condition) {
            thread->wait.kind = WaitKind::mutex;
            break;
        }
    }
    return 0;
}

[[noreturn]] void __real__exit(int status);
[[noreturn]] void __wrap__exit(int status) {
    Life* const life = life_of_caller();
    if (life == nullptr) {
        __real__exit(status);
    }
    life->worker_end(status);
}

void* __real_calloc(size_t count, size_t size);
void* __wrap_calloc(size_t count, size_t size) {
    Life* const life = life_of_caller();
    if (life != nullptr && life->around.memory_refused) {
        return nullptr;
    }
    void* const memory = __real_calloc(count, size);
    if (life != nullptr && memory != nullptr) {
        life->memory.insert(memory);
    }
    return memory;
}

void __real_free(void* memory);
void __wrap_free(void* memory) {
    if (Life* const life = life_of_caller()) {
        life->memory.erase(memory);
    }
    __real_free(memory);
}

}  // extern "C"
