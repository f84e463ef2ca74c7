#include "lab/scenario/verb.h"

#include <array>
#include <csignal>

#include "lab/scenario/words.h"

namespace lab {
namespace {

constexpr int LAST_SIGNAL_NUMBER = 64;
constexpr int KILL = 9;
constexpr int MOST_TIMES = 1000;
constexpr int MOST_SECONDS = 1000000;

constexpr std::array VERBS = {
    VerbRow{VerbKind::deauth, "deauth", "deauth NODE [STATION]",
            "The station (the one in use) loses its AP and may look for one again."},
    VerbRow{VerbKind::ap_off, "ap-off", "ap-off NODE [AP]",
            "The backhaul AP (all of the node) falls silent, whatever the daemon wants."},
    VerbRow{VerbKind::ap_on, "ap-on", "ap-on NODE [AP]", "The AP is heard again."},
    VerbRow{VerbKind::fade, "fade", "fade NODE PEER SIGNAL [BAND]",
            "Both nodes now hear each other with this many dBm, or not at all: `none`."},
    VerbRow{VerbKind::move, "move", "move NODE PEER SIGNAL [PEER SIGNAL ...]",
            "The node now hears these nodes and no others."},
    VerbRow{VerbKind::cable_in, "cable-in", "cable-in NODE [PEER]",
            "A cable leads from the node up to the peer (the root); its agent says so."},
    VerbRow{VerbKind::cable_out, "cable-out", "cable-out NODE [PEER]",
            "The cable is pulled; the node's agent says so."},
    VerbRow{VerbKind::cable_between, "cable-between", "cable-between NODE PEER",
            "A cable joins two extenders: the agents of both tell their daemons."},
    VerbRow{VerbKind::radar, "radar", "radar NODE [TIMES|all]",
            "Radar strikes the channel of the upper 5 GHz radio, or every channel."},
    VerbRow{VerbKind::clear_radar, "clear-radar", "clear-radar NODE [CHANNEL]",
            "The channel (every one) leaves the node's non-occupancy list."},
    VerbRow{VerbKind::reboot, "reboot", "reboot NODE",
            "The node loses its power and boots; what was committed is kept."},
    VerbRow{VerbKind::power_off, "power-off", "power-off NODE", "The node goes away."},
    VerbRow{VerbKind::power_on, "power-on", "power-on NODE", "The node boots."},
    VerbRow{VerbKind::kill_worker, "kill-worker", "kill-worker NODE [SIGNAL]",
            "The daemon's worker gets a signal (9)."},
    VerbRow{VerbKind::kill_tool, "kill-tool", "kill-tool NODE TOOL [times N|for SECONDS]",
            "Of hyd, supplicant or agent: it ends, or fails N times or so long."},
    VerbRow{VerbKind::drop_messages, "drop-messages", "drop-messages NODE [for SECONDS]",
            "Messages between daemons neither leave nor reach the node."},
    VerbRow{VerbKind::approve, "approve", "approve NODE",
            "The node is on the root's approval list."},
    VerbRow{VerbKind::revoke, "revoke", "revoke NODE", "The node is no longer approved."},
    VerbRow{VerbKind::configure, "configure", "configure NODE [STATION]",
            "The station (every one) gets the mesh's SSID and key."},
    VerbRow{VerbKind::role, "role", "role NODE root|extender",
            "The node is told over its FIFO to change its role."},
    VerbRow{VerbKind::command, "command", "command NODE WORD",
            "A word for the daemon's FIFO, such as uplink_scan or network_reload."},
};

constexpr bool every_verb_is_at_its_place() {
    for (std::size_t at = 0; at < VERBS.size(); ++at) {
        if (static_cast<std::size_t>(VERBS[at].kind) != at) {
            return false;
        }
    }
    return VERBS.size() == static_cast<std::size_t>(VerbKind::command) + 1;
}
static_assert(every_verb_is_at_its_place());

using Words = std::span<const std::string>;

bool one_of(std::string_view word, std::string_view what, const std::vector<std::string>& known,
            std::string& error) {
    for (const std::string& candidate : known) {
        if (candidate == word) {
            return true;
        }
    }
    error = unknown_word(word, what, known);
    return false;
}

bool fade_parse(Words rest, Verb* verb, std::string& error) {
    if (rest.size() < 2 || rest.size() > 3) {
        return false;
    }
    verb->peer = rest[0];
    if (!signal_read(rest[1], &verb->number, error)) {
        return false;
    }
    if (rest.size() == 3) {
        verb->word = rest[2];
        return one_of(verb->word, "band", {"2", "5h", "5l"}, error);
    }
    return true;
}

bool move_parse(Words rest, Verb* verb, std::string& error) {
    if (rest.empty() || rest.size() % 2 != 0) {
        return false;
    }
    for (std::size_t at = 0; at < rest.size(); at += 2) {
        int signal = 0;
        if (!signal_read(rest[at + 1], &signal, error)) {
            return false;
        }
        verb->hears.emplace_back(rest[at], signal);
    }
    return true;
}

bool radar_parse(Words rest, Verb* verb, std::string& error) {
    verb->number = 1;
    if (rest.size() == 1 && rest[0] == "all") {
        verb->all = true;
        return true;
    }
    return rest.empty() || (rest.size() == 1 && number_read(rest[0], "number of times", 1,
                                                            MOST_TIMES, &verb->number, error));
}

// "for SECONDS", and with `times` also "times N".
bool limit_parse(Words rest, bool times, Verb* verb, std::string& error) {
    if (rest.empty()) {
        return true;
    }
    if (rest.size() != 2) {
        return false;
    }
    if (rest[0] == "for") {
        return number_read(rest[1], "number of seconds", 1, MOST_SECONDS, &verb->seconds, error);
    }
    return times && rest[0] == "times" &&
           number_read(rest[1], "number of times", 1, MOST_TIMES, &verb->times, error);
}

bool kill_tool_parse(Words rest, Verb* verb, std::string& error) {
    if (rest.empty()) {
        return false;
    }
    verb->word = rest[0];
    return one_of(verb->word, "tool that can be killed",
                  {std::string(TOOL_HYD), std::string(TOOL_SUPPLICANT), std::string(TOOL_AGENT)},
                  error) &&
           limit_parse(rest.subspan(1), true, verb, error) &&
           (verb->word != TOOL_HYD || rest.size() == 1);
}

// A stopped worker would let no second of the mesh pass.
bool signal_stops(int signal) {
    return signal == SIGSTOP || signal == SIGTSTP || signal == SIGTTIN || signal == SIGTTOU;
}

bool worker_parse(Words rest, Verb* verb, std::string& error) {
    verb->number = KILL;
    if (!rest.empty() &&
        (rest.size() != 1 ||
         !number_read(rest[0], "signal number", 1, LAST_SIGNAL_NUMBER, &verb->number, error))) {
        return false;
    }
    if (signal_stops(verb->number)) {
        error = "signal " + rest[0] + " stops a process instead of ending it";
        return false;
    }
    return true;
}

bool optional_word(Words rest, std::string* word) {
    if (rest.size() == 1) {
        *word = rest[0];
    }
    return rest.size() <= 1;
}

// What stands behind the node's name. False also leaves `error` empty: the usage tells enough.
bool rest_parse(Words rest, Verb* verb, std::string& error) {
    switch (verb->kind) {
        case VerbKind::deauth:
        case VerbKind::ap_off:
        case VerbKind::ap_on:
        case VerbKind::configure:
            return optional_word(rest, &verb->interface);
        case VerbKind::cable_in:
        case VerbKind::cable_out:
            return optional_word(rest, &verb->peer);
        case VerbKind::cable_between:
            return rest.size() == 1 && optional_word(rest, &verb->peer);
        case VerbKind::fade:
            return fade_parse(rest, verb, error);
        case VerbKind::move:
            return move_parse(rest, verb, error);
        case VerbKind::radar:
            return radar_parse(rest, verb, error);
        case VerbKind::clear_radar:
            return rest.empty() ||
                   (rest.size() == 1 &&
                    number_read(rest[0], "channel", 1, LAST_CHANNEL, &verb->number, error));
        case VerbKind::kill_worker:
            return worker_parse(rest, verb, error);
        case VerbKind::kill_tool:
            return kill_tool_parse(rest, verb, error);
        case VerbKind::drop_messages:
            return limit_parse(rest, false, verb, error);
        case VerbKind::role:
            return rest.size() == 1 && optional_word(rest, &verb->word) &&
                   one_of(verb->word, "role", {"root", "extender"}, error);
        case VerbKind::command:
            return rest.size() == 1 && optional_word(rest, &verb->word);
        case VerbKind::reboot:
        case VerbKind::power_off:
        case VerbKind::power_on:
        case VerbKind::approve:
        case VerbKind::revoke:
            return rest.empty();
    }
    return false;
}

void append_word(std::string* text, std::string_view word) {
    if (!word.empty()) {
        text->append(" ").append(word_quoted(word));
    }
}

void append_number(std::string* text, std::string_view before, int number) {
    text->append(" ").append(before).append(" ").append(std::to_string(number));
}

}  // namespace

std::span<const VerbRow> verb_table() {
    return VERBS;
}

const VerbRow& verb_row(VerbKind kind) {
    return VERBS[static_cast<std::size_t>(kind)];
}

bool signal_read(std::string_view word, int* signal, std::string& error) {
    if (word == NO_SIGNAL) {
        *signal = SIGNAL_NONE;
        return true;
    }
    if (number_read(word, "signal", SIGNAL_NONE, 0, signal, error)) {
        return true;
    }
    error += " dBm, or `none`";
    return false;
}

std::string signal_print(int signal) {
    return signal == SIGNAL_NONE ? std::string(NO_SIGNAL) : std::to_string(signal);
}

bool verb_parse(std::span<const std::string> words, Verb* verb, std::string& error) {
    std::vector<std::string> names;
    for (const VerbRow& row : VERBS) {
        names.emplace_back(row.name);
    }
    error.clear();
    if (words.empty()) {
        error = "a verb is missing";
        return false;
    }
    for (const VerbRow& row : VERBS) {
        if (row.name != words[0]) {
            continue;
        }
        *verb = {};
        verb->kind = row.kind;
        if (words.size() > 1) {
            verb->node = words[1];
            if (rest_parse(words.subspan(2), verb, error)) {
                return true;
            }
        }
        if (error.empty()) {
            error = "say `" + std::string(row.usage) + "`";
        }
        return false;
    }
    error = unknown_word(words[0], "verb", names);
    return false;
}

std::string verb_print(const Verb& verb) {
    std::string text(verb_row(verb.kind).name);
    append_word(&text, verb.node);
    append_word(&text, verb.peer);
    append_word(&text, verb.interface);
    for (const auto& [peer, signal] : verb.hears) {
        append_word(&text, peer);
        append_word(&text, signal_print(signal));
    }
    const bool number_is_usual = (verb.kind == VerbKind::kill_worker && verb.number == KILL) ||
                                 (verb.kind == VerbKind::radar && verb.number == 1) ||
                                 verb.number == 0;
    if (verb.kind == VerbKind::fade) {
        append_word(&text, signal_print(verb.number));
    } else if (!number_is_usual) {
        append_word(&text, std::to_string(verb.number));
    }
    append_word(&text, verb.word);
    if (verb.all) {
        append_word(&text, "all");
    }
    if (verb.times != 0) {
        append_number(&text, "times", verb.times);
    }
    if (verb.seconds != 0) {
        append_number(&text, "for", verb.seconds);
    }
    return text;
}

}  // namespace lab
