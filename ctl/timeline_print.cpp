// The picture of the logs as page, plain text and JSON.

#include "ctl/json.h"
#include "ctl/text.h"
#include "ctl/timeline.h"
#include "runtime/table_check.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr size_t COLUMNS = 72;

struct letter_row {
    link_state state;
    char letter;
    const char* words;
};

/// Small letters wait, capital ones carry traffic.
constexpr std::array LETTERS = {
    letter_row{INIT, '.', "idle"},
    letter_row{CONNECTING_BACKHAUL_AP, 'c', "connecting"},
    letter_row{CONNECT_WITH_BACKHAUL_AP, 'a', "waits for the agent"},
    letter_row{CONNECTING_TARGET_BACKHAUL_AP, 'm', "moves to a better AP"},
    letter_row{CONNECT_PENDING, 'p', "parked"},
    letter_row{BACKHAUL_READY, 'R', "ready"},
    letter_row{DFS_MONITORING, 'd', "watched for radar"},
    letter_row{DFS_BLOCKING, 'x', "off because of radar"},
    letter_row{AP_TIMER_WAIT, 't', "periodic check"},
    letter_row{ETH_BACKHAUL_DOWN, '_', "no cable"},
    letter_row{ETH_BACKHAUL_CONNECTED, 'w', "cable, waits for the agent"},
    letter_row{ETH_BACKHAUL_READY, 'E', "cable ready"},
    letter_row{ETH_BACKHAUL_STANDBY, 's', "standby"},
};

static_assert(table_keys_are_unique(LETTERS, [](const letter_row& row) { return row.letter; }));

/// "</script" would end the page's data early: the slash is written so that JSON still reads it.
void script_text_print(FILE* out, std::string_view text) {
    std::fputc('"', out);
    for (size_t at = text.find('<'); at != std::string_view::npos; at = text.find('<')) {
        json_text_print(out, text_first(text, at));
        std::fputs("\\u003c", out);
        text.remove_prefix(at + 1);
    }
    json_text_print(out, text);
    std::fputc('"', out);
}

void texts_print(const timeline_data& data, FILE* out) {
    std::fputs("\"texts\":[", out);
    for (size_t i = 0; i < data.texts.size(); ++i) {
        std::fputs(i == 0 ? "" : ",\n", out);
        script_text_print(out, data.texts.get(i));
    }
    // What a mark looks like goes by the text.
    std::fputs("],\"groups\":\"", out);
    for (size_t i = 0; i < data.texts.size(); ++i) {
        const log_event event = log_event_read(data.texts.get(i));
        const bool quiet = event.row != nullptr && event.kind == log_kind::detail;
        const char letter = event.row == nullptr ? 'u'
                            : quiet              ? '-'
                                                 : log_group_name(event.row->group)[0];
        std::fputc(letter, out);
    }
    std::fputc('"', out);
}

long long from_start(const timeline_data& data, int64_t time) {
    return time - data.first;
}

void node_print(const timeline_data& data, size_t node, FILE* out) {
    const timeline_node& one = data.nodes[node];
    std::fputs(node == 0 ? "{\"name\":" : ",\n{\"name\":", out);
    script_text_print(out, one.name.data());
    std::fputs(",\"lanes\":[", out);
    for (size_t lane = 0; lane < one.lane_count; ++lane) {
        std::fputs(lane == 0 ? "{\"name\":" : ",{\"name\":", out);
        script_text_print(out, one.lanes[lane].data());
        std::fputs(",\"spans\":[", out);
        const char* comma = "";
        for (size_t i = 0; i < data.span_count; ++i) {
            const timeline_span& span = data.spans[i];
            if (span.node == node && span.lane == lane) {
                std::fprintf(out, "%s%lld,%lld,%d", comma, from_start(data, span.begin),
                             static_cast<long long>(span.end - span.begin), span.state);
                comma = ",";
            }
        }
        std::fputs("]}", out);
    }
    std::fputs("],\"outages\":[", out);
    const char* comma = "";
    for (size_t i = 0; i < data.outage_count; ++i) {
        const timeline_outage& cut = data.outages[i];
        if (cut.node == node) {
            std::fprintf(out, "%s[%lld,%lld,%d,", comma, from_start(data, cut.begin),
                         from_start(data, cut.end), cut.is_open ? 1 : 0);
            script_text_print(out, cut.words.data());
            std::fputs("]", out);
            comma = ",";
        }
    }
    // Steps of time and numbers of texts, in turn; a marked one is negative.
    std::fputs("],\"entries\":[", out);
    comma = "";
    int64_t before = data.first;
    for (size_t i = 0; i < data.entry_count; ++i) {
        const timeline_entry& entry = data.entries[i];
        if (entry.node == node) {
            const auto text = static_cast<long long>(entry.text);
            std::fprintf(out, "%s%lld,%lld", comma, static_cast<long long>(entry.time - before),
                         entry.marked ? -text - 1 : text);
            before = entry.time;
            comma = ",";
        }
    }
    std::fputs("]}", out);
}

