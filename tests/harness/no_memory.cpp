#include "tests/harness/no_memory.h"

#include <cstdlib>
#include <new>

namespace {

thread_local bool is_refused = false;

}  // namespace

// The linker turns the calls of the program's own objects over to these.
extern "C" void* __real_malloc(size_t size);
extern "C" void* __wrap_malloc(size_t size) {
    return is_refused ? nullptr : __real_malloc(size);
}

extern "C" void* __real_calloc(size_t count, size_t size);
extern "C" void* __wrap_calloc(size_t count, size_t size) {
    return is_refused ? nullptr : __real_calloc(count, size);
}

// A program may bring these two itself.
void* operator new(size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return is_refused ? nullptr : ::operator new(size);
}
void* operator new[](size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return is_refused ? nullptr : ::operator new[](size);
}

namespace harness {

NoMemory::NoMemory() {
    is_refused = true;
}

NoMemory::~NoMemory() {
    is_refused = false;
}

}  // namespace harness
