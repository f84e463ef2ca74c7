// What a program of the C library musl needs besides headers of the C++ library, and of what was
// compiled for the other C library: memory, an end where the C++ library would throw, three
// symbols. What throws here is reached by no program that works.
#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <new>

namespace {

// A program that lives for one line gives nothing back: memory is taken from here, page by page as
// it is touched, and asked for only by what needs more.
alignas(std::max_align_t) std::array<std::byte, 256 * 1024> arena;
std::size_t arena_used = 0;

bool in_arena(const void* memory) {
    const std::byte* const place = static_cast<const std::byte*>(memory);
    return place >= arena.data() && place < arena.data() + arena.size();
}

}  // namespace

void* operator new(std::size_t size) {
    constexpr std::size_t ALIGNED = alignof(std::max_align_t);
    if (size <= arena.size() - arena_used) {
        void* const memory = arena.data() + arena_used;
        arena_used = std::min(arena.size(), arena_used + (size + ALIGNED - 1) / ALIGNED * ALIGNED);
        return memory;
    }
    void* const memory = std::malloc(size);
    if (memory == nullptr) {
        std::abort();
    }
    return memory;
}

void operator delete(void* memory) noexcept {
    if (!in_arena(memory)) {
        std::free(memory);
    }
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
    operator delete(memory);
}

extern "C" {
// The C++ library's reference counts ask this.
char __libc_single_threaded = 1;

// What libraries compiled with checks call instead of fprintf.
int __fprintf_chk(FILE* stream, int /*flag*/, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int count = std::vfprintf(stream, format, arguments);
    va_end(arguments);
    return count;
}

// The library of ciphers asks with this, before main, which of its variants this processor can run.
// On a virtual machine each question costs as much as a line's work; the plain variant will do.
void _nettle_cpuid(std::uint32_t /*question*/, std::uint32_t* answer) {
    std::fill_n(answer, 4, 0U);
}
}

// The names are the C++ library's own.
namespace std {

void __throw_bad_alloc() {
    abort();
}

void __throw_bad_array_new_length() {
    abort();
}

void __throw_bad_function_call() {
    abort();
}

void __throw_length_error(const char* /*what*/) {
    abort();
}

void __throw_logic_error(const char* /*what*/) {
    abort();
}

void __throw_out_of_range_fmt(const char* /*format*/, ...) {
    abort();
}

}  // namespace std
