// `backhaulctl metrics`: the story's numbers as metrics, for a node exporter's textfile folder.

#include "ctl/json.h"
#include "ctl/logs.h"
#include "ctl/story_visitor.h"
#include "runtime/heap.h"

#include <cstring>

namespace {

constexpr size_t NODES_MAX = 1024;

/// What is kept of a node until all are printed: a metric's lines stand together.
struct node_numbers {
    std::array<char, NODE_NAME_SIZE> name{};
    story_counts counts;
    int64_t last = 0;
    int64_t out = 0;
    int32_t ready = 0;
    std::array<intf_name, STORY_LINKS_MAX> links{};
    std::array<int32_t, STORY_LINKS_MAX> states{};
    size_t link_count = 0;
};

struct metric_row {
    const char* name;
    const char* type;
    const char* help;
    int64_t (*get)(const node_numbers&);
};

constexpr std::array METRICS = {
    metric_row{"backhaul_ready", "gauge", "1 while the log says that the node has its backhaul.",
               [](const node_numbers& n) -> int64_t {
                   return n.ready;
               }},
    metric_row{"backhaul_log_last_entry_seconds", "gauge",
               "The log's last entry, in seconds of the node's own time.",
               [](const node_numbers& n) -> int64_t {
                   return n.last;
               }},
    metric_row{"backhaul_outage_seconds", "gauge", "How long the outage has lasted that goes on.",
               [](const node_numbers& n) -> int64_t {
                   return n.out;
               }},
    metric_row{"backhaul_log_outages", "gauge", "Outages in the log.",
               [](const node_numbers& n) -> int64_t {
                   return n.counts.outages;
               }},
    metric_row{"backhaul_log_outages_seconds", "gauge", "Seconds of outage in the log.",
               [](const node_numbers& n) -> int64_t {
                   return n.counts.outage_seconds;
               }},
    metric_row{"backhaul_log_losses", "gauge", "Losses of an upstream AP in the log.",
               [](const node_numbers& n) -> int64_t {
                   return n.counts.losses;
               }},
    metric_row{"backhaul_log_timeouts", "gauge", "Timeouts of link states in the log.",
               [](const node_numbers& n) -> int64_t {
                   return n.counts.timeouts;
               }},
    metric_row{"backhaul_log_parkings", "gauge", "Stations parked in the log.",
               [](const node_numbers& n) -> int64_t {
                   return n.counts.parkings;
               }},
    metric_row{"backhaul_log_loops", "gauge", "Loops refused in the log.",
               [](const node_numbers& n) -> int64_t {
                   return n.counts.loops;
               }},
    metric_row{"backhaul_log_moves", "gauge", "Moves to a better AP begun in the log.",
               [](const node_numbers& n) -> int64_t {
                   return n.counts.moves;
               }},
    metric_row{"backhaul_log_worker_starts", "gauge", "Starts of the worker in the log.",
               [](const node_numbers& n) -> int64_t {
                   return n.counts.starts;
               }},
    metric_row{"backhaul_log_worker_crashes", "gauge", "Crashes of the worker in the log.",
               [](const node_numbers& n) -> int64_t {
                   return n.counts.crashes;
               }},
    metric_row{"backhaul_log_errors", "gauge", "Lines that tell an error in the log.",
               [](const node_numbers& n) -> int64_t {
                   return n.counts.errors;
               }},
    metric_row{"backhaul_log_cannot_follow", "gauge", "State changes that cannot follow.",
               [](const node_numbers& n) -> int64_t {
                   return n.counts.impossible;
               }},
};

class metrics_teller final : public story_visitor {
public:
    explicit metrics_teller(std::span<node_numbers> nodes) : nodes_(nodes) {}

    void node_over(const log_source& last) override {
        if (count_ == nodes_.size()) {
            return;
        }
        node_numbers& one = nodes_[count_++];
        one.name = last.node;
        one.last = told().node().last == LOG_TIME_NONE ? 0 : told().node().last;
        const outage* const out = told().outage_now();
        one.out = out != nullptr ? one.last - out->begin : 0;
        for (const story_link& link : told().links()) {
            if (link.known) {
                one.ready |= state_is_ready(link.state) ? 1 : 0;
                one.links[one.link_count] = link.name;
                one.states[one.link_count++] = link.state;
            }
        }
    }
    void node_done(const log_source& last) override {
        nodes_[count_ - 1].counts = told().counts();
        entries_.node_over(told(), last);
    }
    int code() const {
        return entries_.code();
    }
    std::span<const node_numbers> nodes() const {
        return nodes_.first(count_);
    }

private:
    const std::span<node_numbers> nodes_;
    size_t count_ = 0;
    entries_check entries_;
};

/// Quotes, backslashes and line ends of a label's value.
void label_print(FILE* out, const char* name, const char* value) {
    std::fprintf(out, "%s=\"", name);
    for (const char* at = value; *at != '\0'; ++at) {
        const auto c = static_cast<unsigned char>(*at);
        if (c == '"' || c == '\\') {
            std::fprintf(out, "\\%c", c);
        } else {
            // Whatever is no plain character would end the reader's file.
            std::fputc(c >= 0x20 && c < 0x7f ? c : '?', out);
        }
    }
    std::fputc('"', out);
}

void metrics_print(FILE* out, std::span<const node_numbers> nodes) {
    for (const metric_row& row : METRICS) {
        std::fprintf(out, "# HELP %s %s\n# TYPE %s %s\n", row.name, row.help, row.name, row.type);
        for (const node_numbers& one : nodes) {
            std::fprintf(out, "%s{", row.name);
            label_print(out, "node", one.name.data());
            std::fprintf(out, "} %lld\n", static_cast<long long>(row.get(one)));
        }
    }
    std::fputs(
        "# HELP backhaul_link_state The link state of an interface, by its number.\n"
        "# TYPE backhaul_link_state gauge\n",
        out);
    for (const node_numbers& one : nodes) {
        for (size_t i = 0; i < one.link_count; ++i) {
            std::fputs("backhaul_link_state{", out);
            label_print(out, "node", one.name.data());
            std::fputc(',', out);
            label_print(out, "interface", one.links[i].data());
            std::fprintf(out, "} %d\n", one.states[i]);
        }
    }
    std::fputs("# EOF\n", out);
}

void metrics_json(const ctl_options& options, std::span<const node_numbers> nodes) {
    json_writer json(options.out);
    json.array_begin();
    for (const node_numbers& one : nodes) {
        json.object_begin().text("node", one.name.data());
        for (const metric_row& row : METRICS) {
            json.number(row.name, row.get(one));
        }
        json.key("backhaul_link_state").object_begin();
        for (size_t i = 0; i < one.link_count; ++i) {
            json.number(one.links[i].data(), one.states[i]);
        }
        json.object_end().object_end();
    }
    json.array_end().line_end();
}

}  // namespace

int command_metrics(const ctl_options& options) {
    log_set logs;
    if (!logs_open(options, 0, logs)) {
        return EXIT_UNREADABLE;
    }
    auto* const nodes = heap_make<node_numbers>(NODES_MAX);
    if (nodes == nullptr) {
        return EXIT_UNREADABLE;
    }
    metrics_teller teller({nodes, NODES_MAX});
    logs.read(teller);
    if (options.json) {
        metrics_json(options, teller.nodes());
    } else {
        metrics_print(options.out, teller.nodes());
    }
    heap_drop(nodes);
    return output_end(options, teller.code());
}
