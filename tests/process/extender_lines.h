#pragma once

// What the operations of an extender write and run, as pieces of a journal: a log line as it is, a
// shell line as "$ LINE". Each function gives the whole of one operation on the standard extender
// (lab/node/standard.h), so that a test states a reaction as the list of its operations.

#include "tests/harness/line_match.h"

#include <initializer_list>
#include <string>

using harness::Lines;

/// Pieces one behind the other.
Lines joined(std::initializer_list<Lines> parts);

// The dispatcher and the states.
Lines event(const std::string& name, int number);
Lines state_line(const std::string& state);
Lines change(const std::string& name, int from, int to);

// Stations and access points.
Lines station_on(const std::string& name);
Lines station_off(const std::string& name);
Lines station_disconnect(const std::string& name);
Lines station_reconnect(const std::string& name);
Lines ap_off(const std::string& name);
Lines ap_off_already(const std::string& name);
Lines backhaul_ap_off();
Lines aps_disabled_in_store();

// Small tools.
Lines led(const std::string& pattern);
Lines bcast(const std::string& name, const std::string& word);
Lines hyd_check();
Lines distance(const std::string& name);
Lines agent_reload();
Lines agent_start();
Lines settings_reload();
Lines txpower_decrease();
Lines message_sent(const std::string& word);
/// The node is not admitted yet and knows no root: what it sends instead of any message.
Lines admission_asked_in_vain();

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
