// A root from its start on: its interfaces, its eight timers to the second, and what becomes of
// them while one of their handlers hangs in a tool.

#include "lab/tools/answer.h"
#include "lab/tools/state_layout.h"
#include "tests/mesh/root_story.h"

#include <map>

namespace {

constexpr char HINT[] = "/tmp/backhaul_init_conf";

const Lines STARTED = {"<-- backhaul_monitor start -->"};

class RootStart : public RootStory {
protected:
    void start_with_hint(const std::string& hint) {
        add_root().put_file(HINT, hint);
        approvals("02:00:00:00:00:20 1 MRX50\n");
        router().start({"-m"});
    }
};

TEST_F(RootStart, enables_its_configured_aps_in_the_order_of_the_table) {
    start_root();
    expect_journal(joined({STARTED, is_configured("ath10"), ap_on("ath10"), is_configured("ath11"),
                           ap_on("ath11"), is_configured("ath20"), backhaul_ap_on(),
                           is_configured("ath22"), ap_on_following("ath22", "ath10"),
                           is_configured("ath23"), ap_on_following("ath23", "ath11")}));
    expect_out_of_both({"Wait pid", "Master"});
    expect_err({});
}

TEST_F(RootStart, disables_the_aps_that_follow_once_somebody_is_approved) {
    add_root();
    approvals("02:00:00:00:00:20 1 MRX50\n");
    router().start({"-m"});
    expect_journal(joined({STARTED, is_configured("ath10"), ap_on("ath10"), is_configured("ath11"),
                           ap_on("ath11"), is_configured("ath20"), backhaul_ap_on(),
                           ap_off("ath22"), ap_off("ath23")}));
}

TEST_F(RootStart, takes_a_refused_node_for_nobody) {
    start_with_approvals("02:00:00:00:00:20 0 MRX50\n02:00:00:00:00:30\n");
    EXPECT_EQ(lab::uci_store_get(router().root(), "wireless.ath22.disabled"), "0");
    EXPECT_EQ(lab::uci_store_get(router().root(), "wireless.ath23.disabled"), "0");
}

TEST_F(RootStart, touches_neither_stations_nor_what_is_not_configured) {
    add_root().put_file("/tmp/wifi_if_profile",
                        "ath0 BACKHAUL_STA 5l 200 0\n"
                        "ath14 VISITOR_SERVICE_AP 2 0 0\n"
                        "ath10 MAIN_SERVICE_AP 5l 0 0\n"
                        "ath15 PRE_DEF_AP 2 0 0\n"
                        "ath16 PRE_DEF_AP 5h 0 1\n"
                        "eth ETHERNET 0 0 0\n"
                        "timer AP_TIMER_INTF 0 0 0\n"
                        "ath17 OTHER_AP 2 0 0\n");
    router().uci("wireless.ath10.WPAPSKkey", "");
    for (const char* name : {"ath0", "ath15", "ath16", "ath17"}) {
        const std::string section = std::string("wireless.") + name;
        router().uci(section + ".ssid", "mesh-backhaul");
        router().uci(section + ".WPAPSKkey", "mesh-key-1234");
        router().uci(section + ".disabled", "0");
    }
    approvals("02:00:00:00:00:20 1 MRX50\n");
    router().start({"-m"});
    expect_journal(joined({STARTED,
                           {"$ uci get wireless.ath14.ssid"},
                           is_configured("ath10"),
                           is_configured("ath15"),
                           ap_on("ath15"),
                           ap_off("ath16")}));
}

TEST_F(RootStart, leaves_the_aps_as_they_are_with_the_hint) {
    start_with_hint("intf_init_skip\n");
    expect_journal(STARTED);
    expect_out_of_both({"Wait pid", "Master"});
    expect_no_file(HINT);
    // Nobody asked for a look at the approval list either.
    only_second(60);
    expect_journal(joined({health_check(), announced()}));
    // The hint holds for all workers of this supervisor.
    router().kill_worker(10);
    skip();
    advance(1);
    expect_journal(
        joined({STARTED, event_told("Extender(02:00:00:00:00:20) join"), txpower_decrease()}));
}

TEST_F(RootStart, finds_the_hint_among_other_words) {
    start_with_hint("first\tintf_init_skip last\n");
    expect_journal(STARTED);
    expect_no_file(HINT);
}

TEST_F(RootStart, overlooks_a_hint_without_a_line_end_and_removes_it) {
    start_with_hint("intf_init_skip");
    expect_journal(joined({STARTED, is_configured("ath10"), {"..."}}));
    expect_no_file(HINT);
}

class RootTimers : public RootStory {
protected:
    void expect_timers(std::uint32_t start, Where where = Where::current()) {
        settle(where);
        const std::vector<std::pair<std::uint32_t, std::uint32_t>> expected = {
            {10, 10}, {60, 30}, {5, 5}, {120, 90}, {60, 10}, {120, 50}, {130, 50}, {140, 50}};
        std::vector<std::pair<std::uint32_t, std::uint32_t>> armed;
        for (const lab::ArmedTimer& timer : clock().timers()) {
            armed.emplace_back(timer.first, timer.period);
            EXPECT_EQ(timer.due, start + timer.first) << "at line " << where.line;
        }
        if (armed != expected) {
            harness::fail_at(where, testing::PrintToString(armed));
        }
    }

