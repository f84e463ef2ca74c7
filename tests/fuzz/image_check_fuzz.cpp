// What the check of an image reads: profile, configuration store, role, database and the kernel's
// tables. Whatever the bytes, what it says is JSON with a verdict that fits, and the lines of a
// profile that it has nothing against are the records that the daemon would load.

#include "ctl/check.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <nlohmann/json.hpp>

#include "ctl/options.h"
#include "intf/intf_table.h"
#include "runtime/heap.h"
#include "runtime/runtime_block.h"
#include "tests/fuzz/bed/input.h"
#include "tests/fuzz/bed/place.h"

namespace {

using fuzz::require;

constexpr char ROOT[] = "/tmp/image";
constexpr std::uint8_t NEXT_FILE = '\f';
/// Which a text of the input becomes below ROOT, one after the other.
constexpr std::array PATHS = {"/tmp/image/tmp/wifi_if_profile",
                              "/tmp/image/etc/config/wireless",
                              "/tmp/image/etc/config/hyd",
                              "/tmp/image/tmp/backhaul_mode_change",
                              "/tmp/image/etc/default/backhaul_monitor",
                              "/tmp/image/proc/net/route",
                              "/tmp/image/proc/net/udp",
                              "/tmp/image/tmp/netprobe.db"};

struct Gaps final : gap_teller {
    void gap(gap_kind /*kind*/, const char* id, const char* /*what*/, const char* /*then*/,
             const char* /*help*/) override {
        repeats = repeats || std::strcmp(id, "profile.blank") == 0 ||
                  std::strcmp(id, "profile.long") == 0;
    }
    bool repeats = false;  ///< a line of the profile gives no record of its own, or two
};

/// What is loaded at start, against what the check took the profile for.
void records_check(const std::string& profile) {
    const auto image = std::make_unique<check_image>();
    image->root = ROOT;
    Gaps gaps;
    check_profile(*image, gaps);
    fuzz::file_put(INTF_PROFILE_PATH, profile);
    runtime.intf_table = nullptr;
    runtime.intf_num = 0;
    const int count = intf_table_load();
    if (!gaps.repeats && image->line_count < CHECK_LINES_MAX) {
        require(static_cast<size_t>(count) == image->line_count, "each line is a record");
        for (size_t at = 0; at < image->line_count; ++at) {
            const check_line& line = image->lines[at];
            const intf_record& record = intf_table_walk()[at];
            require(record.name == line.name && record.type == line.type &&
                        record.band == line.band && record.priority == line.priority &&
                        record.follow_primary == line.follow,
                    "a line is read as the daemon reads it");
        }
    }
    heap_drop(intf_table_get());
}

void verdict_check() {
    char* text = nullptr;
    size_t size = 0;
    ctl_options options;
    options.json = true;
    options.root = ROOT;
    options.out = open_memstream(&text, &size);
    const int code = command_check(options);
    std::fclose(options.out);
    const auto told = nlohmann::json::parse(std::string_view(text, size), nullptr, false);
    std::free(text);
    require(!told.is_discarded(), "what is said is JSON");
    size_t stops = 0;
    for (const auto& gap : told.at("gaps")) {
        require(!gap.at("what").get<std::string>().empty(), "a gap says what is wrong");
        stops += gap.at("stops").get<bool>() ? 1 : 0;
    }
    require(told.at("stops") == stops && told.at("weakens") == told.at("gaps").size() - stops,
            "gaps are counted");
    require(code == (stops > 0 ? EXIT_FOUND : EXIT_GOOD), "the exit code is the verdict");
}

}  // namespace

// The name is the fuzzer engine's.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::Input input(data, size);
    std::string profile;
    for (const char* const path : PATHS) {
        const std::string text = input.text_until(NEXT_FILE);
        fuzz::file_put(path, text);
        profile = path == PATHS.front() ? text : profile;
    }
    records_check(profile);
    verdict_check();
    return 0;
}
