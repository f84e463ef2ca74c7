#pragma once

// What a flow log's text means: every text that the daemon writes, with its kind, plain words and
// the rule behind it. A table and a function of values; called for each line, a million of them a
// second.
//
// A text that no row fits is `unknown`: of a newer daemon, or garbage with a date.

#include "ctl/log_text.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

/// A line's text, taken apart. The views point into the text.
struct log_event {
    const log_text* row = nullptr;  ///< null: unknown
    log_kind kind = log_kind::unknown;
    std::string_view interface;
    std::string_view mac;
    std::string_view rest;
    std::array<int32_t, 2> numbers{};
};

/// All texts.
std::span<const log_text> log_texts();

/// Takes `text` apart.
log_event log_event_read(std::string_view text);

/// A sentence about the event in `out`, or its text where nothing is known. Cut to fit.
void log_event_words(const log_event& event, std::string_view text, std::span<char> out);

/// "state", "driver" and so on.
const char* log_group_name(log_group group);
