#include "device/intf_enable.h"

#include "device/supplicant.h"
#include "device/uci.h"
#include "device/wireless_apply.h"
#include "intf/intf_table.h"
#include "runtime/flow_log.h"
#include "runtime/runtime_block.h"

#include <array>
#include <cstddef>
#include <string_view>

namespace {

/// Longest `disabled` that is compared or copied, with terminator.
constexpr size_t DISABLED_SIZE = 8;
using disabled_text = std::array<char, DISABLED_SIZE>;

bool disabled_is_off(const disabled_text& disabled) {
    return std::string_view(disabled.data()) == "0";
}

void station_enable(intf_record* record) {
    wireless_uci_set(record->name.data(), "disabled", "0");
    device_wireless_apply(record);
    device_sta_intf_ssid_set(record);
    device_supplicant_attach(record);
}

/// Copies the primary's `disabled` to the record and notes whether the primary is in use.
void reference_follow(const intf_record* record, disabled_text& disabled) {
    const char* const reference = reference_intf_name(record->type);
    if (reference == nullptr) {
        return;
    }
    wireless_uci_get(reference, "disabled", disabled);
    wireless_uci_set(record->name.data(), "disabled", disabled.data());
    static_assert(MAIN_SERVICE_AP == int{SERVICE_AP_MAIN} &&
                  GUEST_SERVICE_AP == int{SERVICE_AP_GUEST} &&
                  VISITOR_SERVICE_AP == int{SERVICE_AP_VISITOR});
    runtime.service_ap_enabled[static_cast<size_t>(record->type)] = disabled_is_off(disabled);
}

/// Enabling honours what the configuration says: `disabled` is never set to "0" here.
void service_ap_enable(const intf_record* record) {
    disabled_text disabled{};
    if (record->follow_primary == 0) {
        wireless_uci_get(record->name.data(), "disabled", disabled);
    } else {
        reference_follow(record, disabled);
    }
    if (disabled_is_off(disabled)) {
        device_wireless_apply(record);
    }
}

void service_ap_disable(const intf_record* record) {
    disabled_text disabled{};
    wireless_uci_get(record->name.data(), "disabled", disabled);
    if (disabled_is_off(disabled)) {
        wireless_uci_set(record->name.data(), "disabled", "1");
        device_wireless_apply(record);
    }
}

void intf_enable(intf_record* record) {
    if (record->type == BACKHAUL_STA) {
        station_enable(record);
    } else if (record->type == BACKHAUL_AP) {
        wireless_uci_set(record->name.data(), "disabled", "0");
        device_wireless_apply(record);
    } else {
        service_ap_enable(record);
    }
}

void intf_disable(const intf_record* record) {
    if (record->type != BACKHAUL_STA && record->type != BACKHAUL_AP) {
        service_ap_disable(record);
        return;
    }
    if (record->type == BACKHAUL_STA) {
        device_supplicant_detach(record);
    }
    wireless_uci_set(record->name.data(), "disabled", "1");
    device_wireless_apply(record);
}

}  // namespace

const char* reference_intf_name(intf_type type) {
    switch (type) {
        case MAIN_SERVICE_AP:
            return "ath10";
        case GUEST_SERVICE_AP:
            return "ath11";
        case VISITOR_SERVICE_AP:
            return "ath14";
        case BACKHAUL_STA:
        case BACKHAUL_AP:
        case PRE_DEF_AP:
        case ETHERNET:
        case AP_TIMER_INTF:
        case INTF_TYPE_OTHER:
            break;
    }
    return nullptr;
}

void dev_intf_enable_set(intf_record* record, intf_switch on) {
    if (on == INTF_ENABLE) {
        flow_log("%s : enable %s\n", __func__, record->name.data());
        intf_enable(record);
    } else {
        flow_log("%s : disable %s\n", __func__, record->name.data());
        intf_disable(record);
    }
}
