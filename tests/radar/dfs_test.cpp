// Radar on "ath20": counting channel changes, and the re-checks that switch the AP off and on.

#include "radar/dfs.h"

#include "lab/tools/answer.h"
#include "lab/tools/record.h"
#include "lab/tools/state_layout.h"
#include "link/link_state.h"
#include "radar/dfs_channels.h"
#include "runtime/runtime_block.h"
#include "tests/harness/contract_record.h"
#include "tests/root/root_fixture.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cstring>
#include <filesystem>

namespace {

using harness::put_file;
using testing::ElementsAre;

constexpr char RADARTOOL[] = "$ radartool -i wifi2 getnol /tmp/nol_list";

class Dfs : public RootTest {
protected:
    void SetUp() override {
        RootTest::SetUp();
        ath20_ = intf_add("ath20", BACKHAUL_AP, BAND_5G_HIGH);
        ath20_->channel = 36;
    }

    /// The driver reports a change, then the intake stores the new channel.
    void change_to(uint8_t channel) {
        backhaul_dfs_check(ath20_, channel);
        ath20_->channel = channel;
    }
    void expect_armed_at(uint32_t time) const {
        EXPECT_EQ(ath20_->timer_type, 1);
        EXPECT_EQ(ath20_->timer_start, time);
        EXPECT_EQ(runtime.active_timer_count, 1);
    }
    void expect_idle() const {
        EXPECT_EQ(ath20_->timer_type, 0);
        EXPECT_EQ(ath20_->timer_start, 0u);
        EXPECT_EQ(runtime.active_timer_count, 0);
    }
    static void channels_are(const std::string& frequencies) {
        put_file("/run/lab/channels", frequencies);
    }
    void enter(int32_t state) {
        backhaul_intf_state_change(ath20_, static_cast<link_state>(state));
        ath20_->state = static_cast<link_state>(state);
        runtime.active_timer_count = 1;
        ath20_->timer_type = TIMER_ON;
        ath20_->timer_start = START_TIME;
        journal_take();
    }

