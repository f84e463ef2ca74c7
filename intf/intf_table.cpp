#include "intf/intf_table.h"

#include <cstdio>
#include <cstring>

#include "intf/intf_profile.h"
#include "runtime/file_io.h"
#include "runtime/heap.h"
#include "runtime/runtime_block.h"

namespace {

/// Counting reads the file in pieces of this size: a longer line counts more than once, and the
/// table has a record for each count.
constexpr size_t COUNT_BUFFER_SIZE = 64;
/// Records of a table at most; a node has a few dozen interfaces.
constexpr int32_t INTF_RECORDS_MAX = 1024;
/// What is scanned of a line: its five columns stand at its beginning.
constexpr size_t LINE_SIZE = 1024;

int32_t profile_line_count(FILE* file) {
    std::array<char, COUNT_BUFFER_SIZE> piece{};
    int32_t count = 0;
    while (count < INTF_RECORDS_MAX && file_next_piece(file, piece)) {
        ++count;
    }
    return count;
}

void record_fill(intf_record& record, const intf_profile_line& line) {
    record.name = line.name;
    record.type = intf_type_code(line.type.data());
    record.band = intf_band_code(line.band.data());
    record.priority = line.priority;
    record.follow_primary = line.follow_primary;
    record.other_band_scan_enable = true;
}

/// Fills every record; those past the last line repeat it.
void records_fill(FILE* file, std::span<intf_record> records) {
    std::array<char, LINE_SIZE> text{};
    intf_profile_line line;
    for (auto& record : records) {
        if (file_next_line(file, text)) {
            intf_profile_line_scan(text.data(), line);
        }
        record_fill(record, line);
    }
}

}  // namespace

int intf_table_load() {
    const File file(INTF_PROFILE_PATH, "r");
    if (!file) {
        return -1;
    }
    const int32_t count = profile_line_count(file.get());
    if (count == 0) {
        return 0;
    }
    std::rewind(file.get());
    auto* const records = heap_make<intf_record>(static_cast<size_t>(count));
    if (records == nullptr) {
        return -1;
    }
    records_fill(file.get(), {records, static_cast<size_t>(count)});
    // The socket thread runs already: the pointer is there before the count says so.
    runtime.intf_table.store(records, std::memory_order_release);
    runtime.intf_num.store(count, std::memory_order_release);
    return count;
}

intf_record* intf_table_get() {
    return runtime.intf_table.load(std::memory_order_acquire);
}

int intf_table_count() {
    return runtime.intf_num.load(std::memory_order_acquire);
}

std::span<intf_record> intf_table_walk() {
    const int count = intf_table_count();
    intf_record* const records = intf_table_get();
    if (count <= 0 || records == nullptr) {
        return {};
    }
    return {records, static_cast<size_t>(count)};
}

intf_record* intf_find_by_name(const char* name) {
    for (auto& record : intf_table_walk()) {
        if (std::strcmp(record.name.data(), name) == 0) {
            return &record;
        }
    }
    return nullptr;
}
