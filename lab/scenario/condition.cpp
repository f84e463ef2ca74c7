#include "lab/scenario/condition.h"

#include <algorithm>
#include <array>
#include <vector>

#include "lab/scenario/words.h"
#include "link/link_state.h"

namespace lab {
namespace {

constexpr std::array CONDITIONS = {
    ConditionRow{ConditionKind::status, "status", "NODE status ready|connected|not-ready",
                 "What the status file says."},
    ConditionRow{ConditionKind::state, "state", "NODE state [INTERFACE] STATE",
                 "Link state by number or name, of one interface or of any uplink."},
    ConditionRow{ConditionKind::uplink, "uplink", "NODE uplink INTERFACE|none",
                 "The interface that carries the traffic."},
    ConditionRow{ConditionKind::parent, "parent", "NODE parent NODE|none", "The node above."},
    ConditionRow{ConditionKind::hops, "hops", "NODE hops N", "The distance to the root."},
    ConditionRow{ConditionKind::parked, "parked", "NODE parked STATION",
                 "The station is in CONNECT_PENDING."},
    ConditionRow{ConditionKind::service_aps, "service-aps", "NODE service-aps up|down",
                 "Whether clients get service from it."},
    ConditionRow{ConditionKind::led, "led", "NODE led PATTERN", "The last pattern shown."},
    ConditionRow{ConditionKind::role, "role", "NODE role root|extender",
                 "The role of the running worker."},
    ConditionRow{ConditionKind::file, "file", "NODE file PATH TEXT",
                 "The file on the node holds the text."},
    ConditionRow{ConditionKind::no_file, "no-file", "NODE no-file PATH TEXT",
                 "The file does not hold the text, or is not there."},
    ConditionRow{ConditionKind::log, "log", "NODE log TEXT",
                 "Since the last verb the flow log got a line with the text."},
    ConditionRow{ConditionKind::no_log, "no-log", "NODE no-log TEXT", "It got no such line."},
    ConditionRow{ConditionKind::ran, "ran", "NODE ran TEXT",
                 "Since the last verb the daemon ran a line with the text."},
    ConditionRow{ConditionKind::not_ran, "not-ran", "NODE not-ran TEXT", "It ran no such line."},
    ConditionRow{ConditionKind::outage, "outage", "NODE outage below SECONDS",
                 "Every outage so far was shorter."},
    ConditionRow{ConditionKind::outages, "outages", "NODE outages at-most N",
                 "The node was without backhaul no more often."},
    ConditionRow{ConditionKind::rule, "rule", "rule NAME clean|known",
                 "The rule was never broken, or only in ways that are known."},
};

constexpr bool every_condition_is_at_its_place() {
    for (std::size_t at = 0; at < CONDITIONS.size(); ++at) {
        if (static_cast<std::size_t>(CONDITIONS[at].kind) != at) {
            return false;
        }
    }
    return CONDITIONS.size() == static_cast<std::size_t>(ConditionKind::rule) + 1;
}
static_assert(every_condition_is_at_its_place());

using Words = std::span<const std::string>;
constexpr std::array STATUS_WORDS = {"ready", "connected", "not-ready"};
constexpr int MOST_HOPS = 255;
constexpr int MOST_COUNT = 1000000;

bool text_among(Words rest, const std::vector<std::string>& known, std::string_view what,
                Condition* condition, std::string& error) {
    if (rest.size() != 1) {
        return false;
    }
    for (const std::string& candidate : known) {
        if (candidate == rest[0]) {
            condition->text = candidate;
            return true;
        }
    }
    error = unknown_word(rest[0], what, known);
    return false;
}

bool state_number(const std::string& word, std::int64_t* number, std::string& error) {
    if (word_number(word, std::int64_t{0}, std::int64_t{LINK_STATE_COUNT} - 1, number)) {
        return true;
    }
    std::vector<std::string> names;
    for (std::int32_t state = 0; state < LINK_STATE_COUNT; ++state) {
        if (word == link_state_name(state) && word != "-") {
            *number = state;
            return true;
        }
        names.emplace_back(link_state_name(state));
    }
    error = unknown_word(word, "link state", names);
    return false;
}

bool state_parse(Words rest, Condition* condition, std::string& error) {
    if (rest.empty() || rest.size() > 2) {
        return false;
    }
    if (rest.size() == 2) {
        condition->interface = rest[0];
    }
    return state_number(rest.back(), &condition->number, error);
}

bool file_parse(Words rest, Condition* condition, std::string& error) {
    if (rest.size() != 2) {
        return false;
    }
    condition->interface = rest[0];
    condition->text = rest[1];
    if (!rest[0].starts_with('/')) {
        error = "`" + rest[0] + "` is no path: it must begin with /";
        return false;
    }
    return true;
}

bool count_parse(Words rest, std::string_view before, int most, Condition* condition,
                 std::string& error) {
    int number = 0;
    if (!before.empty()) {
        if (rest.empty() || rest[0] != before) {
            return false;
        }
        rest = rest.subspan(1);
    }
    const bool good = rest.size() == 1 && number_read(rest[0], "number", 0, most, &number, error);
    condition->number = number;
    return good;
}

bool one_word(Words rest, std::string* word) {
    if (rest.size() == 1) {
        *word = rest[0];
    }
    return rest.size() == 1 && !rest[0].empty();
}

bool rest_parse(Words rest, Condition* condition, std::string& error) {
    switch (condition->kind) {
        case ConditionKind::status:
            return text_among(rest, {STATUS_WORDS.begin(), STATUS_WORDS.end()}, "status", condition,
                              error);
        case ConditionKind::state:
            return state_parse(rest, condition, error);
        case ConditionKind::uplink:
        case ConditionKind::parked:
            return one_word(rest, &condition->interface);
        case ConditionKind::hops:
            return count_parse(rest, "", MOST_HOPS, condition, error);
        case ConditionKind::service_aps:
            return text_among(rest, {"up", "down"}, "answer", condition, error);
        case ConditionKind::role:
            return text_among(rest, {"root", "extender"}, "role", condition, error);
        case ConditionKind::file:
        case ConditionKind::no_file:
            return file_parse(rest, condition, error);
        case ConditionKind::parent:
        case ConditionKind::led:
        case ConditionKind::log:
        case ConditionKind::no_log:
        case ConditionKind::ran:
        case ConditionKind::not_ran:
            return one_word(rest, &condition->text);
        case ConditionKind::outage:
            return count_parse(rest, "below", MOST_COUNT, condition, error);
        case ConditionKind::outages:
            return count_parse(rest, "at-most", MOST_COUNT, condition, error);
        case ConditionKind::rule:
            return text_among(rest, {"clean", "known"}, "answer", condition, error);
    }
    return false;
}

bool is_state_name(const std::string& word) {
    for (std::int32_t state = 0; state < LINK_STATE_COUNT; ++state) {
        if (word == link_state_name(state) && word != "-") {
            return true;
        }
    }
    return false;
}

// The word that was left out in "e1 ready" and in "e1 BACKHAUL_READY"; empty: none.
std::string left_out(Words words) {
    if (words.size() != 2) {
        return "";
    }
    const bool is_status =
        std::find(STATUS_WORDS.begin(), STATUS_WORDS.end(), words[1]) != STATUS_WORDS.end();
    return is_status ? "status" : is_state_name(words[1]) ? "state" : "";
}

const ConditionRow* row_find(std::string_view name) {
    for (const ConditionRow& row : CONDITIONS) {
        if (row.name == name) {
            return &row;
        }
    }
    return nullptr;
}

std::vector<std::string> condition_names() {
    std::vector<std::string> names;
    for (const ConditionRow& row : CONDITIONS) {
        names.emplace_back(row.name);
    }
    return names;
}

// Takes "since MARK" off the end of at least so many words.
void since_take(std::size_t least, Words* words, std::string* since) {
    if (words->size() >= least + 2 && (*words)[words->size() - 2] == "since") {
        *since = words->back();
        *words = words->first(words->size() - 2);
    }
}

bool since_check(const Condition& condition, std::string& error) {
    if (condition.since.empty() || condition_looks_back(condition.kind)) {
        return true;
    }
    error = "`" + std::string(CONDITIONS[static_cast<std::size_t>(condition.kind)].name) +
            "` asks for what is now: `since` stands behind log, no-log, ran, not-ran, outage, "
            "outages and rule";
    return false;
}

void append_word(std::string* text, std::string_view word) {
    text->append(text->empty() ? "" : " ").append(word_quoted(word));
}

bool has_number(ConditionKind kind) {
    return kind == ConditionKind::state || kind == ConditionKind::hops ||
           kind == ConditionKind::outage || kind == ConditionKind::outages;
}

}  // namespace

std::span<const ConditionRow> condition_table() {
    return CONDITIONS;
}

bool condition_parse(std::span<const std::string> words, Condition* condition, std::string& error) {
    error.clear();
    if (words.size() < 2) {
        error = "say a node and what is expected of it, such as `e1 status ready`";
        return false;
    }
    constexpr std::size_t SHORTEST_LOOKING_BACK = 3;  // e1 log TEXT
    std::string since;
    since_take(SHORTEST_LOOKING_BACK, &words, &since);
    std::vector<std::string> whole(words.begin(), words.end());
    if (const std::string missing = left_out(words); !missing.empty()) {
        whole.insert(whole.begin() + 1, missing);
        words = whole;
    }
    const bool is_rule = words[0] == "rule";
    const ConditionRow* const row = row_find(is_rule ? words[0] : words[1]);
    if (row == nullptr || (!is_rule && row->kind == ConditionKind::rule)) {
        std::vector<std::string> names = condition_names();
        names.insert(names.end(), STATUS_WORDS.begin(), STATUS_WORDS.end());
        error = unknown_word(words[1], "condition", names);
        return false;
    }
    *condition = {};
    condition->kind = row->kind;
    condition->node = words[is_rule ? 1 : 0];
    condition->since = since;
    if (rest_parse(words.subspan(2), condition, error)) {
        return since_check(*condition, error);
    }
    if (error.empty()) {
        error = "say `" + std::string(row->usage) + "`";
    }
    return false;
}

bool condition_looks_back(ConditionKind kind) {
    return kind >= ConditionKind::log && kind <= ConditionKind::rule;
}

bool condition_has_value(ConditionKind kind) {
    constexpr std::array WITH_VALUE = {
        ConditionKind::status, ConditionKind::uplink,  ConditionKind::parent,
        ConditionKind::hops,   ConditionKind::led,     ConditionKind::role,
        ConditionKind::outage, ConditionKind::outages, ConditionKind::service_aps};
    return std::ranges::find(WITH_VALUE, kind) != WITH_VALUE.end();
}

bool condition_value_parse(Words words, Condition* condition, std::string& error) {
    std::string since;
    since_take(2, &words, &since);
    error.clear();
    if (words.size() != 2) {
        return false;
    }
    const ConditionRow* const row = row_find(words[1]);
    if (row == nullptr || !condition_has_value(row->kind)) {
        std::vector<std::string> names = condition_names();
        std::erase_if(names, [](const std::string& name) {
            return !condition_has_value(row_find(name)->kind);
        });
        error = "`" + words[1] + "` cannot be remembered" + did_you_mean(words[1], names);
        return false;
    }
    *condition = {};
    condition->kind = row->kind;
    condition->node = words[0];
    condition->since = since;
    return since_check(*condition, error);
}

std::string condition_value_print(const Condition& condition) {
    std::string text = condition.node + " ";
    text += CONDITIONS[static_cast<std::size_t>(condition.kind)].name;
    return condition.since.empty() ? text : text + " since " + condition.since;
}

std::string condition_print(const Condition& condition) {
    const ConditionRow& row = CONDITIONS[static_cast<std::size_t>(condition.kind)];
    std::string text;
    if (condition.kind == ConditionKind::rule) {
        append_word(&text, row.name);
        append_word(&text, condition.node);
    } else {
        append_word(&text, condition.node);
        append_word(&text, row.name);
    }
    if (!condition.interface.empty()) {
        append_word(&text, condition.interface);
    }
    if (condition.kind == ConditionKind::outage) {
        append_word(&text, "below");
    } else if (condition.kind == ConditionKind::outages) {
        append_word(&text, "at-most");
    }
    if (condition.kind == ConditionKind::state) {
        const char* const name = link_state_name(static_cast<std::int32_t>(condition.number));
        append_word(&text, name[0] == '-' ? std::to_string(condition.number) : name);
    } else if (has_number(condition.kind)) {
        append_word(&text, std::to_string(condition.number));
    }
    if (!condition.text.empty() || condition.kind == ConditionKind::file ||
        condition.kind == ConditionKind::no_file) {
        append_word(&text, condition.text);
    }
    if (!condition.since.empty()) {
        append_word(&text, "since");
        append_word(&text, condition.since);
    }
    return text;
}

}  // namespace lab
