// Text literals of C++ sources: what a program can say, without running it.
//
// A reader for this project's own sources, not for any C++: comments, character literals, #include
// lines and raw strings are passed over; adjacent literals are one.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace contract {

struct Literal {
    std::string text;  // as the program has it
    std::string call;  // "puts" when it is the first argument of puts(); else empty
    int line = 0;      // where it begins
};

std::vector<Literal> literals_read(std::string_view source);

// What a literal says: one entry per line; puts() and perror() add what they add. Empty when it is
// no text for people or the shell. `tools` are the first words of command lines.
std::vector<std::string> literal_says(const Literal& literal,
                                      const std::vector<std::string>& tools);

}  // namespace contract
