// What a daemon's tool calls do to the air, and what the air answers.
//
// The lab hands every call of an asking tool here (lab/tools/air_protocol.h), carries the effects
// out and only then sends the reply, so that the tool's caller finds the world changed. A call
// that is nobody's business in the air is answered with "local".
//
//   wpa_cli        attaches, detaches, connects and pins stations
//   iwpriv         get_whc_dist, get_whc_ul_rate, get_whc_bssid; kickmac on an AP
//   ifconfig       down and up of a station
//   wireless       "restart": reads the apply files and the store, turns one interface on or off
//   vl1905App      "17 CODE": an extender without a way to a root gets no settings
#pragma once

#include "lab/air/air_effect.h"
#include "lab/air/air_time.h"
#include "lab/tools/air_protocol.h"

namespace lab {

AirReply air_tool_call(Air* air, int node, const AirRequest& request, const NodeReader& reader,
                       Effects* effects);

// Service APs of the node that the agent's code ("0x21": guest, 5 GHz) stands for.
std::vector<std::string> air_agent_interfaces(const AirNode& node, std::string_view code);

}  // namespace lab
