#pragma once

// Fixture of the link tests: the interfaces of an ordinary extender, a configured store, a running
// supplicant and hyd, and the journal pieces of the operations that reactions are made of.

#include "link/link_state.h"
#include "tests/harness/table_fixture.h"

#include <cstdint>
#include <string>

using harness::admission_asked_in_vain;
using harness::agent_reload;
using harness::ap_off;
using harness::ap_off_already;
using harness::backup_enabled;
using harness::bcast;
using harness::change;
using harness::distance;
using harness::event;
using harness::hyd_check;
using harness::joined;
using harness::Journal;
using harness::led;
using harness::loss_counted;
using harness::message_sent;
using harness::no_link_left;
using harness::parked;
using harness::search_finding;
using harness::station_disconnect;
using harness::station_off;
using harness::station_on;
using harness::station_reconnect;
using harness::target_joined;
using harness::txpower_decrease;

class LinkTest : public harness::TableTest {
protected:
    /// Preferred station ath0 (5 GHz, priority 20), second station ath1 (5 GHz, priority 10),
    /// service APs ath10 (main), ath11 (guest) and ath14 (visitor), backhaul AP ath20, the wired
    /// record and the timer record, in this order.
    void SetUp() override;

    /// Puts a record into a state with its timeout running, as the dispatcher leaves it.
    static void enter(intf_record* record, int32_t state);

    static constexpr mac_address AP_A{0x02, 0xaa, 0, 0, 0, 0x01};
    static constexpr mac_address AP_B{0x02, 0xbb, 0, 0, 0, 0x02};

    intf_record* ath0 = nullptr;
    intf_record* ath1 = nullptr;
    intf_record* ath10 = nullptr;
    intf_record* ath11 = nullptr;
    intf_record* ath14 = nullptr;
    intf_record* ath20 = nullptr;
    intf_record* eth = nullptr;
    intf_record* timer = nullptr;
};

/// Content of "/tmp/backhaul_status".
std::string status_file();

// Journal pieces, each the whole of one operation.
Journal agent_start_all();
Journal uci_disable_all();
Journal settings_reload();
