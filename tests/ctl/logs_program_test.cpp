// summary, verify, explain, metrics and export, as their user sees them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/ctl/ctl_program.h"

namespace {

using ctl_test::Folder;
using ctl_test::log_text;
using ctl_test::Result;
using ctl_test::run;
using ctl_test::run_tool;
using testing::HasSubstr;
using testing::Not;

constexpr char LOGS[] = BACKHAUL_SOURCE_DIR "/tests/ctl/logs";

std::string logs(const std::string& name) {
    return std::string(LOGS) + "/" + name;
}

TEST(Summary, tells_the_outage_with_length_and_cause) {
    const Result result = run({"summary", logs("lost/e1")});
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr("outages: 1, longest 3 min 19 s"));
    EXPECT_THAT(result.out, HasSubstr("ath0 lost its AP 02:00:00:00:01:04; no AP found in 180 s (1 "
                                      "time); ready again over ath1"));
}

TEST(Summary, gives_programs_one_object_for_each_node) {
    const Result result = run({"summary", "--json", logs("loop/root"), logs("loop/e1")});
    EXPECT_THAT(result.out, HasSubstr("\"node\":\"root\""));
    EXPECT_THAT(result.out, HasSubstr("\"node\":\"e1\""));
    EXPECT_THAT(result.out, HasSubstr("\"loops\":1"));
}

TEST(Summary, reads_a_nodes_files_in_the_order_in_which_they_were_written) {
    const std::string text = log_text("loop/e1");
    const size_t half = text.find('\n', text.size() / 2) + 1;
    const Folder folder;
    // The newer half under the plain name, and named first.
    const std::string newer = folder.put("n/backhaul_flow_log", text.substr(half));
    const std::string older = folder.put("n/backhaul_flow_log.1", text.substr(0, half));
    const Result whole = run({"summary", "n=" + folder.put("whole", text)});
    EXPECT_EQ(run({"summary", newer, older}).out, whole.out);
    EXPECT_EQ(run({"summary", folder.path() + "/n"}).out, whole.out);
}

TEST(Summary, tells_a_crash_log_and_what_came_after_it_as_one_life) {
    const std::string text = log_text("lost/e1");
    const Folder folder;
    folder.put("n/backhaul_flow_log.crash",
               text + "Tue Nov 14 22:40:00 2023 : abnormal termination : 11\n");
    folder.put("n/backhaul_flow_log",
               "Tue Nov 14 22:40:01 2023 : <-- backhaul_monitor start -->\n"
               "Tue Nov 14 22:40:02 2023 : backhaul_intf_state_change : change ath0 state from 0 "
               "to 3\n");
    const Result result = run({"summary", folder.path() + "/n"});
    EXPECT_THAT(result.out, HasSubstr("the worker was killed by signal 11; "));
    EXPECT_THAT(result.out, HasSubstr("1  of them after a crash"));
}

TEST(Summary, gets_past_garbage_and_a_cut) {
    std::string text = log_text("lost/e1");
    text.insert(text.find('\n', 400) + 1, std::string("\0\xff\xfe garbage\n", 12));
    text.resize(text.size() - 30);
    text.insert(0, std::string(200000, 'x') + "\n");
    const Folder folder;
    const Result result = run({"summary", folder.put("n.log", text)});
    EXPECT_EQ(result.code, 0);
    EXPECT_THAT(result.out, HasSubstr("garbage"));
    EXPECT_THAT(result.out, HasSubstr("entries"));
}

TEST(Summary, takes_the_own_nodes_log_when_none_is_named) {
    const Folder root;
    root.put("var/log/backhaul_flow_log", log_text("lost/e1"));
    const Result result = run({"summary", "--root", root.path()});
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr("outages: 1"));
}

TEST(Summary, says_what_cannot_be_read) {
    const Folder folder;
    const Result missing = run({"summary", folder.path() + "/none"});
    EXPECT_EQ(missing.code, 3);
    EXPECT_THAT(missing.err, HasSubstr("No such file"));
    EXPECT_EQ(run({"summary", folder.path()}).code, 3);
    EXPECT_EQ(run({"summary", "/dev/null"}).code, 3);
}