    /// A root each of whose handlers can be told from its lines. Only the third configuration check
    /// never does anything.
    void start_with_traces() {
        add_root().put_file("/tmp/wifi_if_profile", "ath20 BACKHAUL_AP 5h 0 0\n");
        // The list is never complete, so its check goes on; the model makes the others work.
        approvals("02:00:00:00:00:30 1 MRX70\n02:00:00:00:00:31 1\n");
        router().start({"-m"});
        skip();
    }

    /// The extender comes or goes, so that the next look at the list has something to tell.
    void turn_extender() {
        present_ = !present_;
        router().sql(std::string("UPDATE Device SET Alive=") + (present_ ? "1" : "2") +
                     " WHERE DevType='L2Device';");
    }

    /// "SECOND HANDLER HANDLER...", one line for each second of the journal since `from`.
    Lines traces_since(std::uint32_t from) {
        static const std::vector<std::pair<std::string, std::string>> traces = {
            {"vlog 0 0 ", "list"},
            {"uci get wireless.ath20.disabled", "alive"},
            {"echo -n 'ImRootAP' ", "announce"},
            {"wifi_channel_monitor once", "monitor"},
            {"device_approval_list_check : approval list not ready", "approval"},
            {"uci get wireless.ath10.disabled", "config0"},
            {"uci get wireless.ath11.disabled", "config1"}};
        std::map<std::int64_t, std::string> seconds;
        for (const lab::JournalEntry& entry : router().entries()) {
            const std::int64_t second = entry.time - lab::NODE_START_TIME;
            for (const auto& [beginning, handler] : traces) {
                if (second >= from && entry.text.rfind(beginning, 0) == 0) {
                    seconds[second] += " " + handler;
                }
            }
        }
        Lines lines;
        for (const auto& [second, handlers] : seconds) {
            lines.push_back(std::to_string(second) + handlers);
        }
        return lines;
    }

private:
    bool present_ = true;
};

TEST_F(RootTimers, are_armed_with_their_first_second_and_their_period) {
    start_root();
    expect_timers(lab::NODE_START_TIME);
    advance(33);
    router().kill_worker(10);
    advance(1);
    expect_timers(lab::NODE_START_TIME + 34);
}

TEST_F(RootTimers, run_their_handlers_to_the_second_and_in_the_order_of_the_table) {
    start_with_traces();
    while (age() < 300) {
        advance(5);
        if (age() % 10 == 5 && age() > 5) {
            turn_extender();
        }
    }
    // The first join needs no change.
    const Lines expected = {
        "5 announce",   "10 list announce",
        "15 announce",  "20 list announce",
        "25 announce",  "30 list announce",
        "35 announce",  "40 list announce",
        "45 announce",  "50 list announce",
        "55 announce",  "60 list alive announce approval",
        "65 announce",  "70 list announce approval",
        "75 announce",  "80 list announce approval",
        "85 announce",  "90 list alive announce approval",
        "95 announce",  "100 list announce approval",
        "105 announce", "110 list announce approval",
        "115 announce", "120 list alive announce monitor approval config0",
        "125 announce", "130 list announce approval config1",
        "135 announce", "140 list announce approval",
        "145 announce", "150 list alive announce approval",
        "155 announce", "160 list announce approval",
        "165 announce", "170 list announce approval config0",
        "175 announce", "180 list alive announce approval config1",
        "185 announce", "190 list announce approval",
        "195 announce", "200 list announce approval",
        "205 announce", "210 list alive announce monitor approval",
        "215 announce", "220 list announce approval config0",
        "225 announce", "230 list announce approval config1",
        "235 announce", "240 list alive announce approval",
        "245 announce", "250 list announce approval",
        "255 announce", "260 list announce approval",
        "265 announce", "270 list alive announce approval config0",
        "275 announce", "280 list announce approval config1",
        "285 announce", "290 list announce approval",
        "295 announce", "300 list alive announce monitor approval",
    };
    EXPECT_EQ(harness::lines_differ(expected, traces_since(1)), "");
}

TEST_F(RootTimers, wait_for_a_handler_that_hangs_and_none_is_lost) {
    start_with_traces();
    lab::answer_hold(router().root(), "vlog", "slow");
    advance(125);
    EXPECT_EQ(traces_since(6), Lines{"10 list"});
    turn_extender();
    lab::gate_open(router().root(), "slow");
    // What was due with the slow one, then everything that came meanwhile, once each.
    EXPECT_EQ(traces_since(11), Lines{"125 announce list alive monitor approval config0"});
    advance(15);
    // The old seconds hold, as if nothing had been.
    EXPECT_EQ(traces_since(126),
              (Lines{"130 announce approval config1", "135 announce", "140 announce approval"}));
}

TEST_F(RootTimers, wait_for_a_handler_in_the_middle_of_the_table_as_well) {
    start_with_traces();
    advance(59);
    lab::answer_hold(router().root(), "iwconfig.ath20", "slow");
    turn_extender();
    advance(31);
    EXPECT_EQ(traces_since(60), Lines{"60 list alive"});
    turn_extender();
    lab::gate_open(router().root(), "slow");
    // Those behind it in the table come first, then those before it.
    EXPECT_EQ(traces_since(61), Lines{"90 announce approval list alive"});
    advance(5);
    EXPECT_EQ(traces_since(91), Lines{"95 announce"});
}

TEST_F(RootTimers, do_not_hold_up_commands_while_one_of_them_hangs) {
    start_with_traces();
    lab::answer_hold(router().root(), "vlog", "slow");
    advance(30);
    skip();
    heard();
    command("network_reload\n");
    expect_journal(message_sent("NETWORKRELOAD"));
    EXPECT_EQ(heard(), Words{"NETWORKRELOAD"});
    lab::gate_open(router().root(), "slow");
}

TEST_F(RootTimers, send_the_announcement_to_the_announce_port_only) {
    lab::UdpPeer announce_port(36002);
    start_root();
    heard();
    advance(4);
    EXPECT_EQ(announce_port.take().size(), 0U);
    advance(1);
    const std::vector<lab::Datagram> sent = announce_port.take();
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(lab::message_open(sent[0].bytes, "mesh-backhaul"), "ImRootAP");
    EXPECT_EQ(sent[0].from, "192.168.1.20");
    advance(25);
    EXPECT_EQ(announce_port.take().size(), 5U);
    EXPECT_EQ(heard(), Words{});
}

}  // namespace
