// The wireless driver's requests that the daemon makes, answered from files of the sandbox. Called
// by the preloaded ioctl() on the caller's thread; allocates nothing.
#pragma once

namespace lab {

inline constexpr unsigned long CHANNEL_LIST_REQUEST = 0x8BE7;
inline constexpr unsigned int CHANNEL_LIST_LENGTH = 20464;

// Handles the request whose `struct iwreq` is at `request` and notes it, with the time `now`, in
// /run/lab/record/ioctls as "TIME PID NAME LENGTH FLAGS". Fills the caller's buffer from
// /run/lab/channels.raw (byte for byte, at most the request's length) or /run/lab/channels
// (frequencies in MHz, white space between), and returns 0. Fails with EOPNOTSUPP when there is
// neither file and with EINVAL when the length is not the agreed one.
int driver_channel_list(void* request, unsigned long now) noexcept;

inline constexpr unsigned long STATION_AP_REQUEST = 0x8B15;

// Stores the AP that the station is associated with in the tools' state
// (/run/lab/state/iface/IF/ap) in the `struct iwreq` at `request`, all zero when there is none, and
// returns 0. Fails with ENODEV when the interface is missing there.
int driver_station_ap(void* request) noexcept;

}  // namespace lab
