#include "tests/harness/no_memory.h"

#include <cstdlib>

namespace {

thread_local bool is_refused = false;

}  // namespace

// The linker turns the calls of the program's own objects over to this.
extern "C" void* __real_calloc(size_t count, size_t size);
extern "C" void* __wrap_calloc(size_t count, size_t size) {
    return is_refused ? nullptr : __real_calloc(count, size);
}

namespace harness {

NoMemory::NoMemory() {
    is_refused = true;
}

NoMemory::~NoMemory() {
    is_refused = false;
}

}  // namespace harness
