// `backhaulctl status` as text and as JSON.

#include "ctl/status.h"
#include "ctl/text.h"

namespace {

constexpr char UNKNOWN[] = "unknown";

const char* word_or_unknown(const char* word) {
    return word[0] == '\0' ? UNKNOWN : word;
}

void links_print(const status_view& view, FILE* out) {
    std::fprintf(out, "%-10s %-30s %-20s %-7s %s\n", "INTERFACE", "STATE", "SINCE", "LOSSES",
                 "WAITS FOR");
    for (const story_link& link : view.told->links()) {
        std::array<char, 200> waits{};
        status_waits(link, view.now, waits);
        std::array<char, 12> losses{};
        std::snprintf(losses.data(), losses.size(), "%d", link.losses);
        std::fprintf(
            out, "%-10s %-30s %-20s %-7s %s\n", link.name.data(),
            link.known ? link_state_name(link.state) : UNKNOWN,
            link.since == LOG_TIME_NONE ? "before the log" : log_time_text(link.since).data(),
            link.losses_known ? losses.data() : UNKNOWN, link.known ? waits.data() : UNKNOWN);
    }
}

void root_print(const status_view& view, FILE* out) {
    const int64_t heard = view.told->node().root_heard;
    std::fprintf(out, "root       %s", word_or_unknown(view.root_ip.data()));
    if (heard == LOG_TIME_NONE) {
        std::fputs(", no sign of it in the log (its announcements leave no line)", out);
    } else {
        std::fprintf(out, ", last sign in the log %s ago (%s: %s; its announcements leave no line)",
                     log_length_text(view.now - heard).data(), log_time_text(heard).data(),
                     view.told->node().root_admitted ? "it admitted this node" : "a message of it");
    }
    if (view.root_neighbour != neighbour_state::unknown) {
        std::fprintf(out, ", %s",
                     view.root_neighbour == neighbour_state::answers
                         ? "the kernel knows its hardware address"
                         : "does not answer to the kernel's question for its hardware address");
    }
    if (view.root_ip_since != LOG_TIME_NONE && view.root_ip_since <= view.now) {
        std::fprintf(out, ", this address since %s", log_time_text(view.root_ip_since).data());
    }
    std::fputs("\n", out);
}

void error_print(const status_view& view, FILE* out) {
    if (!view.has_error) {
        std::fputs("error      none that repeats, as far as the log goes back\n", out);
        return;
    }
    const log_text& row = LOG_TEXTS[view.error];
    const error_run& run = view.told->error(view.error);
    std::fprintf(out, "error      \"%.*s\" %u times in %s, last at %s\n           cause: %.*s\n",
                 text_size(row.pattern), row.pattern.data(), run.burst,
                 log_length_text(run.last - run.burst_first).data(), log_time_text(run.last).data(),
                 text_size(row.rule), row.rule.data());
}

}  // namespace

void status_text_print(const status_view& view, FILE* out) {
    std::array<char, 1000> headline{};
    status_headline(view, headline);
    const story_node& node = view.told->node();
    const story_link* const uplink = status_uplink(*view.told);
    std::fprintf(out, "%s\n\n", headline.data());
    links_print(view, out);
    std::fprintf(out, "\nuplink     %s%s%s\n", uplink == nullptr ? "none" : uplink->name.data(),
                 uplink != nullptr && uplink->ap[0] != '\0' ? " at AP " : "",
                 uplink == nullptr ? "" : uplink->ap.data());
    std::fprintf(out, "backup     %s\n", node.backup[0] == '\0' ? "none" : node.backup.data());
    // Of an extender without an uplink the file still tells what was true with the last one.
    const bool is_past = uplink == nullptr && view.distance[0] != '\0';
    std::fprintf(out, "hops       %s%s\n", word_or_unknown(view.distance.data()),
                 is_past ? " over the last uplink" : "");
    std::fprintf(out, "LED        %s\n", word_or_unknown(node.led.data()));
    root_print(view, out);
    if (view.extenders >= 0) {
        std::fprintf(out, "extenders  %d on the root's list\n", view.extenders);
    }
    error_print(view, out);
    std::fprintf(out, "file       backhaul_status says \"%s\", backhaul_type \"%s\"\n",
                 word_or_unknown(view.status.data()), word_or_unknown(view.type.data()));
    std::fprintf(out, "log        from %s to %s; what was before is unknown\n",
                 log_time_text(node.first).data(), log_time_text(node.last).data());
}

void status_json_print(const status_view& view, json_writer& json) {
    std::array<char, 1000> headline{};
    status_headline(view, headline);
    const story_node& node = view.told->node();
    const story_link* const uplink = status_uplink(*view.told);
    const auto word = [&](const char* name, const char* text) {
        json.key(name);
        if (text[0] == '\0') {
            json.null();
        } else {
            json.text(text);
        }
    };
    json.object_begin().text("headline", headline.data()).time("now", view.now);
    json.boolean("ready", uplink != nullptr && state_is_ready(uplink->state));
    json.key("interfaces").array_begin();
    for (const story_link& link : view.told->links()) {
        std::array<char, 200> waits{};
        status_waits(link, view.now, waits);
        json.object_begin().text("name", link.name.data());
        word("state", link.known ? link_state_name(link.state) : "");
        json.time("since", link.since).key("losses");
        link.losses_known ? json.number(link.losses) : json.null();
        word("waits_for", link.known ? waits.data() : "");
        word("ap", link.ap.data());
        json.object_end();
    }
    json.array_end();
    word("uplink", uplink == nullptr ? "" : uplink->name.data());
    word("backup", node.backup.data());
    word("hops", view.distance.data());
    word("led", node.led.data());
    word("root", view.root_ip.data());
    json.time("root_heard", node.root_heard).key("error");
    if (view.has_error) {
        const log_text& row = LOG_TEXTS[view.error];
        const error_run& run = view.told->error(view.error);
        json.object_begin().text("text", row.pattern).number("times", run.burst);
        json.number("seconds", run.last - run.burst_first).time("last", run.last);
        json.text("cause", row.rule).object_end();
    } else {
        json.null();
    }
    word("status_file", view.status.data());
    word("type_file", view.type.data());
    json.time("log_first", node.first).time("log_last", node.last).object_end();
}
