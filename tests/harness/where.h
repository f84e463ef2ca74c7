// The line of a test that an expectation belongs to, handed down to where it fails. (clang 14 lacks
// std::source_location.)
#pragma once

#include <gtest/gtest.h>

#include <string>

namespace harness {

struct Where {
    const char* file;
    int line;
    static constexpr Where current(const char* file = __builtin_FILE(),
                                   int line = __builtin_LINE()) {
        return {file, line};
    }
};

// Fails the test at that line, with the parts one behind the other.
template <typename... Parts>
void fail_at(Where where, const Parts&... parts) {
    ADD_FAILURE_AT(where.file, where.line) << (testing::Message() << ... << parts);
}

inline void fail_if(bool failed, const std::string& error, Where where) {
    if (failed) {
        fail_at(where, error);
    }
}

}  // namespace harness
