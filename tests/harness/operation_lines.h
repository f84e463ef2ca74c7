// What single operations of the daemon write and run, as pieces of a journal: a log line as it is,
// a shell line as "$ LINE". Each function gives the whole of one operation on a node whose SSID is
// "mesh-backhaul", so that a test states a reaction as the list of its operations.
#pragma once

#include <initializer_list>
#include <string>

#include "tests/harness/line_match.h"

namespace harness {

// Pieces one behind the other.
Lines joined(std::initializer_list<Lines> parts);

// What the dispatcher says of an event, and of the state that it is handled in.
Lines event(const std::string& name, int number);
Lines state_line(const std::string& state);
Lines change(const std::string& name, int from, int to);

Lines station_on(const std::string& name);
Lines station_off(const std::string& name);
Lines station_disconnect(const std::string& name);
Lines station_reconnect(const std::string& name);
// The loss of a station is counted, the last link gone, a station parked for its losses.
Lines loss_counted(const std::string& name, int losses);
Lines no_link_left();
Lines parked(const std::string& name);
// No other station is a backup yet: this one becomes it.
Lines search_finding();
Lines backup_enabled(const std::string& name);
// The ready station leaves its AP for another one.
Lines target_joined(const std::string& name, const std::string& bssid);

Lines ap_off(const std::string& name);
Lines ap_off_already(const std::string& name);
Lines backhaul_ap_off();
Lines aps_disabled_in_store(const Lines& names);
Lines led(const std::string& pattern);
Lines bcast(const std::string& name, const std::string& word);
Lines distance(const std::string& name, int value = 1);
Lines hyd_check();
Lines agent_reload();
// What the agent has configured is applied to these service APs.
Lines settings_reload(const Lines& names);
Lines txpower_decrease();
Lines tables_flushed();

Lines message_sent(const std::string& word, const std::string& pass_phrase = "mesh-backhaul");
// The node is not admitted yet and knows no root: what it sends instead of any message.
Lines admission_asked_in_vain();
// A datagram is deciphered, whatever it holds.
Lines message_opened(const std::string& pass_phrase = "mesh-backhaul");

}  // namespace harness
