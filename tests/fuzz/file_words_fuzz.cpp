// The bounded readers of words, numbers, lines and pieces against the C library's own, over the
// same bytes.

#include <array>
#include <cstring>

#include "runtime/file_io.h"
#include "tests/fuzz/bed/input.h"
#include "tests/fuzz/bed/place.h"

namespace {

using fuzz::ByteStream;
using fuzz::require;

/// Room of the daemon's words, with the terminator, and the format that fills it.
struct word_size {
    size_t room;
    const char* format;
};
constexpr std::array SIZES = {
    word_size{17, "%16s"}, word_size{24, "%23s"},   word_size{32, "%31s"},  word_size{64, "%63s"},
    word_size{65, "%64s"}, word_size{128, "%127s"}, word_size{256, "%255s"}};
using Word = std::array<char, 512>;
/// Longer than every room.
constexpr size_t BYTES_MAX = 1200;

/// What both read stands at the same place of the stream.
void same_place(const ByteStream& left, const ByteStream& right) {
    require(std::ftell(left.get()) == std::ftell(right.get()), "no more is read than by scanf");
}

void first_word_check(const std::string& bytes, const word_size& size) {
    const ByteStream ours(bytes);
    const ByteStream library(bytes);
    Word word{};
    Word wanted{};
    const bool found = file_first_word(ours.get(), std::span(word).first(size.room));
    const bool is_wanted = std::fscanf(library.get(), size.format, wanted.data()) == 1;
    require(found == is_wanted && word == wanted, "the first word is scanf's");
    // What stops the word may have been read with it.
    require(std::abs(std::ftell(ours.get()) - std::ftell(library.get())) <= 1,
            "no more is read than by scanf");
}

/// scanf as the daemon's loops use it: a word that the end of the file cuts off does not count.
void next_words_check(const std::string& bytes) {
    const ByteStream ours(bytes);
    const ByteStream library(bytes);
    Word word{};
    for (;;) {
        Word wanted{};
        word.fill('\0');
        int begin = 0;
        int end = 0;
        const bool is_scanned =
            std::fscanf(library.get(), " %n%511s%n", &begin, wanted.data(), &end) == 1;
        if (is_scanned && static_cast<size_t>(end - begin) + 1 >= wanted.size()) {
            return;  // longer than scanf's room: it would go on within the word
        }
        const bool goes_on = is_scanned && std::feof(library.get()) == 0;
        const word_result result = file_next_word(ours.get(), word);
        require((result == word_result::word) == goes_on && result != word_result::failed,
                "a word counts as with scanf and feof");
        if (!goes_on) {
            return;
        }
        require(std::strcmp(word.data(), wanted.data()) == 0, "the next word is scanf's");
    }
}

void number_check(const std::string& bytes) {
    const ByteStream ours(bytes);
    const ByteStream library(bytes);
    Word word{};
    {
        const ByteStream look(bytes);
        std::fscanf(look.get(), "%511s", word.data());
    }
    if (std::strlen(word.data()) >= 64) {
        return;  // more digits than anybody writes
    }
    int number = -7;
    int wanted = -7;
    const bool found = file_first_number(ours.get(), number);
    const bool is_wanted = std::fscanf(library.get(), "%d", &wanted) == 1;
    require(found == is_wanted && number == wanted, "the first number is scanf's");
}

void pieces_check(const std::string& bytes, size_t room) {
    const ByteStream ours(bytes);
    const ByteStream library(bytes);
    for (;;) {
        Word piece{};
        Word wanted{};
        const bool found = file_next_piece(ours.get(), std::span(piece).first(room));
        const bool is_wanted =
            std::fgets(wanted.data(), static_cast<int>(room), library.get()) != nullptr;
        require(found == is_wanted && piece == wanted, "a piece is that of fgets");
        same_place(ours, library);
        if (!found) {
            return;
        }
    }
}

void lines_check(const std::string& bytes, size_t room) {
    const ByteStream ours(bytes);
    for (size_t at = 0; at < bytes.size();) {
        const size_t end = std::min(bytes.find('\n', at), bytes.size());
        Word line{};
        require(file_next_line(ours.get(), std::span(line).first(room)), "each line is there");
        const std::string wanted = bytes.substr(at, std::min(end - at, room - 1));
        require(std::memcmp(line.data(), wanted.c_str(), wanted.size() + 1) == 0,
                "a line is cut to its room");
        at = end + 1;
    }
    Word none{};
    require(!file_next_line(ours.get(), none), "behind the last line is none");
}

}  // namespace

// The name is the fuzzer engine's.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::Input input(data, size);
    const word_size& chosen = SIZES[input.byte() % SIZES.size()];
    const std::string bytes = input.text(BYTES_MAX);
    first_word_check(bytes, chosen);
    next_words_check(bytes);
    number_check(bytes);
    pieces_check(bytes, chosen.room);
    lines_check(bytes, chosen.room);
    return 0;
}
