#pragma once

// Three small tools on the connect and disconnect paths: the hop distance, hyd's broadcast switch
// and the switch of all service APs. Called with or without `state_mutex`; they take no lock.

#include "intf/intf_record.h"

#include <cstdint>

inline constexpr char ATH_DIST_PATH[] = "/tmp/ath_dist";
inline constexpr char ROOT_DISTANCE_PATH[] = "/tmp/rootdistance";

/// Integer after the first colon of a line of `iwpriv`, 0 when there is none.
int hop_distance_parse(const char* line);

/// Hop distance to the root as the driver reports it, also written to "/tmp/rootdistance";
/// -1 (and no file written) when the driver's answer cannot be opened.
int qca_dist_get(const intf_record* record);

/// Switches hyd's broadcast forwarding on the station's bridge port on (`enable` non-zero) or
/// off. Does nothing for a record that is not a station.
void hyd_bcast_reset(const intf_record* record, uint8_t enable);

/// Enables (`on` 1) or disables every service AP in table order, and every backhaul AP when
/// option d was given.
void service_ap_enable_all(uint8_t on);
