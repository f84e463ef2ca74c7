// openssl's "aes-128-cbc -e" and "-d" with a pass phrase, as nodes seal what they say to each
// other: the same bytes as the real program, but for the salt, which is given instead of random. A
// foreign message opens by chance once in 256 times; with a given salt that, too, is the same in
// every run. Functions of values; where the library for it is missing, nothing comes back and the
// real program is to be run.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace lab {

struct Sealed {
    std::string out;
    bool good = true;
};

// The message under the pass phrase: "Salted__", eight bytes made of `salt`, and the cipher text.
std::optional<std::string> openssl_seal(std::string_view message, std::string_view pass_phrase,
                                        std::string_view salt);

// The message again. Not good: the bytes are no such message, or the pass phrase is another one;
// `out` holds what the real program writes before it sees that.
std::optional<Sealed> openssl_open(std::string_view sealed, std::string_view pass_phrase);

}  // namespace lab
