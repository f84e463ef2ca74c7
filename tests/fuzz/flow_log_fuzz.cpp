// Lines of a flow log, through everything that reads one: dates, texts, the story of a node, its
// words. Whatever the bytes, times do not run backwards within a span and every text ends.

#include "ctl/story.h"

#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {

bool is_terminated(std::span<const char> text) {
    return std::memchr(text.data(), '\0', text.size()) != nullptr;
}

struct Checker final : story_listener {
    void span_ended(const story_link& link, link_state state, int64_t begin, int64_t end) override {
        if ((begin != LOG_TIME_NONE && begin > end) || state < 0 || state >= LINK_STATE_COUNT ||
            !is_terminated(link.name)) {
            std::abort();
        }
    }
    void outage_ended(const outage& one) override {
        std::array<char, 40> words{};
        outage_words(one, words);
        if (outage_seconds(one) < 0 || !is_terminated(words)) {
            std::abort();
        }
    }
    void found(const finding& one) override {
        std::array<char, 40> words{};
        finding_words(one, words);
        if (!is_terminated(words)) {
            std::abort();
        }
    }
};

void line_feed(std::string_view line, log_dates& dates, story& told) {
    log_entry entry;
    if (!log_line_read(line.substr(0, LOG_LINE_MAX), dates, entry)) {
        return told.garbage();
    }
    const size_t run_on = log_line_run_on(entry.text, dates);
    if (run_on != std::string_view::npos && run_on > entry.text.size()) {
        std::abort();
    }
    const log_event event = log_event_read(entry.text);
    std::array<char, 60> words{};
    log_event_words(event, entry.text, words);
    if (!is_terminated(words)) {
        std::abort();
    }
    told.feed(entry, event);
}

}  // namespace

// The name is the fuzzer engine's.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view text(reinterpret_cast<const char*>(data), size);
    Checker checker;
    story told(checker);
    log_dates dates;
    while (!text.empty()) {
        const size_t end = text.find('\n');
        line_feed(text.substr(0, end), dates, told);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    told.finish();
    const story_counts& counts = told.counts();
    if (told.links().size() > STORY_LINKS_MAX || counts.outage_longest > counts.outage_seconds) {
        std::abort();
    }
    return 0;
}
