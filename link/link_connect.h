#pragma once

// A station has associated: first link, preferred station back, or one link too many.
//
// Called by the dispatcher with `state_mutex` held (state 3, event ASSOC). Counts the link and
// acts by the case that `link_connect_case` chooses from plain values.

#include "intf/intf_record.h"

#include <cstdint>

enum class link_connect_case {
    first_link,          ///< the only link now
    preferred_back,      ///< the preferred station is back while a backup carries the link
    unknown_status,      ///< no rule applies: logged only
    preferred_has_link,  ///< another station associated although the preferred one is up
};

struct link_connect_view {
    int32_t links_up;  ///< including this one
    bool record_is_preferred;
    bool has_backup;
    link_state preferred_state;  ///< INIT when there is no preferred station
};

link_connect_case link_connect_choose(const link_connect_view& view);

/// The reaction to an association of `record`.
void backhaul_connected(intf_record* record);
