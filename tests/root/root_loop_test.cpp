// The root loop in a process of its own, under a clock that moves: who runs at which second, in
// which order, and what a slow handler does to the others.

#include "root/root_loop.h"

#include "lab/node/udp_peer.h"
#include "lab/tools/answer.h"
#include "lab/tools/state_layout.h"
#include "runtime/runtime_block.h"
#include "tests/root/root_fixture.h"
#include "topology/topology_db.h"

#include <gmock/gmock.h>
#include <unistd.h>
#include <optional>

namespace {

using harness::clock_advance;
using harness::file_text;
using harness::put_file;
using testing::ElementsAre;
using testing::ElementsAreArray;

const Journal ANNOUNCED = harness::message_sent("ImRootAP", "mesh");
const Journal CHECKED = {"$ uci get wireless.ath10.disabled",
                         "$ iwconfig ath10 | grep Not-Associated"};

class RootLoop : public RootTest {
protected:
    void SetUp() override {
        RootTest::SetUp();
        intf_add("ath10", MAIN_SERVICE_AP, BAND_24G);
        uci_put("ath20.ssid", "mesh");
        uci_put("ath10.disabled", "0");
        uci_put("ath11.disabled", "0");
        lab::wifi_mode_set("", "ath10", "Master");
        lab::wifi_mode_set("", "ath20", "Master");
        runtime.backhaul_valid = 1;
        runtime.ap_count = 5;  // no tools for the power
        sql("CREATE TABLE Device (ALMac TEXT, Alive INTEGER, nNotAlive INTEGER, DevType TEXT, "
            "DevName TEXT, IP TEXT);");
        harness::clock_start(START_TIME, lab::CLOCK_HELD);
    }
    void TearDown() override {
        if (root_) {
            root_.reset();
            // Let the last of its timers fall due: the clock takes them back then.
            clock_advance(150);
        }
        RootTest::TearDown();
    }

