// `backhaulctl summary`: what happened to each node, as counts, outages and times.

#include "ctl/json.h"
#include "ctl/logs.h"
#include "ctl/story_visitor.h"

#include <algorithm>

namespace {

/// Outages that are listed one by one; the longest ones, in their order in time.
constexpr size_t OUTAGES_LISTED = 100;

/// Keeps the longest outages of a node: constant memory for any log.
class outage_list {
public:
    void add(const outage& one) {
        if (count_ < list_.size()) {
            list_[count_++] = one;
            return;
        }
        ++left_out_;
        auto* const shortest = std::ranges::min_element(
            list_,
            [](const outage& a, const outage& b) { return outage_seconds(a) < outage_seconds(b); });
        if (outage_seconds(*shortest) < outage_seconds(one)) {
            // Behind the others, which are later than what goes.
            std::move(shortest + 1, list_.end(), shortest);
            list_.back() = one;
        }
    }
    std::span<const outage> all() const {
        return {list_.data(), count_};
    }
    size_t left_out() const {
        return left_out_;
    }

private:
    std::array<outage, OUTAGES_LISTED> list_{};
    size_t count_ = 0;
    size_t left_out_ = 0;
};

struct count_row {
    const char* key;
    const char* words;
    int64_t number;
};

/// Counts as rows: the same for people and for programs.
std::array<count_row, 22> count_rows(const story_counts& c) {
    return {{
        {"starts", "worker starts", c.starts},
        {"ended", "of them after it ended by itself", c.ends},
        {"crashes", "of them after a crash", c.crashes},
        {"associations", "associations of stations", c.associations},
        {"losses", "losses", c.losses},
        {"timeouts", "timeouts", c.timeouts},
        {"backups", "switches to a backup", c.backups},
        {"moves", "moves to a better AP", c.moves},
        {"moves_done", "of them done", c.moves_done},
        {"moves_failed", "of them failed", c.moves_failed},
        {"parkings", "parkings", c.parkings},
        {"loops", "loops refused", c.loops},
        {"scans", "scans", c.scans},
        {"client_joins", "clients joined", c.client_joins},
        {"client_leaves", "clients left", c.client_leaves},
        {"cable_in", "cable came", c.cable_in},
        {"cable_out", "cable went", c.cable_out},
        {"channel_changes", "channel changes", c.channel_changes},
        {"radar_off", "AP off because of radar", c.radar_off},
        {"messages", "messages of other nodes", c.messages},
        {"errors", "lines that tell an error", c.errors},
        {"state_changes", "state changes asked for", c.changes},
    }};
}

void text_outages(FILE* out, const outage_list& list) {
    for (const outage& one : list.all()) {
        std::array<char, 400> words{};
        outage_words(one, words);
        std::fprintf(out, "    %s  %-12s %s%s\n", log_time_text(one.begin).data(),
                     log_length_text(outage_seconds(one)).data(), words.data(),
                     one.end == LOG_TIME_NONE ? "; not over where the log ends" : "");
    }
    if (list.left_out() > 0) {
        std::fprintf(out, "    (%zu shorter ones are not listed)\n", list.left_out());
    }
}

void text_print(FILE* out, const char* name, const story& told, const outage_list& list) {
    const story_node& node = told.node();
    const story_counts& counts = told.counts();
    std::fprintf(out, "%s\n  %s to %s (%s), %llu entries", name, log_time_text(node.first).data(),
                 log_time_text(node.last).data(),
                 log_length_text(node.first == LOG_TIME_NONE ? 0 : node.last - node.first).data(),
                 static_cast<unsigned long long>(counts.entries));
    if (counts.garbage > 0) {
        std::fprintf(out, ", %llu lines of garbage",
                     static_cast<unsigned long long>(counts.garbage));
    }
    if (counts.gaps > 0) {
        std::fprintf(out, ", %u gaps", counts.gaps);
    }
    std::fputs("\n", out);
    if (node.ready_after != LOG_TIME_NONE) {
        std::fprintf(out, "  first ready %s after the start\n",
                     log_length_text(node.ready_after).data());
    }
    std::fprintf(out, "  outages: %u", counts.outages);
    if (counts.outages > 0) {
        std::fprintf(out, ", longest %s", log_length_text(counts.outage_longest).data());
        std::fprintf(out, ", all %s", log_length_text(counts.outage_seconds).data());
    }
    std::fputs("\n", out);
    text_outages(out, list);
    for (const count_row& row : count_rows(counts)) {
        if (row.number > 0) {
            std::fprintf(out, "  %8lld  %s\n", static_cast<long long>(row.number), row.words);
        }
    }
    if (counts.impossible > 0) {
        std::fprintf(out, "  %8u  state changes that cannot follow (see: backhaulctl verify)\n",
                     counts.impossible);
    }
    for (const story_link& link : told.links()) {
        std::fprintf(out, "  %-15s", link.name.data());
        for (int32_t state = 0; state < LINK_STATE_COUNT; ++state) {
            const int64_t seconds = link.seconds[static_cast<size_t>(state)];
            if (seconds > 0) {
                std::fprintf(out, "  %s %s", link_state_name(state),
                             log_length_text(seconds).data());
            }
        }
        std::fputs("\n", out);
    }
}

void json_outages(json_writer& json, const outage_list& list) {
    json.key("outages").array_begin();
    for (const outage& one : list.all()) {
        std::array<char, 400> words{};
        outage_words(one, words);
        json.object_begin().time("begin", one.begin).time("end", one.end);
        json.number("seconds", outage_seconds(one)).text("cause", outage_cause_name(one.cause));
        json.text("interface", one.interface.data()).text("ap", one.ap.data());
        json.text("words", words.data()).object_end();
    }
    json.array_end().number("outages_not_listed", static_cast<int64_t>(list.left_out()));
}

void json_print(json_writer& json, const char* name, const story& told, const outage_list& list) {
    const story_node& node = told.node();
    const story_counts& counts = told.counts();
    json.object_begin().text("node", name).time("first", node.first).time("last", node.last);
    json.number("entries", static_cast<int64_t>(counts.entries));
    json.number("garbage", static_cast<int64_t>(counts.garbage)).number("gaps", counts.gaps);
    json.number("outage_count", counts.outages).number("outage_seconds", counts.outage_seconds);
    json.number("outage_longest", counts.outage_longest);
    json_outages(json, list);
    for (const count_row& row : count_rows(counts)) {
        json.number(row.key, row.number);
    }
    json.number("cannot_follow", counts.impossible).number("dropped", counts.dropped);
    json.key("seconds_in_state").object_begin();
    for (const story_link& link : told.links()) {
        json.key(link.name.data()).object_begin();
        for (int32_t state = 0; state < LINK_STATE_COUNT; ++state) {
            if (link.seconds[static_cast<size_t>(state)] > 0) {
                json.number(link_state_name(state), link.seconds[static_cast<size_t>(state)]);
            }
        }
        json.object_end();
    }
    json.object_end().object_end();
}

class summary_teller final : public story_visitor {
public:
    explicit summary_teller(const ctl_options& options) : options_(options), json_(options.out) {}

    void node_done(const log_source& last) override {
        entries_.node_over(told(), last);
        if (options_.json) {
            json_print(json_, last.node.data(), told(), list_);
        } else {
            text_print(options_.out, last.node.data(), told(), list_);
        }
        list_ = outage_list{};
    }
    void outage_ended(const outage& one) override {
        list_.add(one);
    }
    json_writer& json() {
        return json_;
    }
    int code() const {
        return entries_.code();
    }

private:
    const ctl_options& options_;
    json_writer json_;
    outage_list list_;
    entries_check entries_;
};

}  // namespace

int command_summary(const ctl_options& options) {
    log_set logs;
    if (!logs_open(options, 0, logs)) {
        return EXIT_UNREADABLE;
    }
    summary_teller teller(options);
    if (options.json) {
        teller.json().array_begin();
    }
    logs.read(teller);
    if (options.json) {
        teller.json().array_end().line_end();
    }
    return output_end(options, teller.code());
}
