#pragma once

// What a station's driver event would have said, when the event itself is lost.

#include "intake/wireless_event.h"
#include "intf/link_codes.h"

/// The event that was missed by a station in `state` whose record names `known` as its AP, while
/// its driver says that it is associated with `actual` (all zero: with none). A function of values;
/// WIRELESS_EVENT_NONE when record and driver agree or the state waits for nothing.
wireless_event missed_event_find(link_state state, const mac_address& known,
                                 const mac_address& actual);

/// Asks the driver for the AP of the interface; all zero when there is none. False, and nothing is
/// known, when the interface has no such driver.
bool station_ap_ask(const char* intf_name, mac_address& ap);
