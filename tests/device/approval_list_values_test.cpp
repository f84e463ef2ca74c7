// One line of the approval list, scanned over what the line before left.

#include "device/approval_list.h"

#include <gtest/gtest.h>

#include <string>

namespace {

approval_line scanned(const char* text, approval_line line = {}) {
    approval_line_scan(text, line);
    return line;
}

approval_line filled(unsigned char approved, const std::string& model) {
    approval_line line;
    line.approved = approved;
    model.copy(line.model.data(), line.model.size() - 1);
    return line;
}

TEST(ApprovalLine, reads_flag_and_model_of_a_whole_line) {
    const approval_line line = scanned("02:00:00:00:00:01 1 MRX70\n");
    EXPECT_EQ(line.approved, 1);
    EXPECT_STREQ(line.model.data(), "MRX70");
}

TEST(ApprovalLine, reads_any_flag_that_is_not_zero) {
    EXPECT_EQ(scanned("node 7 MRX50\n").approved, 7);
    EXPECT_EQ(scanned("node 0 MRX50\n").approved, 0);
}

TEST(ApprovalLine, keeps_the_model_when_the_line_lacks_one) {
    const approval_line line = scanned("node 1\n", filled(0, "MRX70"));
    EXPECT_EQ(line.approved, 1);
    EXPECT_STREQ(line.model.data(), "MRX70");
}

TEST(ApprovalLine, keeps_the_flag_when_the_line_lacks_one) {
    for (const char* const text : {"node\n", "\n", "", "node yes MRX50\n"}) {
        const approval_line line = scanned(text, filled(1, "MRX70"));
        EXPECT_EQ(line.approved, 1) << text;
        EXPECT_STREQ(line.model.data(), "MRX70") << text;
    }
}

TEST(ApprovalLine, cuts_a_model_that_is_too_long) {
    EXPECT_STREQ(scanned("node 1 ABCDEFGHIJKLMNOPQRSTUVWXYZ\n").model.data(), "ABCDEFGHIJKLMNO");
}

}  // namespace
