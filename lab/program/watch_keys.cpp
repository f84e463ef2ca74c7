// What the keys of the live view mean.
#include <array>

#include "lab/program/pacing.h"
#include "lab/program/watch_view.h"
#include "lab/scenario/verb.h"
#include "lab/scenario/words.h"

namespace lab {
namespace {

constexpr char ESCAPE = '\033';

using Words = std::vector<std::string>;

struct KeyRow {
    char key;
    std::string_view help;
    WatchRequest (*request)(const WatchView& view, const NodeStatus& node);
};

WatchRequest step(const Words& words) {
    WatchRequest request = {ApiAction::step, {{"words", words}}, ""};
    for (const std::string& word : words) {
        request.text += (request.text.empty() ? "" : " ") + word;
    }
    return request;
}

template <const char* const& Verb>
WatchRequest verb_of(const WatchView& /*view*/, const NodeStatus& node) {
    return step({Verb, node.name});
}

constexpr const char* DEAUTH = "deauth";
constexpr const char* RADAR = "radar";
constexpr const char* CLEAR_RADAR = "clear-radar";
constexpr const char* KILL_WORKER = "kill-worker";
constexpr const char* REBOOT = "reboot";

WatchRequest ap_toggle(const WatchView& /*view*/, const NodeStatus& node) {
    return step({node.aps_silenced ? "ap-on" : "ap-off", node.name});
}

WatchRequest cable_toggle(const WatchView& /*view*/, const NodeStatus& node) {
    return step({node.has_cable ? "cable-out" : "cable-in", node.name});
}

WatchRequest power_toggle(const WatchView& /*view*/, const NodeStatus& node) {
    return step({node.power == NodePower::off ? "power-on" : "power-off", node.name});
}

WatchRequest speed_step(const WatchView& view, double (*changed)(double)) {
    double speed = SPEED_AUTO;
    std::string ignored;
    speed_parse(view.status.pace.speed, speed, ignored);
    const std::string word = speed_text(changed(speed));
    return {ApiAction::speed, {{"speed", word}}, "speed " + word};
}

WatchRequest faster(const WatchView& view, const NodeStatus& /*node*/) {
    return speed_step(view, speed_up);
}

WatchRequest slower(const WatchView& view, const NodeStatus& /*node*/) {
    return speed_step(view, speed_down);
}

WatchRequest pause_toggle(const WatchView& view, const NodeStatus& /*node*/) {
    const bool paused = view.status.pace.paused;
    return {ApiAction::speed, {{"paused", !paused}}, paused ? "resume" : "pause"};
}

constexpr std::array KEYS = {
    KeyRow{'d', "deauth", verb_of<DEAUTH>},
    KeyRow{'o', "ap off/on", ap_toggle},
    KeyRow{'c', "cable in/out", cable_toggle},
    KeyRow{'r', "radar", verb_of<RADAR>},
    KeyRow{'R', "clear radar", verb_of<CLEAR_RADAR>},
    KeyRow{'k', "kill worker", verb_of<KILL_WORKER>},
    KeyRow{'b', "reboot", verb_of<REBOOT>},
    KeyRow{'x', "power", power_toggle},
    KeyRow{'+', "faster", faster},
    KeyRow{'-', "slower", slower},
    KeyRow{'p', "pause", pause_toggle},
};

constexpr bool keys_differ() {
    for (std::size_t one = 0; one < KEYS.size(); ++one) {
        for (std::size_t other = one + 1; other < KEYS.size(); ++other) {
            if (KEYS[one].key == KEYS[other].key) {
                return false;
            }
        }
    }
    return true;
}
static_assert(keys_differ());
constexpr int KEY_ENTER = '\r';
constexpr int KEY_NEW_LINE = '\n';
constexpr int KEY_BACKSPACE = 0x7F;
constexpr int KEY_OLD_BACKSPACE = '\b';
constexpr int KEY_ERASE_LINE = 0x15;
constexpr std::size_t LONGEST_TYPED = 200;

/// The request of what was typed. Steps that wait would hold the view until they are over.
WatchRequest typed_request(WatchView& view) {
    Words words;
    Verb verb;
    std::string error;
    if (!line_words(view.typed, &words, error) || words.empty() ||
        !verb_parse(words, &verb, error)) {
        view.message = error.empty() ? "no verb" : error;
        return {};
    }
    return step(words);
}

/// A key while a verb is typed: enter does it, an empty line goes back to the single keys.
WatchRequest typing_key(WatchView& view, int key) {
    if (key == KEY_ENTER || key == KEY_NEW_LINE) {
        view.types = false;
        return view.typed.empty() ? WatchRequest{} : typed_request(view);
    }
    if (key == KEY_BACKSPACE || key == KEY_OLD_BACKSPACE) {
        view.types = !view.typed.empty();
        view.typed.resize(view.typed.empty() ? 0 : view.typed.size() - 1);
    } else if (key == KEY_ERASE_LINE) {
        view.types = false;
    } else if (key >= ' ' && key < KEY_BACKSPACE && view.typed.size() < LONGEST_TYPED) {
        view.typed.push_back(static_cast<char>(key));
    }
    return {};
}

}  // namespace

std::string watch_keys_line() {
    std::string line = "1-9 or arrows: node";
    for (const KeyRow& row : KEYS) {
        line += std::string("  ") + row.key + ": " + std::string(row.help);
    }
    return line + "  :: any verb  q: quit";
}

std::vector<int> watch_keys(std::string_view bytes) {
    std::vector<int> keys;
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        if (bytes[at] != ESCAPE) {
            keys.push_back(static_cast<unsigned char>(bytes[at]));
            continue;
        }
        const bool is_sequence =
            at + 1 < bytes.size() && (bytes[at + 1] == '[' || bytes[at + 1] == 'O');
        if (!is_sequence) {
            continue;
        }
        at += 2;
        while (at < bytes.size() && (bytes[at] == ';' || (bytes[at] >= '0' && bytes[at] <= '9'))) {
            ++at;
        }
        if (at < bytes.size() && (bytes[at] == 'A' || bytes[at] == 'B')) {
            keys.push_back(bytes[at] == 'A' ? KEY_UP : KEY_DOWN);
        }
    }
    return keys;
}

WatchRequest watch_key(WatchView& view, int key) {
    if (view.types) {
        return typing_key(view, key);
    }
    const std::size_t count = view.status.nodes.size();
    const std::size_t selected = view.selected;
    if (key == 'q') {
        view.quits = true;
    } else if (key == ':') {
        view.types = true;
        view.typed.clear();
    } else if (key == KEY_UP) {
        view.selected = selected > 0 ? selected - 1 : 0;
    } else if (key == KEY_DOWN) {
        view.selected = selected + 1 < count ? selected + 1 : selected;
    } else if (key >= '1' && key <= '9' && static_cast<std::size_t>(key - '1') < count) {
        view.selected = static_cast<std::size_t>(key - '1');
    } else if (selected < count) {
        for (const KeyRow& row : KEYS) {
            if (row.key == key) {
                return row.request(view, view.status.nodes[selected]);
            }
        }
    }
    return {};
}

}  // namespace lab
