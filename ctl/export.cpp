// `backhaulctl export`: a JSON object a line for each entry. docs/fleet.md documents the schema.

#include "ctl/json.h"
#include "ctl/logs.h"
#include "ctl/story_visitor.h"

namespace {

class export_teller final : public story_visitor {
public:
    explicit export_teller(const ctl_options& options) : json_(options.out) {}

    void node_begin(const log_source& first) override {
        story_visitor::node_begin(first);
        node_ = first.node;
        number_ = 0;
    }
    void found(const finding& /*one*/) override {
        marked_ = true;
    }
    void entry_done(const log_entry& entry, const log_event& event) override {
        json_.object_begin().text("node", node_.data()).number("seq", number_++);
        json_.time("time", entry.time).number("seconds", entry.time);
        json_.text("group", event.row == nullptr ? "unknown" : log_group_name(event.row->group));
        text_or_null("interface", event.interface);
        const bool change = event.kind == log_kind::state_change;
        number_or_null("state_from", change, event.numbers[0]);
        number_or_null("state_to", change, event.numbers[1]);
        number_or_null("event", event.kind == log_kind::dispatched, event.numbers[0]);
        text_or_null("mac", event.mac);
        json_.number("ready", ready() ? 1 : 0).number("marked", marked_ ? 1 : 0);
        json_.text("text", entry.text).object_end().line_end();
        marked_ = false;
    }
    void node_done(const log_source& last) override {
        entries_.node_over(told(), last);
    }
    int code() const {
        return entries_.code();
    }

private:
    bool ready() const {
        for (const story_link& link : told().links()) {
            if (link.known && state_is_ready(link.state)) {
                return true;
            }
        }
        return false;
    }
    void text_or_null(std::string_view name, std::string_view text) {
        json_.key(name);
        if (text.empty()) {
            json_.null();
        } else {
            json_.text(text);
        }
    }
    void number_or_null(std::string_view name, bool there, int32_t number) {
        json_.key(name);
        if (there) {
            json_.number(number);
        } else {
            json_.null();
        }
    }

    json_writer json_;
    std::array<char, NODE_NAME_SIZE> node_{};
    int64_t number_ = 0;
    bool marked_ = false;
    entries_check entries_;
};

}  // namespace

int command_export(const ctl_options& options) {
    log_set logs;
    if (!logs_open(options, 0, logs)) {
        return EXIT_UNREADABLE;
    }
    export_teller teller(options);
    logs.read(teller);
    return output_end(options, teller.code());
}
