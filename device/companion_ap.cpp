#include "device/companion_ap.h"

#include "device/approval_list.h"
#include "device/intf_enable.h"
#include "device/uci.h"
#include "device/wireless_apply.h"
#include "intf/intf_table.h"
#include "runtime/flow_log.h"
#include "runtime/runtime_block.h"

#include <array>
#include <cstdio>
#include <string_view>

namespace {

/// A companion access point, the interface that it follows and where its flags are kept.
struct companion_row {
    const char* reference;
    const char* companion;
    service_ap_index enabled_index;
};

constexpr std::array<companion_row, 2> COMPANION_TABLE = {{
    {"ath10", "ath22", SERVICE_AP_MAIN},
    {"ath11", "ath23", SERVICE_AP_GUEST},
}};
static_assert(COMPANION_TABLE.size() == sizeof(runtime_block::companion_reload));

constexpr std::array<const char*, 3> HIDDEN_INTF = {"ath22", "ath23", "ath24"};

void companion_set(intf_record* record, intf_switch on) {
    const char* const name = record->name.data();
    wireless_uci_set(name, "hidden", "1");
    uci_value disabled{};
    wireless_uci_get(name, "disabled", disabled);
    if (on == INTF_DISABLE) {
        wireless_uci_set(name, "disabled", "1");
        device_wireless_apply(record);
    } else if (std::string_view(disabled.data()) == "1") {
        dev_intf_enable_set(record, INTF_ENABLE);
    }
}

void companion_reload(const intf_record* record, bool enabled) {
    flow_log("%s : reload %s %hhu\n", "device_wifi_config_check", record->name.data(),
             static_cast<uint8_t>(enabled));
    wireless_uci_set(record->name.data(), "disabled", enabled ? "0" : "1");
    device_wireless_apply(record);
}

}  // namespace

void device_approval_list_check() {
    if (!runtime.approval_changed) {
        return;
    }
    switch (approval_list_readiness()) {
        case approval_readiness::missing:
            break;
        case approval_readiness::not_ready:
            flow_log("%s : approval list not ready\n", __func__);
            break;
        case approval_readiness::ready:
            runtime.approval_changed = false;
            device_ap_steering_workaround();
            break;
    }
}

void device_ap_steering_workaround() {
    flow_log("%s : Enter\n", __func__);
    if (approval_list_model_approved()) {
        device_5g_high_ap_set(INTF_ENABLE);
    } else if (approval_list_approved_count() > 0) {
        device_5g_high_ap_set(INTF_DISABLE);
    }
}

void device_5g_high_ap_set(intf_switch on) {
    flow_log("%s : config %d\n", __func__, on);
    for (const companion_row& row : COMPANION_TABLE) {
        intf_record* const record = intf_find_by_name(row.companion);
        if (record != nullptr) {
            companion_set(record, on);
        }
    }
}

void device_hidden_ap_set(int value) {
    std::array<char, 12> text{};
    std::snprintf(text.data(), text.size(), "%d", value);
    for (const char* const name : HIDDEN_INTF) {
        wireless_uci_set(name, "hidden", text.data());
    }
}

wifi_config_step wifi_config_choose(bool companion_exists, bool reload, bool enabled,
                                    const char* reference_disabled) {
    const std::string_view disabled(reference_disabled);
    wifi_config_step step{
        .reload = companion_exists && reload, .reload_next = reload, .enabled_next = enabled};
    if (step.reload) {
        step.reload_next = false;
    }
    if (enabled && disabled == "1") {
        step.reload_next = true;
        step.enabled_next = false;
    } else if (!enabled && disabled == "0") {
        step.reload_next = true;
        step.enabled_next = true;
    }
    return step;
}

void device_wifi_config_check(int index) {
    if (index < 0 || static_cast<size_t>(index) >= COMPANION_TABLE.size() ||
        !approval_list_model_approved()) {
        return;
    }
    const companion_row& row = COMPANION_TABLE[static_cast<size_t>(index)];
    bool& reload = runtime.companion_reload[static_cast<size_t>(index)];
    Relaxed<bool>& enabled = runtime.service_ap_enabled[row.enabled_index];

    uci_value disabled{};
    wireless_uci_get(row.reference, "disabled", disabled);
    const intf_record* const companion = intf_find_by_name(row.companion);
    const bool enabled_before = enabled;
    const wifi_config_step step =
        wifi_config_choose(companion != nullptr, reload, enabled_before, disabled.data());
    // A change seen now is carried to the companion by the next call: one call of lag.
    if (step.reload) {
        companion_reload(companion, enabled_before);
    }
    reload = step.reload_next;
    if (step.enabled_next != enabled_before) {
        enabled = step.enabled_next;
    }
}