TEST(Summary, says_that_a_file_is_no_log) {
    const Folder folder;
    const std::string manual = folder.put("manual.txt", "BACKHAULCTL(1)\n\nNAME\n");
    for (const char* const command : {"summary", "verify", "metrics", "export", "timeline"}) {
        const Result result = run({command, logs("lost/e1"), manual});
        EXPECT_EQ(result.code, 3) << command;
        EXPECT_EQ(result.err, "backhaulctl: " + manual + ": holds no log entry\n");
        EXPECT_THAT(result.out, HasSubstr("e1"));
    }
}

/// The names of the nodes that an export tells.
std::string nodes_of(const std::vector<std::string>& named) {
    std::vector<std::string> words = {"export"};
    words.insert(words.end(), named.begin(), named.end());
    const Result result = run(words);
    EXPECT_EQ(result.code, 0) << result.err;
    std::string names;
    std::istringstream lines(result.out);
    for (std::string line; std::getline(lines, line);) {
        const std::string name = line.substr(9, line.find('"', 9) - 9);
        names += names.find(name + " ") == std::string::npos ? name + " " : "";
    }
    return names;
}

TEST(Names, are_those_of_the_folders_however_they_are_written) {
    const Folder folder;
    folder.put("node1/var/log/backhaul_flow_log", log_text("loop/e1"));
    folder.put("node1/var/log/backhaul_flow_log.1", log_text("loop/e1"));
    folder.put("node2/backhaul_flow_log", log_text("loop/e2"));
    const std::string one = folder.path() + "/node1";
    const std::string two = folder.path() + "/node2";
    EXPECT_EQ(nodes_of({one + "/", two + "//"}), "node1 node2 ");
    EXPECT_EQ(nodes_of({one + "/.", two + "/./backhaul_flow_log"}), "node1 node2 ");
    EXPECT_EQ(nodes_of({"--root", one + "/"}), "node1 ");
    const std::string tool = ctl_test::tool_path();
    const Result here = run_tool({"/bin/sh", "-c",
                                  "cd " + one + " && " + tool + " summary . && cd var/log && " +
                                      tool + " summary backhaul_flow_log"});
    EXPECT_EQ(here.code, 0) << here.err;
    EXPECT_EQ(here.out.find("this"), std::string::npos) << here.out;
    EXPECT_THAT(here.out, testing::StartsWith("node1\n"));
}

TEST(Names, of_two_nodes_are_never_taken_for_one) {
    const Folder folder;
    folder.put("a/n/backhaul_flow_log", log_text("loop/e1"));
    folder.put("b/n/backhaul_flow_log", log_text("loop/e2"));
    const std::string one = folder.path() + "/a/n";
    const std::string two = folder.path() + "/b/n";
    const Result result = run({"summary", one, two});
    EXPECT_EQ(result.code, 3);
    EXPECT_THAT(result.err, HasSubstr(one + "/backhaul_flow_log and " + two +
                                      "/backhaul_flow_log: both would be node n"));
    EXPECT_EQ(nodes_of({one, "m=" + two}), "n m ");
    // Whoever gives both the same name means it.
    EXPECT_EQ(nodes_of({"m=" + one, "m=" + two}), "m ");
    // Named twice it is read once.
    EXPECT_EQ(run({"summary", one, one + "/"}).out, run({"summary", one}).out);
}

TEST(Verify, is_content_with_the_logs_of_real_daemons) {
    const Result result =
        run({"verify", logs("loop/e1"), logs("loop/e2"), "far=" + logs("root_gone/e1")});
    EXPECT_EQ(result.code, 0) << result.out;
    EXPECT_THAT(result.out, HasSubstr("0 that cannot follow"));
}

