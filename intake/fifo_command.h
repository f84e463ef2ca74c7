#pragma once

// One word of the control FIFO: bytes of a read in, command out. Functions of values.

#include <array>
#include <cstddef>
#include <cstdint>

inline constexpr size_t FIFO_READ_SIZE = 32;

enum class fifo_command {
    master,
    slave,
    approval_list_changed,
    uplink_scan,
    network_reload,
    eth_detect,
    eth_lost,
    none,  ///< unknown, or a role that the node already has
};

/// The command in the `count` bytes of one read: the last byte is dropped (the writer's line end,
/// whatever it is) and the rest compared whole. `count` of 0 or below is no command. `master` says
/// whether the node is the root: "master" and "slave" count only when they change it.
fifo_command fifo_command_parse(std::array<char, FIFO_READ_SIZE>& buffer, long count, bool master);

/// Text of a command; null for `none`.
const char* fifo_command_text(fifo_command command);
