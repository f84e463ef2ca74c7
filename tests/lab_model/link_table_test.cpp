// The expected table, and the daemon's own held against it.
#include "lab/rules/link_table.h"

#include <gtest/gtest.h>

#include "link/link_state.h"
#include "link/timeout_limit.h"

namespace lab {
namespace {

constexpr std::int32_t BEYOND = 20;

TEST(LinkTable, lets_nobody_skip_a_step_and_drops_what_comes_too_late) {
    EXPECT_FALSE(link_change(STATE_INIT, STATE_READY));
    EXPECT_FALSE(link_change(STATE_INIT, STATE_CONFIGURING));
    EXPECT_FALSE(link_change(STATE_READY, STATE_CONFIGURING));
    EXPECT_FALSE(link_change(STATE_SWITCHING, STATE_PARKED));
    EXPECT_EQ(link_change(STATE_READY, STATE_PARKED), LinkTimer::clear);
    EXPECT_EQ(link_change(STATE_INIT, STATE_INIT), LinkTimer::arm);
    EXPECT_EQ(link_change(STATE_STANDBY, STATE_CONNECTING), LinkTimer::arm);
}

TEST(LinkTable, is_the_daemons) {
    for (std::int32_t from = -1; from <= BEYOND; ++from) {
        for (std::int32_t requested = -1; requested <= BEYOND; ++requested) {
            const link_transition* const row = link_transition_find(
                static_cast<link_state>(from), static_cast<link_state>(requested));
            const std::optional<LinkTimer> expected = link_change(from, requested);
            EXPECT_EQ(row != nullptr, expected.has_value()) << from << " to " << requested;
            if (row != nullptr && expected) {
                EXPECT_EQ(row->requested, requested);
                EXPECT_EQ(row->timer == TIMER_ON, *expected == LinkTimer::arm)
                    << from << " to " << requested;
            }
        }
    }
}

TEST(LinkTable, has_the_daemons_names_and_limits) {
    for (std::int32_t state = 0; state < LINK_STATE_COUNT; ++state) {
        if (std::string(link_state_name(state)) == "-") {
            continue;
        }
        EXPECT_EQ(link_state_text(state), link_state_name(state));
        // That of a parked station ends in nothing.
        if (state != STATE_PARKED) {
            EXPECT_EQ(link_limit(state).value_or(TIMEOUT_NEVER),
                      timeout_limit_get(static_cast<link_state>(state), 0).seconds)
                << state;
        }
    }
}

}  // namespace
}  // namespace lab
