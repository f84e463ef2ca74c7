#pragma once

// A station leaves its AP or comes back to one, by way of the supplicant. Any thread.

#include "intf/intf_record.h"

void device_sta_disconnect(const intf_record* record);

/// Interface down and up, then reconnect; enables the station instead when no supplicant runs.
void device_sta_reconnect(intf_record* record);