TEST(Verify, marks_a_line_that_cannot_follow) {
    std::string text = log_text("loop/e1");
    const std::string line = "change ath0 state from 7 to 3";
    ASSERT_NE(text.find(line), std::string::npos);
    text.replace(text.find(line), line.size(), "change ath0 state from 5 to 3");
    const Folder folder;
    const Result result = run({"verify", folder.put("n.log", text)});
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.out, HasSubstr("! Tue Nov 14"));
    EXPECT_THAT(result.out, HasSubstr("by the lines before ath0 is in BACKHAUL_READY (7), not in "
                                      "CONNECTING_TARGET_BACKHAUL_AP (5)"));
}

TEST(Verify, gives_programs_each_finding) {
    std::string text = log_text("loop/e1");
    const std::string line = "change ath0 state from 7 to 3";
    ASSERT_NE(text.find(line), std::string::npos);
    text.replace(text.find(line), line.size(), "change ath0 state from 7 to 99");
    const Folder folder;
    const Result result = run({"verify", "--json", folder.put("n.log", text)});
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.out, HasSubstr(R"("node":"n")"));
    EXPECT_THAT(result.out, HasSubstr(R"("kind":"no_such_state")"));
    EXPECT_THAT(result.out, HasSubstr(R"("interface":"ath0","from":7,"to":99)"));
    EXPECT_THAT(result.out, HasSubstr("no state has the number 99"));
}

TEST(Explain, tells_the_lines_around_a_moment_and_the_rule_behind_them) {
    const Result result = run({"explain", "22:15:06", logs("lost/e1"), "--lines", "200"});
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr("AP 02:00:00:00:01:04 is lost"));
    EXPECT_THAT(result.out, HasSubstr("the table accepts this; looked at again after 180 s"));
    EXPECT_THAT(result.out, HasSubstr("ath1 becomes the backup"));
}

TEST(Explain, shows_as_many_lines_as_it_is_asked_for) {
    const Result result = run({"explain", "22:15", logs("lost/e1"), "--lines", "3", "--json"});
    const auto lines =
        static_cast<size_t>(std::count(result.out.begin(), result.out.end(), '{') - 1);
    EXPECT_EQ(lines, 6U) << result.out;
}

TEST(Explain, says_that_a_moment_is_outside_the_log) {
    const Result after = run({"explain", "23:59", logs("lost/e1")});
    EXPECT_THAT(after.out, HasSubstr("2023-11-14 23:59:00 ---- outside the log, which ends at "
                                     "2023-11-14 22:"));
    const Result before = run({"explain", "2013-11-14 22:15", logs("lost/e1")});
    EXPECT_THAT(before.out, HasSubstr("---- outside the log, which begins at 2023-11-14 22:13:"));
    EXPECT_THAT(run({"explain", "22:15:20", logs("lost/e1")}).out, Not(HasSubstr("outside")));
    EXPECT_THAT(run({"explain", "23:59", "--json", logs("lost/e1")}).out,
                HasSubstr("\"outside\":true"));
    const Folder folder;
    const Result none = run({"explain", "22:15", folder.put("n.log", "")});
    EXPECT_EQ(none.code, 3);
    EXPECT_THAT(none.err, HasSubstr("holds no entry"));
}

TEST(Explain, says_why_a_station_comes_from_standby) {
    const Result result = run({"explain", "22:18:07", logs("lost/e1"), "--lines", "20"});
    EXPECT_THAT(result.out, HasSubstr("because: a station that is to search again stands in "
                                      "standby for the moment in which a backup is looked for; "
                                      "the table accepts this"));
}

TEST(Explain, refuses_what_is_no_time) {
    EXPECT_EQ(run({"explain", "yesterday", logs("lost/e1")}).code, 2);
    EXPECT_EQ(run({"explain"}).code, 2);
}

TEST(Metrics, are_told_for_each_node) {
    const Result result = run({"metrics", logs("loop/e1"), "far=" + logs("root_gone/e1")});
    EXPECT_EQ(result.code, 0);
    EXPECT_THAT(result.out, HasSubstr("backhaul_ready{node=\"e1\"} "));
    EXPECT_THAT(result.out, HasSubstr("backhaul_link_state{node=\"e1\",interface=\"ath0\"} "));
    EXPECT_THAT(result.out, HasSubstr("# TYPE backhaul_log_outages gauge\n"));
}

