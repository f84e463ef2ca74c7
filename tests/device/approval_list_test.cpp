// The approval list as a whole.

#include "device/approval_list.h"

#include "tests/device/device_fixture.h"

#include <gtest/gtest.h>

namespace {

class ApprovalList : public DeviceTest {
protected:
    static void list_put(const std::string& text) {
        harness::put_file("/tmp/ApplicationData/Approvelist", text);
    }
};

TEST_F(ApprovalList, counts_none_when_it_is_missing) {
    EXPECT_EQ(approval_list_approved_count(), 0);
    EXPECT_EQ(approval_list_model_approved(), 0);
    EXPECT_EQ(approval_list_readiness(), approval_readiness::missing);
}

TEST_F(ApprovalList, counts_the_lines_with_a_flag_that_is_not_zero) {
    list_put("a 1 MRX50\nb 0 MRX70\nc 2\nd 255 MRX70\n");
    EXPECT_EQ(approval_list_approved_count(), 3);
}

TEST_F(ApprovalList, counts_no_line_of_an_empty_list) {
    list_put("");
    EXPECT_EQ(approval_list_approved_count(), 0);
    EXPECT_EQ(approval_list_model_approved(), 0);
    EXPECT_EQ(approval_list_readiness(), approval_readiness::ready);
}

TEST_F(ApprovalList, repeats_the_verdict_of_the_line_before_for_a_line_without_a_flag) {
    list_put("a\nb 1 MRX50\nc\n\nd 0 MRX50\ne\n");
    EXPECT_EQ(approval_list_approved_count(), 3);
}

TEST_F(ApprovalList, counts_a_last_line_without_a_line_end) {
    list_put("a 0 MRX50\nb 1 MRX50");
    EXPECT_EQ(approval_list_approved_count(), 1);
}

TEST_F(ApprovalList, finds_the_steering_model_on_an_approved_line) {
    list_put("a 1 MRX50\nb 1 MRX70\n");
    EXPECT_EQ(approval_list_model_approved(), 1);
}

TEST_F(ApprovalList, finds_no_steering_model_on_a_line_that_is_not_approved) {
    list_put("a 1 MRX50\nb 0 MRX70\n");
    EXPECT_EQ(approval_list_model_approved(), 0);
}

TEST_F(ApprovalList, finds_no_steering_model_by_the_flag_of_the_line_before) {
    list_put("a 1 MRX50\nb\nc yes MRX70\n");
    EXPECT_EQ(approval_list_model_approved(), 0);
}

TEST_F(ApprovalList, finds_no_steering_model_by_the_model_of_the_line_before) {
    list_put("a 0 MRX70\nb 1\n");
    EXPECT_EQ(approval_list_model_approved(), 0);
}

TEST_F(ApprovalList, finds_the_steering_model_only_by_its_exact_name) {
    list_put("a 1 MRX7\nb 1 MRX700\nc 1 mrx70\nd 1 XMRX70\n");
    EXPECT_EQ(approval_list_model_approved(), 0);
}

TEST_F(ApprovalList, is_ready_when_every_approved_line_has_a_model) {
    list_put("a 1 MRX50\nb 0\nc 0 MRX70\nd 1 MRX70\n");
    EXPECT_EQ(approval_list_readiness(), approval_readiness::ready);
}

TEST_F(ApprovalList, is_not_ready_when_an_approved_line_lacks_its_model) {
    list_put("a 1 MRX50\nb 1\nc 1 MRX70\n");
    EXPECT_EQ(approval_list_readiness(), approval_readiness::not_ready);
}

TEST_F(ApprovalList, is_not_ready_when_a_line_without_a_flag_follows_an_approved_one) {
    list_put("a 1 MRX50\nb\n");
    EXPECT_EQ(approval_list_readiness(), approval_readiness::not_ready);
}

TEST_F(ApprovalList, reads_the_rest_of_a_long_line_as_a_line_of_its_own) {
    // 63 characters a read: the flag of the rest is its second word.
    list_put(std::string(61, 'a') + " 0 b 1 MRX70\n");
    EXPECT_EQ(approval_list_approved_count(), 1);
}

}  // namespace
