#include "device/supplicant.h"

#include "device/pid_file.h"
#include "device/uci.h"
#include "runtime/command.h"
#include "runtime/file_io.h"
#include "runtime/flow_log.h"

#include <unistd.h>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace {

constexpr size_t SSID_SIZE = 33;
constexpr size_t AUTH_SIZE = 16;
constexpr size_t CONF_PATH_SIZE = sizeof "/tmp/wpa_supplicant-.conf" + INTF_NAME_SIZE;
/// Holds a status line of 256 characters.
constexpr size_t STATUS_LINE_SIZE = 257;

/// One try to attach; true when interface_add did not answer FAIL.
bool supplicant_interface_add(const intf_record* record) {
    const char* const name = record->name.data();
    if (!pid_file_alive(SUPPLICANT_PID_PATH)) {
        command_run("/etc/init.d/qca-wpa-supplicant boot");
        sleep(1);
    }
    std::array<char, CONF_PATH_SIZE> path{};
    std::snprintf(path.data(), path.size(), "/tmp/wpa_supplicant-%s.conf", name);
    device_supplicant_conf_write(record, path.data());
    // The control socket has no dash before "global", unlike the pid file.
    std::remove(WPA_RESULT_PATH);
    command_format_run(COMMAND_SIZE_LONG,
                       "wpa_cli -g /var/run/wpa_supplicantglobal interface_add %s %s athr "
                       "/var/run/wpa_supplicant-%s \"\" br-lan > /tmp/wpa_result",
                       name, path.data(), name);
    const File file(WPA_RESULT_PATH, "r");
    std::array<char, 64> word{};
    return !file || !file_first_word(file.get(), word) || std::string_view(word.data()) != "FAIL";
}

}  // namespace

void device_supplicant_attach(const intf_record* record) {
    // Its log lines carry the name of the operation that everybody calls.
    static constexpr char CALLER[] = "dev_intf_enable_set";
    for (;;) {
        if (!supplicant_interface_add(record)) {
            device_supplicant_detach(record);
            flow_log("%s : wpa_cli fail, try again\n", CALLER);
        } else if (wpa_state(record)) {
            flow_log("%s : %s is INTERFACE_DISABLED, restart it\n", CALLER, record->name.data());
            device_supplicant_detach(record);
        } else {
            return;
        }
        sleep(1);
    }
}

void device_supplicant_detach(const intf_record* record) {
    // Two blanks before the verb are part of the line that others rely on.
    command_format_run(COMMAND_SIZE_LONG,
                       "wpa_cli -g /var/run/wpa_supplicantglobal  interface_remove %s",
                       record->name.data());
}

void device_supplicant_conf_write(const intf_record* record, const char* path) {
    FileRewrite file(path, file_readers::owner);
    if (!file) {
        return;
    }
    const char* const name = record->name.data();
    std::array<char, SSID_SIZE> ssid{};
    std::array<char, AUTH_SIZE> auth{};
    uci_value key{};
    wireless_uci_get(name, "ssid", ssid);
    wireless_uci_get(name, "auth", auth);
    wireless_uci_get(name, "WPAPSKkey", key);
    std::fprintf(file.get(), "network={\n\tscan_ssid=1\n\tssid=\"%s\"\n", ssid.data());
    // With any other value the block stays open, which is the required form of such a file.
    if (std::string_view(auth.data()) == "WPA2PSK") {
        std::fprintf(file.get(), "\tproto=RSN\n\tkey_mgmt=WPA-PSK\n\tpsk=\"%s\"\n}\n", key.data());
    }
    file.commit();
}

bool wpa_state_line_is_disabled(const char* line) {
    return std::strstr(line, "INTERFACE_DISABLED") != nullptr;
}

bool wpa_state(const intf_record* record) {
    if (record->type != BACKHAUL_STA) {
        return false;
    }
    const char* const name = record->name.data();
    std::remove(WPA_STATUS_PATH);
    command_format_run(COMMAND_SIZE_LONG,
                       "wpa_cli -i %s -p /var/run/wpa_supplicant-%s status > /tmp/wpa_cli_status",
                       name, name);
    const File file(WPA_STATUS_PATH, "r");
    if (!file) {
        return false;
    }
    std::array<char, STATUS_LINE_SIZE> line{};
    while (file_next_piece(file.get(), line)) {
        if (std::strstr(line.data(), "wpa_state") != nullptr) {
            return wpa_state_line_is_disabled(line.data());
        }
    }
    return false;
}

void device_sta_intf_ssid_set(const intf_record* record) {
    const char* const name = record->name.data();
    std::array<char, SSID_SIZE> ssid{};
    wireless_uci_get(name, "ssid", ssid);
    command_format_run(COMMAND_SIZE_SHORT, "iwconfig %s essid on", name);
    // The longest name and the longest SSID fill the buffer exactly.
    static_assert(sizeof("iwconfig  essid ") - 1 + (INTF_NAME_SIZE - 1) + (SSID_SIZE - 1) <
                  COMMAND_SIZE_SHORT);
    static constexpr char LINE[] = "iwconfig %s essid %s";
    std::array<char, COMMAND_SIZE_SHORT> text{};
    std::snprintf(text.data(), text.size(), LINE, name, ssid.data());
    flow_log("%s : %s\n", __func__, text.data());
    command_format_run(COMMAND_SIZE_SHORT, LINE, name, own_value{ssid.data(), name, "ssid"});
}

bool device_sta_config_exist(const intf_record* record) {
    uci_value value{};
    wireless_uci_get(record->name.data(), "ssid", value);
    if (value[0] == '\0') {
        return false;
    }
    wireless_uci_get(record->name.data(), "WPAPSKkey", value);
    return value[0] != '\0';
}
