#include "lab/tools/answer.h"

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

#include "lab/tools/record.h"
#include "lab/tools/state_layout.h"
#include "lab/tools/tool_words.h"
#include "tests/lab/tools_fixture.h"

namespace {

using testing::ElementsAre;

class AnswerTest : public ToolsTest {};

TEST_F(AnswerTest, names_a_wpa_cli_call_by_verb_and_interface) {
    EXPECT_THAT(lab::tool_key_words("wpa_cli", {"-g", "/var/run/wpa_supplicantglobal",
                                                "interface_add", "ath0", "/tmp/x.conf"}),
                ElementsAre("interface_add", "ath0", "/tmp/x.conf"));
    EXPECT_THAT(lab::tool_key_words("wpa_cli",
                                    {"-i", "ath0", "-p", "/var/run/wpa_supplicant-ath0", "status"}),
                ElementsAre("status", "ath0"));
    EXPECT_THAT(lab::tool_key_words("wpa_cli", {"-p", "/var/run/wpa_supplicant-ath1", "set_network",
                                                "0", "bssid", "02:00"}),
                ElementsAre("set_network", "ath1", "0", "bssid", "02:00"));
}

TEST_F(AnswerTest, leaves_the_radio_and_the_option_letters_out_of_a_key) {
    EXPECT_THAT(lab::tool_key_words("radartool", {"-i", "wifi2", "getnol", "/tmp/nol_list"}),
                ElementsAre("getnol", "/tmp/nol_list"));
    EXPECT_THAT(lab::tool_key_words("wifisys_tool", {"-g", "1", "-f", "2"}), ElementsAre("1", "2"));
    EXPECT_THAT(lab::tool_key_words("iwpriv", {"ath0", "get_whc_dist"}),
                ElementsAre("ath0", "get_whc_dist"));
    EXPECT_THAT(lab::tool_keys("hyd", {"stop", "now"}),
                ElementsAre("hyd.stop.now", "hyd.stop", "hyd"));
}

TEST_F(AnswerTest, gives_queued_answers_in_order_and_then_the_tools_own) {
    lab::answer_push(root, "wpa_cli.interface_add", "FAIL");
    lab::answer_push(root, "wpa_cli.interface_add", "BUSY");
    const std::vector<std::string> words = {"-g", "/g", "interface_add", "ath0", "/tmp/c"};
    EXPECT_EQ(lab::answers_left(root, "wpa_cli.interface_add"), 2);
    EXPECT_EQ(out("wpa_cli", words), "FAIL\n");
    EXPECT_EQ(out("wpa_cli", words), "BUSY\n");
    EXPECT_EQ(lab::answers_left(root, "wpa_cli.interface_add"), 0);
    EXPECT_EQ(out("wpa_cli", words), "OK\n");
}

TEST_F(AnswerTest, keeps_more_than_nine_queued_answers_in_order) {
    for (int number = 1; number <= 12; ++number) {
        lab::answer_push(root, "ps", std::to_string(number));
    }
    for (int number = 1; number <= 12; ++number) {
        EXPECT_EQ(out("ps", {}), std::to_string(number) + "\n");
    }
}

TEST_F(AnswerTest, prefers_the_answer_with_the_most_telling_key) {
    lab::answer_push(root, "iwpriv", "any");
    lab::answer_push(root, "iwpriv.ath0", "interface");
    lab::answer_push(root, "iwpriv.ath0.get_whc_dist", "all");
    EXPECT_EQ(out("iwpriv", {"ath0", "get_whc_dist"}), "all\n");
    EXPECT_EQ(out("iwpriv", {"ath0", "get_whc_dist"}), "interface\n");
    EXPECT_EQ(out("iwpriv", {"ath1", "get_whc_dist"}), "any\n");
}

TEST_F(AnswerTest, keeps_giving_a_lasting_answer_once_the_queue_is_empty) {
    lab::answer_always(root, "iwconfig.ath0", "always");
    lab::answer_push(root, "iwconfig.ath0", "once");
    EXPECT_EQ(out("iwconfig", {"ath0"}), "once\n");
    EXPECT_EQ(out("iwconfig", {"ath0"}), "always\n");
    EXPECT_EQ(out("iwconfig", {"ath0"}), "always\n");
    lab::answers_clear(root, "iwconfig.ath0");
    EXPECT_NE(out("iwconfig", {"ath0"}), "always\n");
}

TEST_F(AnswerTest, gives_output_error_text_and_exit_code_exactly) {
    lab::ToolAnswer answer;
    answer.out = "no line end";
    answer.err = "out 3\nodd\n";
    answer.exit_code = 7;
    lab::answer_push(root, "vlog", answer);
    const lab::ToolCall call = run("vlog", {"0", "0", "x"});
    EXPECT_EQ(call.out, "no line end");
    EXPECT_EQ(call.err, "out 3\nodd\n");
    EXPECT_EQ(call.exit_code, 7);
}

TEST_F(AnswerTest, finds_an_answer_whose_key_holds_a_path) {
    lab::answer_push(root, "radartool.getnol./tmp/nol_list", "here");
    EXPECT_EQ(out("radartool", {"-i", "wifi2", "getnol", "/tmp/nol_list"}), "here\n");
}

TEST_F(AnswerTest, refuses_a_text_that_is_no_answer) {
    lab::ToolAnswer answer;
    EXPECT_FALSE(lab::answer_decode("", &answer));
    EXPECT_FALSE(lab::answer_decode("local\n", &answer));
    EXPECT_FALSE(lab::answer_decode("exit 0\nerr 0\nout 5\nabc", &answer));
    EXPECT_FALSE(lab::answer_decode("exit 0\nerr 0\nout 2\nabc", &answer));
    EXPECT_TRUE(
        lab::answer_decode("exit 3\nerr 1\ne"
                           "out 3\nabc",
                           &answer));
    EXPECT_EQ(answer.exit_code, 3);
    EXPECT_EQ(answer.err, "e");
    EXPECT_EQ(answer.out, "abc");
}

TEST_F(AnswerTest, holds_a_call_at_a_gate_after_recording_it) {
    lab::answer_hold(root, "hyd.start", "slow");
    std::thread tool([&] { run("hyd", {"start"}); });
    while (lab::answers_left(root, "hyd.start") != 0) {
        std::this_thread::yield();
    }
    EXPECT_EQ(lab::recorded_call_texts(root).back(), "hyd start");
    // Only a tool that acts after the gate was opened can see this.
    lab::uci_store_set(root, "hyd.config.Enable", "0");
    lab::gate_open(root, "slow");
    tool.join();
    EXPECT_FALSE(lab::hyd_is_running(root));
}

TEST_F(AnswerTest, gives_the_queued_answer_behind_a_gate_that_is_open_already) {
    lab::ToolAnswer answer;
    answer.out = "late\n";
    answer.gate = "slow";
    lab::answer_push(root, "ps", answer);
    lab::gate_open(root, "slow");
    EXPECT_EQ(out("ps", {}), "late\n");
}

TEST_F(AnswerTest, gives_each_queued_answer_to_exactly_one_of_many_calls) {
    constexpr int ANSWERS = 60;
    constexpr int CALLERS = 4;
    for (int number = 0; number < ANSWERS; ++number) {
        lab::answer_push(root, "uci", "queued");
    }
    std::atomic<int> queued{0};
    std::vector<std::thread> callers;
    for (int caller = 0; caller < CALLERS; ++caller) {
        callers.emplace_back([&] {
            for (int number = 0; number < ANSWERS; ++number) {
                queued += out("uci", {"get", "a.b.c"}) == "queued\n" ? 1 : 0;
            }
        });
    }
    for (std::thread& caller : callers) {
        caller.join();
    }
    EXPECT_EQ(queued, ANSWERS);
    EXPECT_EQ(lab::call_records(root).size(), static_cast<std::size_t>(ANSWERS * CALLERS));
}

}  // namespace
