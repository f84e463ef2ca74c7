#include "runtime/flow_log.h"

#include "runtime/file_io.h"
#include "runtime/runtime_block.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <ctime>

namespace {

/// ctime text: 24 characters, a line end and the terminator.
constexpr size_t CTIME_SIZE = 26;

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
    const File file(FLOW_LOG_PATH, "a+");
    if (!file) {
        return;
    }
    std::array<char, CTIME_SIZE> date{};
    ctime_r(&now, date.data());
    // Buffered until the file is closed, so that the entry goes out in one write.
    std::fprintf(file.get(), "%.24s : ", date.data());
    va_list arguments;
    va_start(arguments, format);
    std::vfprintf(file.get(), format, arguments);
    va_end(arguments);
}
