// Reading and writing scenario files, and what the reader says about mistakes.
#include <gtest/gtest.h>

#include <algorithm>

#include "lab/scenario/scenario_check.h"
#include "lab/scenario/scenario_defaults.h"
#include "lab/scenario/scenario_parse.h"
#include "lab/scenario/words.h"

namespace lab {
namespace {

constexpr char LOSS_AND_RETURN[] = R"(# An extender loses its AP for a minute.
title "loss and return"
mesh "lab mesh" "correct horse"
node root root
node e1 extender
options e1 -d -p 2
without e1 ath3
hears e1 root -52
wait-until e1 status ready within 120
after 10 deauth e1 ath0
expect e1 state ath0 CONNECTING_BACKHAUL_AP
expect e1 log "try to reconnect" within 5   # the daemon says so
expect rule one-uplink clean
)";

Scenario parsed(const std::string& text) {
    Scenario scenario;
    std::vector<ScenarioError> errors;
    EXPECT_TRUE(scenario_parse(text, &scenario, &errors)) << scenario_errors_text("text", errors);
    return scenario;
}

std::string errors_of(const std::string& text) {
    Scenario scenario;
    std::vector<ScenarioError> errors;
    EXPECT_FALSE(scenario_parse(text, &scenario, &errors));
    return scenario_errors_text("f", errors);
}

std::string error_behind_a_mesh(const std::string& line) {
    return errors_of("node root root\nnode e1 extender\n" + line + "\n");
}

TEST(ScenarioParse, reads_nodes_signals_and_options) {
    const Scenario scenario = parsed(LOSS_AND_RETURN);
    EXPECT_EQ(scenario.title, "loss and return");
    EXPECT_EQ(scenario.ssid, "lab mesh");
    EXPECT_EQ(scenario.key, "correct horse");
    ASSERT_EQ(scenario.nodes.size(), 2U);
    EXPECT_EQ(scenario.nodes[0].role, NodeRole::root);
    EXPECT_EQ(scenario.nodes[1].options, (std::vector<std::string>{"-d", "-p", "2"}));
    EXPECT_EQ(scenario_interface_find(scenario.nodes[1], "ath3"), nullptr);
    EXPECT_NE(scenario_interface_find(scenario.nodes[0], "ath3"), nullptr);
    EXPECT_EQ(scenario.hearings, (std::vector<ScenarioHearing>{{"e1", "root", -52, ""}}));
}

TEST(ScenarioParse, takes_the_rest_of_the_line_as_the_title) {
    EXPECT_EQ(parsed("title a loss  and a return # soon\nnode root root\n").title,
              "a loss and a return");
}

TEST(ScenarioParse, refuses_a_signal_that_stops_the_worker_instead_of_ending_it) {
    EXPECT_EQ(error_behind_a_mesh("kill-worker e1 19"),
              "f:3: signal 19 stops a process instead of ending it\n");
    EXPECT_EQ(parsed("node root root\nkill-worker root 15\n").steps[0].verb.number, 15);
}

TEST(ScenarioParse, reads_steps_in_their_order_with_their_lines) {
    const Scenario scenario = parsed(LOSS_AND_RETURN);
    ASSERT_EQ(scenario.steps.size(), 5U);
    EXPECT_EQ(scenario.steps[0].kind, StepKind::wait_until);
    EXPECT_EQ(scenario.steps[0].within, 120);
    EXPECT_EQ(scenario.steps[0].condition.text, "ready");
    EXPECT_EQ(scenario.steps[1].kind, StepKind::verb);
    EXPECT_EQ(scenario.steps[1].after, 10);
    EXPECT_EQ(scenario.steps[1].verb.kind, VerbKind::deauth);
    EXPECT_EQ(scenario.steps[1].verb.interface, "ath0");
    EXPECT_EQ(scenario.steps[1].line, 10);
    EXPECT_EQ(scenario.steps[2].condition.number, 3);
    EXPECT_EQ(scenario.steps[2].within, 0);
    EXPECT_EQ(scenario.steps[3].condition.text, "try to reconnect");
    EXPECT_EQ(scenario.steps[3].within, 5);
    EXPECT_EQ(scenario.steps[4].condition.kind, ConditionKind::rule);
    EXPECT_EQ(scenario.steps[4].condition.node, "one-uplink");
}

TEST(ScenarioParse, reads_the_same_scenario_from_what_it_prints) {
    const Scenario scenario = parsed(
        "title \"all \\\"kinds\\\"\"\nmesh \"s#1\" \"a key \\\\ long\"\nseed 77\nassociation-time "
        "3\n"
        "boot-time 30\nisland-time 90\nchannels 36 100\nline 2\n");
    EXPECT_EQ(parsed(scenario_print(scenario)), scenario);
}

TEST(ScenarioParse, reads_the_same_nodes_from_what_it_prints) {
    const Scenario scenario = parsed(
        "star 4\nnode gate extender\noptions gate\nwithout e1 ath0\n"
        "interface e1 ath0 BACKHAUL_STA 5 1 0\ninterface e2 ath1 BACKHAUL_STA 2 65535 1\n"
        "interface e2 ath22 MAIN_SERVICE_AP 5h 0 1\nwithout e3 all\n"
        "interface e3 eth ETHERNET - 0 0\nunconfigured e2 ath0 ath1\nunapproved e2\n"
        "uci e1 wireless.ath10.ssid \"my home\"\nhears gate root -60 5l\ncable gate e1\n");
    EXPECT_EQ(scenario.nodes[1].interfaces.back().name, "ath0");
    EXPECT_EQ(parsed(scenario_print(scenario)), scenario);
}

TEST(ScenarioParse, reads_the_same_steps_from_what_it_prints) {
    const std::string steps =
        "deauth e1\n"
        "after 5 deauth e1 ath0\n"
        "ap-off root ath20\n"
        "ap-on root\n"
        "fade e1 root -80 5h\n"
        "fade e1 root 0\n"
        "fade e1 root none 2\n"
        "fade e1 root none\n"
        "move e1 root -50 e2 -70\n"
        "cable-in e1\n"
        "cable-out e1 root\n"
        "radar root\n"
        "radar root 3\n"
        "radar root all\n"
        "clear-radar root\n"
        "reboot e1\n"
        "power-off e1\n"
        "power-on e1\n"
        "kill-worker e1\n"
        "kill-worker e1 11\n"
        "kill-tool e1 hyd\n"
        "kill-tool e1 supplicant times 3\n"
        "kill-tool e1 agent for 60\n"
        "drop-messages e1\n"
        "drop-messages e1 for 30\n"
        "approve e1\n"
        "revoke e1\n"
        "configure e1 ath0\n"
        "role e1 root\n"
        "command e1 uplink_scan\n"
        "wait 60\n"
        "wait-until all status ready\n"
        "wait-until e1 state 16 within 9\n"
        "expect e1 status not-ready\n"
        "expect e1 state ath0 CONNECT_PENDING\n"
        "expect e1 state 9 within 3\n"
        "expect e1 uplink none\n"
        "expect e1 parent root\n"
        "expect e1 hops 2\n"
        "expect e1 parked ath0\n"
        "expect e1 service-aps down\n"
        "expect e1 led BackhaulFinish\n"
        "expect e1 role extender\n"
        "expect e1 file /tmp/rootdistance \"\"\n"
        "expect e1 no-file /tmp/rootdistance 2\n"
        "chapter \"what a daemon logs\"\n"
        "say \"a \\\"line\\\" of # it\"\n"
        "after 3 say soon\n"
        "expect e1 no-log reboot for 60\n"
        "expect e1 log \"change ath0 state\"\n"
        "expect e1 no-log crash\n"
        "expect e1 ran \"uci get\"\n"
        "expect e1 not-ran reboot\n"
        "expect e1 outage below 60\n"
        "expect e1 outages at-most 2\n"
        "expect rule transitions known\n";
    const Scenario scenario = parsed("line 3\n" + steps);
    EXPECT_EQ(scenario.steps.size(), 56U);
    EXPECT_EQ(parsed(scenario_print(scenario)), scenario);
}

TEST(ScenarioParse, takes_a_status_and_a_link_state_by_itself_for_what_is_asked) {
    EXPECT_EQ(parsed("line 2\nwait-until e1 not-ready within 5\nexpect e1 CONNECT_PENDING\n"
                     "expect e1 log ready\n"),
              parsed("line 2\nwait-until e1 status not-ready within 5\n"
                     "expect e1 state CONNECT_PENDING\nexpect e1 log ready\n"));
    EXPECT_EQ(error_behind_a_mesh("expect e1 redy"),
              "f:3: `redy` is no condition (did you mean `ready`?)\n");
}

TEST(ScenarioParse, tells_every_error_with_its_line) {
    EXPECT_EQ(errors_of("node root root\n\nnod e1 extender\nnode e2 extnder\nseed x\n"),
              "f:3: `nod` is no statement or verb (did you mean `node`?)\n"
              "f:4: `extnder` is no role (did you mean `extender`?)\n"
              "f:5: `x` is no seed from 0 to 4294967295\n");
}

TEST(ScenarioParse, guesses_what_was_meant) {
    EXPECT_EQ(error_behind_a_mesh("dauth e1"),
              "f:3: `dauth` is no statement or verb (did you mean `deauth`?)\n");
    EXPECT_EQ(error_behind_a_mesh("deauth e2"),
              "f:3: `e2` is no node of this mesh (did you mean `e1`?)\n");
    EXPECT_EQ(error_behind_a_mesh("deauth e1 ath4"),
              "f:3: `ath4` is no station of e1 (did you mean `ath0`?)\n");
    EXPECT_EQ(error_behind_a_mesh("expect e1 stats ready"),
              "f:3: `stats` is no condition (did you mean `status`?)\n");
    EXPECT_EQ(error_behind_a_mesh("expect e1 state BACKHAUL_REDY"),
              "f:3: `BACKHAUL_REDY` is no link state (did you mean `BACKHAUL_READY`?)\n");
    EXPECT_EQ(error_behind_a_mesh("expect rule one-uplnk clean"),
              "f:3: `one-uplnk` is no rule (did you mean `one-uplink`?)\n");
    EXPECT_EQ(error_behind_a_mesh("interface e1 ath7 BACKHAUL_ST 5 0 0"),
              "f:3: `BACKHAUL_ST` is no interface type (did you mean `BACKHAUL_STA`?)\n");
}

TEST(ScenarioParse, gives_the_usage_when_words_are_missing) {
    EXPECT_EQ(error_behind_a_mesh("fade e1 root"), "f:3: say `fade NODE PEER SIGNAL [BAND]`\n");
    EXPECT_EQ(error_behind_a_mesh("hears e1 root"), "f:3: say `hears NODE NODE SIGNAL [BAND]`\n");
    EXPECT_EQ(error_behind_a_mesh("say"), "f:3: say `say TEXT`\n");
    EXPECT_EQ(error_behind_a_mesh("after 10"), "f:3: say `after SECONDS STEP`\n");
    EXPECT_EQ(error_behind_a_mesh("expect e1 outage 60"), "f:3: say `NODE outage below SECONDS`\n");
}

TEST(ScenarioParse, names_the_limit_that_is_exceeded) {
    const auto text = [](const std::string& line) {
        const std::string told = error_behind_a_mesh(line);
        return told.substr(std::min<std::size_t>(told.size(), 5));
    };
    EXPECT_EQ(text("hears e1 root loud"), "`loud` is no signal from -127 to 0 dBm, or `none`\n");
    EXPECT_EQ(text("fade e1 root 3"), "`3` is no signal from -127 to 0 dBm, or `none`\n");
    EXPECT_EQ(text("wait 1000001"), "`1000001` is no number of seconds from 0 to 1000000\n");
    EXPECT_EQ(text("expect e1 status ready within x"),
              "`x` is no number of seconds from 0 to 1000000\n");
    EXPECT_EQ(text("boot-time 100001"), "`100001` is no number of seconds from 0 to 100000\n");
    EXPECT_EQ(text("kill-worker e1 65"), "`65` is no signal number from 1 to 64\n");
    EXPECT_EQ(text("radar e1 0"), "`0` is no number of times from 1 to 1000\n");
    EXPECT_EQ(text("kill-tool e1 agent for 0"), "`0` is no number of seconds from 1 to 1000000\n");
    EXPECT_EQ(text("kill-tool e1 agent times 1001"),
              "`1001` is no number of times from 1 to 1000\n");
    EXPECT_EQ(text("channels 36 197"), "`197` is no channel from 1 to 196\n");
    EXPECT_EQ(text("interface e1 a BACKHAUL_STA 5 65536 0"),
              "`65536` is no priority from 0 to 65535\n");
    EXPECT_EQ(text("interface e1 a BACKHAUL_STA 5 1 256"),
              "`256` is no follow value from 0 to 255\n");
    EXPECT_EQ(text("expect e1 hops 256"), "`256` is no number from 0 to 255\n");
    EXPECT_EQ(text("star 251"), "`251` is no number of nodes from 1 to 250\n");
    EXPECT_EQ(text("node " + std::string(33, 'n') + " extender"),
              "a node's name has at most 32 letters\n");
}

TEST(ScenarioParse, takes_a_name_and_a_mesh_as_long_as_the_limit_and_no_longer) {
    parsed("node " + std::string(32, 'n') + " extender\n");
    EXPECT_EQ(parsed("star 250\n").nodes.size(), 250U);
    EXPECT_EQ(errors_of("star 250\nnode one-more extender\n"),
              "f:2: a mesh has at most 250 nodes\n");
}

TEST(ScenarioParse, refuses_one_step_more_than_the_limit) {
    std::string text = "node root root\n";
    for (std::size_t step = 0; step < MOST_STEPS; ++step) {
        text += "wait 0\n";
    }
    EXPECT_EQ(parsed(text).steps.size(), MOST_STEPS);
    EXPECT_EQ(errors_of(text + "wait 0\n"), "f:300002: a scenario has at most 300000 steps\n");
}

TEST(ScenarioParse, stops_at_a_file_that_is_no_scenario_at_all) {
    std::string text;
    for (int line = 0; line < 60; ++line) {
        text += "?\n";
    }
    const std::string told = errors_of(text);
    EXPECT_EQ(std::count(told.begin(), told.end(), '\n'), 51);
    EXPECT_NE(told.find("f:50: too many mistakes: what follows was not read\n"), std::string::npos);
}

TEST(ScenarioParse, takes_the_rest_of_the_line_as_what_is_told) {
    const Scenario scenario = parsed("node root root\nsay the  root starts # soon\n");
    ASSERT_EQ(scenario.steps.size(), 1U);
    EXPECT_EQ(scenario.steps[0].kind, StepKind::say);
    EXPECT_EQ(scenario.steps[0].text, "the root starts");
}

TEST(ScenarioParse, lets_only_an_expectation_last) {
    const ScenarioStep step = parsed("line 2\nexpect e1 no-log x for 60\n").steps[0];
    EXPECT_EQ(step.lasting, 60);
    EXPECT_EQ(step.within, 0);
    EXPECT_EQ(error_behind_a_mesh("wait-until e1 status ready for 60"),
              "f:3: only `expect` knows `for`: say `wait-until CONDITION [within SECONDS]`\n");
}

TEST(ScenarioParse, guesses_nothing_that_is_far) {
    EXPECT_EQ(error_behind_a_mesh("explode e1"), "f:3: `explode` is no statement or verb\n");
}

TEST(ScenarioParse, refuses_names_that_are_there_already_or_reserved) {
    EXPECT_EQ(error_behind_a_mesh("node e1 extender"), "f:3: there is a node `e1` already\n");
    EXPECT_EQ(error_behind_a_mesh("line 3"), "f:3: there is a node `root` already\n");
    EXPECT_EQ(error_behind_a_mesh("node all extender"),
              "f:3: `all` cannot be a node's name: use letters, digits, - and _\n");
}

TEST(ScenarioParse, refuses_a_cable_that_leads_up_from_the_root) {
    EXPECT_EQ(error_behind_a_mesh("cable-in root e1"),
              "f:3: a cable leads up from an extender: name that node first\n");
    EXPECT_EQ(error_behind_a_mesh("cable-in e1 e1"), "f:3: `e1` is on both ends\n");
}

TEST(ScenarioParse, refuses_a_file_without_nodes) {
    EXPECT_EQ(errors_of("title nothing\n"),
              "f:1: there is no node: begin with `node root root` or `line 3`\n");
}

TEST(ScenarioParse, refuses_an_open_quote) {
    EXPECT_EQ(errors_of("node root root\ntitle \"open\n"), "f:2: a quote is not closed\n");
}

TEST(LineWords, cuts_at_blanks_and_keeps_quoted_words_whole) {
    std::vector<std::string> words;
    std::string error;
    ASSERT_TRUE(line_words("  a\t\"b c\" \"d\\\"e\\\\\" \"\" f#g # h", &words, error));
    EXPECT_EQ(words, (std::vector<std::string>{"a", "b c", "d\"e\\", "", "f"}));
}

TEST(DefaultNode, has_two_stations_at_5_ghz_one_at_2_and_the_aps_the_daemon_knows) {
    const ScenarioNode node = default_node("e1", NodeRole::extender);
    EXPECT_EQ(scenario_profile_text(node),
              "ath0 BACKHAUL_STA 5h 30 0\n"
              "ath1 BACKHAUL_STA 5l 20 0\n"
              "ath3 BACKHAUL_STA 2 10 0\n"
              "ath20 BACKHAUL_AP 5h 0 0\n"
              "ath12 BACKHAUL_AP 5l 0 0\n"
              "ath2 BACKHAUL_AP 2 0 0\n"
              "ath10 MAIN_SERVICE_AP 5l 0 0\n"
              "ath11 GUEST_SERVICE_AP 5l 0 0\n"
              "ath14 VISITOR_SERVICE_AP 5l 0 0\n"
              "eth ETHERNET - 0 0\n"
              "timer AP_TIMER_INTF - 0 0\n");
    EXPECT_EQ(scenario_daemon_options(node), (std::vector<std::string>{"-d"}));
    EXPECT_EQ(scenario_daemon_options(default_node("r", NodeRole::root)),
              (std::vector<std::string>{"-m", "-d"}));
}

TEST(DefaultNode, leaves_an_unconfigured_station_without_ssid_and_key) {
    Scenario scenario = parsed(
        "node root root\nnode e1 extender\nunconfigured e1 ath0\n"
        "uci e1 wireless.ath10.disabled 0\n");
    const auto entries = scenario_uci(scenario, scenario.nodes[1]);
    const auto has = [&entries](const std::string& key, const std::string& value) {
        return std::find(entries.begin(), entries.end(), std::make_pair(key, value)) !=
               entries.end();
    };
    EXPECT_FALSE(has("wireless.ath0.ssid", "lab-backhaul"));
    EXPECT_TRUE(has("wireless.ath1.ssid", "lab-backhaul"));
    EXPECT_TRUE(has("wireless.ath1.auth", "WPA2PSK"));
    EXPECT_TRUE(has("wireless.ath0.disabled", "1"));
    EXPECT_TRUE(has("wireless.ath20.disabled", "1"));
    EXPECT_TRUE(has("wireless.ath10.disabled", "0"));
    EXPECT_FALSE(has("wireless.ath10.disabled", "1"));
}

}  // namespace
}  // namespace lab
