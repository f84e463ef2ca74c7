// Words of a scenario line: cutting, quoting, numbers, and guessing what was meant.
//
// Functions of values.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace lab {

// Cuts a line at blanks and tabs. "#" outside quotes begins a comment. Double quotes hold a word
// with blanks together; in quotes \" and \\ stand for themselves. False with a sentence in `error`
// when a quote is not closed.
bool line_words(std::string_view line, std::vector<std::string>* words, std::string& error);

// The words with one blank between them.
std::string words_joined(std::span<const std::string> words);

// The word as line_words reads it, in quotes where it needs them.
std::string word_quoted(std::string_view word);

// The words as line_words reads them, one blank between them.
std::string words_quoted(std::span<const std::string> words);

// One or more letters, digits, - and _: what names a node, a group, a mark or a value.
bool word_is_name(std::string_view word);

// The word as a shell reads it, in quotes where it needs them.
std::string shell_word(std::string_view word);

// A decimal number within limits. False when the word is no number or lies outside.
bool word_number(std::string_view word, std::int64_t least, std::int64_t most,
                 std::int64_t* number);
bool word_number(std::string_view word, int least, int most, int* number);

// The same with a sentence in `error` that names the limits: "`70` is no signal number from 1 to
// 64". `what` is what the number counts or stands for.
bool number_read(std::string_view word, std::string_view what, int least, int most, int* number,
                 std::string& error);

// The candidate that needs the fewest changed letters, or empty when none is near.
std::string nearest_word(std::string_view word, std::span<const std::string> candidates);

// " (did you mean `deauth`?)", or empty when no candidate is near.
std::string did_you_mean(std::string_view word, std::span<const std::string> candidates);

// "`dauth` is no verb (did you mean `deauth`?)"
std::string unknown_word(std::string_view word, std::string_view what,
                         std::span<const std::string> candidates);

}  // namespace lab
