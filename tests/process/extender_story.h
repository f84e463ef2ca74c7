#pragma once

// Fixture of the stories about an extender: the steps that many of them share. Link `test_story`
// beside `test_extender`.

#include "tests/harness/story.h"
#include "tests/process/extender_lines.h"

#include <string>

class ExtenderStory : public harness::Story {
protected:
    /// A standard extender with another profile, its daemon running, in its 10-second pause.
    void start_with_profile(const std::string& profile);

    /// What the new worker wrote and ran until now. The announce thread's one line may stand
    /// anywhere in it, because that thread runs beside the start.
    void expect_start_journal(const Lines& lines, Where where = Where::current());

    /// The station, in state 3, is associated and configured: ready. What came is skipped.
    void make_ready(const std::string& station, const std::string& ap,
                    Where where = Where::current());

    /// From a ready ath0 on: its AP is gone for good, ath1 is enabled beside it as its backup. What
    /// came is skipped.
    void lose_upstream_ap(Where where = Where::current());

    /// No line since the last expectation contains `text`.
    void expect_never(const std::string& text, Where where = Where::current());
};
