// Messages of the join/leave history.

#include <gtest/gtest.h>

#include <string>

#include "root/event_log.h"

namespace {

constexpr char ALMAC[] = "02:00:00:00:00:0a";

TEST(EventLogMessage, says_join_for_kind_1_and_leave_for_every_other) {
    EXPECT_STREQ(event_log_message("Kitchen", ALMAC, EVENT_LOG_JOIN).data(),
                 "Kitchen(02:00:00:00:00:0a) join");
    for (const int kind : {0, 2, 3, -1}) {
        EXPECT_STREQ(event_log_message("Kitchen", ALMAC, static_cast<event_log_kind>(kind)).data(),
                     "Kitchen(02:00:00:00:00:0a) leave")
            << kind;
    }
}

TEST(EventLogMessage, begins_with_the_parenthesis_when_the_node_has_no_name) {
    EXPECT_STREQ(event_log_message("", ALMAC, EVENT_LOG_JOIN).data(), "(02:00:00:00:00:0a) join");
}

TEST(EventLogMessage, is_cut_at_95_characters) {
    const std::string name(90, 'n');
    const auto text = event_log_message(name.c_str(), ALMAC, EVENT_LOG_JOIN);
    EXPECT_EQ(std::string(text.data()), name + "(02:0");
}

}  // namespace
