#include "intake/missed_event.h"

#include "runtime/descriptor.h"

#include <linux/wireless.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

bool state_is_linked(link_state state) {
    return state == CONNECT_WITH_BACKHAUL_AP || state == CONNECTING_TARGET_BACKHAUL_AP ||
           state == BACKHAUL_READY;
}

/// States that act on an association, whichever AP it is with: after a loss a station often comes
/// back to the AP that it had.
bool state_wants_ap(link_state state) {
    return state == CONNECTING_BACKHAUL_AP || state == ETH_BACKHAUL_STANDBY;
}

}  // namespace

wireless_event missed_event_find(link_state state, const mac_address& known,
                                 const mac_address& actual) {
    wireless_event event;
    const bool linked = state_is_linked(state);
    if (bssid_is_zero(actual)) {
        event.code = linked ? STA_CONNECTION_DOWN : WIRELESS_EVENT_NONE;
    } else if (state_wants_ap(state) || (linked && actual != known)) {
        event.code = STA_CONNECTION_UP;
        std::copy(actual.begin(), actual.end(), event.data.begin());
    }
    return event;
}

bool station_ap_ask(const char* intf_name, mac_address& ap) {
    const Descriptor sock(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    iwreq request{};
    std::snprintf(request.ifr_name, sizeof request.ifr_name, "%s", intf_name);
    if (!sock || ioctl(sock.get(), SIOCGIWAP, &request) < 0) {
        return false;
    }
    std::memcpy(ap.data(), request.u.ap_addr.sa_data, ap.size());
    return true;
}