TEST(Metrics, are_good_to_the_exporters_own_checker) {
    if (!ctl_test::have_tool("promtool")) {
        GTEST_SKIP() << "promtool is not installed (./run deps ci)";
    }
    const Result result = run({"metrics", logs("loop/e1"), "a \"node\"\\=" + logs("root_gone/e2")});
    ASSERT_EQ(result.code, 0) << result.err;
    const Result checked = run_tool({"promtool", "check", "metrics"}, result.out);
    EXPECT_EQ(checked.code, 0) << checked.out << checked.err << result.out;
}

constexpr char TABLE[] =
    "CREATE TABLE entry (node TEXT, seq INTEGER, time TEXT, seconds INTEGER, \"group\" TEXT,"
    " interface TEXT, state_from INTEGER, state_to INTEGER, event INTEGER, mac TEXT,"
    " ready INTEGER, marked INTEGER, text TEXT, PRIMARY KEY (node, seq));";

class ExportTest : public testing::Test {
protected:
    /// The answer to a question about the logs of the fleet, which is asked of SQLite.
    std::string ask(const std::string& question) {
        const Result exported = run({"export", logs("root_gone/e1"), "far=" + logs("root_gone/e2"),
                                     "loop=" + logs("loop/e1") + "/backhaul_flow_log"});
        EXPECT_EQ(exported.code, 0) << exported.err;
        const Folder folder;
        const std::string file = folder.put("lines", exported.out);
        std::string load = std::string(TABLE) +
                           "CREATE TABLE line (j TEXT);\n.mode ascii\n"
                           ".separator \"\\037\" \"\\n\"\n.import " +
                           file + " line\n";
        load +=
            "INSERT INTO entry SELECT j->>'node', j->>'seq', j->>'time', j->>'seconds',"
            " j->>'group', j->>'interface', j->>'state_from', j->>'state_to', j->>'event',"
            " j->>'mac', j->>'ready', j->>'marked', j->>'text' FROM line;\n";
        const Result result = run_tool({"sqlite3", "-list", ":memory:"},
                                       load + ".mode list\n.separator \"|\" \"\\n\"\n" + question);
        EXPECT_EQ(result.code, 0) << result.err;
        return result.out;
    }
};

TEST_F(ExportTest, answers_which_nodes_lose_their_uplink_most) {
    EXPECT_EQ(ask("SELECT node, count(*) FROM entry WHERE state_from = 7 AND state_to = 3"
                  " GROUP BY node ORDER BY 2 DESC, 1;"),
              "e1|1\nfar|1\nloop|1\n");
}

TEST_F(ExportTest, answers_which_nodes_are_without_a_backhaul_at_their_logs_end) {
    EXPECT_EQ(ask("SELECT node FROM entry e WHERE ready = 0 AND seq = (SELECT max(seq) FROM entry"
                  " WHERE node = e.node) ORDER BY 1;"),
              "e1\nfar\n");
}

TEST_F(ExportTest, answers_where_a_loop_was_refused) {
    EXPECT_EQ(ask("SELECT DISTINCT node FROM entry WHERE text LIKE '%there will be a loop';"),
              "loop\n");
}

TEST(CommandLine, tells_every_command_what_it_does) {
    for (const char* const name : {"status", "check", "send", "summary", "explain", "verify",
                                   "timeline", "metrics", "export"}) {
        const Result result = run({name, "--help"});
        EXPECT_EQ(result.code, 0) << name;
        EXPECT_THAT(result.out, HasSubstr(std::string("usage: backhaulctl ") + name));
    }
}

TEST(CommandLine, refuses_what_it_does_not_know) {
    EXPECT_EQ(run({}).code, 2);
    EXPECT_EQ(run({"sumary"}).code, 2);
    EXPECT_EQ(run({"summary", "--colour"}).code, 2);
    EXPECT_EQ(run({"explain", "22:15", "--lines", "many", logs("lost/e1")}).code, 2);
}

