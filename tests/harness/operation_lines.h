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

Lines event(const std::string& name, int number);
Lines state_line(const std::string& state);
Lines change(const std::string& name, int from, int to);
Lines station_on(const std::string& name);
Lines station_off(const std::string& name);
Lines station_disconnect(const std::string& name);
Lines station_reconnect(const std::string& name);
Lines ap_off(const std::string& name);
Lines ap_off_already(const std::string& name);
Lines backhaul_ap_off();
Lines led(const std::string& pattern);
Lines bcast(const std::string& name, const std::string& word);
Lines hyd_check();
Lines agent_reload();
Lines txpower_decrease();
Lines message_sent(const std::string& word, const std::string& pass_phrase = "mesh-backhaul");
// A datagram is deciphered, whatever it holds.
Lines message_opened(const std::string& pass_phrase = "mesh-backhaul");
Lines tables_flushed();

}  // namespace harness
