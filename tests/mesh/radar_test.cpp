// Radar on "ath20", from the driver's channel events to the AP that goes off and comes back.

#include "lab/tools/state_layout.h"
#include "tests/harness/story.h"
#include "tests/process/extender_lines.h"

namespace {

class Radar : public harness::Story {
protected:
    void SetUp() override {
        start_ready_extender({"-d"});
        router().put_file("/run/lab/channels", "5260 5280 5300");
        lab::nol_set(router().root(), {5260, 5280, 5300});
        // The scans of this outage are used up, so that nothing but radar runs for a long time.
        advance(7 * 64);
        skip();
    }

    void channels(std::initializer_list<unsigned> numbers) {
        for (const unsigned number : numbers) {
            driver().channel("ath20", number);
        }
    }

    static Lines channel_change(unsigned from, unsigned to) {
        return {"CHANNEL_CHANGE(ath20)", "$ wifi_channel_monitor once",
                "backhaul_dfs_check : intf->channel " + std::to_string(from) + " channel " +
                    std::to_string(to)};
    }

    /// Lines of the journal so far that have to do with radar.
    Lines radar_journal() {
        Lines kept;
        for (const std::string& line : router().new_journal()) {
            for (const char* word : {"dfs", "DFS", "radartool", "uci set wireless.ath20"}) {
                if (line.find(word) != std::string::npos) {
                    kept.push_back(line);
                    break;
                }
            }
        }
        skip();
        return kept;
    }
};

TEST_F(Radar, watches_the_ap_after_the_third_channel_change) {
    channels({36, 52, 100, 36});
    expect_journal(joined({channel_change(0, 36),
                           channel_change(36, 52),
                           {"backhaul_dfs_check : dfs_count 1 state 0"},
                           channel_change(52, 100),
                           {"backhaul_dfs_check : dfs_count 2 state 0"},
                           channel_change(100, 36),
                           {"backhaul_dfs_check : dfs_count 3 state 0"}}));
    channels({36, 40});
    expect_journal(joined({channel_change(36, 36),
                           channel_change(36, 40),
                           {"backhaul_dfs_check : dfs_count 3 state 10"}}));
}

TEST_F(Radar, blocks_the_ap_after_180_seconds_and_frees_it_after_2400) {
    channels({36, 52, 100, 36});
    skip();
    advance(180);
    EXPECT_EQ(radar_journal(), Lines{});
    advance(1);
    EXPECT_EQ(radar_journal(), (Lines{"$ radartool -i wifi2 getnol /tmp/nol_list",
                                      "device_dfs_monitoring : Disable ath20",
                                      "$ uci set wireless.ath20.disabled=1"}));
    EXPECT_EQ(router().file("/run/lab/record/ioctls").find("ath20 20464 0") != std::string::npos,
              true)
        << router().file("/run/lab/record/ioctls");
    channels({44});
    EXPECT_EQ(radar_journal(), (Lines{"backhaul_dfs_check : intf->channel 36 channel 44",
                                      "backhaul_dfs_check : dfs_count 3 state 11",
                                      "backhaul_dfs_check : Under dfs blocking state"}));
    lab::nol_set(router().root(), {5260, 5280});
    advance(2400);
    EXPECT_EQ(radar_journal(), Lines{});
    advance(1);
    EXPECT_EQ(radar_journal(),
              (Lines{"interface_timeout_chk : ath20 -> DFS_BLOCKING timeout",
                     "device_dfs_blocking : Enter", "$ radartool -i wifi2 getnol /tmp/nol_list",
                     "device_dfs_blocking : Enable ath20", "$ uci set wireless.ath20.disabled=0"}));
    // From then on it is watched again, with the channel list of the first request.
    lab::nol_set(router().root(), {5260, 5280, 5300});
    advance(181);
    EXPECT_EQ(radar_journal(), (Lines{"$ radartool -i wifi2 getnol /tmp/nol_list",
                                      "device_dfs_monitoring : Disable ath20",
                                      "$ uci set wireless.ath20.disabled=1"}));
}

TEST_F(Radar, starts_the_wait_anew_with_every_further_change) {
    channels({36, 52, 100, 36});
    advance(100);
    channels({40});
    skip();
    advance(180);
    EXPECT_EQ(radar_journal(), Lines{});
    advance(1);
    EXPECT_EQ(radar_journal().front(), "$ radartool -i wifi2 getnol /tmp/nol_list");
}

TEST_F(Radar, looks_again_every_180_seconds_while_a_channel_is_free) {
    lab::nol_set(router().root(), {5260});
    channels({36, 52, 100, 36});
    skip();
    for (int round = 0; round < 3; ++round) {
        advance(180);
        EXPECT_EQ(radar_journal(), Lines{}) << round;
        advance(1);
        EXPECT_EQ(radar_journal(), Lines{"$ radartool -i wifi2 getnol /tmp/nol_list"}) << round;
    }
}

TEST_F(Radar, counts_afresh_after_a_settings_reload) {
    channels({36, 52, 100});
    driver().lost("ath0");
    settle();
    driver().associated("ath0", ap(1));
    advance(20);
    expect_state("ath0", 7);
    skip();
    channels({36});
    EXPECT_EQ(radar_journal(), (Lines{"backhaul_dfs_check : intf->channel 100 channel 36",
                                      "backhaul_dfs_check : dfs_count 1 state 0"}));
}

}  // namespace
