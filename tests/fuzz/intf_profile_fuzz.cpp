// Lines of the interface profile, scanned one over the other as the loader does, against scanf with
// the contract's format; and the table that is loaded from them.

#include "intf/intf_profile.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <vector>

#include "intf/intf_table.h"
#include "runtime/heap.h"
#include "runtime/runtime_block.h"
#include "tests/fuzz/bed/input.h"
#include "tests/fuzz/bed/place.h"

namespace {

using fuzz::require;

constexpr size_t LINE_MAX_LENGTH = 1023;
constexpr size_t RECORDS_MAX = 1024;

/// The parse buffers with room for any word.
struct Columns {
    std::array<char, LINE_MAX_LENGTH + 1> name{};
    std::array<char, LINE_MAX_LENGTH + 1> type{};
    std::array<char, LINE_MAX_LENGTH + 1> band{};
    uint16_t priority = 0;
    uint8_t follow_primary = 0;
};

template <size_t N>
bool is_column(const std::array<char, N>& found, const char* wanted) {
    require(std::memchr(found.data(), '\0', N) != nullptr, "a column has its end");
    return std::string_view(found.data()) == std::string_view(wanted).substr(0, N - 1);
}

void same(const intf_profile_line& line, const Columns& wanted) {
    require(is_column(line.name, wanted.name.data()) && is_column(line.type, wanted.type.data()) &&
                is_column(line.band, wanted.band.data()),
            "the words of a line are scanf's, cut to their room");
    require(line.priority == wanted.priority && line.follow_primary == wanted.follow_primary,
            "the numbers of a line are scanf's");
}

/// Every line scanned over the one before, by both.
std::vector<intf_profile_line> lines_scan(const std::string& text) {
    std::vector<intf_profile_line> lines;
    intf_profile_line line;
    Columns wanted;
    for (size_t at = 0; at < text.size();) {
        const size_t end = std::min(text.find('\n', at), text.size());
        const std::string one = text.substr(at, std::min(end - at, LINE_MAX_LENGTH));
        intf_profile_line_scan(one.c_str(), line);
        std::sscanf(one.c_str(), "%s %s %s %hu %hhu", wanted.name.data(), wanted.type.data(),
                    wanted.band.data(), &wanted.priority, &wanted.follow_primary);
        same(line, wanted);
        lines.push_back(line);
        at = end + 1;
    }
    return lines;
}

/// Pieces of 63 characters at most, as fgets gives them.
size_t pieces_count(const std::string& text) {
    const fuzz::ByteStream stream(text);
    std::array<char, 64> piece{};
    size_t count = 0;
    while (count < RECORDS_MAX && std::fgets(piece.data(), piece.size(), stream.get()) != nullptr) {
        ++count;
    }
    return count;
}

void table_check(const std::string& text, const std::vector<intf_profile_line>& lines) {
    fuzz::file_put(INTF_PROFILE_PATH, text);
    runtime.intf_table = nullptr;
    runtime.intf_num = 0;
    const size_t count = pieces_count(text);
    require(intf_table_load() == static_cast<int>(count), "a record is there for each piece");
    for (size_t at = 0; at < count; ++at) {
        const intf_record& record = intf_table_walk()[at];
        const intf_profile_line& line = lines[std::min(at, lines.size() - 1)];
        require(record.name == line.name && record.type == intf_type_code(line.type.data()) &&
                    record.band == intf_band_code(line.band.data()) &&
                    record.priority == line.priority &&
                    record.follow_primary == line.follow_primary,
                "a record is its line, or repeats the last one");
        require(record.type >= MAIN_SERVICE_AP && record.type <= INTF_TYPE_OTHER &&
                    record.band <= BAND_5G_LOW,
                "type and band are known ones");
    }
    heap_drop(intf_table_get());
}

}  // namespace

// The name is the fuzzer engine's.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text = fuzz::Input(data, size).rest();
    table_check(text, lines_scan(text));
    return 0;
}
