#include "ctl/log_event.h"

#include "ctl/log_texts.h"
#include "ctl/text.h"
#include "link/link_state.h"

#include <cstdio>

namespace {

constexpr size_t NAME_MAX_SIZE = 15;
constexpr size_t MAC_SIZE = 17;

bool is_hex(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

bool mac_take(std::string_view& text, std::string_view& mac) {
    if (text.size() < MAC_SIZE) {
        return false;
    }
    for (size_t i = 0; i < MAC_SIZE; ++i) {
        if (i % 3 == 2 ? text[i] != ':' : !is_hex(text[i])) {
            return false;
        }
    }
    mac = text_first(text, MAC_SIZE);
    text.remove_prefix(MAC_SIZE);
    return true;
}

bool name_take(std::string_view& text, std::string_view& name) {
    size_t size = 0;
    while (size < text.size() && text[size] > ' ' && text[size] != ')' && text[size] < 0x7f) {
        ++size;
    }
    if (size == 0 || size > NAME_MAX_SIZE) {
        return false;
    }
    name = text_first(text, size);
    text.remove_prefix(size);
    return true;
}

/// Takes one placeholder off the text.
bool place_take(char place, std::string_view& text, log_event& event, size_t& number) {
    switch (place) {
        case 'i':
            return name_take(text, event.interface);
        case 'm':
            return mac_take(text, event.mac);
        case 'd':
            return number < event.numbers.size() && number_take(text, event.numbers[number++]);
        default:
            event.rest = text;
            text = {};
            return true;
    }
}

bool text_fits(const log_text& row, std::string_view text, log_event& event) {
    size_t number = 0;
    std::string_view pattern = row.pattern;
    for (size_t at = pattern.find('%'); at != std::string_view::npos; at = pattern.find('%')) {
        if (!text_take(text, text_first(pattern, at)) ||
            !place_take(pattern[at + 1], text, event, number)) {
            return false;
        }
        pattern.remove_prefix(at + 2);
    }
    return text == pattern;
}

/// A text that grows in a buffer of fixed size.
class words_out {
public:
    explicit words_out(std::span<char> out) : out_(out) {
        out_[0] = '\0';
    }
    void add(std::string_view text) {
        for (const char c : text) {
            if (size_ + 1 < out_.size()) {
                out_[size_++] = c >= ' ' && c != 0x7f ? c : '?';
            }
        }
        out_[size_] = '\0';
    }
    void add_number(int32_t number) {
        std::array<char, 12> digits{};
        std::snprintf(digits.data(), digits.size(), "%d", number);
        add(digits.data());
    }

private:
    std::span<char> out_;
    size_t size_ = 0;
};

/// What the dispatcher's events are to a link.
const char* event_words(int32_t event) {
    switch (static_cast<slave_event>(event)) {
        case START:
            return "it is to start";
        case ASSOC:
            return "it has associated";
        case AP_DISASSOC:
            return "it has lost its AP";
        case TIMEOUT:
            return "its time is up";
        case AUTO_CONFIG_SUCCESS:
            return "the agent is done";
        case CONFIG_BEST_AP:
            return "it is to move to a better AP";
    }
    return "an event of no meaning";
}

void place_fill(char place, const log_event& event, words_out& out) {
    switch (place) {
        case 'i':
            return out.add(event.interface);
        case 'm':
            return out.add(event.mac);
        case 'r':
            return out.add(event.rest);
        case 'a':
            return out.add_number(event.numbers[0]);
        case 'b':
            return out.add_number(event.numbers[1]);
        case 'E':
            return out.add(event_words(event.numbers[0]));
        case 'A':
            return out.add(link_state_name(event.numbers[0]));
        default:
            return out.add(link_state_name(event.numbers[1]));
    }
}

constexpr std::array<const char*, LOG_GROUP_COUNT> GROUP_NAMES = {
    "state", "driver", "timeout", "command", "message", "action", "error", "worker"};

}  // namespace

std::span<const log_text> log_texts() {
    return LOG_TEXTS;
}

log_event log_event_read(std::string_view text) {
    log_event event;
    if (text.empty()) {
        return event;
    }
    for (const log_text& row : LOG_TEXTS) {
        const char first = row.pattern[0];
        if (first == text[0] && text_fits(row, text, event)) {
            event.row = &row;
            event.kind = row.kind;
            return event;
        }
    }
    return {};
}

void log_event_words(const log_event& event, std::string_view text, std::span<char> out) {
    words_out words(out);
    if (event.row == nullptr) {
        words.add(text);
        return;
    }
    std::string_view form = event.row->words;
    for (size_t at = form.find('{'); at != std::string_view::npos; at = form.find('{')) {
        words.add(text_first(form, at));
        place_fill(form[at + 1], event, words);
        form.remove_prefix(at + 3);
    }
    words.add(form);
}

const char* log_group_name(log_group group) {
    return GROUP_NAMES[static_cast<size_t>(group)];
}