/// What is said in one line about words that do not fit.
std::string complaint(const std::vector<std::string>& words) {
    const Result result = run(words);
    EXPECT_EQ(result.code, 2) << words[0];
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    EXPECT_THAT(result.err, testing::EndsWith("--help)\n"));
    return result.err;
}

TEST(CommandLine, says_in_one_line_what_does_not_fit) {
    EXPECT_THAT(complaint({"summary", "--colour"}), HasSubstr("--colour is no option"));
    EXPECT_THAT(complaint({"explain", "22:15", "--lines"}), HasSubstr("--lines needs a value"));
    EXPECT_THAT(complaint({"explain", "22:15", "--lines", "-1"}), HasSubstr("-1 is no number"));
    EXPECT_THAT(complaint({"status", "--lines", "5"}), HasSubstr("--lines does nothing"));
    EXPECT_THAT(complaint({"summary", "--now", "22:15"}), HasSubstr("--now does nothing"));
    EXPECT_THAT(complaint({"status", "--interval", "5"}), HasSubstr("--interval does nothing"));
    EXPECT_THAT(complaint({"timeline", "--text", "--json", logs("lost/e1")}),
                HasSubstr("only one of them"));
    EXPECT_THAT(complaint({"status", "node1"}), HasSubstr("status --root FOLDER"));
    EXPECT_THAT(complaint({"check", "node1"}), HasSubstr("check --root FOLDER"));
}

/// The man page as it is written, without the marks of its fonts.
std::string manual_text() {
    std::string text = ctl_test::text_of(BACKHAUL_SOURCE_DIR "/docs/backhaulctl.1");
    text.erase(std::remove(text.begin(), text.end(), '\\'), text.end());
    return text;
}

/// Words that begin with two dashes.
std::set<std::string> options_of(const std::string& text) {
    std::set<std::string> options;
    for (size_t at = text.find("--"); at != std::string::npos; at = text.find("--", at + 2)) {
        const size_t end = text.find_first_not_of("abcdefghijklmnopqrstuvwxyz", at + 2);
        options.insert(text.substr(at, end - at));
    }
    options.erase("--");
    return options;
}

TEST(Manual, has_the_options_that_the_program_tells) {
    std::string told = run({"--help"}).out;
    for (const char* const name : {"status", "explain", "timeline"}) {
        told += run({name, "--help"}).out;
    }
    EXPECT_EQ(options_of(manual_text()), options_of(told));
}

TEST(Manual, explains_every_state_and_light_that_a_status_shows) {
    const std::string text = manual_text();
    const size_t begin = text.find(".SH WORDS OF STATUS");
    ASSERT_NE(begin, std::string::npos);
    const std::string words = text.substr(begin, text.find(".SH", begin + 3) - begin);
    for (const char* const word : {"INIT",
                                   "CONNECTING_BACKHAUL_AP",
                                   "CONNECT_WITH_BACKHAUL_AP",
                                   "CONNECTING_TARGET_BACKHAUL_AP",
                                   "CONNECT_PENDING",
                                   "BACKHAUL_READY",
                                   "DFS_MONITORING",
                                   "DFS_BLOCKING",
                                   "AP_TIMER_WAIT",
                                   "ETH_BACKHAUL_DOWN",
                                   "ETH_BACKHAUL_CONNECTED",
                                   "ETH_BACKHAUL_READY",
                                   "ETH_BACKHAUL_STANDBY",
                                   "BackhaulDisConnect",
                                   "BackhaulConnect",
                                   "BackhaulConfig",
                                   "BackhaulFinish",
                                   "Parked",
                                   "LOSSES",
                                   "hops",
                                   "agent",
                                   "B file"}) {
        EXPECT_THAT(words, HasSubstr(word));
    }
}

TEST(CommandLine, tells_the_general_options_with_each_command) {
    for (const char* const option : {"--json", "--output FILE", "--root FOLDER", "--help"}) {
        EXPECT_THAT(run({"verify", "--help"}).out, HasSubstr(option));
    }
}

}  // namespace
