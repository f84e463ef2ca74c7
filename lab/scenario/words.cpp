#include "lab/scenario/words.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace lab {
namespace {

bool is_blank(char letter) {
    return letter == ' ' || letter == '\t' || letter == '\r';
}

// Reads the quoted word that begins at line[*at] and moves behind its closing quote.
bool quoted_word(std::string_view line, std::size_t* at, std::string* word) {
    for (std::size_t here = *at + 1; here < line.size(); ++here) {
        if (line[here] == '"') {
            *at = here + 1;
            return true;
        }
        const bool escaped = line[here] == '\\' && here + 1 < line.size() &&
                             (line[here + 1] == '"' || line[here + 1] == '\\');
        here += escaped ? 1 : 0;
        word->push_back(line[here]);
    }
    return false;
}

std::size_t changed_letters(std::string_view a, std::string_view b) {
    std::vector<std::size_t> row(b.size() + 1);
    for (std::size_t column = 0; column < row.size(); ++column) {
        row[column] = column;
    }
    for (std::size_t line = 0; line < a.size(); ++line) {
        std::size_t diagonal = row[0];
        row[0] = line + 1;
        for (std::size_t column = 0; column < b.size(); ++column) {
            const std::size_t swap = diagonal + (a[line] == b[column] ? 0 : 1);
            diagonal = row[column + 1];
            row[column + 1] = std::min({swap, row[column] + 1, row[column + 1] + 1});
        }
    }
    return row.back();
}

}  // namespace

bool line_words(std::string_view line, std::vector<std::string>* words, std::string& error) {
    words->clear();
    std::size_t at = 0;
    while (at < line.size()) {
        if (is_blank(line[at])) {
            ++at;
            continue;
        }
        if (line[at] == '#') {
            return true;
        }
        std::string word;
        if (line[at] == '"') {
            if (!quoted_word(line, &at, &word)) {
                error = "a quote is not closed";
                return false;
            }
        } else {
            while (at < line.size() && !is_blank(line[at]) && line[at] != '#') {
                word.push_back(line[at++]);
            }
        }
        words->push_back(word);
    }
    return true;
}

std::string words_joined(std::span<const std::string> words) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : " ") + word;
    }
    return text;
}

std::string word_quoted(std::string_view word) {
    const bool plain = !word.empty() && std::none_of(word.begin(), word.end(), [](char letter) {
        return is_blank(letter) || letter == '"' || letter == '#' || letter == '\\';
    });
    if (plain) {
        return std::string(word);
    }
    std::string quoted = "\"";
    for (const char letter : word) {
        if (letter == '"' || letter == '\\') {
            quoted.push_back('\\');
        }
        quoted.push_back(letter);
    }
    return quoted + "\"";
}

std::string words_quoted(std::span<const std::string> words) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : " ") + word_quoted(word);
    }
    return text;
}

bool word_is_name(std::string_view word) {
    return !word.empty() && std::all_of(word.begin(), word.end(), [](char letter) {
        return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z') ||
               (letter >= '0' && letter <= '9') || letter == '-' || letter == '_';
    });
}

std::string shell_word(std::string_view text) {
    constexpr std::string_view PLAIN =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-./+,:@%";
    if (text.find_first_not_of(PLAIN) == std::string::npos) {
        return std::string(text);
    }
    std::string word = "'";
    for (const char letter : text) {
        word += letter == '\'' ? std::string("'\\''") : std::string(1, letter);
    }
    return word + "'";
}

bool word_number(std::string_view word, std::int64_t least, std::int64_t most,
                 std::int64_t* number) {
    std::int64_t value = 0;
    const auto [end, failure] = std::from_chars(word.data(), word.data() + word.size(), value);
    if (failure != std::errc{} || end != word.data() + word.size() || value < least ||
        value > most) {
        return false;
    }
    *number = value;
    return true;
}

bool word_number(std::string_view word, int least, int most, int* number) {
    std::int64_t value = 0;
    if (!word_number(word, std::int64_t{least}, std::int64_t{most}, &value)) {
        return false;
    }
    *number = static_cast<int>(value);
    return true;
}

bool number_read(std::string_view word, std::string_view what, int least, int most, int* number,
                 std::string& error) {
    if (word_number(word, least, most, number)) {
        return true;
    }
    error = "`" + std::string(word) + "` is no " + std::string(what) + " from " +
            std::to_string(least) + " to " + std::to_string(most);
    return false;
}

std::string nearest_word(std::string_view word, std::span<const std::string> candidates) {
    std::size_t fewest = std::numeric_limits<std::size_t>::max();
    std::string nearest;
    for (const std::string& candidate : candidates) {
        const std::size_t changes = changed_letters(word, candidate);
        if (changes < fewest) {
            fewest = changes;
            nearest = candidate;
        }
    }
    // A third of the letters, but always one: "e1" is near "e2", "reboot" is not near "radar".
    const std::size_t allowed = std::max<std::size_t>(1, std::max(word.size(), nearest.size()) / 3);
    return fewest <= allowed ? nearest : std::string();
}

std::string did_you_mean(std::string_view word, std::span<const std::string> candidates) {
    const std::string nearest = nearest_word(word, candidates);
    return nearest.empty() ? std::string() : " (did you mean `" + nearest + "`?)";
}

std::string unknown_word(std::string_view word, std::string_view what,
                         std::span<const std::string> candidates) {
    for (const std::string& candidate : candidates) {
        if (candidate == word) {
            return "`" + std::string(word) + "` cannot stand here";
        }
    }
    return "`" + std::string(word) + "` is no " + std::string(what) +
           did_you_mean(word, candidates);
}

}  // namespace lab
