// `backhaulctl explain TIME`: the lines around a moment in plain words, with the rule behind each.

#include "ctl/json.h"
#include "ctl/logs.h"
#include "ctl/story_visitor.h"
#include "ctl/text.h"
#include "link/timeout_limit.h"
#include "runtime/heap.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr int LINES_MAX = 1000;

/// One line, told.
struct told_line {
    int64_t time = LOG_TIME_NONE;
    std::array<char, 300> words{};
    std::array<char, 300> rule{};
    std::array<char, 300> line{};
    log_group group = log_group::action;
    bool bad = false;
};

/// What the numbers of a change do not tell a person.
const char* change_remark(link_state from, link_state to) {
    const bool searches_again = from == ETH_BACKHAUL_STANDBY && to == CONNECTING_BACKHAUL_AP;
    return searches_again ? "a station that is to search again stands in standby for the moment in "
                            "which a backup is looked for; "
                          : "";
}

/// The rule of a state change: from the daemon's tables, not from a text.
void change_rule(const log_event& event, int64_t time, std::span<char> out) {
    const auto from = static_cast<link_state>(event.numbers[0]);
    const auto to = static_cast<link_state>(event.numbers[1]);
    const link_transition* const row = link_transition_find(from, to);
    if (row == nullptr) {
        std::snprintf(out.data(), out.size(), "the table refuses this: it stays in %s",
                      link_state_name(from));
        return;
    }
    const timeout_limit limit = timeout_limit_get(to, 0);
    const char* const remark = change_remark(from, to);
    if (row->timer == TIMER_OFF || !limit.checked) {
        std::snprintf(out.data(), out.size(), "%sthe table accepts this; no timeout runs", remark);
        return;
    }
    std::snprintf(out.data(), out.size(),
                  "%sthe table accepts this; looked at again after %d s, at %s", remark,
                  limit.seconds, log_time_text(time + limit.seconds + 1).data() + 11);
}

class last_time_finder final : public log_visitor {
public:
    void entry(const log_entry& entry, const log_event& /*event*/) override {
        last = std::max(last, entry.time);
    }
    int64_t last = LOG_TIME_NONE;
};

class explain_teller final : public story_visitor {
public:
    explain_teller(const ctl_options& options, int64_t moment, std::span<told_line> ring)
        : options_(options), json_(options.out), moment_(moment), ring_(ring) {}

    void node_begin(const log_source& first) override {
        story_visitor::node_begin(first);
        kept_ = 0;
        begun_ = false;
        left_ = options_.lines;
        if (options_.json) {
            json_.object_begin().text("node", first.node.data()).key("lines").array_begin();
        } else {
            std::fprintf(options_.out, "%s\n", first.node.data());
        }
    }

    void found(const finding& one) override {
        finding_words(one, finding_);
    }

    void entry_done(const log_entry& entry, const log_event& event) override {
        if (!begun_ && entry.time < moment_) {
            tell(entry, event, ring_[kept_++ % ring_.size()]);
        } else if (!begun_ || left_ > 0 || entry.time == moment_) {
            begin(entry.time);
            told_line line;
            tell(entry, event, line);
            print(line);
            left_ -= entry.time > moment_ ? 1 : 0;
        }
        finding_ = {};
    }

    void node_done(const log_source& /*last*/) override {
        begin(LOG_TIME_NONE);
        if (options_.json) {
            json_.array_end().boolean("outside", is_outside()).object_end();
        }
    }
    json_writer& json() {
        return json_;
    }

private:
    /// What was kept from before the moment, and where the moment is.
    void begin(int64_t next) {
        if (begun_) {
            return;
        }
        begun_ = true;
        const size_t shown = std::min(kept_, ring_.size());
        for (size_t i = kept_ - shown; i < kept_ && options_.lines > 0; ++i) {
            print(ring_[i % ring_.size()]);
        }
        if (!options_.json && next != moment_) {
            std::fprintf(options_.out, "  ---- %s ----", log_time_text(moment_).data());
            outside_print(next);
        }
    }

