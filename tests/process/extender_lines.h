#pragma once

// What the operations of an extender write and run, as pieces of a journal: a log line as it is, a
// shell line as "$ LINE". Each function gives the whole of one operation on the standard extender
// (lab/node/standard.h), so that a test states a reaction as the list of its operations.

#include "tests/harness/operation_lines.h"

#include <string>

using harness::admission_asked_in_vain;
using harness::agent_reload;
using harness::ap_off;
using harness::ap_off_already;
using harness::backhaul_ap_off;
using harness::backup_enabled;
using harness::bcast;
using harness::change;
using harness::distance;
using harness::event;
using harness::hyd_check;
using harness::joined;
using harness::led;
using harness::Lines;
using harness::loss_counted;
using harness::message_opened;
using harness::message_sent;
using harness::no_link_left;
using harness::parked;
using harness::search_finding;
using harness::state_line;
using harness::station_disconnect;
using harness::station_off;
using harness::station_on;
using harness::station_reconnect;
using harness::tables_flushed;
using harness::target_joined;
using harness::txpower_decrease;

// Single operations on the standard extender.
Lines aps_disabled_in_store();
Lines agent_start();
Lines settings_reload();

// Whole reactions.

/// The first `START`, ten seconds after the start: event to enabled station.
Lines first_start(const std::string& name);
/// The driver's event of an association, and of a loss.
Lines driver_up(const std::string& name, const std::string& ap);
Lines driver_down(const std::string& name, const std::string& ap);
/// The station, in state 3, is the first link; from the event to state 4.
Lines first_link(const std::string& name, const std::string& ap);
/// 15 seconds without success of the agent, `sent` being what became of "FLUSHFORWARDING".
Lines agent_late(const std::string& name, const Lines& sent);
/// Success of the agent: from the event to state 7, `sent` being what became of "UPLINKSCAN".
Lines agent_success(const std::string& name, const Lines& sent);
/// The ready station was the last link: from the event to the shut service APs.
Lines ready_link_lost(const std::string& name, const std::string& ap);
/// A loss that is below the limit, in state `from`: from "try to connect again" to the LED.
Lines tries_again(const std::string& name, int from, int losses);
