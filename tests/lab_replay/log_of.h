// A log as a test writes it: "SECONDS TEXT", a line each.
#pragma once

#include <charconv>
#include <initializer_list>
#include <string_view>

#include "lab/replay/replay_log.h"

namespace harness {

inline lab::ReplayLog log_of(std::initializer_list<std::string_view> lines) {
    lab::ReplayLog log;
    log.node = "e1";
    for (const std::string_view line : lines) {
        const std::size_t blank = line.find(' ');
        lab::ReplayLine one;
        std::from_chars(line.data(), line.data() + blank, one.time);
        one.text = line.substr(blank + 1);
        log.lines.push_back(one);
    }
    lab::replay_inputs_find(log);
    return log;
}

}  // namespace harness
