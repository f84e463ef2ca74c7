#include "root/root_intf.h"

#include "device/approval_list.h"
#include "device/intf_enable.h"
#include "device/supplicant.h"
#include "intf/intf_table.h"
#include "runtime/runtime_block.h"

root_intf_action root_intf_choose(intf_type type, uint8_t follow_primary, int approved) {
    if (type == BACKHAUL_AP) {
        return root_intf_action::enable_if_configured;
    }
    if (!intf_type_is_service_ap(type) && type != PRE_DEF_AP) {
        return root_intf_action::none;
    }
    if (follow_primary != 0 && approved >= 1) {
        return root_intf_action::disable;
    }
    return root_intf_action::enable_if_configured;
}

void backhaul_root_intf_init() {
    const int approved = approval_list_approved_count();
    for (intf_record& record : intf_table_walk()) {
        const root_intf_action action =
            root_intf_choose(record.type, record.follow_primary, approved);
        if (action == root_intf_action::disable) {
            dev_intf_enable_set(&record, INTF_DISABLE);
        } else if (action == root_intf_action::enable_if_configured &&
                   device_sta_config_exist(&record)) {
            dev_intf_enable_set(&record, INTF_ENABLE);
        }
    }
    runtime.approval_changed = true;
}
