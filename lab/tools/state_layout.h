// The small state from which the stand-in tools answer, as folders and files.
//
// Everything lies under /run/lab/state of one node, one file per value, each replaced whole, so
// that tools, tests and the lab may read and write at once without a lock. Tests set up a node
// with the setters below before or while the daemon runs; tools change the same files as the real
// ones change a router (lab/tools/README.md lists every file and every tool).
//
// `root` is a path prefix: "" in the sandbox itself, "/proc/PID/root" from outside. Setters return
// false only when the file cannot be written. Addresses are texts like "02:00:00:00:00:01".
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace lab {

// Path of a state file; `name` may hold slashes.
std::string state_path(const std::string& root, const std::string& name);

// Any text as one file name: slashes, percent signs and a leading dot become "%xx".
std::string state_name(std::string_view text);

// One value. A missing file reads as `fallback`; one line end at the end is not part of a value.
std::string state_get(const std::string& root, const std::string& name,
                      const std::string& fallback = {});
bool state_is_set(const std::string& root, const std::string& name);
bool state_set(const std::string& root, const std::string& name, std::string_view value);
bool state_unset(const std::string& root, const std::string& name);

// Adds 1 to a number kept in a state file and returns the new value.
int state_count_up(const std::string& root, const std::string& name);

// Forgets the whole state, answers and gates included.
void state_clear(const std::string& root);

// The configuration store. A key is "wireless.ath0.ssid". `uci set` stages a value that `uci get`
// sees at once and `uci commit PACKAGE` makes last; uci_store_set stores a committed value.
// uci_store_get is what `uci get` prints, uci_committed_get what a reboot would keep.
bool uci_store_set(const std::string& root, const std::string& key, std::string_view value);
bool uci_store_unset(const std::string& root, const std::string& key);
std::string uci_store_get(const std::string& root, const std::string& key);
std::string uci_committed_get(const std::string& root, const std::string& key);
bool uci_store_stage(const std::string& root, const std::string& key, std::string_view value);
int uci_store_commit(const std::string& root, const std::string& package);  // number of changes
int uci_store_revert(const std::string& root, const std::string& package);
std::vector<std::string> uci_store_keys(const std::string& root);  // staged or committed, sorted

// A station is associated with the AP, as iwconfig and wpa_cli then tell. The setters send no
// driver event (lab/driver does).
bool wifi_associated_set(const std::string& root, const std::string& interface,
                         const std::string& ap_address);
bool wifi_not_associated_set(const std::string& root, const std::string& interface);
std::string wifi_ap_address(const std::string& root, const std::string& interface);  // or empty

// What kind of interface iwconfig shows. Unset, the profile decides: BACKHAUL_STA is "Managed",
// every other type "Master"; an interface that the profile lacks is "Managed".
bool wifi_mode_set(const std::string& root, const std::string& interface, const std::string& mode);
std::string wifi_mode(const std::string& root, const std::string& interface);

// An access point has its BSS up unless this says otherwise ("/etc/init.d/wireless restart" sets
// it from the interface's `disabled` option).
bool wifi_bss_up_set(const std::string& root, const std::string& interface, bool up);

// The interface has vanished: iwconfig and iwpriv know no such device. With a radio ("wifi0")
// `wifi up RADIO` brings it back; without, nothing does.
bool wifi_missing_set(const std::string& root, const std::string& interface,
                      const std::string& back_with_radio = {});
bool wifi_present_set(const std::string& root, const std::string& interface);
bool wifi_is_missing(const std::string& root, const std::string& interface);

// What `iwpriv IF get_NAME` prints and `iwpriv IF set_NAME` or `iwpriv IF NAME VALUE` stores,
// without "get_" or "set_": "whc_dist" "2", "whc_ul_rate" "300", "whc_bssid" "02:00:00:00:00:01".
bool iwpriv_value_set(const std::string& root, const std::string& interface,
                      const std::string& name, const std::string& value);
bool iwpriv_value_unset(const std::string& root, const std::string& interface,
                        const std::string& name);
std::string iwpriv_value(const std::string& root, const std::string& interface,
                         const std::string& name);

// The text of `wpa_cli ... status` after "wpa_state=". Unset, it is COMPLETED while associated,
// else SCANNING.
bool wpa_state_set(const std::string& root, const std::string& interface,
                   const std::string& wpa_state);
bool wpa_state_unset(const std::string& root, const std::string& interface);

// Configuration file of an interface that interface_add attached, or empty.
std::string wpa_attached_conf(const std::string& root, const std::string& interface);

// What the supplicant's init script leaves in /var/run/wpa_supplicant-global.pid.
enum class SupplicantBoot {
    init_pid,  // pid 1, which always lives (without a setting)
    process,   // a process of its own that idles until it is killed
    dead_pid,  // a pid that no process has
    no_file,   // nothing
};
bool supplicant_boot_set(const std::string& root, SupplicantBoot boot);
SupplicantBoot supplicant_boot(const std::string& root);

// Makes the pid file as a boot of that kind does, without calling the script.
bool supplicant_pid_file_set(const std::string& root, unsigned pid);
bool supplicant_pid_file_remove(const std::string& root);

// The hybrid-networking daemon is in the process list. `hyd start` and `hyd restart` start it
// unless hyd.config.Enable is "0", `hyd stop` ends it.
bool hyd_running_set(const std::string& root, bool running);
bool hyd_is_running(const std::string& root);

// Further lines of the process list, line ends included.
bool process_list_extra_set(const std::string& root, const std::string& lines);

// What `/etc/init.d/wireless restart` writes into the status file of the radio that it applied,
// for example "isSetting"; unset, it writes none.
bool wireless_status_after_restart_set(const std::string& root, const std::string& text);

// How the auto-configuration agent serves requests for a service AP (command 17).
enum class AgentMode {
    never,        // writes nothing (without a setting)
    at_once,      // writes output and state file with the first request
    after,        // with the N-th request of that AP and every later one
    output_only,  // writes the output file, never the state file
};
bool agent_mode_set(const std::string& root, AgentMode mode, int requests = 0);

// Value of AP-autoconfig_WiFiReload that command 18 writes to /tmp/vl1905.json; unset, none.
bool agent_reload_value_set(const std::string& root, const std::string& value);
bool agent_reload_value_unset(const std::string& root);

// Frequencies (MHz) of the non-occupancy list that radartool writes; unset, radartool fails.
bool nol_set(const std::string& root, const std::vector<std::uint16_t>& frequencies);
bool nol_unset(const std::string& root);

// The number that `wifisys_tool -g GROUP -f FEATURE` prints; 0 without a setting.
bool wifisys_feature_set(const std::string& root, int group, int feature, int value);

// The last pattern given to the LED tool, or empty.
std::string led_pattern(const std::string& root);

}  // namespace lab