    void outside_print(int64_t next) {
        const int64_t first = told().node().first;
        if (first == LOG_TIME_NONE) {
            std::fputs(" the log holds no entry\n", options_.out);
        } else if (next == LOG_TIME_NONE) {
            std::fprintf(options_.out, " outside the log, which ends at %s\n",
                         log_time_text(told().node().last).data());
        } else if (moment_ < first) {
            std::fprintf(options_.out, " outside the log, which begins at %s\n",
                         log_time_text(first).data());
        } else {
            std::fputs("\n", options_.out);
        }
    }

    bool is_outside() const {
        const story_node& node = told().node();
        return node.first == LOG_TIME_NONE || moment_ < node.first || moment_ > node.last;
    }

    void tell(const log_entry& entry, const log_event& event, told_line& out) const {
        out = told_line{};
        out.time = entry.time;
        text_copy(out.line, entry.text);
        log_event_words(event, entry.text, out.words);
        if (event.row != nullptr) {
            out.group = event.row->group;
            text_copy(out.rule, event.row->rule);
        } else {
            text_copy(out.rule, "not a text of this daemon");
        }
        if (event.kind == log_kind::state_change) {
            change_rule(event, entry.time, out.rule);
        }
        if (finding_[0] != '\0') {
            out.bad = true;
            text_copy(out.rule, finding_.data());
        }
    }

    void print(const told_line& line) {
        if (options_.json) {
            json_.object_begin().time("time", line.time).text("group", log_group_name(line.group));
            json_.text("words", line.words.data()).text("rule", line.rule.data());
            json_.text("line", line.line.data()).boolean("marked", line.bad).object_end();
            return;
        }
        std::fprintf(options_.out, "%c %s  %s\n", line.bad ? '!' : ' ',
                     log_time_text(line.time).data(), line.words.data());
        // A rule that the line before had is not told twice.
        if (line.rule[0] != '\0' && std::strcmp(line.rule.data(), last_rule_.data()) != 0) {
            std::fprintf(options_.out, "%24s%s\n", "because: ", line.rule.data());
        }
        last_rule_ = line.rule;
    }

    const ctl_options& options_;
    json_writer json_;
    const int64_t moment_;
    const std::span<told_line> ring_;
    size_t kept_ = 0;
    bool begun_ = false;
    int left_ = 0;
    std::array<char, 300> finding_{};
    std::array<char, 300> last_rule_{};
};

}  // namespace

int command_explain(const ctl_options& options) {
    log_set logs;
    if (!logs_open(options, 1, logs)) {
        return EXIT_UNREADABLE;
    }
    last_time_finder finder;
    logs.read(finder);
    int64_t moment = LOG_TIME_NONE;
    if (finder.last == LOG_TIME_NONE) {
        std::fputs("backhaulctl: the log holds no entry\n", stderr);
        return EXIT_UNREADABLE;
    }
    if (!log_time_parse(options.words[0], finder.last, moment)) {
        std::fprintf(
            stderr,
            "backhaulctl: %s is no time: \"2023-11-14 22:13:20\", \"22:13:20\" or \"22:13\" "
            "(backhaulctl explain --help)\n",
            options.words[0]);
        return EXIT_USAGE;
    }
    const auto lines = static_cast<size_t>(std::clamp(options.lines, 1, LINES_MAX));
    auto* const ring = heap_make<told_line>(lines);
    if (ring == nullptr) {
        return EXIT_UNREADABLE;
    }
    explain_teller teller(options, moment, {ring, lines});
    if (options.json) {
        teller.json().array_begin();
    }
    logs.read(teller);
    if (options.json) {
        teller.json().array_end().line_end();
    }
    heap_drop(ring);
    return output_end(options, EXIT_GOOD);
}
