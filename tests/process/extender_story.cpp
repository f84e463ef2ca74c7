#include "tests/process/extender_story.h"

#include <algorithm>

void ExtenderStory::start_with_profile(const std::string& profile) {
    add_extender().put_file("/tmp/wifi_if_profile", profile);
    router().start();
}

void ExtenderStory::expect_start_journal(const Lines& lines, Where where) {
    Lines found = router().new_journal();
    const auto announce = std::find(found.begin(), found.end(), "loop_slave_handle : Enter");
    if (announce == found.end()) {
        harness::fail_at(where, "the announce thread did not start");
    } else {
        found.erase(announce);
    }
    const std::string difference = harness::lines_differ(lines, found);
    if (!difference.empty()) {
        harness::fail_at(where, "journal of the start:\n", difference);
    }
    expect_journal({harness::ANY_LINES});
}

void ExtenderStory::make_ready(const std::string& station, const std::string& ap, Where where) {
    settle(where);
    driver().associated(station, ap, where);
    expect_status("connected\n", where);
    advance_until([this] { return router().file("/tmp/backhaul_status") == "ready\n"; }, 20, where);
    skip();
}

void ExtenderStory::lose_upstream_ap(Where where) {
    driver().lost("ath0", where);
    advance(181, where);
    expect_state("ath0", 3, where);
    expect_state("ath1", 3, where);
    skip();
}

void ExtenderStory::expect_never(const std::string& text, Where where) {
    for (const std::string& one : router().new_journal()) {
        if (one.find(text) != std::string::npos) {
            harness::fail_at(where, "unexpected: ", one);
        }
    }
}
