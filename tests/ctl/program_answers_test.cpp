// What backhaulctl answers to programs (--json), and what it says of logs that no daemon writes
// while all is well.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "tests/ctl/ctl_program.h"
#include "tests/ctl/story_fixture.h"

namespace {

using ctl_test::Folder;
using ctl_test::Result;
using ctl_test::run;
using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

/// The log of a node, line by line; times are seconds since 2023-11-14 22:00:00.
class AnswerTest : public ctl_test::NodeLog {
protected:
    void say(int64_t time, const std::string& text) override {
        std::array<char, 64> date{};
        const time_t moment = 1700000000 - 800 + time;
        tm parts{};
        gmtime_r(&moment, &parts);
        std::strftime(date.data(), date.size(), "%a %b %e %H:%M:%S %Y", &parts);
        log_ += std::string(date.data()) + " : " + text + "\n";
    }
    void outage(int64_t begin, int64_t end) {
        change(begin, "ath0", 7, 3);
        change(end, "ath0", 3, 4);
        change(end, "ath0", 4, 7);
    }
    const std::string& log() const {
        return log_;
    }
    void raw(const std::string& text) {
        log_ += text;
    }
    Result ask(std::vector<std::string> words) {
        words.push_back(folder_.put("node/backhaul_flow_log", log_));
        return run(words);
    }
    json answer(const std::vector<std::string>& words) {
        const Result result = ask(words);
        json parsed = json::parse(result.out, nullptr, false);
        EXPECT_FALSE(parsed.is_discarded()) << result.out << result.err;
        return parsed;
    }

private:
    std::string log_;
    Folder folder_;
};

TEST_F(AnswerTest, of_metrics_has_each_number_and_each_link) {
    ready();
    outage(100, 130);
    const json nodes = answer({"metrics", "--json"});
    ASSERT_EQ(nodes.size(), 1U);
    EXPECT_EQ(nodes[0]["node"], "node");
    EXPECT_EQ(nodes[0]["backhaul_ready"], 1);
    EXPECT_EQ(nodes[0]["backhaul_log_outages"], 1);
    EXPECT_EQ(nodes[0]["backhaul_link_state"], json({{"ath0", 7}}));
}

TEST_F(AnswerTest, of_metrics_tells_that_the_node_is_out) {
    ready();
    change(100, "ath0", 7, 3);
    const json nodes = answer({"metrics", "--json"});
    EXPECT_EQ(nodes[0]["backhaul_ready"], 0);
    EXPECT_EQ(nodes[0]["backhaul_link_state"], json({{"ath0", 3}}));
}

TEST_F(AnswerTest, of_summary_keeps_the_longest_outages_and_counts_the_others) {
    ready();
    for (int i = 0; i < 120; ++i) {
        // Each tenth is longer than those around it.
        outage(1000 + 100 * i, 1000 + 100 * i + (i % 10 == 0 ? 60 : 10));
    }
    outage(20000, 20500);
    const Result result = ask({"summary"});
    EXPECT_THAT(result.out, HasSubstr("outages: 121, longest 8 min 20 s"));
    EXPECT_THAT(result.out, HasSubstr("(21 shorter ones are not listed)"));
    EXPECT_THAT(result.out, HasSubstr("8 min 20 s   "));
    const json node = answer({"summary", "--json"});
    EXPECT_EQ((node.is_array() ? node[0] : node)["outages"].size(), 100U);
}

TEST_F(AnswerTest, of_summary_names_garbage_gaps_and_what_cannot_follow) {
    ready();
    raw("no entry at all\n");
    change(30, "ath0", 3, 4);
    change(40, "ath0", 7, 3);
    const Result result = ask({"summary"});
    EXPECT_THAT(result.out, HasSubstr(", 1 lines of garbage"));
    EXPECT_THAT(result.out,
                HasSubstr("state changes that cannot follow (see: backhaulctl verify)"));
}

TEST_F(AnswerTest, of_summary_says_that_an_outage_is_not_over) {
    ready();
    change(100, "ath0", 7, 3);
    say(160, "restart hyd");
    EXPECT_THAT(ask({"summary"}).out, HasSubstr("; not over where the log ends"));
}

TEST_F(AnswerTest, of_verify_has_every_kind_of_finding) {
    ready();
    change(30, "ath0", 3, 4);
    change(40, "ath0", 4, 2);
    change(50, "ath0", 4, 6);
    change(60, "ath0", 6, 15);
    const Result text = ask({"verify"});
    EXPECT_EQ(text.code, 1);
    EXPECT_THAT(text.out, HasSubstr("cannot follow: no state has the number 2"));
    EXPECT_THAT(text.out, HasSubstr("cannot follow: by the lines before ath0 is in "));
    const Result told = ask({"verify", "--json"});
    EXPECT_THAT(told.out, HasSubstr(R"("kind":"no_such_state")"));
    EXPECT_THAT(told.out, HasSubstr(R"("kind":"cannot_follow")"));
    EXPECT_THAT(told.out, HasSubstr(R"("kind":"dropped")"));
}

TEST_F(AnswerTest, of_explain_has_the_rule_of_each_change) {
    ready();
    change(30, "ath0", 7, 4);
    say(31, "a text of nobody");
    change(32, "ath0", 3, 4);
    change(33, "ath0", 4, 6);
    change(34, "ath0", 6, 0);
    const Result result = ask({"explain", "22:00:30", "--lines", "20"});
    EXPECT_THAT(result.out,
                HasSubstr("because: refused by the table: it stays in BACKHAUL_READY (7)"));
    EXPECT_THAT(result.out, HasSubstr("because: not a text of this daemon"));
    EXPECT_THAT(result.out, HasSubstr("! 2023-11-14 22:00:32"));
    EXPECT_THAT(result.out, HasSubstr("because: the table accepts this; no timeout runs"));
    EXPECT_THAT(result.out, Not(HasSubstr("----"))) << "the moment is one of the log's";
}

TEST_F(AnswerTest, of_explain_marks_the_lines_for_programs) {
    ready();
    change(30, "ath0", 3, 4);
    const json told = answer({"explain", "22:00:30", "--json"});
    EXPECT_EQ(told[0]["lines"].back()["marked"], true) << told;
    EXPECT_EQ(told[0]["lines"].front()["marked"], false) << told;
}

TEST_F(AnswerTest, of_explain_draws_a_line_for_a_moment_without_an_entry) {
    ready();
    say(60, "restart hyd");
    EXPECT_THAT(ask({"explain", "22:00:40"}).out, HasSubstr("  ---- 2023-11-14 22:00:40 ----\n"));
}

TEST_F(AnswerTest, of_export_leaves_empty_what_a_line_has_not) {
    say(0, "<-- backhaul_monitor start -->");
    say(1, "wifi_slave_event_process : ifname ath0 event 0");
    change(1, "ath0", 0, 3);
    change(2, "ath0", 7, 3);
    std::istringstream lines(ask({"export"}).out);
    std::vector<json> entries;
    for (std::string line; std::getline(lines, line);) {
        entries.push_back(json::parse(line, nullptr, false));
    }
    ASSERT_EQ(entries.size(), 4U);
    for (const char* const key : {"interface", "state_from", "state_to", "event", "mac"}) {
        EXPECT_TRUE(entries[0][key].is_null()) << key;
    }
    EXPECT_EQ(entries[1]["event"], 0);
    EXPECT_EQ(entries[2]["state_to"], 3);
    EXPECT_EQ(entries[2]["marked"], 0);
    EXPECT_EQ(entries[3]["marked"], 1);
    EXPECT_EQ(entries[3]["seq"], 3);
}

TEST_F(AnswerTest, is_a_document_whatever_bytes_a_log_holds) {
    struct Case {
        const char* bytes;
        const char* told;
    };
    for (const Case& one : {
             Case{"plain", "plain"},
             Case{"\"quoted\" \\ back", "\"quoted\" \\ back"},
             Case{"tab\there", "tab\there"},
             Case{"two \xc3\xa9 three \xe2\x82\xac four \xf0\x9f\x93\xb6 end",
                  "two \xc3\xa9 three \xe2\x82\xac four \xf0\x9f\x93\xb6 end"},
             Case{"alone \x80 end", "alone \xef\xbf\xbd end"},
             Case{"cut \xe2\x82", "cut \xef\xbf\xbd\xef\xbf\xbd"},
             Case{"long \xc0\xaf end", "long \xef\xbf\xbd\xef\xbf\xbd end"},
             Case{"long \xe0\x80\xaf", "long \xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd"},
             Case{"half \xed\xa0\x80", "half \xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd"},
             Case{"past \xf4\x90\x80\x80", "past \xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd"},
             Case{"long \xf0\x80\x80\x80", "long \xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd"},
         }) {
        say(0, one.bytes);
        std::istringstream lines(ask({"export"}).out);
        json last;
        for (std::string line; std::getline(lines, line);) {
            last = json::parse(line, nullptr, false);
        }
        EXPECT_EQ(last["text"], one.told);
    }
}

/// A node's files beside its log.
class StatusAnswer : public AnswerTest {
protected:
    json status(const std::vector<std::string>& words = {}) {
        node.put("var/log/backhaul_flow_log", log());
        std::vector<std::string> all = {"status", "--json", "--root", node.path()};
        all.insert(all.end(), words.begin(), words.end());
        json parsed = json::parse(run(all).out, nullptr, false);
        EXPECT_FALSE(parsed.is_discarded());
        return parsed;
    }
    std::string text() {
        node.put("var/log/backhaul_flow_log", log());
        return run({"status", "--root", node.path()}).out;
    }

