// When the next second may pass.
#include <gtest/gtest.h>

#include "lab/program/pacing.h"

namespace lab {
namespace {

// Lets seconds pass whenever they are due, up to `until`; returns how many did.
int seconds_until(Pace* pace, std::int64_t* now, std::int64_t until, std::int64_t cost = 0) {
    int count = 0;
    while (*now < until) {
        const std::int64_t wait = pace_wait(*pace, *now);
        if (wait < 0 || *now + wait >= until) {
            *now = until;
        } else {
            *now += wait + cost;
            pace_passed(*pace, *now);
            ++count;
        }
    }
    return count;
}

TEST(Pace, keeps_real_time_at_speed_one) {
    Pace pace;
    pace.speed = 1;
    std::int64_t now = 5000;
    EXPECT_EQ(seconds_until(&pace, &now, 15000), 10);
}

TEST(Pace, passes_twenty_seconds_in_a_real_one_at_speed_twenty) {
    Pace pace;
    pace.speed = 20;
    std::int64_t now = 0;
    EXPECT_EQ(seconds_until(&pace, &now, 2000), 40);
}

TEST(Pace, keeps_up_although_each_second_costs_time) {
    Pace pace;
    pace.speed = 10;
    std::int64_t now = 0;
    EXPECT_NEAR(seconds_until(&pace, &now, 10000, 60), 100, 1);
}

TEST(Pace, does_not_wait_while_a_step_waits_unless_a_speed_was_asked_for) {
    Pace pace;
    pace.steps_wait = true;
    pace.due = 99999;
    EXPECT_EQ(pace_wait(pace, 1000), 0);
    pace.steps_wait = false;
    pace.request_waits = true;
    EXPECT_EQ(pace_wait(pace, 1000), 0);
}

TEST(Pace, is_real_for_an_idle_mesh_unless_a_speed_was_asked_for) {
    Pace pace;
    std::int64_t now = 0;
    EXPECT_EQ(seconds_until(&pace, &now, 3000), 3);
}

TEST(Pace, never_waits_at_the_fastest_speed) {
    Pace pace;
    pace.speed = SPEED_FASTEST;
    for (std::int64_t now = 0; now < 5; ++now) {
        EXPECT_EQ(pace_wait(pace, now), 0);
        pace_passed(pace, now);
    }
}

TEST(Pace, stands_still_in_a_pause_but_for_what_somebody_asked_for) {
    Pace pace;
    pace.paused = true;
    pace.steps_wait = true;
    EXPECT_EQ(pace_wait(pace, 1000), -1);
    pace.request_waits = true;
    EXPECT_EQ(pace_wait(pace, 1000), 0);
    pace.speed = 2;
    pace.due = 1300;
    EXPECT_EQ(pace_wait(pace, 1000), 300);
}

TEST(Pace, does_not_make_good_what_a_pause_or_a_slow_machine_cost) {
    Pace pace;
    pace.speed = 100;
    pace.due = 1000;
    pace_changed(pace, 60000);
    EXPECT_EQ(pace.due, 60000);
    pace.due = 1000;
    pace_passed(pace, 60000);
    EXPECT_EQ(pace.due, 59010);
}

TEST(Pace, takes_a_higher_speed_at_once) {
    Pace pace;
    pace.speed = 1;
    pace.due = 1900;
    pace.speed = 100;
    pace_changed(pace, 1000);
    EXPECT_EQ(pace_wait(pace, 1000), 10);
}

TEST(SpeedKeys, go_up_to_the_fastest_and_back) {
    EXPECT_EQ(speed_up(1), 2);
    EXPECT_EQ(speed_up(7), 10);
    EXPECT_EQ(speed_up(1000), SPEED_FASTEST);
    EXPECT_EQ(speed_up(SPEED_FASTEST), SPEED_FASTEST);
    EXPECT_EQ(speed_down(SPEED_FASTEST), 1000);
    EXPECT_EQ(speed_down(7), 5);
    EXPECT_EQ(speed_down(0.5), 0.5);
}

TEST(SpeedKeys, begin_with_the_real_pace_that_an_idle_mesh_has) {
    EXPECT_EQ(speed_up(SPEED_AUTO), 2);
    EXPECT_EQ(speed_down(SPEED_AUTO), 0.5);
}

TEST(SpeedWords, are_read_as_they_are_told) {
    for (const double speed : {SPEED_AUTO, SPEED_FASTEST, 0.5, 1.0, 1000.0}) {
        double read = -1;
        std::string error;
        EXPECT_TRUE(speed_parse(speed_text(speed), read, error)) << error;
        EXPECT_EQ(read, speed);
    }
}

TEST(SpeedWords, that_mean_nothing_are_refused_with_what_may_be_said) {
    for (const char* word : {"0", "", "-1", "1001", "inf", "nan", "2x", "0.0001", "Fastest"}) {
        double speed = 7;
        std::string error;
        EXPECT_FALSE(speed_parse(word, speed, error)) << word;
        EXPECT_EQ(error, "`" + std::string(word) +
                             "` is no speed: say 0.001 to 1000, `auto` or `fastest`");
        EXPECT_EQ(speed, 7);
    }
}

}  // namespace
}  // namespace lab
