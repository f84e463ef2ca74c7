// Prints what the daemon's own reactions do, as a C table for reactions_check.pml: for every state
// of a station and every event, with every state of the other station, the backup, the count of
// links and the losses, what was before and what is after. The reactions are those of link/ and
// device/; their lines are read but not run.

#include <array>
#include <cstdio>
#include <string>
#include <vector>

#include "intf/intf_timer.h"
#include "link/backup_link.h"
#include "link/slave_event.h"
#include "msg/msg_send.h"
#include "runtime/runtime_block.h"
#include "tests/fuzz/bed/place.h"
#include "tests/fuzz/bed/shell.h"
#include "tests/model/station_states.h"
#include "topology/topology_check.h"

namespace {

constexpr int LOSS_LIMIT = 2;
constexpr int NOBODY = 15;
constexpr size_t ETH = 2;
/// Not an event of the dispatcher: another scan was asked for.
constexpr int SCAN_AGAIN = 7;

/// Events as the models number them.
constexpr std::array EVENTS = {START,         ASSOC, AP_DISASSOC, TIMEOUT, AUTO_CONFIG_SUCCESS,
                               CONFIG_BEST_AP};
constexpr std::array WIRED_STATES = {ETH_BACKHAUL_DOWN, ETH_BACKHAUL_CONNECTED, ETH_BACKHAUL_READY};

struct node_view {
    std::array<int, 3> state{INIT, INIT, ETH_BACKHAUL_DOWN};
    std::array<int, 3> armed{};
    std::array<int, 2> losses{};
    std::array<int, 2> on{};
    std::array<int, 2> joined{};
    int links = 0;
    int backup = NOBODY;
};

struct step {
    size_t who = 0;
    int what = 0;
    bool in_loop = false;
    bool unconfigured = false;
    bool eth_active = false;
};

// --- The world of a reaction

std::array<intf_record, 3> table;
node_view now;  // `on` and `joined` are kept by the lines
step current;

bool names(const std::string& line, const std::string& part, size_t station) {
    return line.find(part) != std::string::npos &&
           line.find(table.at(station).name.data()) != std::string::npos;
}

std::string answer_to(const std::string& line) {
    for (size_t station = 0; station < now.on.size(); ++station) {
        int& on = now.on.at(station);
        int& joined = now.joined.at(station);
        if (names(line, "interface_add", station)) {
            const bool was_on = on != 0;
            on = 1;
            return was_on ? "FAIL\n" : "OK\n";
        }
        if (names(line, "interface_remove", station)) {
            on = 0;
            joined = 0;
        } else if (names(line, " disconnect", station) || names(line, "disable_network", station)) {
            joined = 0;
        } else if (names(line, "Not-Associated", station)) {
            return joined != 0 ? "" : "Access Point: Not-Associated\n";
        }
    }
    return line.starts_with("uci get") && !current.unconfigured ? "word\n" : "";
}

void record_name(intf_record& record, const std::string& name) {
    std::copy(name.begin(), name.end(), record.name.begin());
}

void world_set() {
    for (size_t at = 0; at < table.size(); ++at) {
        intf_record& record = table.at(at);
        intf_timer_set(&record, now.armed.at(at) != 0 ? TIMER_ON : TIMER_OFF);
        record.state = static_cast<link_state>(now.state.at(at));
    }
    for (size_t at = 0; at < now.losses.size(); ++at) {
        table.at(at).disconnect_count = static_cast<int8_t>(now.losses.at(at));
        table.at(at).bssid.set({2, 0, 0, 0, 1, 1});
    }
    runtime.backhaul_sta_num = now.links;
    runtime.backup_backhaul_sta =
        now.backup == NOBODY ? nullptr : &table.at(static_cast<size_t>(now.backup));
    runtime.eth_backhaul_active = current.eth_active;
    runtime.sta_unconfigured = false;
}

void world_read() {
    for (size_t at = 0; at < table.size(); ++at) {
        now.state.at(at) = table.at(at).state;
        now.armed.at(at) = table.at(at).timer_type == TIMER_ON ? 1 : 0;
    }
    for (size_t at = 0; at < now.losses.size(); ++at) {
        const int losses = table.at(at).disconnect_count;
        now.losses.at(at) = losses < LOSS_LIMIT ? losses : LOSS_LIMIT;
    }
    now.links = runtime.backhaul_sta_num;
    const intf_record* const backup = runtime.backup_backhaul_sta;
    now.backup = backup == nullptr ? NOBODY : static_cast<int>(backup - table.data());
}

// --- Rows

template <typename Numbers>
void numbers_print(const Numbers& numbers) {
    std::printf("{");
    for (const int number : numbers) {
        std::printf("%d,", number);
    }
    std::printf("},");
}

void view_print(const node_view& view) {
    std::printf("{");
    numbers_print(view.state);
    numbers_print(view.armed);
    numbers_print(view.losses);
    numbers_print(view.on);
    numbers_print(view.joined);
    std::printf("%d,%d},", view.links, view.backup);
}

void row_print(const node_view& before, const step& step) {
    now = before;
    current = step;
    fuzz::shell_reset();
    fuzz::shell().answer = answer_to;
    world_set();
    if (step.what == SCAN_AGAIN) {
        backhaul_slave_backhaul_restore();
    } else {
        wifi_slave_event_process(&table.at(step.who), EVENTS.at(static_cast<size_t>(step.what)));
    }
    world_read();
    std::printf("{%zu,%d,%d,%d,%d,", step.who, step.what, step.in_loop, step.unconfigured,
                step.eth_active);
    view_print(before);
    view_print(now);
    std::printf("},\n");
}

bool is_on(int state) {
    return state != INIT && state != CONNECT_PENDING && state != ETH_BACKHAUL_STANDBY;
}

/// What else may differ for this step, in turn.
void worlds_print(const node_view& view, step step) {
    const int own_state = view.state.at(step.who);
    const slave_event event = EVENTS.at(static_cast<size_t>(step.what));
    row_print(view, step);
    if (event == START && own_state == INIT) {
        step.unconfigured = true;
        row_print(view, step);
        step.eth_active = true;
        row_print(view, step);
    } else if (own_state == CONNECTING_BACKHAUL_AP && event == ASSOC) {
        step.in_loop = true;
        row_print(view, step);
    } else if (own_state == CONNECT_WITH_BACKHAUL_AP && event == TIMEOUT) {
        node_view gone = view;
        gone.joined.at(step.who) = 0;
        row_print(gone, step);
    }
}

void counts_print(node_view view, const step& step) {
    for (const int armed : {1, 0}) {
        view.armed = {armed, armed, armed};
        for (const int losses : {0, 1, LOSS_LIMIT}) {
            view.losses = {losses, losses};
            for (const int backup : {NOBODY, 0, 1}) {
                for (const int links : {0, 1, 2}) {
                    view.backup = backup;
                    view.links = links;
                    worlds_print(view, step);
                }
            }
        }
    }
}

void stations_print() {
    for (const link_state first : STATION_STATES) {
        for (const link_state second : STATION_STATES) {
            node_view view;
            view.state = {first, second, ETH_BACKHAUL_DOWN};
            view.on = {is_on(first) ? 1 : 0, is_on(second) ? 1 : 0};
            view.joined = view.on;
            for (int what = 0; what < static_cast<int>(EVENTS.size()); ++what) {
                counts_print(view, {.who = 0, .what = what});
                counts_print(view, {.who = 1, .what = what});
            }
            view.losses = {1, LOSS_LIMIT};
            row_print(view, {.what = SCAN_AGAIN});
        }
    }
}

void cable_print() {
    for (const link_state wired : WIRED_STATES) {
        for (int what = 0; what < static_cast<int>(EVENTS.size()); ++what) {
            node_view view;
            view.state.at(ETH) = wired;
            view.armed = {1, 1, 1};
            row_print(view, {.who = ETH, .what = what});
        }
    }
}

}  // namespace

