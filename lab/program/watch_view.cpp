#include "lab/program/watch_view.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "lab/program/pacing.h"
#include "lab/scenario/verb.h"
#include "lab/scenario/words.h"

namespace lab {
namespace {

constexpr char ESCAPE = '\033';
constexpr char RESET[] = "\033[0m";
constexpr char LINE_REST_CLEAR[] = "\033[K\r\n";
constexpr std::size_t FEWEST_LOG_LINES = 3;
constexpr std::size_t FEWEST_NODE_LINES = 3;

using Words = std::vector<std::string>;

struct KeyRow {
    char key;
    std::string_view help;
    Words (*request)(const WatchView& view, const NodeStatus& node);
};

template <const char* const& Verb>
Words verb_of(const WatchView& /*view*/, const NodeStatus& node) {
    return {"do", Verb, node.name};
}

constexpr const char* DEAUTH = "deauth";
constexpr const char* RADAR = "radar";
constexpr const char* CLEAR_RADAR = "clear-radar";
constexpr const char* KILL_WORKER = "kill-worker";
constexpr const char* REBOOT = "reboot";

Words ap_toggle(const WatchView& /*view*/, const NodeStatus& node) {
    return {"do", node.aps_silenced ? "ap-on" : "ap-off", node.name};
}

Words cable_toggle(const WatchView& /*view*/, const NodeStatus& node) {
    return {"do", node.has_cable ? "cable-out" : "cable-in", node.name};
}

Words power_toggle(const WatchView& /*view*/, const NodeStatus& node) {
    return {"do", node.power == NodePower::OFF ? "power-on" : "power-off", node.name};
}

Words speed_word(double speed) {
    std::array<char, 32> word{};
    std::snprintf(word.data(), word.size(), "%g", speed);
    return {"speed", word.data()};
}

Words faster(const WatchView& view, const NodeStatus& /*node*/) {
    return speed_word(speed_up(view.server.speed));
}

Words slower(const WatchView& view, const NodeStatus& /*node*/) {
    return speed_word(speed_down(view.server.speed));
}

Words pause_toggle(const WatchView& view, const NodeStatus& /*node*/) {
    return {"speed", view.server.paused ? "resume" : "pause"};
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

std::string pace_text(const ServerStatus& server) {
    if (!server.stalled.empty()) {
        return "stands still: " + server.stalled;
    }
    if (server.paused) {
        return "paused";
    }
    if (server.speed > SPEED_FASTEST) {
        std::array<char, 32> text{};
        std::snprintf(text.data(), text.size(), "speed %g", server.speed);
        return text.data();
    }
    return server.hurries ? "as fast as it can" : "real pace";
}

void lines_add(std::vector<std::string>* lines, const std::string& text) {
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        lines->push_back(text.substr(at, end - at));
        at = end + 1;
    }
}

/// The table of nodes: titles, then as many rows around the selected one as there is room for.
std::vector<std::string> node_lines(const WatchView& view, std::size_t room, bool in_colour) {
    std::vector<std::string> all;
    lines_add(&all, table_text(status_table(view.status), in_colour));
    std::vector<std::string> shown = {"  " + (all.empty() ? std::string() : all[0])};
    const std::size_t nodes = all.empty() ? 0 : all.size() - 1;
    const std::size_t count = std::min(nodes, room > 1 ? room - 1 : 1);
    const std::size_t middle = count / 2;
    const std::size_t first =
        std::min(view.selected > middle ? view.selected - middle : 0, nodes - count);
    for (std::size_t at = first; at < first + count; ++at) {
        shown.push_back((at == view.selected ? "> " : "  ") + all[at + 1]);
    }
    return shown;
}

constexpr int KEY_ENTER = '\r';
constexpr int KEY_NEW_LINE = '\n';
constexpr int KEY_BACKSPACE = 0x7F;
constexpr int KEY_OLD_BACKSPACE = '\b';
constexpr int KEY_ERASE_LINE = 0x15;
constexpr std::size_t LONGEST_TYPED = 200;

/// The request of what was typed. Steps that wait would hold the view until they are over.
Words typed_request(WatchView* view) {
    Words words;
    Verb verb;
    std::string error;
    if (!line_words(view->typed, &words, &error) || words.empty() ||
        !verb_parse(words, &verb, &error)) {
        view->message = error.empty() ? "no verb" : error;
        return {};
    }
    words.insert(words.begin(), "do");
    return words;
}

/// A key while a verb is typed: enter does it, an empty line goes back to the single keys.
Words typing_key(WatchView* view, int key) {
    if (key == KEY_ENTER || key == KEY_NEW_LINE) {
        view->types = false;
        return view->typed.empty() ? Words{} : typed_request(view);
    }
    if (key == KEY_BACKSPACE || key == KEY_OLD_BACKSPACE) {
        view->types = !view->typed.empty();
        view->typed.resize(view->typed.empty() ? 0 : view->typed.size() - 1);
    } else if (key == KEY_ERASE_LINE) {
        view->types = false;
    } else if (key >= ' ' && key < KEY_BACKSPACE && view->typed.size() < LONGEST_TYPED) {
        view->typed.push_back(static_cast<char>(key));
    }
    return {};
}

std::string keys_line() {
    std::string line = "1-9 or arrows: node";
    for (const KeyRow& row : KEYS) {
        line += std::string("  ") + row.key + ": " + std::string(row.help);
    }
    return line + "  :: any verb  q: quit";
}

/// What the keys line needs: it is broken between keys where it is too long.
std::vector<std::string> keys_lines(std::size_t columns) {
    std::vector<std::string> lines = {""};
    const std::string all = keys_line() + "  ";
    for (std::size_t at = 0; at < all.size();) {
        const std::size_t end = std::min(all.find("  ", at), all.size());
        const std::string key = all.substr(at, end - at);
        std::string& line = lines.back();
        if (!line.empty() && line.size() + 2 + key.size() > columns) {
            lines.push_back(key);
        } else {
            line += (line.empty() ? "" : "  ") + key;
        }
        at = end + 2;
    }
    return lines;
}

std::vector<std::string> selected_lines(const WatchView& view, bool in_colour) {
    std::vector<std::string> lines;
    if (view.selected >= view.status.nodes.size()) {
        return lines;
    }
    const NodeStatus& node = view.status.nodes[view.selected];
    lines.push_back(coloured(line_clipped(node.name, node.name.size()), Colour::BOLD, in_colour));
    if (!node.links.empty()) {
        lines_add(&lines, table_text(node_table(node), in_colour));
    }
    return lines;
}

/// Length of the character at the beginning of `text`, 0 when it is none that may be shown.
std::size_t character_length(std::string_view text) {
    const auto byte = [text](std::size_t at) {
        return at < text.size() ? static_cast<unsigned char>(text[at]) : 0U;
    };
    const unsigned lead = byte(0);
    if (lead < 0x80U) {
        return lead >= 0x20U && lead != 0x7FU ? 1 : 0;
    }
    const std::size_t length = lead >= 0xF0U && lead < 0xF5U   ? 4
                               : lead >= 0xE0U && lead < 0xF0U ? 3
                               : lead >= 0xC2U && lead < 0xE0U ? 2
                                                               : 0;
    for (std::size_t at = 1; at < length; ++at) {
        if ((byte(at) & 0xC0U) != 0x80U) {
            return 0;
        }
    }
    // U+0080 to U+009F are control characters as well.
    const bool is_control = lead == 0xC2U && byte(1) < 0xA0U;
    return is_control ? 0 : length;
}

/// Length of the sequence that sets a colour at the beginning of `text`, 0 when there is none.
std::size_t colour_length(std::string_view text) {
    if (!text.starts_with("\033[")) {
        return 0;
    }
    const std::size_t end = text.find_first_not_of("0123456789;", 2);
    return end != std::string_view::npos && text[end] == 'm' ? end + 1 : 0;
}

}  // namespace

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

std::vector<std::string> watch_key(WatchView* view, int key) {
    if (view->types) {
        return typing_key(view, key);
    }
    const std::size_t count = view->status.nodes.size();
    const std::size_t selected = view->selected;
    if (key == 'q') {
        view->quits = true;
    } else if (key == ':') {
        view->types = true;
        view->typed.clear();
    } else if (key == KEY_UP) {
        view->selected = selected > 0 ? selected - 1 : 0;
    } else if (key == KEY_DOWN) {
        view->selected = selected + 1 < count ? selected + 1 : selected;
    } else if (key >= '1' && key <= '9' && static_cast<std::size_t>(key - '1') < count) {
        view->selected = static_cast<std::size_t>(key - '1');
    } else if (selected < count) {
        for (const KeyRow& row : KEYS) {
            if (row.key == key) {
                return row.request(*view, view->status.nodes[selected]);
            }
        }
    }
    return {};
}

std::string line_clipped(std::string_view line, std::size_t columns) {
    std::string text;
    bool coloured_now = false;
    std::size_t width = 0;
    while (!line.empty()) {
        const std::size_t colour = colour_length(line);
        if (colour > 0) {
            text += line.substr(0, colour);
            coloured_now = line.substr(0, colour) != RESET;
            line.remove_prefix(colour);
            continue;
        }
        if (width == columns) {
            break;
        }
        const std::size_t length = character_length(line);
        text += length == 0 ? std::string_view("?") : line.substr(0, length);
        line.remove_prefix(std::max<std::size_t>(1, length));
        ++width;
    }
    return coloured_now ? text + RESET : text;
}

std::string watch_draw(const WatchView& view, std::size_t rows, std::size_t columns,
                       bool in_colour) {
    const std::vector<std::string> keys = keys_lines(columns);
    const std::vector<std::string> selected = selected_lines(view, in_colour);
    const std::size_t fixed = 4 + keys.size() + selected.size() + FEWEST_LOG_LINES;
    const std::size_t room = rows > fixed + FEWEST_NODE_LINES ? rows - fixed : FEWEST_NODE_LINES;

    std::vector<std::string> lines = {
        coloured(status_headline(view.status), Colour::BOLD, in_colour) + "   " +
        pace_text(view.server)};
    const std::string& trouble =
        view.status.last_violation.empty() ? view.status.last_failed : view.status.last_violation;
    lines.push_back(trouble.empty() ? "" : coloured(trouble, Colour::RED, in_colour));
    for (const std::string& line : node_lines(view, room, in_colour)) {
        lines.push_back(line);
    }
    lines.emplace_back();
    lines.insert(lines.end(), selected.begin(), selected.end());

    const std::size_t bottom = 1 + keys.size();
    const std::size_t upper = rows > bottom ? rows - bottom : 0;
    if (lines.size() < upper) {
        const std::size_t count = std::min(upper - lines.size(), view.log.size());
        lines.insert(lines.end(), view.log.end() - static_cast<std::ptrdiff_t>(count),
                     view.log.end());
    }
    lines.resize(upper);
    lines.push_back(view.types ? ":" + view.typed + "_"
                               : coloured(view.message, Colour::YELLOW, in_colour));
    lines.insert(lines.end(), keys.begin(), keys.end());
    lines.resize(std::min(lines.size(), rows));

    std::string screen = "\033[H";
    for (const std::string& line : lines) {
        screen += line_clipped(line, columns) + LINE_REST_CLEAR;
    }
    // A line end behind the last line would move everything up.
    screen.resize(screen.size() - (lines.empty() ? 0 : 2));
    return screen + "\033[J";
}

}  // namespace lab
