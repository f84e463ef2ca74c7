#include "runtime/file_io.h"

#include "runtime/descriptor.h"

#include <fcntl.h>
#include <unistd.h>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstring>

namespace {

/// Longest stdio mode used ("a+") with the close-on-exec letter and the terminator, and to spare.
constexpr size_t MODE_SIZE = 8;

FILE* file_open(const char* path, const char* mode) {
    std::array<char, MODE_SIZE> full{};
    std::snprintf(full.data(), full.size(), "%se", mode);
    return std::fopen(path, full.data());
}

bool is_word_end(int c) {
    return c == EOF || std::isspace(c) != 0;
}

/// Skips white space and reads one word, keeping what fits. Returns its whole length; `last` is
/// the character that ended it.
size_t word_read(FILE* file, std::span<char> out, int& last) {
    out.front() = '\0';
    int c = std::getc(file);
    while (c != EOF && std::isspace(c) != 0) {
        c = std::getc(file);
    }
    size_t length = 0;
    for (; !is_word_end(c); c = std::getc(file), ++length) {
        if (length + 1 < out.size()) {
            out[length] = static_cast<char>(c);
            out[length + 1] = '\0';
        }
    }
    last = c;
    return length;
}

}  // namespace

File::File(const char* path, const char* mode) : file_(file_open(path, mode)) {}

File::~File() {
    if (file_ != nullptr) {
        std::fclose(file_);
    }
}

bool file_first_word(FILE* file, std::span<char> out) {
    int last = EOF;
    return word_read(file, out, last) > 0;
}

word_result file_next_word(FILE* file, std::span<char> out) {
    int last = EOF;
    word_read(file, out, last);
    if (last != EOF) {
        return word_result::word;
    }
    return std::ferror(file) != 0 ? word_result::failed : word_result::at_end;
}

bool file_next_line(FILE* file, std::span<char> out) {
    size_t length = 0;
    int c = std::getc(file);
    if (c == EOF) {
        return false;
    }
    for (; c != EOF && c != '\n'; c = std::getc(file)) {
        if (length + 1 < out.size()) {
            out[length++] = static_cast<char>(c);
        }
    }
    out[length] = '\0';
    return true;
}

bool file_rewrite(const char* path, std::string_view content) {
    const Descriptor file(open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
    if (!file) {
        return false;
    }
    while (!content.empty()) {
        const ssize_t written = write(file.get(), content.data(), content.size());
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            break;
        }
        content.remove_prefix(static_cast<size_t>(written));
    }
    return true;
}

bool file_exists(const char* path) {
    return access(path, F_OK) == 0;
}
