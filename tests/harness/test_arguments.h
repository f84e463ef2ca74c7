// What the main() functions of test programs read off their arguments before GoogleTest does.
#pragma once

#include <string_view>

namespace harness {

// Whether the program is only asked for its tests or its options: that needs no sandbox.
inline bool only_lists(int argc, char** argv) {
    for (int at = 1; at < argc; ++at) {
        const std::string_view word = argv[at];
        if (word == "--gtest_list_tests" || word == "--help") {
            return true;
        }
    }
    return false;
}

}  // namespace harness
