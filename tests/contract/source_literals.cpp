#include "tests/contract/source_literals.h"

#include <algorithm>

namespace contract {
namespace {

// Only a form for reading has a field that is passed over.
constexpr std::string_view kSkipped = "%*";

bool is_name(char one) {
    return (one >= 'a' && one <= 'z') || (one >= 'A' && one <= 'Z') || (one >= '0' && one <= '9') ||
           one == '_';
}

class Reader {
public:
    explicit Reader(std::string_view source) : source_(source) {}

    std::vector<Literal> read() {
        while (at_ < source_.size()) {
            step();
        }
        return std::move(literals_);
    }

private:
    bool begins(std::string_view text) const {
        return source_.substr(at_, text.size()) == text;
    }

    void step() {
        if (begins("//") || begins("#include")) {
            skip_until("\n");
        } else if (begins("/*")) {
            skip_until("*/");
        } else if (source_[at_] == '\'' && at_ > 0 && !is_name(source_[at_ - 1])) {
            quoted('\'');
        } else if (source_[at_] == '"') {
            literal();
        } else {
            other();
        }
    }

    void count_lines(size_t from, size_t to) {
        line_ +=
            static_cast<int>(std::count(source_.begin() + static_cast<std::ptrdiff_t>(from),
                                        source_.begin() + static_cast<std::ptrdiff_t>(to), '\n'));
    }

    void skip_until(std::string_view end) {
        const size_t found = source_.find(end, at_);
        const size_t next = found == std::string_view::npos ? source_.size() : found + end.size();
        count_lines(at_, next);
        at_ = next;
    }

    // Reads a quoted text and leaves the position behind it.
    std::string quoted(char quote) {
        std::string text;
        for (++at_; at_ < source_.size() && source_[at_] != quote; ++at_) {
            if (source_[at_] != '\\' || at_ + 1 == source_.size()) {
                text += source_[at_];
                continue;
            }
            const char next = source_[++at_];
            text += next == 'n' ? '\n' : next == 't' ? '\t' : next == '0' ? '\0' : next;
        }
        ++at_;
        return text;
    }

    void literal() {
        const int line = line_;
        const std::string text = quoted('"');
        if (joins_) {
            literals_.back().text += text;
        } else {
            literals_.push_back({text, call_, line});
        }
        joins_ = true;
        call_.clear();
    }

    // Names and signs: what stands before a literal, and what parts it from the next one.
    void other() {
        const char one = source_[at_];
        if (one == '\n') {
            ++line_;
        }
        ++at_;
        if (one == ' ' || one == '\n' || one == '\t') {
            return;
        }
        joins_ = false;
        call_ = one == '(' ? name_ : "";
        if (!is_name(one)) {
            name_.clear();
            return;
        }
        const bool goes_on = at_ >= 2 && is_name(source_[at_ - 2]);
        name_ = goes_on ? name_ + one : std::string(1, one);
    }

    std::string_view source_;
    size_t at_ = 0;
    int line_ = 1;
    std::string name_;  // read last
    std::string call_;  // whose first argument comes next
    bool joins_ = false;
    std::vector<Literal> literals_;
};

bool is_command(const std::string& text, const std::vector<std::string>& tools) {
    const size_t blank = text.find(' ');
    return blank != std::string::npos &&
           std::find(tools.begin(), tools.end(), text.substr(0, blank)) != tools.end();
}

}  // namespace

std::vector<Literal> literals_read(std::string_view source) {
    return Reader(source).read();
}

std::vector<std::string> literal_says(const Literal& literal,
                                      const std::vector<std::string>& tools) {
    if (literal.call == "puts") {
        return {literal.text + "\n"};
    }
    if (literal.call == "perror") {
        return {literal.text + ": %s\n"};
    }
    if (literal.call == "sizeof" || literal.text.find(kSkipped) != std::string::npos) {
        return {};
    }
    const bool is_printed = literal.call == "printf" || literal.call == "flow_log";
    std::vector<std::string> lines;
    std::string rest = literal.text;
    for (size_t end = rest.find('\n'); end != std::string::npos; end = rest.find('\n')) {
        lines.push_back(rest.substr(0, end + 1));
        rest.erase(0, end + 1);
    }
    const bool is_rest = is_printed || !lines.empty() || is_command(rest, tools);
    if (!rest.empty() && is_rest) {
        lines.push_back(rest);
    }
    return lines;
}

}  // namespace contract
