#include "tests/fuzz/lives/shell_words.h"

#include <algorithm>
#include <array>
#include <fstream>

namespace lives {
namespace {

// Stand for a text and for a number in a form; no value holds them.
constexpr char ANY_TEXT = '\x01';
constexpr char ANY_NUMBER = '\x02';

constexpr std::string_view OPERATORS = "|&;<>()\n";
constexpr std::string_view EXPANDED_BARE = "$`*?[]{}~";
constexpr std::string_view EXPANDED_IN_DOUBLE_QUOTES = "$`";
constexpr std::string_view ESCAPED_IN_DOUBLE_QUOTES = "$`\"\\";

// Lines that take in values of the own configuration, and where those are cut.
constexpr std::array<std::string_view, 4> OWN_VALUE_LINES = {"echo -n '", "openssl ", "iwconfig ",
                                                             "uci set wireless."};
constexpr std::array<size_t, 4> OWN_VALUE_LENGTHS = {64, 47, 32, 7};

class Splitter {
public:
    explicit Splitter(std::string_view line) : rest_(line) {}

    std::optional<std::vector<ShellToken>> split() {
        while (!rest_.empty()) {
            const char c = rest_.front();
            rest_.remove_prefix(1);
            if (!take(c)) {
                return std::nullopt;
            }
        }
        word_end();
        return tokens_;
    }

private:
    bool take(char c) {
        if (c == ' ' || c == '\t') {
            word_end();
            return true;
        }
        if (OPERATORS.find(c) != std::string_view::npos) {
            word_end();
            tokens_.push_back({true, std::string(1, c)});
            return true;
        }
        if (c == '\'') {
            return single_quotes();
        }
        if (c == '"') {
            return double_quotes();
        }
        if (c == '\\') {
            return escaped();
        }
        if (EXPANDED_BARE.find(c) != std::string_view::npos || (c == '#' && !in_word_)) {
            return false;
        }
        add(c);
        return true;
    }

    void add(char c) {
        in_word_ = true;
        word_ += c;
    }
    void word_end() {
        if (in_word_) {
            tokens_.push_back({false, word_});
        }
        word_.clear();
        in_word_ = false;
    }
    bool escaped() {
        if (rest_.empty() || rest_.front() == '\n') {
            return false;
        }
        add(rest_.front());
        rest_.remove_prefix(1);
        return true;
    }
    bool single_quotes() {
        const size_t end = rest_.find('\'');
        if (end == std::string_view::npos) {
            return false;
        }
        in_word_ = true;
        word_ += rest_.substr(0, end);
        rest_.remove_prefix(end + 1);
        return true;
    }
    bool double_quotes() {
        in_word_ = true;
        while (!rest_.empty() && rest_.front() != '"') {
            char c = rest_.front();
            rest_.remove_prefix(1);
            if (EXPANDED_IN_DOUBLE_QUOTES.find(c) != std::string_view::npos) {
                return false;
            }
            if (c == '\\' && !rest_.empty() &&
                ESCAPED_IN_DOUBLE_QUOTES.find(rest_.front()) != std::string_view::npos) {
                c = rest_.front();
                rest_.remove_prefix(1);
            }
            add(c);
        }
        if (rest_.empty()) {
            return false;
        }
        rest_.remove_prefix(1);
        return true;
    }

    std::string_view rest_;
    std::vector<ShellToken> tokens_;
    std::string word_;
    bool in_word_ = false;
};

bool is_number(std::string_view text) {
    text.remove_prefix(text.starts_with('-') ? 1 : 0);
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

bool word_fits(std::string_view form, std::string_view word) {
    if (form.empty()) {
        return word.empty();
    }
    if (form.front() == ANY_NUMBER) {
        return form.size() == 1 && is_number(word);
    }
    if (form.front() != ANY_TEXT) {
        return !word.empty() && word.front() == form.front() &&
               word_fits(form.substr(1), word.substr(1));
    }
    for (size_t length = 0; length <= word.size(); ++length) {
        if (word_fits(form.substr(1), word.substr(length))) {
            return true;
        }
    }
    return false;
}

bool form_fits(const std::vector<ShellToken>& form, const std::vector<ShellToken>& line) {
    return std::ranges::equal(form, line, [](const ShellToken& want, const ShellToken& have) {
        return want.is_operator == have.is_operator && word_fits(want.text, have.text);
    });
}

void replace_all(std::string& text, std::string_view what, char with) {
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at)) {
        text.replace(at, what.size(), 1, with);
    }
}

}  // namespace

std::optional<std::vector<ShellToken>> shell_split(std::string_view line) {
    return Splitter(line).split();
}

bool ContractLines::read(const char* path) {
    std::ifstream file(path);
    std::string line;
    while (std::getline(file, line)) {
        if (line.empty() || line.front() == '#') {
            continue;
        }
        replace_all(line, "%s", ANY_TEXT);
        replace_all(line, "%d", ANY_NUMBER);
        if (auto form = shell_split(line)) {
            forms_.push_back(std::move(*form));
        }
    }
    // A text for the system log may be cut anywhere, within its quotes.
    forms_.push_back(*shell_split(std::string("vlog 0 0 \"") + ANY_TEXT + "\""));
    return forms_.size() > 1;
}

bool ContractLines::hold_strictly(std::string_view line) const {
    const auto tokens = shell_split(line);
    return tokens && std::ranges::any_of(forms_, [&](const std::vector<ShellToken>& form) {
               return form_fits(form, *tokens);
           });
}

bool ContractLines::hold(std::string_view line, const std::set<std::string>& own) const {
    if (hold_strictly(line)) {
        return true;
    }
    if (std::ranges::none_of(OWN_VALUE_LINES,
                             [&](std::string_view begin) { return line.starts_with(begin); })) {
        return false;
    }
    // An option that is not set stands as no word at all.
    if (line.ends_with(' ') && own.contains("") && hold_strictly(std::string(line) + "own")) {
        return true;
    }
    for (const std::string& value : own) {
        for (const size_t length : OWN_VALUE_LENGTHS) {
            const std::string part = value.substr(0, length);
            std::string harmless(line);
            const size_t at = harmless.rfind(part);
            if (at != std::string::npos && !part.empty() &&
                hold_strictly(harmless.replace(at, part.size(), "own"))) {
                return true;
            }
        }
    }
    return false;
}

}  // namespace lives