    void start_root() {
        root_.emplace(
            [] {
                if (backhaul_db_open() == 0) {
                    backhaul_root_loop();
                }
            },
            harness::LINES_OUT);
        ASSERT_TRUE(harness::wait_until([this] { return timers().size() == 8; }));
        harness::clock_settle();
    }
    /// The armed timers of the root's process, in the order of their creation.
    std::vector<lab::ArmedTimer> timers() const {
        std::vector<lab::ArmedTimer> own;
        for (const lab::ArmedTimer& timer : harness::clock_timers()) {
            if (timer.pid == root_->pid() && timer.first != 0) {
                own.push_back(timer);
            }
        }
        return own;
    }
    void expect_journal(std::initializer_list<Journal> parts) {
        EXPECT_THAT(journal_take(), ElementsAreArray(joined(parts)));
    }

private:
    std::optional<harness::Child> root_;
};

TEST_F(RootLoop, arms_its_eight_timers_once) {
    start_root();
    const std::array<std::array<uint32_t, 2>, 8> armed{
        {{10, 10}, {60, 30}, {5, 5}, {120, 90}, {60, 10}, {120, 50}, {130, 50}, {140, 50}}};
    clock_advance(200);
    const auto found = timers();
    ASSERT_EQ(found.size(), armed.size());
    for (size_t i = 0; i < armed.size(); ++i) {
        EXPECT_EQ(found[i].first, armed[i][0]) << "timer " << i + 1;
        EXPECT_EQ(found[i].period, armed[i][1]) << "timer " << i + 1;
    }
}

TEST_F(RootLoop, loads_the_list_before_anything_is_due) {
    put_file("/tmp/backhaul_ap_list", "02:00:00:00:00:07\n");
    start_root();
    expect_journal({{"$ vlog 0 0 \"(02:00:00:00:00:07) join\""}});
}

TEST_F(RootLoop, announces_itself_every_five_seconds) {
    lab::UdpPeer extender(36002);
    ASSERT_TRUE(extender.ok());
    start_root();
    clock_advance(4);
    expect_journal({});
    for (int i = 0; i < 3; ++i) {
        clock_advance(1);
        expect_journal({ANNOUNCED});
        std::vector<lab::Datagram> heard;
        ASSERT_TRUE(harness::wait_until([&] {
            heard = extender.take();
            return !heard.empty();
        }));
        ASSERT_EQ(heard.size(), 1u);
        EXPECT_EQ(lab::message_open(heard[0].bytes, "mesh"), "ImRootAP");
        EXPECT_EQ(heard[0].from, "192.168.1.10");
        clock_advance(4);
        expect_journal({});
    }
}

TEST_F(RootLoop, brings_the_list_in_line_every_ten_seconds_before_it_announces_itself) {
    start_root();
    device_add(almac("01"), "1", "0", "Attic");
    clock_advance(9);
    expect_journal({ANNOUNCED});
    clock_advance(1);
    expect_journal({{"$ vlog 0 0 \"Attic(02:00:00:00:00:01) join\""}, ANNOUNCED});
    sql("UPDATE Device SET Alive=7;");
    clock_advance(10);
    expect_journal({ANNOUNCED, {"$ vlog 0 0 \"Attic(02:00:00:00:00:01) leave\""}, ANNOUNCED});
}

TEST_F(RootLoop, runs_the_health_check_before_the_approval_check_at_60_seconds) {
    runtime.approval_changed = 1;
    put_file("/tmp/ApplicationData/Approvelist", "02:00:00:00:00:01 1 other\n");
    lab::wifi_bss_up_set("", "ath10", false);
    start_root();
    clock_advance(59);
    journal_take();
    device_add(almac("01"), "1", "0", "Attic");
    clock_advance(1);
    expect_journal({{"$ vlog 0 0 \"Attic(02:00:00:00:00:01) join\""},
                    CHECKED,
                    {"ap_alive_chk(not alive) : reload ath10", "$ /etc/init.d/wireless restart"},
                    ANNOUNCED,
                    {"device_ap_steering_workaround : Enter", "device_5g_high_ap_set : config 0"}});
}

TEST_F(RootLoop, checks_backhaul_aps_as_well) {
    intf_add("ath20", BACKHAUL_AP, BAND_5G_HIGH);
    start_root();
    clock_advance(59);
    journal_take();
    clock_advance(1);
    expect_journal({CHECKED,
                    {"$ uci get wireless.ath20.disabled", "$ iwconfig ath20 | grep Not-Associated"},
                    ANNOUNCED});
}

TEST_F(RootLoop, staggers_the_channel_monitor_and_the_three_configuration_checks) {
    put_file("/tmp/ApplicationData/Approvelist", "02:00:00:00:00:01 1 MRX70\n");
    start_root();
    clock_advance(119);
    journal_take();
    clock_advance(1);
    expect_journal({CHECKED,
                    ANNOUNCED,
                    {"$ wifi_channel_monitor once"},
                    {"$ uci get wireless.ath10.disabled"}});
    clock_advance(9);
    journal_take();
    clock_advance(1);
    expect_journal({ANNOUNCED, {"$ uci get wireless.ath11.disabled"}});
    clock_advance(9);
    journal_take();
    clock_advance(1);
    expect_journal({ANNOUNCED});
    clock_advance(29);
    journal_take();
    clock_advance(1);
    expect_journal({ANNOUNCED, {"$ uci get wireless.ath10.disabled"}});
    clock_advance(39);
    journal_take();
    clock_advance(1);
    expect_journal({CHECKED, ANNOUNCED, {"$ wifi_channel_monitor once"}});
}

TEST_F(RootLoop, delays_the_others_behind_a_slow_handler_and_loses_none) {
    start_root();
    device_add(almac("01"), "1", "0", "Attic");
    clock_advance(9);
    journal_take();
    lab::answer_hold("", "vlog", "slow");
    clock_advance(56);  // the list is brought in line until 65
    expect_journal({{"$ vlog 0 0 \"Attic(02:00:00:00:00:01) join\""}});
    const size_t lines = harness::recorded_lines().size();
    lab::gate_open("", "slow");
    EXPECT_TRUE(
        harness::wait_until([lines] { return harness::recorded_lines().size() >= lines + 4; }));
    harness::clock_settle();
    // Once each, in table order: twelve announcements and five looks at the list are not made up.
    expect_journal({ANNOUNCED, CHECKED});
    clock_advance(5);
    expect_journal({ANNOUNCED});
}

TEST_F(RootLoop, prints_nothing_while_all_goes_well) {
    start_root();
    clock_advance(100);
    EXPECT_EQ(file_text("/tmp/out"), "");
}

}  // namespace
