// Prints the daemon's own tables and choices in Promela, for the models beside this file: the
// accepted transitions, the states with a time limit, and what each choice answers for every value
// that it can be asked about. A model that includes the page cannot differ from the code in any of
// them.

#include "intf/intf_record.h"
#include "link/backup_link.h"
#include "link/link_connect.h"
#include "link/link_disconnect.h"
#include "link/link_state.h"
#include "link/timeout_limit.h"
#include "tests/model/station_states.h"

#include <array>
#include <cstdio>
#include <string>

namespace {

constexpr int32_t LEAST_LINKS = -4;
constexpr int32_t MOST_LINKS = 8;
constexpr uint8_t LOSS_LIMIT = 3;

bool choices_agree = true;

void disagree(const char* what) {
    std::fprintf(stderr, "the models cannot tell apart what %s does\n", what);
    choices_agree = false;
}

void states_print() {
    for (int32_t state = 0; state < LINK_STATE_COUNT; ++state) {
        if (link_state_name(state) != std::string("-")) {
            std::printf("#define %s %d\n", link_state_name(state), state);
        }
    }
}

/// Prints a condition that holds for every value that `members` hands on.
template <typename Members>
void set_print(const char* name, const char* argument, Members members) {
    std::printf("\n#define %s(%s) (false", name, argument);
    members([argument](const std::string& value) {
        std::printf(" \\\n    || %s == %s", argument, value.c_str());
    });
    std::printf(")\n");
}

template <typename Holds>
void state_set_print(const char* name, Holds holds) {
    set_print(name, "state", [&](auto add) {
        for (int32_t state = 0; state < LINK_STATE_COUNT; ++state) {
            if (holds(static_cast<link_state>(state))) {
                add(std::to_string(state));
            }
        }
    });
}

void transitions_print(const char* name, timer_switch timer) {
    set_print(name, "pair", [timer](auto add) {
        for (const link_transition& row : link_transition_table()) {
            if (row.timer == timer) {
                add(std::string("PAIR(") + link_state_name(row.current) + ", " +
                    link_state_name(row.requested) + ")");
            }
        }
    });
}

/// A choice that depends on the count of links only by whether there is one.
link_connect_case connect_case(bool one, bool preferred, bool backup, link_state state) {
    const auto choose = [&](int32_t links) {
        return link_connect_choose({links, preferred, backup, state});
    };
    const link_connect_case chosen = choose(one ? 1 : 2);
    for (int32_t links = LEAST_LINKS; !one && links <= MOST_LINKS; ++links) {
        if (links != 1 && choose(links) != chosen) {
            disagree("link_connect_choose");
        }
    }
    return chosen;
}

void connect_cases_print() {
    static constexpr std::array NAMES = {"CONNECT_FIRST_LINK", "CONNECT_PREFERRED_BACK",
                                         "CONNECT_UNKNOWN_STATUS", "CONNECT_PREFERRED_HAS_LINK"};
    std::printf(
        "\n#define CONNECT_VIEW(one, preferred, backup, state) "
        "(one + 2 * (preferred) + 4 * (backup) + 8 * (state))\n");
    for (size_t name = 0; name < NAMES.size(); ++name) {
        set_print(NAMES.at(name), "view", [name](auto add) {
            for (const link_state state : STATION_STATES) {
                for (int bits = 0; bits < 8; ++bits) {
                    const auto chosen =
                        connect_case((bits & 1) != 0, (bits & 2) != 0, (bits & 4) != 0, state);
                    if (static_cast<size_t>(chosen) == name) {
                        add(std::to_string(bits + 8 * state));
                    }
                }
            }
        });
    }
}

/// A choice that depends on the losses only by whether they have reached the limit.
link_loss_action loss_action(link_state state, bool at_limit) {
    const auto choose = [&](int losses) {
        return link_loss_choose(state, static_cast<int8_t>(losses), LOSS_LIMIT);
    };
    const link_loss_action chosen = choose(at_limit ? LOSS_LIMIT : 0);
    const int first = at_limit ? LOSS_LIMIT : -LOSS_LIMIT;
    for (int losses = first; losses < first + LOSS_LIMIT; ++losses) {
        if (choose(losses) != chosen) {
            disagree("link_loss_choose");
        }
    }
    return chosen;
}

void loss_actions_print() {
    static constexpr std::array NAMES = {"LOSS_NO_RETRY", "LOSS_RECONNECT",
                                         "LOSS_RESTART_UNCONFIGURED", "LOSS_PARK"};
    std::printf("\n#define LOSS_VIEW(state, at_limit) (2 * (state) + at_limit)\n");
    for (size_t name = 0; name < NAMES.size(); ++name) {
        set_print(NAMES.at(name), "view", [name](auto add) {
            for (const link_state state : STATION_STATES) {
                for (const bool at_limit : {false, true}) {
                    if (static_cast<size_t>(loss_action(state, at_limit)) == name) {
                        add(std::to_string(2 * state + (at_limit ? 1 : 0)));
                    }
                }
            }
        });
    }
}

bool backup_is_free(link_state state) {
    std::array<intf_record, 2> table;
    table[0].type = table[1].type = BACKHAUL_STA;
    table[1].state = state;
    return backup_station_choose(table, table.data()) == &table[1];
}

}  // namespace

int main() {
    std::printf("/* Printed from the daemon's tables: do not edit. */\n");
    states_print();
    std::printf("\n#define PAIR(current, requested) (%d * (current) + requested)\n",
                LINK_STATE_COUNT);
    transitions_print("TRANSITION_ARMS", TIMER_ON);
    transitions_print("TRANSITION_CLEARS", TIMER_OFF);
    state_set_print("HAS_LIMIT",
                    [](link_state state) { return timeout_limit_get(state, 1).checked; });
    state_set_print("BACKUP_IS_FREE", backup_is_free);
    state_set_print("LOSS_COUNTS_5G",
                    [](link_state state) { return link_loss_counts(BAND_5G, state); });
    state_set_print("LOSS_COUNTS_24G",
                    [](link_state state) { return link_loss_counts(BAND_24G, state); });
    connect_cases_print();
    loss_actions_print();
    return choices_agree ? 0 : 1;
}
