// What a program of the C library musl needs besides headers of the C++ library, and of what was
// compiled for the other C library: memory, an end where the C++ library would throw, two symbols.
// Nothing here is reached by a program that works but the first three functions.
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <new>

void* operator new(std::size_t size) {
    void* const memory = std::malloc(size);
    if (memory == nullptr) {
        std::abort();
    }
    return memory;
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
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
