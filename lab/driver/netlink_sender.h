// A second netlink socket that speaks for the wireless driver of one node.
//
// The kernel copies what it sends to every member of the link group in the same network namespace,
// so the daemon's own socket receives real messages; to the kernel itself they mean nothing,
// because they are no requests. Interfaces are real ones of that namespace, whatever their kind.
//
// A message is lost when nobody listens yet. A function that answers false has put one sentence
// into `error`. A sender belongs to one thread.
#pragma once

#include <string>
#include <string_view>

#include "lab/driver/wireless_event.h"

namespace lab {

struct DriverSender {
    int fd = -1;
    int pid = 0;                               // whose network namespace; 0: our own
    EventLayout layout = EventLayout::packed;  // of the events sent by the functions below
    bool other_byte_order = false;             // of those events: for an emulated daemon

    DriverSender() = default;
    ~DriverSender();
    DriverSender(const DriverSender&) = delete;
    DriverSender& operator=(const DriverSender&) = delete;
    DriverSender(DriverSender&&) = delete;
    DriverSender& operator=(DriverSender&&) = delete;
};

// Opens the socket in the network namespace of process `pid` (our numbering), 0 for our own. The
// caller's own namespaces stay as they are.
bool driver_open(DriverSender* sender, int pid, std::string& error);
void driver_close(DriverSender* sender);

// Index of the interface there, 0 when it does not exist.
int driver_interface_index(const DriverSender& sender, std::string_view interface);

// Sends one datagram to the link group as it is: any number of messages, whole or broken.
bool driver_send(DriverSender* sender, std::span<const std::uint8_t> datagram, std::string& error);

// Sends an event stream for an interface, as its driver would.
bool driver_send_stream(DriverSender* sender, std::string_view interface,
                        std::span<const std::uint8_t> stream, std::string& error);

// A station got or lost its AP; a client joined or left an access point; an access point moved to
// another channel; a client's leave with its reason (`flags` is a CUSTOM_ number).
bool driver_associated(DriverSender* sender, std::string_view interface, const MacAddress& ap,
                       std::string& error);
bool driver_disassociated(DriverSender* sender, std::string_view interface, std::string& error);
bool driver_client_joined(DriverSender* sender, std::string_view interface,
                          const MacAddress& client, std::string& error);
bool driver_client_left(DriverSender* sender, std::string_view interface, const MacAddress& client,
                        std::string& error);
bool driver_channel_changed(DriverSender* sender, std::string_view interface, std::uint8_t channel,
                            std::string& error);
bool driver_leave_reason(DriverSender* sender, std::string_view interface, std::uint16_t flags,
                         const MacAddress& client, std::uint32_t reason, std::string& error);

}  // namespace lab