    intf_record* ath20_ = nullptr;
};

Journal changed(int from, int to) {
    return {"backhaul_dfs_check : intf->channel " + std::to_string(from) + " channel " +
            std::to_string(to)};
}
Journal counted(int count, int state) {
    return {"backhaul_dfs_check : dfs_count " + std::to_string(count) + " state " +
            std::to_string(state)};
}
const Journal BLOCKED = {"backhaul_dfs_check : Under dfs blocking state"};

TEST_F(Dfs, puts_the_interface_under_monitoring_at_the_third_change) {
    change_to(52);
    change_to(100);
    EXPECT_EQ(ath20_->dfs_count, 2);
    EXPECT_EQ(ath20_->state, 0);
    expect_idle();
    change_to(36);
    EXPECT_EQ(ath20_->dfs_count, 2);
    EXPECT_EQ(ath20_->state, DFS_MONITORING);
    expect_armed_at(START_TIME);
    EXPECT_EQ(journal_take(), joined({changed(36, 52), counted(1, 0), changed(52, 100),
                                      counted(2, 0), changed(100, 36), counted(3, 0)}));
}

TEST_F(Dfs, restarts_the_wait_at_a_fourth_change) {
    ath20_->dfs_count = 2;
    change_to(52);
    harness::clock_start(START_TIME + 100);
    journal_take();
    change_to(100);
    EXPECT_EQ(ath20_->state, DFS_MONITORING);
    EXPECT_EQ(ath20_->dfs_count, 2);
    expect_armed_at(START_TIME + 100);
    EXPECT_EQ(journal_take(), joined({changed(52, 100), counted(3, 10)}));
}

TEST_F(Dfs, only_notes_a_change_while_blocked) {
    enter(DFS_BLOCKING);
    ath20_->dfs_count = 2;
    harness::clock_start(START_TIME + 100);
    change_to(52);
    EXPECT_EQ(ath20_->state, DFS_BLOCKING);
    EXPECT_EQ(ath20_->dfs_count, 2);
    expect_armed_at(START_TIME);
    EXPECT_EQ(journal_take(), joined({changed(36, 52), counted(3, 11), BLOCKED}));
}

TEST_F(Dfs, does_not_count_while_the_channel_is_not_known) {
    ath20_->channel = 0;
    backhaul_dfs_check(ath20_, 52);
    EXPECT_EQ(ath20_->dfs_count, 0);
    EXPECT_EQ(journal_take(), changed(0, 52));
}

TEST_F(Dfs, does_not_count_a_change_to_the_same_channel) {
    backhaul_dfs_check(ath20_, 36);
    EXPECT_EQ(ath20_->dfs_count, 0);
    EXPECT_EQ(journal_take(), changed(36, 36));
}

TEST_F(Dfs, leaves_the_channel_to_its_caller) {
    backhaul_dfs_check(ath20_, 52);
    EXPECT_EQ(ath20_->channel, 36);
}

TEST_F(Dfs, prints_numbers_above_127_unsigned) {
    ath20_->channel = 149;
    backhaul_dfs_check(ath20_, 165);
    EXPECT_EQ(journal_take(), joined({changed(149, 165), counted(1, 0)}));
}

TEST_F(Dfs, ignores_every_other_interface_without_a_word) {
    for (const char* const name : {"ath2", "ath21", "ath200", "ath10", "Ath20"}) {
        intf_record* const other = intf_add(name, BACKHAUL_AP, BAND_5G_HIGH);
        other->channel = 36;
        other->dfs_count = 2;
        backhaul_dfs_check(other, 52);
        EXPECT_EQ(other->dfs_count, 2) << name;
        EXPECT_EQ(other->state, 0) << name;
    }
    EXPECT_EQ(journal_take(), Journal{});
}

TEST_F(Dfs, starts_afresh_after_the_count_was_cleared) {
    change_to(52);
    change_to(100);
    ath20_->dfs_count = 0;
    change_to(36);
    EXPECT_EQ(ath20_->dfs_count, 1);
    EXPECT_EQ(ath20_->state, 0);
}

TEST_F(Dfs, disables_the_ap_when_every_channel_is_blocked) {
    channels_are("5260 5500");
    lab::nol_set("", {5500, 5260});
    enter(DFS_MONITORING);
    harness::clock_start(START_TIME + 181);
    device_dfs_monitoring(ath20_);
    EXPECT_EQ(ath20_->state, DFS_BLOCKING);
    expect_armed_at(START_TIME + 181);
    expect_journal({{RADARTOOL, "device_dfs_monitoring : Disable ath20",
                     "dev_intf_enable_set : disable ath20", "$ uci set wireless.ath20.disabled=1",
                     "$ uci commit wireless", "$ /etc/init.d/wireless restart"}});
}

TEST_F(Dfs, keeps_monitoring_while_a_channel_is_free) {
    channels_are("5260 5500 5180");
    lab::nol_set("", {5500, 5260});
    enter(DFS_MONITORING);
    harness::clock_start(START_TIME + 181);
    device_dfs_monitoring(ath20_);
    EXPECT_EQ(ath20_->state, DFS_MONITORING);
    expect_armed_at(START_TIME + 181);
    expect_journal({{RADARTOOL}});
}

TEST_F(Dfs, enables_the_ap_when_a_channel_is_free_again) {
    channels_are("5260 5500");
    lab::nol_set("", {5260});
    enter(DFS_BLOCKING);
    harness::clock_start(START_TIME + 2401);
    device_dfs_blocking(ath20_);
    EXPECT_EQ(ath20_->state, DFS_MONITORING);
    expect_armed_at(START_TIME + 2401);
    expect_journal({{"device_dfs_blocking : Enter", RADARTOOL, "device_dfs_blocking : Enable ath20",
                     "dev_intf_enable_set : enable ath20", "$ uci set wireless.ath20.disabled=0",
                     "$ uci commit wireless", "$ /etc/init.d/wireless restart"}});
}

TEST_F(Dfs, stays_blocked_while_no_channel_is_free) {
    channels_are("5260 5500");
    lab::nol_set("", {5260, 5500});
    enter(DFS_BLOCKING);
    harness::clock_start(START_TIME + 2401);
    device_dfs_blocking(ath20_);
    EXPECT_EQ(ath20_->state, DFS_BLOCKING);
    expect_armed_at(START_TIME + 2401);
    expect_journal({{"device_dfs_blocking : Enter", RADARTOOL}});
}

TEST_F(Dfs, alternates_between_its_two_states) {
    channels_are("5260");
    for (int round = 0; round < 3; ++round) {
        enter(DFS_MONITORING);
        lab::nol_set("", {5260});
        device_dfs_monitoring(ath20_);
        EXPECT_EQ(ath20_->state, DFS_BLOCKING);
        lab::nol_set("", {});
        device_dfs_blocking(ath20_);
        EXPECT_EQ(ath20_->state, DFS_MONITORING);
        expect_armed_at(START_TIME);
    }
}

TEST_F(Dfs, has_stopped_the_wait_while_it_looks_at_the_channels) {
    channels_are("5260");
    enter(DFS_MONITORING);
    lab::answer_hold("", "radartool", "look");
    std::thread timer([this] { device_dfs_monitoring(ath20_); });
    EXPECT_TRUE(harness::wait_until([] { return harness::recorded_calls().size() == 1; }));
    expect_idle();
    lab::gate_open("", "look");
    timer.join();
    expect_armed_at(START_TIME);
}

TEST_F(Dfs, has_entered_the_new_state_while_the_ap_is_being_switched) {
    channels_are("5260");
    const auto expect_state_at_switch = [this](void (*handler)(intf_record*), link_state state) {
        // A gate of its own for each switch: one that is open stays so.
        const std::string gate = "switch-" + std::to_string(state);
        lab::answer_hold("", "uci.set", gate);
        std::thread timer([&] { handler(ath20_); });
        EXPECT_TRUE(harness::wait_until([] {
            const std::vector<std::string> calls = harness::recorded_calls();
            return !calls.empty() && calls.back().starts_with("uci set ");
        }));
        EXPECT_EQ(ath20_->state, state);
        lab::gate_open("", gate);
        timer.join();
    };
    enter(DFS_MONITORING);
    lab::nol_set("", {5260});
    expect_state_at_switch(device_dfs_monitoring, DFS_BLOCKING);
    lab::nol_set("", {});
    lab::records_clear("");
    expect_state_at_switch(device_dfs_blocking, DFS_MONITORING);
}

TEST_F(Dfs, asks_the_driver_once_for_the_channels_of_the_interface) {
    channels_are("5260");
    EXPECT_EQ(device_dfs_channel_available(ath20_), 1);
    EXPECT_EQ(device_dfs_channel_available(ath20_), 1);
    EXPECT_THAT(harness::recorded_ioctls(), ElementsAre("ath20 20464 0"));
    expect_journal({{RADARTOOL, RADARTOOL}});
}

TEST_F(Dfs, keeps_the_first_channels_for_every_interface) {
    channels_are("5260");
    lab::nol_set("", {5260});
    EXPECT_EQ(device_dfs_channel_available(ath20_), 0);
    channels_are("5260 5500");
    const intf_record* const other = intf_add("ath21", BACKHAUL_AP, BAND_5G_HIGH);
    EXPECT_EQ(device_dfs_channel_available(other), 0);
    EXPECT_THAT(harness::recorded_ioctls(), ElementsAre("ath20 20464 0"));
}

TEST_F(Dfs, asks_again_after_a_request_that_failed_and_counts_as_blocked_until_then) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(device_dfs_channel_available(ath20_), 0);
    EXPECT_EQ(device_dfs_channel_available(ath20_), 0);
    EXPECT_EQ(harness::captured_stdout(),
              "device_wifi_get_channel_list : IEEE80211_IOCTL_GETCHANINFO failed\n"
              "device_wifi_get_channel_list : IEEE80211_IOCTL_GETCHANINFO failed\n");
    expect_journal({{RADARTOOL, RADARTOOL}});
    channels_are("5260");
    EXPECT_EQ(device_dfs_channel_available(ath20_), 1);
}

