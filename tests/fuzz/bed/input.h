// What a fuzz target reads its input with, and how it says that the code under test was wrong.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string>

namespace fuzz {

// Ends the program, which is a find, unless `holds`. `what` is the sentence that should have held.
inline void require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "not so: %s\n", what);
        std::abort();
    }
}

// The input, taken off from its front; at its end there are zeros and empty texts.
class Input {
public:
    Input(const std::uint8_t* data, size_t size) : rest_(data, size) {}

    bool is_empty() const {
        return rest_.empty();
    }
    std::uint8_t byte() {
        const auto taken = bytes(1);
        return taken.empty() ? std::uint8_t{0} : taken.front();
    }
    // At most `most` bytes.
    std::span<const std::uint8_t> bytes(size_t most) {
        const auto taken = rest_.first(std::min(most, rest_.size()));
        rest_ = rest_.subspan(taken.size());
        return taken;
    }
    std::string text(size_t most) {
        const auto taken = bytes(most);
        return {taken.begin(), taken.end()};
    }
    // Up to the next byte `end`, which is dropped; a text of that kind holds none.
    std::string text_until(std::uint8_t end) {
        const auto at = std::find(rest_.begin(), rest_.end(), end);
        std::string taken(rest_.begin(), at);
        bytes(taken.size() + 1);
        return taken;
    }
    std::string rest() {
        return text(rest_.size());
    }

private:
    std::span<const std::uint8_t> rest_;
};

}  // namespace fuzz
