// The bed with the real daemon in it: what a process test relies on.
#include "tests/harness/story.h"

#include <sys/stat.h>

namespace {

using harness::Lines;
using harness::Story;

class StoryBed : public Story {};

TEST_F(StoryBed, brings_an_extender_from_start_to_ready) {
    start_extender();
    expect_status("not ready\n");
    advance(9);
    expect_shell({"uci get wireless.ath10.disabled", "uci set wireless.ath10.disabled=1", "...",
                  "uci set wireless.ath20.disabled=1", "uci commit wireless",
                  "/etc/init.d/wireless restart"});
    advance(1);
    expect_state("ath0", 3);
    driver().associated("ath0", ap(1));
    expect_state("ath0", 4);
    expect_status("connected\n");
    advance(16);
    expect_status("connected\n");
    advance(1);
    expect_status("ready\n");
    expect_state("ath0", 7);
}

TEST_F(StoryBed, starts_a_test_with_a_ready_extender) {
    start_ready_extender();
    expect_status("ready\n");
    expect_log({});
    expect_shell({});
    driver().lost("ath0");
    expect_journal({"STA_CONNECTION_DOWN", "Disconnect with : 02:00:00:00:01:01", "..."});
    expect_status("not ready\n");
}

}  // namespace
