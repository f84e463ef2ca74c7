#include "tests/fuzz/bed/shell_read.h"

namespace fuzz {
namespace {

bool is_in(char c, std::string_view characters) {
    return characters.find(c) != std::string_view::npos;
}

class Reader {
public:
    explicit Reader(std::string_view line) : line_(line) {}

    std::optional<std::vector<ShellWord>> read() {
        while (at_ < line_.size()) {
            if (!step(line_[at_])) {
                return std::nullopt;
            }
        }
        word_end();
        return words_;
    }

private:
    bool step(char c) {
        ++at_;
        switch (c) {
            case ' ':
            case '\t':
                word_end();
                return true;
            case '|':
            case '<':
            case '>':
                word_end();
                words_.push_back({std::string(1, c), true});
                return line_.substr(at_, 1).find_first_of("|<>&(") == std::string_view::npos;
            case '\'':
                return single_quoted();
            case '"':
                return double_quoted();
            case '\\':
                return escaped();
            default:
                return plain(c);
        }
    }

    bool plain(char c) {
        // What some shells read only at a word's beginning, or only within one, counts everywhere.
        if (is_in(c, "$`;&()\n*?[]#~{}!^")) {
            return false;
        }
        add(c);
        return true;
    }

    bool escaped() {
        if (at_ == line_.size() || line_[at_] == '\n') {
            return false;  // the line would go on, or lose its end
        }
        add(line_[at_++]);
        return true;
    }

    bool single_quoted() {
        const size_t end = line_.find('\'', at_);
        if (end == std::string_view::npos) {
            return false;
        }
        word_.append(line_.substr(at_, end - at_));
        in_word_ = true;
        at_ = end + 1;
        return true;
    }

    bool double_quoted() {
        in_word_ = true;
        while (at_ < line_.size()) {
            char c = line_[at_++];
            if (c == '"') {
                return true;
            }
            const bool goes_on = c == '\\' && at_ < line_.size() && line_[at_] == '\n';
            if (goes_on || is_in(c, "$`")) {
                return false;
            }
            if (c == '\\' && at_ < line_.size() && is_in(line_[at_], "$`\"\\")) {
                c = line_[at_++];
            }
            add(c);
        }
        return false;
    }

    void add(char c) {
        word_ += c;
        in_word_ = true;
    }

    void word_end() {
        if (in_word_) {
            words_.push_back({word_, false});
        }
        word_.clear();
        in_word_ = false;
    }

    std::string_view line_;
    size_t at_ = 0;
    std::vector<ShellWord> words_;
    std::string word_;
    bool in_word_ = false;
};

}  // namespace

std::optional<std::vector<ShellWord>> shell_read(std::string_view line) {
    return Reader(line).read();
}

std::vector<std::string> shell_texts(const std::vector<ShellWord>& words) {
    std::vector<std::string> texts;
    for (const ShellWord& word : words) {
        texts.push_back(word.text);
    }
    return texts;
}

}  // namespace fuzz
