// The approval list in all that is read of it, against scanf over the lines that fgets gives.

#include "device/approval_list.h"

#include <array>
#include <cstdio>
#include <cstring>

#include "runtime/mac_text.h"
#include "tests/fuzz/bed/input.h"
#include "tests/fuzz/bed/place.h"
#include "topology/admission.h"
#include "topology/topology_db.h"

namespace {

using fuzz::require;

constexpr size_t LINE_SIZE = 64;
almac_text asked{};

}  // namespace

/// The database in the place of the daemon's own: it knows one node.
almac_text db_almac_get(const char* /*format*/, const char* /*argument*/) {
    return asked;
}

namespace {

/// The list's columns as scanf fills them, with room for every model of a line.
struct Columns {
    unsigned char flag = 0;
    std::array<char, LINE_SIZE> model{};
};

template <typename Each>
void lines_walk(const std::string& list, Each each) {
    const fuzz::ByteStream stream(list);
    std::array<char, LINE_SIZE> line{};
    while (std::fgets(line.data(), line.size(), stream.get()) != nullptr && each(line.data())) {
    }
}

void columns_scan(const char* line, Columns& columns) {
    std::sscanf(line, "%*s %hhu %s", &columns.flag, columns.model.data());
    // The contract's room is 16: what is longer is cut.
    columns.model[APPROVAL_MODEL_SIZE - 1] = '\0';
}

void line_check(const char* text) {
    approval_line line;
    Columns wanted;
    approval_line_scan(text, line);
    columns_scan(text, wanted);
    require(
        line.approved == wanted.flag && std::strcmp(line.model.data(), wanted.model.data()) == 0,
        "a line's flag and model are scanf's");
}

void list_check(const std::string& list) {
    bool is_ready = true;
    bool has_model = false;
    int count = 0;
    Columns carried;
    lines_walk(list, [&](const char* text) {
        line_check(text);
        columns_scan(text, carried);
        count += carried.flag != 0 ? 1 : 0;
        is_ready = is_ready && (carried.flag == 0 || carried.model[0] != '\0');
        Columns alone;
        columns_scan(text, alone);
        has_model = has_model || (alone.flag != 0 && std::strcmp(alone.model.data(), "MRX70") == 0);
        carried.model.fill('\0');
        return true;
    });
    require(approval_list_approved_count() == count, "approved lines are counted");
    require((approval_list_readiness() == approval_readiness::ready) == is_ready,
            "a list is ready when no approved line lacks its model");
    require(approval_list_model_approved() == has_model, "the model is found among the approved");
}

/// 1 approved, 0 refused, -1 not in the list.
int verdict_wanted(const std::string& list, const char* almac) {
    std::array<unsigned char, 6> mac{};
    unsigned char flag = 0;
    int verdict = -1;
    lines_walk(list, [&](const char* text) {
        std::sscanf(text, "%hhx:%hhx:%hhx:%hhx:%hhx:%hhx %hhu %*s", &mac[0], &mac[1], &mac[2],
                    &mac[3], &mac[4], &mac[5], &flag);
        std::array<char, MAC_TEXT_SIZE> printed{};
        std::snprintf(printed.data(), printed.size(), "%02hhx:%02hhx:%02hhx:%02hhx:%02hhx:%02hhx",
                      mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
        verdict = std::strcmp(printed.data(), almac) != 0 ? -1 : static_cast<int>(flag != 0);
        return verdict < 0;
    });
    return verdict;
}

void admission_check(const std::string& list, const std::string& almac) {
    asked.fill('\0');
    almac.copy(asked.data(), asked.size() - 1);
    const int verdict = asked[0] == '\0' ? -1 : verdict_wanted(list, asked.data());
    require(backhaul_db_device_valid_check("192.168.1.20") == (verdict == 1),
            "who is approved is what the first line of that address says");
}

}  // namespace

// The name is the fuzzer engine's. Up to the first line end stands the address that is asked for.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::Input input(data, size);
    const std::string almac = input.text_until('\n');
    const std::string list = input.rest();
    fuzz::file_put(APPROVAL_LIST_PATH, list);
    list_check(list);
    admission_check(list, almac.c_str());
    return 0;
}
