#include "runtime/flow_log.h"

#include "runtime/descriptor.h"
#include "runtime/runtime_block.h"

#include <fcntl.h>
#include <unistd.h>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <span>
#include <string_view>

namespace {

/// What is kept of a ctime text: all but its line end.
constexpr size_t DATE_SIZE = 24;
constexpr std::string_view SEPARATOR = " : ";
constexpr mode_t FLOW_LOG_MODE = 0644;
/// Holds twice the longest entry, which tells a command line.
constexpr size_t ENTRY_SIZE = 512;

/// Counts this call and starts a new file when the limit is passed. Calls are counted, not lines,
/// and also those whose entry is then lost; the first file of a process therefore takes 300 calls
/// and every later one 301.
void flow_log_rotate() {
    const int32_t calls = runtime.flow_log_lines + 1;
    if (calls <= FLOW_LOG_CALLS_MAX) {
        runtime.flow_log_lines = calls;
        return;
    }
    std::remove(FLOW_LOG_OLD_PATH);
    std::rename(FLOW_LOG_PATH, FLOW_LOG_OLD_PATH);
    runtime.flow_log_lines = 0;
}

}  // namespace

void flow_log(const char* format, ...) {
    const time_t now = time(nullptr);
    flow_log_rotate();
    // For writing alone: nobody waits for a FIFO in the file's place, it cannot be opened.
    const Descriptor file(
        open(FLOW_LOG_PATH,
             O_WRONLY | O_CREAT | O_APPEND | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC,
             FLOW_LOG_MODE));
    if (!file) {
        return;
    }
    // In one write: entries of several threads stay whole.
    std::array<char, ENTRY_SIZE> entry{};
    ctime_r(&now, entry.data());
    SEPARATOR.copy(&entry[DATE_SIZE], SEPARATOR.size());
    const auto text = std::span(entry).subspan(DATE_SIZE + SEPARATOR.size());
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    [[maybe_unused]] const ssize_t written =
        write(file.get(), entry.data(), std::strlen(entry.data()));
}
