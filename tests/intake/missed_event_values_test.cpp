// Which event a station must have missed, for every state and every answer of its driver.

#include "intake/missed_event.h"

#include <gtest/gtest.h>

#include <set>

namespace {

constexpr mac_address NONE{};
constexpr mac_address KNOWN = {0x02, 0x00, 0x00, 0x00, 0x0a, 0x01};
constexpr mac_address OTHER = {0x02, 0x00, 0x00, 0x00, 0x0a, 0x02};

/// The states in which each answer means an event; in every other one it means none.
struct answer_row {
    mac_address actual;
    wireless_event_code event;
    std::set<int32_t> states;
};

TEST(MissedEvent, is_what_state_and_driver_disagree_about) {
    const answer_row rows[] = {
        {NONE, STA_CONNECTION_DOWN, {4, 5, 7}},
        {KNOWN, STA_CONNECTION_UP, {3, 16}},
        {OTHER, STA_CONNECTION_UP, {3, 4, 5, 7, 16}},
    };
    for (const answer_row& row : rows) {
        for (int32_t state = 0; state < LINK_STATE_COUNT + 1; ++state) {
            const wireless_event event =
                missed_event_find(static_cast<link_state>(state), KNOWN, row.actual);
            const bool missed = row.states.count(state) != 0;
            EXPECT_EQ(event.code, missed ? row.event : WIRELESS_EVENT_NONE)
                << "state " << state << ", AP " << mac_format(row.actual).data();
            if (event.code == STA_CONNECTION_UP) {
                EXPECT_EQ(event.mac(), row.actual) << "state " << state;
            }
            EXPECT_EQ(event.disassoc_format, nullptr);
        }
    }
}

TEST(MissedEvent, is_the_first_association_of_a_station_that_knew_no_ap) {
    EXPECT_EQ(missed_event_find(CONNECTING_BACKHAUL_AP, NONE, OTHER).code, STA_CONNECTION_UP);
    EXPECT_EQ(missed_event_find(CONNECTING_BACKHAUL_AP, NONE, NONE).code, WIRELESS_EVENT_NONE);
}

}  // namespace
