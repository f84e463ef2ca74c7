// The states that a station can be in: what the models' pages go through. Values, known when
// compiled.
#pragma once

#include <array>

#include "intf/intf_record.h"

inline constexpr std::array STATION_STATES = {INIT,
                                              CONNECTING_BACKHAUL_AP,
                                              CONNECT_WITH_BACKHAUL_AP,
                                              CONNECTING_TARGET_BACKHAUL_AP,
                                              CONNECT_PENDING,
                                              BACKHAUL_READY,
                                              ETH_BACKHAUL_STANDBY};
