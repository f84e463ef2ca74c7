// The wireless driver's private channel-list request, answered from a file of the sandbox.
// Called by the preloaded ioctl() on the caller's thread; allocates nothing.
#pragma once

namespace lab {

inline constexpr unsigned long kChannelListRequest = 0x8BE7;
inline constexpr unsigned int kChannelListLength = 20464;

// Handles the request whose `struct iwreq` is at `request` and notes it, with the time `now`, in
// /run/lab/record/ioctls as "TIME PID NAME LENGTH FLAGS". Fills the caller's buffer from
// /run/lab/channels.raw (byte for byte, at most the request's length) or /run/lab/channels
// (frequencies in MHz, white space between), and returns 0. Fails with EOPNOTSUPP when there is
// neither file and with EINVAL when the length is not the agreed one.
int driver_channel_list(void* request, unsigned long now) noexcept;

}  // namespace lab
