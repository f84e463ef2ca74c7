#include "intake/fifo_command.h"

#include "runtime/table_check.h"

#include <cstring>

namespace {

/// The role in which a command counts.
enum class role_condition { any, extender_only, root_only };

struct command_row {
    const char* word;
    role_condition condition;
    fifo_command command;
};

constexpr std::array<command_row, 7> COMMAND_ROWS = {{
    {"master", role_condition::extender_only, fifo_command::master},
    {"slave", role_condition::root_only, fifo_command::slave},
    {"approval_list_changed", role_condition::root_only, fifo_command::approval_list_changed},
    {"uplink_scan", role_condition::any, fifo_command::uplink_scan},
    {"network_reload", role_condition::any, fifo_command::network_reload},
    {"eth_detect", role_condition::any, fifo_command::eth_detect},
    {"eth_lost", role_condition::any, fifo_command::eth_lost},
}};
static_assert(COMMAND_ROWS.size() == static_cast<size_t>(fifo_command::none) &&
              table_keys_count_up(COMMAND_ROWS, [](const auto& row) { return row.command; }));

bool role_fits(role_condition condition, bool master) {
    switch (condition) {
        case role_condition::extender_only:
            return !master;
        case role_condition::root_only:
            return master;
        case role_condition::any:
            break;
    }
    return true;
}

}  // namespace

fifo_command fifo_command_parse(std::array<char, FIFO_READ_SIZE>& buffer, long count, bool master) {
    if (count <= 0 || static_cast<size_t>(count) > buffer.size()) {
        return fifo_command::none;
    }
    buffer[static_cast<size_t>(count) - 1] = '\0';
    for (const auto& row : COMMAND_ROWS) {
        if (role_fits(row.condition, master) && std::strcmp(buffer.data(), row.word) == 0) {
            return row.command;
        }
    }
    return fifo_command::none;
}

const char* fifo_command_text(fifo_command command) {
    return command == fifo_command::none ? nullptr
                                         : COMMAND_ROWS[static_cast<size_t>(command)].word;
}