    Folder node;
};

TEST_F(StatusAnswer, has_what_the_nodes_files_say) {
    node.put("tmp/wifi_if_profile",
             "ath0 BACKHAUL_STA 5 1 0\nath1 BACKHAUL_STA 2 2 0\n"
             "ath10 MAIN_SERVICE_AP 5 3 0\neth ETHERNET 0 4 0\n");
    node.put("tmp/rootap_ip", "192.168.1.1\n");
    node.put("tmp/rootdistance", "1\n");
    node.put("tmp/backhaul_status", "ready\n");
    node.put("tmp/backhaul_type", "wifi\n");
    node.put("proc/net/arp",
             "IP address HW type Flags HW address Mask Device\n"
             "192.168.1.9 0x1 0x0 00:00:00:00:00:00 * br-lan\n"
             "192.168.1.1 0x1 0x2 02:00:00:00:00:01 * br-lan\n");
    ready();
    say(30, "backhaul_notification_recv : recv CHECK_VALID_REPLY from 192.168.1.1");
    for (int64_t time = 31; time < 45; ++time) {
        say(time, "dev_intf_enable_set : wpa_cli fail, try again");
    }
    const json told = status();
    EXPECT_EQ(told["ready"], true);
    EXPECT_EQ(told["uplink"], "ath0");
    EXPECT_EQ(told["hops"], "1");
    EXPECT_EQ(told["root"], "192.168.1.1");
    EXPECT_EQ(told["root_heard"], "2023-11-14 22:00:30");
    EXPECT_EQ(told["error"]["times"], 14);
    EXPECT_EQ(told["error"]["seconds"], 13);
    ASSERT_EQ(told["interfaces"].size(), 3U);
    EXPECT_EQ(told["interfaces"][0]["losses"], 0);
    EXPECT_TRUE(told["backup"].is_null());
    const std::string shown = text();
    EXPECT_THAT(shown, HasSubstr("it admitted this node; its announcements leave no line), the "
                                 "kernel knows its hardware address"));
    EXPECT_THAT(shown, HasSubstr("file       backhaul_status says \"ready\", backhaul_type "
                                 "\"wifi\""));
}

TEST_F(StatusAnswer, of_a_root_counts_its_extenders) {
    node.put("tmp/backhaul_ap_list", "02:00:00:00:01:01 1\n\n02:00:00:00:02:01 1\n");
    say(0, "<-- backhaul_monitor start -->");
    EXPECT_THAT(text(), HasSubstr("extenders  2 on the root's list"));
    const json told = status();
    EXPECT_EQ(told["ready"], false);
    EXPECT_TRUE(told["uplink"].is_null());
    EXPECT_TRUE(told["error"].is_null());
    EXPECT_EQ(told["interfaces"].size(), 0U);
}

TEST_F(StatusAnswer, does_not_know_the_losses_of_a_log_that_begins_late) {
    change(50, "ath0", 7, 3);
    const json told = status();
    EXPECT_TRUE(told["interfaces"][0]["losses"].is_null());
    EXPECT_EQ(told["interfaces"][0]["waits_for"], "an AP until 22:03:51");
    EXPECT_TRUE(told["root"].is_null());
    EXPECT_TRUE(told["root_heard"].is_null());
}

TEST(SendAnswer, tells_a_program_what_became_of_the_word) {
    const Folder node;
    node.put("tmp/x", "");
    const std::string path = node.path() + "/tmp/backhaul_fifo";
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    const int daemon = open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    const auto send = [&](const char* word) {
        return json::parse(run({"send", word, "--json", "--root", node.path()}).out, nullptr,
                           false);
    };
    EXPECT_EQ(send("uplink_scan"),
              json({{"word", "uplink_scan"}, {"sent", true}, {"said", "sent: uplink_scan"}}));
    EXPECT_EQ(send("scan")["sent"], false);
    const std::string filler(4096, 'x');
    while (write(daemon, filler.data(), filler.size()) > 0) {
    }
    while (write(daemon, "x", 1) > 0) {
    }
    const json full = send("uplink_scan");
    EXPECT_EQ(full["sent"], false);
    EXPECT_THAT(full["said"].get<std::string>(), HasSubstr("full: the daemon does not read"));
    close(daemon);
}

}  // namespace