void data_print(const timeline_data& data, FILE* out) {
    const int64_t length = data.first == LOG_TIME_NONE ? 0 : data.last - data.first;
    std::fprintf(out, "{\"first\":%lld,\"length\":%lld,\"left_out\":%zu,\"states\":[",
                 static_cast<long long>(data.first == LOG_TIME_NONE ? 0 : data.first),
                 static_cast<long long>(length), data.left_out);
    for (int32_t state = 0; state < LINK_STATE_COUNT; ++state) {
        std::fprintf(out, "%s\"%s\"", state == 0 ? "" : ",", link_state_name(state));
    }
    std::fputs("],\n", out);
    texts_print(data, out);
    std::fputs(",\n\"nodes\":[", out);
    for (size_t node = 0; node < data.node_count; ++node) {
        node_print(data, node, out);
    }
    std::fputs("]}", out);
}

/// Whether a state hides the letter of another one in the same column.
bool letter_yields(char letter) {
    return letter == ' ' || letter == 'R' || letter == 'E' || letter == '.';
}

/// One lane as letters: of several states in a column the one that carries least is shown, and in
/// the last one the state that the log ends with.
void lane_text_print(const timeline_data& data, size_t node, size_t lane, FILE* out) {
    std::array<char, COLUMNS + 1> row{};
    row.fill(' ');
    row.back() = '\0';
    const int64_t length = std::max<int64_t>(data.last - data.first, 1);
    for (size_t i = 0; i < data.span_count; ++i) {
        const timeline_span& span = data.spans[i];
        if (span.node != node || span.lane != lane) {
            continue;
        }
        const auto column = [&](int64_t time) {
            const int64_t at = (time - data.first) * static_cast<int64_t>(COLUMNS) / length;
            return static_cast<size_t>(std::clamp<int64_t>(at, 0, COLUMNS - 1));
        };
        for (size_t at = column(span.begin); at <= column(span.end); ++at) {
            const char letter = timeline_letter(span.state);
            row[at] = letter_yields(row[at]) ? letter : row[at];
        }
        if (span.end == data.nodes[node].last) {
            row[column(span.end)] = timeline_letter(span.state);
        }
    }
    std::fprintf(out, "  %-15s |%s|\n", data.nodes[node].lanes[lane].data(), row.data());
}

void outages_text_print(const timeline_data& data, size_t node, FILE* out) {
    std::array<char, COLUMNS + 1> row{};
    row.fill(' ');
    row.back() = '\0';
    const int64_t length = std::max<int64_t>(data.last - data.first, 1);
    for (size_t i = 0; i < data.outage_count; ++i) {
        const timeline_outage& cut = data.outages[i];
        const auto column = [&](int64_t time) {
            const int64_t at = (time - data.first) * static_cast<int64_t>(COLUMNS) / length;
            return static_cast<size_t>(std::clamp<int64_t>(at, 0, COLUMNS - 1));
        };
        for (size_t at = column(cut.begin); cut.node == node && at <= column(cut.end); ++at) {
            row[at] = '#';
        }
    }
    std::fprintf(out, "  %-15s |%s|\n", "out", row.data());
    for (size_t i = 0; i < data.outage_count; ++i) {
        const timeline_outage& cut = data.outages[i];
        if (cut.node == node) {
            std::fprintf(out, "    %s  %-12s %s%s\n", log_time_text(cut.begin).data(),
                         log_length_text(cut.end - cut.begin).data(), cut.words.data(),
                         cut.is_open ? "; not over where the log ends" : "");
        }
    }
}

}  // namespace

char timeline_letter(int32_t state) {
    for (const letter_row& row : LETTERS) {
        if (row.state == state) {
            return row.letter;
        }
    }
    return '?';
}

void timeline_page_print(const timeline_data& data, FILE* out) {
    std::fputs(TIMELINE_PAGE_HEAD, out);
    data_print(data, out);
    std::fputs(TIMELINE_PAGE_TAIL, out);
}

void timeline_json_print(const timeline_data& data, FILE* out) {
    data_print(data, out);
    std::fputc('\n', out);
}

void timeline_text_print(const timeline_data& data, FILE* out) {
    std::fprintf(out, "%s to %s, a column is %s\n", log_time_text(data.first).data(),
                 log_time_text(data.last).data(),
                 log_length_text((data.last - data.first) / static_cast<int64_t>(COLUMNS)).data());
    for (size_t node = 0; node < data.node_count; ++node) {
        std::fprintf(out, "\n%s\n", data.nodes[node].name.data());
        for (size_t lane = 0; lane < data.nodes[node].lane_count; ++lane) {
            lane_text_print(data, node, lane, out);
        }
        outages_text_print(data, node, out);
    }
    std::fputs("\n", out);
    for (const letter_row& row : LETTERS) {
        std::fprintf(out, "  %c %s\n", row.letter, row.words);
    }
}
