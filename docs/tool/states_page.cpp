// Prints the page (`states_page md`) or the drawing (`states_page dot`) of the link state machine
// from the daemon's own tables, so that neither can differ from the code.

#include "link/link_state.h"
#include "link/timeout_limit.h"

#include <cstdio>
#include <cstring>

namespace {

/// What the table cannot tell: one sentence for each state.
struct state_note {
    link_state state;
    const char* meaning;
};

constexpr state_note STATE_NOTES[] = {
    {INIT, "Station not yet started, waiting to be configured, or idle and free as a backup."},
    {CONNECTING_BACKHAUL_AP, "Station enabled, waiting for association with an upstream AP."},
    {CONNECT_WITH_BACKHAUL_AP, "Associated; waiting for the auto-configuration agent."},
    {CONNECTING_TARGET_BACKHAUL_AP, "Moving to a chosen AP (a better one, or on the other band)."},
    {CONNECT_PENDING, "Parked and switched off after too many losses."},
    {BACKHAUL_READY, "Associated and configured: the node has its backhaul."},
    {LINK_STATE_8, "Never entered; treated like CONNECT_WITH_BACKHAUL_AP."},
    {LINK_STATE_9, "Never entered; a timeout is posted."},
    {DFS_MONITORING, "AP that saw repeated channel changes; stored by the radar handling."},
    {DFS_BLOCKING, "AP switched off because of radar; stored by the radar handling."},
    {AP_TIMER_WAIT, "The periodic pseudo-interface; stored by the extender start."},
    {ETH_BACKHAUL_DOWN, "Wired backhaul without link."},
    {ETH_BACKHAUL_CONNECTED, "Cable found; waiting for the auto-configuration agent."},
    {ETH_BACKHAUL_READY, "The cable carries a configured backhaul."},
    {ETH_BACKHAUL_STANDBY, "Station set aside because the uplink is carried elsewhere."},
};

const char* timer_word(timer_switch timer) {
    return timer == TIMER_ON ? "arm" : "clear";
}

void limit_print(link_state state) {
    const timeout_limit one = timeout_limit_get(static_cast<link_state>(state), 1);
    const timeout_limit two = timeout_limit_get(static_cast<link_state>(state), 2);
    if (!one.checked) {
        printf("none");
    } else if (one.seconds != two.seconds) {
        printf("losses x %d s", two.seconds - one.seconds);
    } else {
        printf("%d s", one.seconds);
    }
}

void states_print() {
    printf("| Value | State | Acts when more than | Meaning |\n|---|---|---|---|\n");
    for (const state_note& note : STATE_NOTES) {
        printf("| %d | %s | ", note.state, link_state_name(static_cast<link_state>(note.state)));
        limit_print(note.state);
        printf(" | %s |\n", note.meaning);
    }
}

/// States that are asked for by at least one accepted pair, ascending.
bool state_is_requested(int32_t state) {
    for (const link_transition& row : link_transition_table()) {
        if (row.requested == state) {
            return true;
        }
    }
    return false;
}

bool state_has_way_out(int32_t state) {
    for (const link_transition& row : link_transition_table()) {
        if (row.current == state) {
            return true;
        }
    }
    return false;
}

void matrix_row_print(link_state current) {
    printf("| %d %s |", current, link_state_name(static_cast<link_state>(current)));
    for (int32_t requested = 0; requested < LINK_STATE_COUNT; ++requested) {
        if (!state_is_requested(requested)) {
            continue;
        }
        const link_transition* const row = link_transition_find(static_cast<link_state>(current),
                                                                static_cast<link_state>(requested));
        if (row == nullptr) {
            printf(" - |");
        } else if (row->current == row->requested) {
            printf(" stay, %s |", timer_word(row->timer));
        } else {
            printf(" %d, %s |", row->requested, timer_word(row->timer));
        }
    }
    printf("\n");
}

void matrix_print() {
    printf("| Current state |");
    for (int32_t requested = 0; requested < LINK_STATE_COUNT; ++requested) {
        if (state_is_requested(requested)) {
            printf(" asked for %d |", requested);
        }
    }
    printf("\n|---|");
    for (int32_t requested = 0; requested < LINK_STATE_COUNT; ++requested) {
        if (state_is_requested(requested)) {
            printf("---|");
        }
    }
    printf("\n");
    for (int32_t current = 0; current < LINK_STATE_COUNT; ++current) {
        if (state_has_way_out(current)) {
            matrix_row_print(static_cast<link_state>(current));
        }
    }
}

void page_print() {
    printf(
        "# Link states\n\n"
        "Printed by `states_page md` from the tables in `link/`; do not edit. `./run docs`\n"
        "prints it anew, and a test fails when it is stale. The drawing is `states.svg`.\n\n"
        "## States and their time limits\n\n"
        "The timer thread looks once a second and acts when more than the limit has passed\n"
        "since the record's timeout was started. BACKHAUL_READY, ETH_BACKHAUL_READY and\n"
        "AP_TIMER_WAIT are periodic. Entering CONNECT_PENDING clears the timeout, so its limit\n"
        "counts only for a record whose timeout was started by other means.\n\n");
    states_print();
    printf(
        "\n## Accepted requests\n\n"
        "A cell names the state entered and what happens to the record's timeout. Every\n"
        "request is logged first; `-` and every pair that is not shown is dropped.\n\n");
    matrix_print();
    printf(
        "\n## Stored directly\n\n"
        "Some code stores a state past this table, without touching the timeout: the extender\n"
        "start and the Ethernet recovery (INIT, ETH_BACKHAUL_DOWN, AP_TIMER_WAIT), the backup\n"
        "search (ETH_BACKHAUL_STANDBY for the station that failed, INIT for a failed backup),\n"
        "the release of parked stations (INIT), and the radar handling (DFS_MONITORING,\n"
        "DFS_BLOCKING).\n");
}

void drawing_print() {
    printf(
        "digraph link_states {\n    rankdir=LR;\n    node [shape=box, fontname=\"sans\"];\n"
        "    edge [fontname=\"sans\", fontsize=10];\n");
    for (const state_note& note : STATE_NOTES) {
        if (!state_has_way_out(note.state)) {
            continue;
        }
        printf("    s%d [label=\"%d %s\\n", note.state, note.state,
               link_state_name(static_cast<link_state>(note.state)));
        limit_print(note.state);
        printf("\"];\n");
    }
    for (const link_transition& row : link_transition_table()) {
        printf("    s%d -> s%d [label=\"%s\"];\n", row.current, row.requested,
               timer_word(row.timer));
    }
    printf("}\n");
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 2 && strcmp(argv[1], "md") == 0) {
        page_print();
        return 0;
    }
    if (argc == 2 && strcmp(argv[1], "dot") == 0) {
        drawing_print();
        return 0;
    }
    fprintf(stderr, "usage: states_page md|dot\n");
    return 2;
}
