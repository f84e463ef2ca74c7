#pragma once

// One word of the control FIFO: bytes of a read in, command out. Functions of values.

#include <array>
#include <cstddef>
#include <cstdint>

inline constexpr size_t FIFO_READ_SIZE = 32;

enum class fifo_command {
    none,  ///< unknown, or a role that the node already has
    master,
    slave,
    approval_list_changed,
    uplink_scan,
    network_reload,
    eth_detect,
    eth_lost,
};

/// The command in the `count` bytes of one read: the last byte is dropped (the writer's line end,
/// whatever it is) and the rest compared whole. `count` of 0 or below is no command. `master` is
/// the node's role: "master" and "slave" count only when they change it.
fifo_command fifo_command_parse(std::array<char, FIFO_READ_SIZE>& buffer, long count,
                                uint8_t master);
