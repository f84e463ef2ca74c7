// What the live view looks like.
#include "lab/program/watch_view.h"

#include <algorithm>
#include <utility>

#include "lab/program/pacing.h"

namespace lab {
namespace {

constexpr char RESET[] = "\033[0m";
constexpr char LINE_REST_CLEAR[] = "\033[K\r\n";
constexpr char CUT_MARK[] = ">";
constexpr std::size_t FEWEST_LOG_LINES = 3;
constexpr std::size_t FEWEST_NODE_LINES = 3;

std::string pace_text(const PaceStatus& pace) {
    if (!pace.stalled.empty()) {
        return "stands still: " + pace.stalled;
    }
    if (pace.paused) {
        return "paused";
    }
    if (pace.speed != speed_text(SPEED_AUTO)) {
        return "speed " + pace.speed;
    }
    return pace.hurries ? "as fast as it can" : "real pace";
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

/// What the keys line needs: it is broken between keys where it is too long.
std::vector<std::string> keys_lines(std::size_t columns) {
    std::vector<std::string> lines = {""};
    const std::string all = watch_keys_line() + "  ";
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
    lines.push_back(coloured(line_clipped(node.name, node.name.size()), Colour::bold, in_colour));
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

std::string line_clipped(std::string_view line, std::size_t columns) {
    std::string text;
    std::string last;  // character, which gives way to the mark
    bool coloured_now = false;
    std::size_t width = 0;
    while (!line.empty()) {
        const std::size_t colour = colour_length(line);
        if (colour > 0) {
            text += std::exchange(last, "");
            text += line.substr(0, colour);
            coloured_now = line.substr(0, colour) != RESET;
            line.remove_prefix(colour);
            continue;
        }
        if (width == columns) {
            last = columns > 0 ? CUT_MARK : "";
            break;
        }
        const std::size_t length = character_length(line);
        text += last;
        last = length == 0 ? std::string_view("?") : line.substr(0, length);
        line.remove_prefix(std::max<std::size_t>(1, length));
        ++width;
    }
    return text + last + (coloured_now ? RESET : "");
}

std::string watch_draw(const WatchView& view, std::size_t rows, std::size_t columns,
                       bool in_colour) {
    const std::vector<std::string> keys = keys_lines(columns);
    const std::vector<std::string> selected = selected_lines(view, in_colour);
    const std::size_t fixed = 4 + keys.size() + selected.size() + FEWEST_LOG_LINES;
    const std::size_t room = rows > fixed + FEWEST_NODE_LINES ? rows - fixed : FEWEST_NODE_LINES;

    std::vector<std::string> lines = {
        coloured(status_headline(view.status), Colour::bold, in_colour) + "   " +
        pace_text(view.status.pace)};
    const std::string& trouble =
        view.status.last_violation.empty() ? view.status.last_failed : view.status.last_violation;
    lines.push_back(trouble.empty() ? "" : coloured(trouble, Colour::red, in_colour));
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
                               : coloured(view.message, Colour::yellow, in_colour));
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
