// Reading the lists of texts, and which seen line shows that a text was said.

#include "tests/contract/text_list.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace contract {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> labels(const std::vector<Text>& texts) {
    std::vector<std::string> all;
    for (const Text& text : texts) {
        all.push_back(text_label(text));
    }
    return all;
}

TEST(TextList, holds_one_text_a_line_below_its_function) {
    std::vector<std::string> errors;
    const std::vector<Text> texts = texts_read("flow_log",
                                               "# a comment\n"
                                               "restart hyd\\n\n"
                                               "\n"
                                               "[qca_dist_get]\n"
                                               "%s : dist %d\\n\n",
                                               &errors);
    EXPECT_THAT(labels(texts),
                ElementsAre("flow_log restart hyd\\n", "flow_log [qca_dist_get] %s : dist %d\\n"));
    EXPECT_THAT(errors, IsEmpty());
}

TEST(TextList, names_what_is_no_form_and_what_is_there_twice) {
    std::vector<std::string> errors;
    texts_read("stdout", "100%\n[a]\nb\\n\nb\\n\n[c]\nb\\n\n", &errors);
    EXPECT_THAT(errors, ElementsAre("stdout: not a form: 100%", "twice: stdout [a] b\\n"));
}

TEST(TextList, reads_all_lists_of_the_contract_without_a_complaint) {
    std::vector<std::string> errors;
    const auto texts = texts_read_folder(BACKHAUL_SOURCE_DIR "/tests/contract", &errors);
    EXPECT_THAT(errors, IsEmpty());
    EXPECT_GT(texts.size(), 250u);
}

Text only(const std::string& kind, const std::string& content) {
    std::vector<std::string> errors;
    const std::vector<Text> texts = texts_read(kind, content, &errors);
    EXPECT_EQ(texts.size(), 1u) << content;
    return texts.at(0);
}

TEST(TextList, is_shown_by_a_line_of_the_same_kind_only) {
    const Text text = only("stdout", "Slave\\n");
    EXPECT_TRUE(text_explains(text, {"stdout", "Slave\n"}));
    EXPECT_FALSE(text_explains(text, {"stderr", "Slave\n"}));
    EXPECT_FALSE(text_explains(text, {"stdout", "Slave"}));
}

TEST(TextList, is_shown_by_a_line_that_goes_on_when_the_text_has_no_end) {
    const Text text = only("stdout", "netlink: %s");
    EXPECT_TRUE(text_explains(text, {"stdout", "netlink: no such thing"}));
    EXPECT_TRUE(text_explains(text, {"stdout", "netlink: no such thingSlave\n"}));
}

TEST(TextList, is_not_shown_by_a_command_that_goes_on) {
    const Text text = only("commands", "wifi up wifi0");
    EXPECT_TRUE(text_explains(text, {"commands", "wifi up wifi0"}));
    EXPECT_FALSE(text_explains(text, {"commands", "wifi up wifi0 now"}));
}

TEST(TextList, is_shown_by_a_line_of_its_own_file_only) {
    const Text text = only("files", "[/tmp/wpa_supplicant-%s.conf]\n\\tssid=\"%s\"\\n");
    EXPECT_TRUE(text_explains(text, {"files", "/tmp/wpa_supplicant-ath0.conf\t\tssid=\"a\"\n"}));
    EXPECT_FALSE(text_explains(text, {"files", "/tmp/wpa_supplicant-ath0.conf\tssid=\"a\"\n"}));
    EXPECT_FALSE(text_explains(text, {"files", "/tmp/other.conf\t\tssid=\"a\"\n"}));
}

}  // namespace
}  // namespace contract