TEST_F(Dfs, asks_again_after_an_empty_list) {
    channels_are("");
    EXPECT_EQ(device_dfs_channel_available(ath20_), 0);
    EXPECT_EQ(device_dfs_channel_available(ath20_), 0);
    EXPECT_EQ(harness::recorded_ioctls().size(), 2u);
}

TEST_F(Dfs, cuts_the_interface_name_of_the_request_at_15_characters) {
    channels_are("5260");
    frequency_list channels;
    device_wifi_get_channel_list("ath20-and-some-more", channels);
    EXPECT_THAT(harness::recorded_ioctls(), ElementsAre("ath20-and-some- 20464 0"));
}

TEST_F(Dfs, says_so_when_no_socket_can_be_made) {
    testing::internal::CaptureStdout();
    frequency_list channels;
    {
        const harness::DescriptorsRefused refused;
        device_wifi_get_channel_list("ath20", channels);
    }
    EXPECT_EQ(harness::captured_stdout(), "device_wifi_get_channel_list : Socket error\n");
    EXPECT_EQ(channels.count, 0u);
}

TEST_F(Dfs, bounds_the_channel_list_of_a_driver_that_claims_more) {
    std::string raw(20464, '\0');
    const uint32_t claimed = 0xffffffff;
    std::memcpy(raw.data(), &claimed, sizeof(claimed));
    put_file("/run/lab/channels.raw", raw);
    frequency_list channels;
    device_wifi_get_channel_list("ath20", channels);
    EXPECT_EQ(channels.count, 1023u);
}

