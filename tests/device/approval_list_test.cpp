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

constexpr auto READY = approval_readiness::ready;
constexpr auto NOT_READY = approval_readiness::not_ready;

struct list_case {
    const char* what;
    std::string text;
    int approved;
    int model_approved;
    approval_readiness readiness;
};

TEST_F(ApprovalList, is_judged_line_by_line) {
    const list_case cases[] = {
        {"an empty list", "", 0, 0, READY},
        {"each flag that is not zero counts", "a 1 MRX50\nb 0 MRX70\nc 2\nd 255 MRX70\n", 3, 1,
         NOT_READY},
        {"a line without a flag repeats the verdict of the one before",
         "a\nb 1 MRX50\nc\n\nd 0 MRX50\ne\n", 3, 0, NOT_READY},
        {"a last line without a line end", "a 0 MRX50\nb 1 MRX50", 1, 0, READY},
        {"the steering model on an approved line", "a 1 MRX50\nb 1 MRX70\n", 2, 1, READY},
        {"the steering model on a refused line", "a 1 MRX50\nb 0 MRX70\n", 1, 0, READY},
        {"the steering model by the flag of the line before", "a 1 MRX50\nb\nc yes MRX70\n", 3, 0,
         NOT_READY},
        {"the steering model of the line before", "a 0 MRX70\nb 1\n", 1, 0, NOT_READY},
        {"names that resemble the steering model", "a 1 MRX7\nb 1 MRX700\nc 1 mrx70\nd 1 XMRX70\n",
         4, 0, READY},
        {"every approved line has a model", "a 1 MRX50\nb 0\nc 0 MRX70\nd 1 MRX70\n", 2, 1, READY},
        {"an approved line lacks its model", "a 1 MRX50\nb 1\nc 1 MRX70\n", 3, 1, NOT_READY},
        {"a line without a flag follows an approved one", "a 1 MRX50\nb\n", 2, 0, NOT_READY},
        // 63 characters a read: the flag of the rest is its second word.
        {"the rest of a long line is a line of its own", std::string(61, 'a') + " 0 b 1 MRX70\n", 1,
         1, READY},
        {"a flag past the 63 characters is the first word of the rest",
         std::string(62, 'a') + " 1 MRX70\n", 0, 0, READY},
    };
    for (const list_case& one : cases) {
        list_put(one.text);
        EXPECT_EQ(approval_list_approved_count(), one.approved) << one.what;
        EXPECT_EQ(approval_list_model_approved(), one.model_approved) << one.what;
        EXPECT_EQ(approval_list_readiness(), one.readiness) << one.what;
    }
}

}  // namespace
