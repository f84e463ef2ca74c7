// Messages of the wireless driver as they come out of its netlink socket. Functions of values.
#pragma once

#include <string>

namespace lives {

// Interface `index` is with the access point `mac` now, or (empty) with none.
std::string driver_ap_event(unsigned index, const std::string& mac);
// A client of the interface has come or gone; `what` chooses the event and its reason.
std::string driver_client_event(unsigned index, unsigned what);
std::string driver_channel_event(unsigned index, unsigned channel);

}  // namespace lives
