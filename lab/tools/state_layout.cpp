#include "lab/tools/state_layout.h"

#include <cstring>

#include "lab/tools/small_file.h"
#include "lab/tools/text_escape.h"

namespace lab {
namespace {

constexpr std::size_t NOL_ENTRY_SIZE = 12;

std::string iface_file(const std::string& interface, const std::string& name) {
    return "iface/" + state_name(interface) + "/" + name;
}

std::string iwpriv_file(const std::string& interface, const std::string& name) {
    return iface_file(interface, "priv/" + state_name(name));
}

std::string wpa_file(const std::string& interface, const std::string& name) {
    return "wpa/" + state_name(interface) + "/" + name;
}

// Type keyword of the interface in the profile, or empty.
std::string profile_type(const std::string& root, const std::string& interface) {
    std::string profile;
    file_read(root + "/tmp/wifi_if_profile", &profile);
    for (const std::string_view line : text_split(profile, '\n')) {
        const std::vector<std::string> words = text_words(line);
        if (words.size() >= 2 && words[0] == interface) {
            return words[1];
        }
    }
    return {};
}

}  // namespace

std::string state_path(const std::string& root, const std::string& name) {
    return root + "/run/lab/state/" + name;
}

std::string state_name(std::string_view text) {
    std::string name;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const char letter = text[at];
        if (letter == '/') {
            name += "%2f";
        } else if (letter == '%') {
            name += "%25";
        } else if (letter == '.' && at == 0) {
            name += "%2e";
        } else {
            name.push_back(letter);
        }
    }
    return name.empty() ? "%" : name;
}

std::string state_get(const std::string& root, const std::string& name,
                      const std::string& fallback) {
    std::string text;
    if (!file_read(state_path(root, name), &text)) {
        return fallback;
    }
    return without_line_end(text);
}

bool state_is_set(const std::string& root, const std::string& name) {
    return path_exists(state_path(root, name));
}

bool state_set(const std::string& root, const std::string& name, std::string_view value) {
    return file_write(state_path(root, name), value);
}

bool state_unset(const std::string& root, const std::string& name) {
    return file_remove(state_path(root, name));
}

int state_count_up(const std::string& root, const std::string& name) {
    // One more byte per count: appends of several tools never lose one another.
    file_append(state_path(root, name), "x");
    return static_cast<int>(file_size(state_path(root, name)));
}

void state_clear(const std::string& root) {
    folder_remove(root + "/run/lab/state");
}

bool wifi_associated_set(const std::string& root, const std::string& interface,
                         const std::string& ap_address) {
    return state_set(root, iface_file(interface, "ap"), ap_address);
}

bool wifi_not_associated_set(const std::string& root, const std::string& interface) {
    return state_unset(root, iface_file(interface, "ap"));
}

std::string wifi_ap_address(const std::string& root, const std::string& interface) {
    return state_get(root, iface_file(interface, "ap"));
}

bool wifi_mode_set(const std::string& root, const std::string& interface, const std::string& mode) {
    return state_set(root, iface_file(interface, "mode"), mode);
}

std::string wifi_mode(const std::string& root, const std::string& interface) {
    const std::string mode = state_get(root, iface_file(interface, "mode"));
    if (!mode.empty()) {
        return mode;
    }
    const std::string type = profile_type(root, interface);
    return type.empty() || type == "BACKHAUL_STA" ? "Managed" : "Master";
}

bool wifi_bss_up_set(const std::string& root, const std::string& interface, bool up) {
    const std::string down = iface_file(interface, "down");
    return up ? state_unset(root, down) : state_set(root, down, "1");
}

bool wifi_missing_set(const std::string& root, const std::string& interface,
                      const std::string& back_with_radio) {
    return state_set(root, iface_file(interface, "missing"), back_with_radio);
}

bool wifi_present_set(const std::string& root, const std::string& interface) {
    return state_unset(root, iface_file(interface, "missing"));
}

bool wifi_is_missing(const std::string& root, const std::string& interface) {
    return state_is_set(root, iface_file(interface, "missing"));
}

bool iwpriv_value_set(const std::string& root, const std::string& interface,
                      const std::string& name, const std::string& value) {
    return state_set(root, iwpriv_file(interface, name), value);
}

