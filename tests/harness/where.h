// The line of a test that an expectation belongs to, handed down to where it fails.
#pragma once

#include <gtest/gtest.h>

#include <source_location>
#include <string>

namespace harness {

using Where = std::source_location;

// Fails the test at that line, with the parts one behind the other.
template <typename... Parts>
void fail_at(Where where, const Parts&... parts) {
    ADD_FAILURE_AT(where.file_name(), static_cast<int>(where.line()))
        << (testing::Message() << ... << parts);
}

inline void fail_if(bool failed, const std::string& error, Where where) {
    if (failed) {
        fail_at(where, error);
    }
}

}  // namespace harness