TEST_F(Dfs, takes_a_failed_radartool_run_for_an_empty_nol) {
    channels_are("5260");
    lab::nol_unset("");
    EXPECT_EQ(device_dfs_channel_available(ath20_), 1);
    EXPECT_FALSE(harness::file_is_there("/tmp/nol_list"));
}

TEST_F(Dfs, takes_a_nol_that_cannot_be_read_for_an_empty_one) {
    channels_are("5260");
    frequency_list nol;
    nol.count = 1;
    nol.frequency[0] = 5260;
    std::filesystem::create_directories("/tmp/nol_list/full");
    device_wifi_nol_get(nol);
    EXPECT_EQ(nol.count, 0u);
    EXPECT_EQ(device_dfs_channel_available(ath20_), 1);
}

TEST_F(Dfs, takes_a_nol_that_is_no_file_for_an_empty_one) {
    lab::nol_unset("");
    for (const char* const tool : {"mkfifo /tmp/nol_list", "ln -s /dev/zero /tmp/nol_list"}) {
        // The tool itself leaves it behind: what was there before is gone by then.
        harness::put_file("/tmp/bin/radartool", std::string("#!/bin/bash\n") + tool + "\n");
        ASSERT_EQ(chmod("/tmp/bin/radartool", 0755), 0);
        const std::string path = getenv("PATH");
        setenv("PATH", ("/tmp/bin:" + path).c_str(), 1);
        frequency_list nol;
        nol.count = 1;
        device_wifi_nol_get(nol);
        setenv("PATH", path.c_str(), 1);
        EXPECT_EQ(nol.count, 0u) << tool;
    }
}

TEST_F(Dfs, takes_no_nol_of_an_earlier_run_when_radartool_fails) {
    channels_are("5260");
    lab::nol_set("", {5260});
    EXPECT_EQ(device_dfs_channel_available(ath20_), 0);
    lab::nol_unset("");
    EXPECT_EQ(device_dfs_channel_available(ath20_), 1);
}

/// What radartool writes, byte for byte.
void nol_file_is(const std::string& bytes) {
    ASSERT_TRUE(lab::state_set("", "nol", bytes));
}

TEST_F(Dfs, bounds_the_nol_by_what_was_read) {
    std::string bytes("\xff\xff\xff\xff", 4);
    bytes += std::string("\x8c\x14", 2) + std::string(10, '\0');  // 5260
    bytes += std::string("\x7c\x15", 2);                          // 5500, cut
    nol_file_is(bytes);
    frequency_list nol;
    device_wifi_nol_get(nol);
    EXPECT_EQ(nol.count, 1u);
    EXPECT_EQ(nol.frequency[0], 5260);
    nol_file_is(std::string(20000, '\xff'));
    device_wifi_nol_get(nol);
    EXPECT_EQ(nol.count, 1023u);
    nol_file_is("\x01");
    device_wifi_nol_get(nol);
    EXPECT_EQ(nol.count, 0u);
}

}  // namespace
