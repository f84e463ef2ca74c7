// The picture: as page, as text, and what a browser makes of it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <string>

#include "tests/ctl/ctl_program.h"

namespace {

using ctl_test::Folder;
using ctl_test::log_text;
using ctl_test::Result;
using ctl_test::run;
using ctl_test::run_tool;
using testing::HasSubstr;
using testing::Not;

constexpr char LOGS[] = BACKHAUL_SOURCE_DIR "/tests/ctl/logs/loop/";

Result timeline(const std::string& form, const std::string& output = "/dev/stdout") {
    return run({"timeline", form, "--output", output, LOGS + std::string("root"),
                LOGS + std::string("e1"), LOGS + std::string("e2")});
}

TEST(Timeline, draws_lanes_and_outages_as_text) {
    const Result result = timeline("--text");
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr("\ne1\n  ath0            |"));
    EXPECT_THAT(result.out, HasSubstr("Rccccc"));
    EXPECT_THAT(result.out, HasSubstr("ccp"));
    EXPECT_THAT(result.out, HasSubstr("####"));
    EXPECT_THAT(result.out, HasSubstr("3 min 19 s   ath0 lost its AP"));
}

TEST(Timeline, shows_what_the_log_ends_with) {
    const Folder folder;
    std::string log =
        "Tue Nov 14 22:00:00 2023 : <-- backhaul_monitor start -->\n"
        "Tue Nov 14 22:00:00 2023 : backhaul_intf_state_change : change ath0 state from 0 to 3\n"
        "Tue Nov 14 22:20:00 2023 : backhaul_intf_state_change : change ath0 state from 3 to 4\n";
    const auto last_letter = [&] {
        const Result result = run({"timeline", "--text", folder.put("n.log", log)});
        return result.out.substr(result.out.find("|\n") - 2, 2);
    };
    EXPECT_EQ(last_letter(), "ca");
    log +=
        "Tue Nov 14 22:20:00 2023 : backhaul_intf_state_change : change ath0 state from 4 to 7\n";
    EXPECT_EQ(last_letter(), "cR");
}

TEST(Timeline, has_a_letter_of_its_own_for_each_state) {
    const std::string text = timeline("--text").out;
    const std::string legend = text.substr(text.rfind("\n\n") + 2);
    std::set<std::string> letters;
    std::istringstream lines(legend);
    for (std::string line; std::getline(lines, line);) {
        EXPECT_TRUE(letters.insert(line.substr(0, 4)).second) << line;
    }
    EXPECT_GE(letters.size(), 13U);
}

TEST(Timeline, asks_for_nothing_from_elsewhere) {
    const Folder folder;
    const std::string file = folder.path() + "/page.html";
    ASSERT_EQ(run({"timeline", LOGS + std::string("e1"), "--output", file}).code, 0);
    const std::string page = ctl_test::text_of(file);
    EXPECT_THAT(page, HasSubstr("<!doctype html>"));
    for (const char* const word : {"src=", "href=\"http", "@import", "url(http", "fetch("}) {
        EXPECT_EQ(page.find(word), std::string::npos) << word;
    }
}

TEST(Timeline, lets_no_log_line_end_its_data) {
    const Folder folder;
    const std::string log = folder.put(
        "n.log", "Tue Nov 14 22:13:20 2023 : </script><script>alert(1)</script> \"\\ \xff\n");
    const Result result = run({"timeline", log});
    EXPECT_EQ(result.out.find("<script>alert"), std::string::npos);
    EXPECT_THAT(result.out, HasSubstr("\\u003c/script>\\u003cscript>alert(1)"));
    const std::string json = folder.path() + "/json";
    ASSERT_EQ(run({"timeline", "--json", log, "--output", json}).code, 0);
    const Result read = run_tool(
        {"sqlite3", ":memory:", "SELECT json_valid(CAST(readfile('" + json + "') AS TEXT));"});
    EXPECT_EQ(read.out, "1\n") << read.err;
}

TEST(Timeline, draws_an_empty_log_and_says_so) {
    const Folder folder;
    const std::string log = folder.put("n.log", "");
    for (const Result& drawn : {run({"timeline", log}), run({"timeline", "--text", log})}) {
        EXPECT_EQ(drawn.code, 3);
        EXPECT_NE(drawn.out, "");
        EXPECT_EQ(drawn.err, "backhaulctl: " + log + ": holds no log entry\n");
    }
}

/// What the page has become after `script` ran behind its own, and what it said to its console.
class BrowserTest : public testing::Test {
protected:
    void SetUp() override {
        if (!ctl_test::have_tool("chromium")) {
            GTEST_SKIP() << "chromium is not installed (./run deps ci)";
        }
    }
    Result open_with(const std::string& script) {
        const std::string file = folder.path() + "/page.html";
        EXPECT_EQ(run({"timeline", "--output", file, LOGS + std::string("root"),
                       LOGS + std::string("e1"), LOGS + std::string("e2")})
                      .code,
                  0);
        folder.put("page.html", ctl_test::text_of(file) + "<script>" + script + "</script>");
        return run_tool({"chromium", "--headless=new", "--no-sandbox", "--disable-gpu",
                         "--enable-logging=stderr", "--user-data-dir=" + folder.path() + "/user",
                         "--window-size=1200,800", "--virtual-time-budget=2000", "--dump-dom",
                         "file://" + file});
    }
    Folder folder;
};

TEST_F(BrowserTest, shows_every_node_and_says_nothing_to_the_console) {
    const Result result = open_with("");
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_THAT(result.err, Not(HasSubstr("CONSOLE")));
    for (const char* const words :
         {"class=\"node\">root<", "class=\"node\">e1<", "class=\"node\">e2<",
          "data-state=\"CONNECT_PENDING\"", "class=\"outage\""}) {
        EXPECT_THAT(result.out, HasSubstr(words));
    }
}

TEST_F(BrowserTest, finds_a_line_and_shows_it_by_keyboard) {
    const Result result = open_with(
        "const box=document.getElementById('search');box.value='there will be a loop';"
        "box.dispatchEvent(new Event('input'));"
        "document.dispatchEvent(new KeyboardEvent('keydown',{key:'n',bubbles:true}));");
    EXPECT_THAT(result.err, Not(HasSubstr("CONSOLE")));
    EXPECT_THAT(result.out, HasSubstr("1 of 1"));
    EXPECT_THAT(result.out, HasSubstr("<li class=\"here\">22:18:42  backhaul_db_topo_check : there "
                                      "will be a loop</li>"));
}

TEST_F(BrowserTest, shows_less_time_when_it_is_zoomed_in) {
    const Result result = open_with(
        "const before=document.getElementById('range').textContent;"
        "document.dispatchEvent(new KeyboardEvent('keydown',{key:'+',bubbles:true}));"
        "document.title=before+' | '+document.getElementById('range').textContent;");
    EXPECT_THAT(result.out, HasSubstr("(10 min 23 s) | "));
    EXPECT_THAT(result.out, HasSubstr("(5 min 12 s)</title>"));
}

}  // namespace
