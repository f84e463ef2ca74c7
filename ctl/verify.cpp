// `backhaulctl verify`: every state change of the logs against the daemon's table.

#include "ctl/json.h"
#include "ctl/logs.h"
#include "ctl/story_visitor.h"
#include "ctl/text.h"

namespace {

const char* kind_name(finding_kind kind) {
    switch (kind) {
        case finding_kind::cannot_follow:
            return "cannot_follow";
        case finding_kind::no_such_state:
            return "no_such_state";
        case finding_kind::dropped:
            break;
    }
    return "dropped";
}

class verify_teller final : public story_visitor {
public:
    explicit verify_teller(const ctl_options& options) : options_(options), json_(options.out) {}

    void node_begin(const log_source& first) override {
        story_visitor::node_begin(first);
        if (options_.json) {
            json_.object_begin().text("node", first.node.data()).key("findings").array_begin();
        }
    }

    void found(const finding& one) override {
        if (options_.json) {
            json_print(one);
            return;
        }
        std::array<char, 300> words{};
        finding_words(one, words);
        std::fprintf(options_.out, "%c %.*s\n      %s\n",
                     one.kind == finding_kind::dropped ? '-' : '!', text_size(one.line),
                     one.line.data(), words.data());
    }

    void node_done(const log_source& last) override {
        const story_counts& counts = told().counts();
        bad_ += counts.impossible;
        entries_.node_over(told(), last);
        if (options_.json) {
            json_.array_end().number("state_changes", counts.changes);
            json_.number("dropped", counts.dropped).number("cannot_follow", counts.impossible);
            json_.number("gaps", counts.gaps);
            json_.number("garbage", static_cast<int64_t>(counts.garbage)).object_end();
            return;
        }
        std::fprintf(options_.out,
                     "%s: %u state changes, %u refused by the table, %u that cannot follow",
                     last.node.data(), counts.changes, counts.dropped, counts.impossible);
        if (counts.gaps > 0) {
            std::fprintf(options_.out,
                         "; %u gaps, behind which nothing is held against what was before",
                         counts.gaps);
        }
        std::fputs("\n", options_.out);
    }
    json_writer& json() {
        return json_;
    }
    int code() const {
        return bad_ > 0 ? EXIT_FOUND : entries_.code();
    }

private:
    void json_print(const finding& one) {
        std::array<char, 300> words{};
        finding_words(one, words);
        json_.object_begin().text("kind", kind_name(one.kind)).time("time", one.time);
        json_.text("interface", one.link->name.data()).number("from", one.from);
        json_.number("to", one.to).number("expected", one.expected);
        json_.text("line", one.line).text("words", words.data()).object_end();
    }

    const ctl_options& options_;
    json_writer json_;
    uint64_t bad_ = 0;
    entries_check entries_;
};

}  // namespace

void finding_words(const finding& one, std::span<char> out) {
    switch (one.kind) {
        case finding_kind::cannot_follow:
            std::snprintf(out.data(), out.size(),
                          "cannot follow: by the lines before %s is in %s (%d), not in %s (%d)",
                          one.link->name.data(), link_state_name(one.expected), one.expected,
                          link_state_name(one.from), one.from);
            return;
        case finding_kind::no_such_state:
            std::snprintf(out.data(), out.size(), "cannot follow: no state has the number %d",
                          state_exists(one.from) ? one.to : one.from);
            return;
        case finding_kind::dropped:
            std::snprintf(out.data(), out.size(), "refused by the table: it stays in %s (%d)",
                          link_state_name(one.from), one.from);
            return;
    }
}

int command_verify(const ctl_options& options) {
    log_set logs;
    if (!logs_open(options, 0, logs)) {
        return EXIT_UNREADABLE;
    }
    verify_teller teller(options);
    if (options.json) {
        teller.json().array_begin();
    }
    logs.read(teller);
    if (options.json) {
        teller.json().array_end().line_end();
    }
    return output_end(options, teller.code());
}
