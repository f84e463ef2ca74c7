#pragma once

// Moving the backhaul to the cable and back to Wi-Fi.
//
// Socket thread (Ethernet events), without `state_mutex` and at the same time as the dispatcher
// and the timer thread. Both functions log and leave everything else alone when the profile has
// no record "eth" (the flag is written first).

/// A wired backhaul has appeared: parks the stations and moves "eth" on.
void wifi_slave_eth_detect();

/// The wired backhaul is gone: everything back to idle, the preferred station gets START.
void wifi_backhaul_recover();
