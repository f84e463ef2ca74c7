#include "tests/process/extender_story.h"

#include <algorithm>

void ExtenderStory::start_with_profile(const std::string& profile) {
    add_extender().put_file("/tmp/wifi_if_profile", profile);
    router().start();
}

void ExtenderStory::expect_start_journal(const Lines& lines, const char* file, int line) {
    Lines found = router().new_journal();
    const auto announce = std::find(found.begin(), found.end(), "loop_slave_handle : Enter");
    if (announce == found.end()) {
        ADD_FAILURE_AT(file, line) << "the announce thread did not start";
    } else {
        found.erase(announce);
    }
    const std::string difference = harness::lines_differ(lines, found);
    if (!difference.empty()) {
        ADD_FAILURE_AT(file, line) << "journal of the start:\n" << difference;
    }
    expect_journal({harness::kAnyLines});
}

void ExtenderStory::make_ready(const std::string& station, const std::string& ap, const char* file,
                               int line) {
    settle(file, line);
    driver().associated(station, ap, file, line);
    expect_status("connected\n", file, line);
    advance_until([this] { return router().file("/tmp/backhaul_status") == "ready\n"; }, 20, file,
                  line);
    skip();
}

void ExtenderStory::lose_upstream_ap(const char* file, int line) {
    driver().lost("ath0", file, line);
    advance(181, file, line);
    expect_state("ath0", 3, file, line);
    expect_state("ath1", 3, file, line);
    skip();
}

void ExtenderStory::expect_never(const std::string& text, const char* file, int line) {
    for (const std::string& one : router().new_journal()) {
        if (one.find(text) != std::string::npos) {
            ADD_FAILURE_AT(file, line) << "unexpected: " << one;
        }
    }
}
