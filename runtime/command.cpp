#include "runtime/command.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdlib>

namespace {

using command_line = std::array<char, COMMAND_SIZE_LONG>;

/// What was printed has to be out before a child could inherit a copy of it.
void stdout_flush() {
    std::fflush(stdout);
}

/// Returns whether the whole text fits `size` bytes (and the line's own size).
bool command_format(command_line& line, size_t size, const char* format, va_list arguments) {
    const size_t limit = std::min(size, line.size());
    const int length = std::vsnprintf(line.data(), limit, format, arguments);
    return length >= 0 && static_cast<size_t>(length) < limit;
}

}  // namespace

void command_run(const char* line) {
    stdout_flush();
    [[maybe_unused]] const int status = std::system(line);
}

int command_format_run(size_t size, const char* format, ...) {
    command_line line{};
    va_list arguments;
    va_start(arguments, format);
    const bool whole = command_format(line, size, format, arguments);
    va_end(arguments);
    if (!whole) {
        return -1;
    }
    command_run(line.data());
    return 0;
}

void command_format_cut_run(size_t size, const char* format, ...) {
    command_line line{};
    va_list arguments;
    va_start(arguments, format);
    command_format(line, size, format, arguments);
    va_end(arguments);
    command_run(line.data());
}

CommandPipe::CommandPipe(const char* line) : file_(nullptr) {
    stdout_flush();
    file_ = popen(line, "re");
}

CommandPipe::~CommandPipe() {
    if (file_ != nullptr) {
        pclose(file_);
    }
}
