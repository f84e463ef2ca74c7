// Where the targets that read and write files run: linked to `fuzz_bed`, the whole program gets a
// mount namespace with an empty /tmp, /run, /var/log and /var/run, and a network namespace, before
// its first input. Nothing of that is undone between two inputs: a target puts what it needs.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

namespace fuzz {

// Does that; for who links the bed without a fuzzer. A failure ends the program.
void place_enter();

// A file with these bytes, made with its folder or written over. A failure ends the program.
void file_put(const char* path, std::string_view bytes);

// Whole content of a file; empty when there is none.
std::string file_get(const char* path);

// Bytes as a stream of the C library, for its own scanf to read what the daemon read.
class ByteStream {
public:
    explicit ByteStream(std::string_view bytes);
    ~ByteStream();
    ByteStream(const ByteStream&) = delete;
    ByteStream& operator=(const ByteStream&) = delete;
    FILE* get() const {
        return file_;
    }

private:
    FILE* file_;
};

}  // namespace fuzz