// What a reaction asks of the topology, and tells the mesh: the linker takes these, and the
// daemon's own stay in their libraries.
topo_result backhaul_db_topo_check(const char* /*bssid*/) {
    return current.in_loop ? TOPO_LOOP : TOPO_NO_LOOP;
}
void backhaul_send_msg(msg_word /*message*/, uint16_t /*port*/) {}

int main() {
    // The reactions write the daemon's files.
    fuzz::place_enter();
    for (size_t at = 0; at < 2; ++at) {
        table.at(at).type = BACKHAUL_STA;
        table.at(at).band = BAND_5G;
        record_name(table.at(at), "ath" + std::to_string(at));
    }
    table.at(ETH).type = ETHERNET;
    record_name(table.at(ETH), ETH_INTF_NAME);
    runtime.intf_table = table.data();
    runtime.intf_num = static_cast<int32_t>(table.size());
    runtime.best_backhaul_sta = table.data();
    runtime.max_disconnect = LOSS_LIMIT;
    std::printf(
        "struct view { int state[3], armed[3], losses[2], on[2], joined[2], links, backup; };\n"
        "struct reaction { int who, what, in_loop, unconfigured, eth_active; "
        "struct view before, after; };\n"
        "static const struct reaction REACTIONS[] = {\n");
    stations_print();
    cable_print();
    std::printf("};\n#define REACTION_COUNT (int)(sizeof REACTIONS / sizeof REACTIONS[0])\n");
    return 0;
}
