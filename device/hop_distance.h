#pragma once

// How many hops the root is away, as the driver tells it. Dispatcher.

#include "intf/intf_record.h"

inline constexpr char ATH_DIST_PATH[] = "/tmp/ath_dist";
inline constexpr char ROOT_DISTANCE_PATH[] = "/tmp/rootdistance";

/// Integer after the first colon of a line of `iwpriv`, 0 when there is none.
int hop_distance_parse(const char* line);

/// Hop distance to the root as the driver reports it, also written to "/tmp/rootdistance";
/// -1 (and no file written) when the driver's answer cannot be opened.
int qca_dist_get(const intf_record* record);
