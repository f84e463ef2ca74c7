#include "runtime/thread_start.h"

#include <pthread.h>

#include <cstddef>

namespace {

constexpr size_t KIB = 1024;
// The largest frames hold 20 KiB; small C libraries give a thread as little as 80. Sanitizers
// multiply what a frame needs.
#ifdef BACKHAUL_SANITIZED
constexpr size_t THREAD_STACK_SIZE = 8 * KIB * KIB;
#else
constexpr size_t THREAD_STACK_SIZE = 512 * KIB;
#endif

}  // namespace

int thread_start(void* (*entry)(void*), void* argument) {
    pthread_attr_t attributes;
    int result = pthread_attr_init(&attributes);
    if (result != 0) {
        return result;
    }
    pthread_attr_setstacksize(&attributes, THREAD_STACK_SIZE);
    pthread_t thread{};
    result = pthread_create(&thread, &attributes, entry, argument);
    pthread_attr_destroy(&attributes);
    return result;
}
