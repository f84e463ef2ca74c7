#pragma once

// A station has lost its link: count it, then retry or park the station.
//
// Called by the dispatcher with `state_mutex` held (states 4, 5, 7). The choice is a function of
// values.

#include "intf/intf_record.h"

#include <cstdint>

enum class link_loss_action {
    none,                  ///< the state has no retry
    reconnect,             ///< the supplicant is told to reconnect
    restart_unconfigured,  ///< the chosen AP is forgotten, the station switched off and on
    park,                  ///< too many losses: off, parked, look for a backup
};

/// Whether a loss counts: never on 2.4 GHz, never while switching to a target AP.
bool link_loss_counts(uint8_t band, link_state state);

/// Action for a station in `state` whose (already updated) count is `disconnect_count`.
link_loss_action link_loss_choose(link_state state, int8_t disconnect_count,
                                  uint8_t max_disconnect);

/// The reaction to the loss of `record`'s link.
void backhaul_disconnected(intf_record* record);
