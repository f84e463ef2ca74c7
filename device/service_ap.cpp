#include "device/service_ap.h"

#include "device/intf_enable.h"
#include "device/uci.h"
#include "intf/intf_table.h"
#include "runtime/runtime_block.h"

void service_ap_enable_all(intf_switch on) {
    for (intf_record& record : intf_table_walk()) {
        const bool follows_backhaul = record.type == BACKHAUL_AP && runtime.backhaul_ap_enable;
        if (intf_type_is_service_ap(record.type) || follows_backhaul) {
            dev_intf_enable_set(&record, on);
        }
    }
}

void device_ap_intf_uci_disable_all() {
    for (const intf_record& record : intf_table_walk()) {
        if (intf_type_is_service_ap(record.type) || record.type == BACKHAUL_AP) {
            wireless_uci_set(record.name.data(), "disabled", "1");
        }
    }
}
