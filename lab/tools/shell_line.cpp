#include "lab/tools/shell_line.h"

#include <algorithm>

namespace lab {
namespace {

// An operator stands for itself; it is told apart from a quoted word by `is_operator`.
struct Piece {
    std::string text;
    bool is_operator = false;
};

constexpr std::string_view OPERATORS = "|>&";
constexpr std::string_view SPECIAL_BARE = "$`\\\"'|>&<;()*?[]#~{}!\n\t";
constexpr std::string_view SPECIAL_TO_GREP = "\\.*[]^$\n";
constexpr std::string_view SPECIAL_IN_QUOTES = "$`\\\"";

// Takes a quoted piece off the front; false where it has no end or is more than text.
bool quoted_take(std::string_view* rest, std::string* word) {
    const char quote = rest->front();
    rest->remove_prefix(1);
    const std::size_t end = rest->find(quote);
    if (end == std::string_view::npos) {
        return false;
    }
    const std::string_view inside = rest->substr(0, end);
    if (quote == '"' && inside.find_first_of(SPECIAL_IN_QUOTES) != std::string_view::npos) {
        return false;
    }
    word->append(inside);
    rest->remove_prefix(end + 1);
    return true;
}

bool word_take(std::string_view* rest, std::string* word) {
    while (!rest->empty() && rest->front() != ' ' &&
           OPERATORS.find(rest->front()) == std::string_view::npos) {
        if (rest->front() == '\'' || rest->front() == '"') {
            if (!quoted_take(rest, word)) {
                return false;
            }
        } else if (SPECIAL_BARE.find(rest->front()) != std::string_view::npos) {
            return false;
        } else {
            word->push_back(rest->front());
            rest->remove_prefix(1);
        }
    }
    return true;
}

std::optional<std::vector<Piece>> pieces_of(std::string_view line) {
    std::vector<Piece> pieces;
    while (!line.empty()) {
        Piece piece;
        if (line.front() == ' ') {
            line.remove_prefix(1);
            continue;
        }
        if (OPERATORS.find(line.front()) != std::string_view::npos) {
            piece = {std::string(1, line.front()), true};
            line.remove_prefix(1);
        } else if (!word_take(&line, &piece.text)) {
            return std::nullopt;
        }
        pieces.push_back(piece);
    }
    return pieces;
}

bool is_operator(const Piece& piece, std::string_view text) {
    return piece.is_operator && piece.text == text;
}

bool is_word(const Piece& piece, std::string_view text) {
    return !piece.is_operator && piece.text == text;
}

bool is_plain_to_grep(const Piece& word) {
    return !word.is_operator && !word.text.empty() && word.text.front() != '-' &&
           word.text.find_first_of(SPECIAL_TO_GREP) == std::string::npos;
}

}  // namespace

std::string lines_with(std::string_view text, std::string_view word) {
    std::string found;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(text.size(), line.size() + 1));
        if (line.find(word) != std::string_view::npos) {
            found.append(line).push_back('\n');
        }
    }
    return found;
}

std::optional<ShellLine> shell_line_parse(std::string_view text) {
    std::optional<std::vector<Piece>> found = pieces_of(text);
    if (!found) {
        return std::nullopt;
    }
    std::vector<Piece>& pieces = *found;
    ShellLine line;
    if (pieces.size() > 4 && is_word(pieces[0], "echo") && is_word(pieces[1], "-n") &&
        !pieces[2].is_operator && pieces[2].text.find('\\') == std::string::npos &&
        is_operator(pieces[3], "|")) {
        line.input = pieces[2].text;
        line.has_input = true;
        pieces.erase(pieces.begin(), pieces.begin() + 4);
    }
    if (!pieces.empty() && is_operator(pieces.back(), "&")) {
        line.in_background = true;
        pieces.pop_back();
    }
    if (pieces.size() > 2 && is_operator(pieces[pieces.size() - 2], ">") &&
        !pieces.back().is_operator) {
        line.out = pieces.back().text;
        pieces.resize(pieces.size() - 2);
    }
    if (pieces.size() > 3 && is_operator(pieces[pieces.size() - 3], "|") &&
        is_word(pieces[pieces.size() - 2], "grep") && is_plain_to_grep(pieces.back())) {
        line.wanted = pieces.back().text;
        pieces.resize(pieces.size() - 3);
    }
    for (const Piece& piece : pieces) {
        // "2> FILE" is about another stream, "NAME=VALUE" about the environment.
        if (piece.is_operator) {
            return std::nullopt;
        }
        line.words.push_back(piece.text);
    }
    const bool is_call = !line.words.empty() && !line.words[0].empty() &&
                         line.words[0].find('=') == std::string::npos;
    return is_call ? std::optional(line) : std::nullopt;
}

}  // namespace lab
