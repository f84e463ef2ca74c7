// The terminal while something is shown live: another screen, keys without Enter, no echo.
//
// For one thread and one at a time. Everything is put back by the destructor; signals that would
// end the program are only noted, so that it gets there.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace lab {

class Terminal {
public:
    Terminal();
    ~Terminal();
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    // False when standard input or output is no terminal: nothing was changed.
    bool is_open() const {
        return opened_;
    }
    std::size_t rows() const;
    std::size_t columns() const;

    void show(std::string_view text) const;

    // What was typed, waiting for so many milliseconds at most; less when a signal comes.
    std::string keys(int wait) const;

    // A signal asked the program to end.
    bool ends() const;

private:
    bool opened_ = false;
};

}  // namespace lab