bool iwpriv_value_unset(const std::string& root, const std::string& interface,
                        const std::string& name) {
    return state_unset(root, iwpriv_file(interface, name));
}

std::string iwpriv_value(const std::string& root, const std::string& interface,
                         const std::string& name) {
    return state_get(root, iwpriv_file(interface, name));
}

bool wpa_state_set(const std::string& root, const std::string& interface,
                   const std::string& wpa_state) {
    return state_set(root, wpa_file(interface, "state"), wpa_state);
}

bool wpa_state_unset(const std::string& root, const std::string& interface) {
    return state_unset(root, wpa_file(interface, "state"));
}

std::string wpa_attached_conf(const std::string& root, const std::string& interface) {
    return state_get(root, wpa_file(interface, "conf"));
}

bool supplicant_boot_set(const std::string& root, SupplicantBoot boot) {
    const std::string name = boot == SupplicantBoot::process    ? "process"
                             : boot == SupplicantBoot::dead_pid ? "dead"
                             : boot == SupplicantBoot::no_file  ? "none"
                                                                : "init";
    return state_set(root, "supplicant_boot", name);
}

SupplicantBoot supplicant_boot(const std::string& root) {
    const std::string name = state_get(root, "supplicant_boot");
    return name == "process" ? SupplicantBoot::process
           : name == "dead"  ? SupplicantBoot::dead_pid
           : name == "none"  ? SupplicantBoot::no_file
                             : SupplicantBoot::init_pid;
}

// From outside a node its /var/run, an absolute link to /run, would lead to the caller's own.
static std::string supplicant_pid_path(const std::string& root) {
    const bool outside = root.rfind("/proc/", 0) == 0;
    return root + (outside ? "/run" : "/var/run") + "/wpa_supplicant-global.pid";
}

bool supplicant_pid_file_set(const std::string& root, unsigned pid) {
    return file_write(supplicant_pid_path(root), std::to_string(pid) + "\n");
}

bool supplicant_pid_file_remove(const std::string& root) {
    return file_remove(supplicant_pid_path(root));
}

bool hyd_running_set(const std::string& root, bool running) {
    return running ? state_set(root, "hyd_running", "1") : state_unset(root, "hyd_running");
}

bool hyd_is_running(const std::string& root) {
    return state_is_set(root, "hyd_running");
}

bool process_list_extra_set(const std::string& root, const std::string& lines) {
    return state_set(root, "process_list_extra", lines);
}

bool wireless_status_after_restart_set(const std::string& root, const std::string& text) {
    return state_set(root, "wireless_status", text);
}

bool agent_mode_set(const std::string& root, AgentMode mode, int requests) {
    folder_remove(state_path(root, "agent/requests"));
    const std::string text = mode == AgentMode::at_once       ? "at-once"
                             : mode == AgentMode::after       ? "after " + std::to_string(requests)
                             : mode == AgentMode::output_only ? "output-only"
                                                              : "never";
    return state_set(root, "agent/mode", text);
}

bool agent_reload_value_set(const std::string& root, const std::string& value) {
    return state_set(root, "agent/reload", value);
}

bool agent_reload_value_unset(const std::string& root) {
    return state_unset(root, "agent/reload");
}

bool nol_set(const std::string& root, const std::vector<std::uint16_t>& frequencies) {
    const auto count = static_cast<std::uint32_t>(frequencies.size());
    std::string bytes(sizeof count + frequencies.size() * NOL_ENTRY_SIZE, '\0');
    std::memcpy(bytes.data(), &count, sizeof count);
    std::size_t at = sizeof count;
    for (const std::uint16_t frequency : frequencies) {
        std::memcpy(&bytes[at], &frequency, sizeof frequency);
        at += NOL_ENTRY_SIZE;
    }
    return state_set(root, "nol", bytes);
}

bool nol_unset(const std::string& root) {
    return state_unset(root, "nol");
}

bool wifisys_feature_set(const std::string& root, int group, int feature, int value) {
    return state_set(root, "feature/" + std::to_string(group) + "." + std::to_string(feature),
                     std::to_string(value));
}

std::string led_pattern(const std::string& root) {
    return state_get(root, "led");
}

}  // namespace lab
