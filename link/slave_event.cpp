#include "link/slave_event.h"

#include <array>
#include "device/ap_settings_reload.h"
#include "device/autoconfig_agent.h"
#include "device/hop_distance.h"
#include "device/hyd.h"
#include "device/intf_enable.h"
#include "device/led.h"
#include "device/supplicant.h"
#include "device/txpower.h"
#include "device/whc.h"
#include "intf/intf_table.h"
#include "intf/intf_timer.h"
#include "link/autoconfig_timeout.h"
#include "link/backhaul_status.h"
#include "link/backhaul_type.h"
#include "link/backup_link.h"
#include "link/link_connect.h"
#include "link/link_disconnect.h"
#include "link/link_state.h"
#include "msg/msg_send.h"
#include "runtime/command.h"
#include "runtime/flow_log.h"
#include "runtime/runtime_block.h"
#include "runtime/scoped_lock.h"
#include "runtime/table_check.h"

namespace {

/// Every line of a reaction carries the dispatcher's name.
constexpr char DISPATCHER[] = "wifi_slave_event_process";

/// Whether `state_mutex` is released when the reaction is done.
enum class reaction_end { release, keep_locked };

reaction_end init_start_wired(intf_record* record) {
    intf_record* const eth = intf_find_by_name(ETH_INTF_NAME);
    if (eth == nullptr) {
        flow_log("%s : eth_intf is NULL\n", DISPATCHER);
        // Required: with a wired backhaul flagged and no record for it, the state machine stops
        // for good. Only a restart of the worker, with a new profile, makes it go on.
        return reaction_end::keep_locked;
    }
    flow_log("%s : ethernet backhaul exists\n", DISPATCHER);
    backhaul_type_file_write(BACKHAUL_TYPE_ETHERNET);
    autoconfig_reload_trigger();
    backhaul_intf_state_change(eth, ETH_BACKHAUL_CONNECTED);
    device_led_control(LED_CONNECTED, runtime.backhaul_sta_num);
    backhaul_intf_state_change(record, ETH_BACKHAUL_STANDBY);
    return reaction_end::release;
}

reaction_end init_start(intf_record* record) {
    intf_timer_set(record, TIMER_OFF);
    if (runtime.eth_backhaul_active) {
        return init_start_wired(record);
    }
    if (device_sta_config_exist(record)) {
        flow_log("%s : intf configured change to CONNECTING_BACKHAUL_AP\n", DISPATCHER);
        if (!runtime.sta_unconfigured) {
            device_led_control(LED_DISCONNECTED, runtime.backhaul_sta_num);
        }
        backhaul_intf_state_change(record, CONNECTING_BACKHAUL_AP);
        backhaul_type_file_write(BACKHAUL_TYPE_WIFI);
        dev_intf_enable_set(record, INTF_ENABLE);
        return reaction_end::release;
    }
    flow_log("%s : Not configured, wait a moment\n", DISPATCHER);
    runtime.sta_unconfigured = true;
    backhaul_intf_state_change(record, INIT);
    return reaction_end::release;
}

reaction_end connecting_assoc(intf_record* record) {
    intf_timer_set(record, TIMER_OFF);
    flow_log("%s : ASSOC\n", DISPATCHER);
    hyd_bcast_reset(record, INTF_ENABLE);
    backhaul_connected(record);
    return reaction_end::release;
}

reaction_end connecting_timeout(intf_record* record) {
    intf_timer_set(record, TIMER_OFF);
    dev_intf_enable_set(record, INTF_DISABLE);
    find_backup_backhaul_link(record);
    return reaction_end::release;
}

reaction_end configuring_disassoc(intf_record* record) {
    intf_timer_set(record, TIMER_OFF);
    flow_log("%s : AP_DISASSOC\n", DISPATCHER);
    hyd_bcast_reset(record, INTF_DISABLE);
    backhaul_disconnected(record);
    return reaction_end::release;
}

reaction_end configuring_success(intf_record* record) {
    intf_timer_set(record, TIMER_OFF);
    flow_log("%s(%s) : Service AP Auto Config Success\n", DISPATCHER, record->name.data());
    // For its side effect: "/tmp/rootdistance" is brought up to date.
    qca_dist_get(record);
    service_ap_reload();
    device_24g_txpower_decrease();
    hyd_bcast_reset(record, INTF_ENABLE);
    backhaul_send_msg(msg_word::uplink_scan, BACKHAUL_MSG_PORT);
    backhaul_status_write(backhaul_status::ready);
    backhaul_intf_state_change(record, BACKHAUL_READY);
    return reaction_end::release;
}

reaction_end configuring_timeout(intf_record* record) {
    intf_timer_set(record, TIMER_OFF);
    backhaul_auto_config_timeout_handle(record);
    return reaction_end::release;
}

reaction_end ready_disassoc(intf_record* record) {
    intf_timer_set(record, TIMER_OFF);
    flow_log("%s : AP_DISASSOC\n", DISPATCHER);
    backhaul_status_write(backhaul_status::not_ready);
    hyd_bcast_reset(record, INTF_DISABLE);
    backhaul_disconnected(record);
    return reaction_end::release;
}

reaction_end ready_config_best_ap(intf_record* record) {
    flow_log("%s : CONFIG_BEST_AP\n", DISPATCHER);
    backhaul_status_write(backhaul_status::not_ready);
    // The timer is not cleared first: the state change re-arms it for the switch.
    backhaul_intf_state_change(record, CONNECTING_TARGET_BACKHAUL_AP);
    backhaul_config_best_ap(record);
    return reaction_end::release;
}

reaction_end target_assoc(intf_record* record) {
    const mac_address bssid = record->bssid.get();
    flow_log("%s : switch to %02hhx:%02hhx:%02hhx:%02hhx:%02hhx:%02hhx\n", DISPATCHER, bssid[0],
             bssid[1], bssid[2], bssid[3], bssid[4], bssid[5]);
    device_whc_dist_set(qca_dist_get(record));
    intf_timer_set(record, TIMER_OFF);
    backhaul_status_write(backhaul_status::ready);
    backhaul_intf_state_change(record, BACKHAUL_READY);
    return reaction_end::release;
}

reaction_end switch_failed(intf_record* record) {
    intf_timer_set(record, TIMER_OFF);
    flow_log("%s : Connecting to target AP timeout, try to connect by default\n", DISPATCHER);
    backhaul_status_write(backhaul_status::not_ready);
    backhaul_disconnected(record);
    // Read after the loss was handled, which has just allowed the other band again.
    if (record->other_band_switching) {
        flow_log("%s : Switch to other band fail, stop to try it\n", DISPATCHER);
        record->other_band_scan_enable = false;
    }
    return reaction_end::release;
}

reaction_end wired_timeout(intf_record* record) {
    // The timer is neither cleared nor restarted: the agent is asked again at every sweep until
    // it reports success.
    flow_log("%s(%s) : try to sync Service AP settings again\n", DISPATCHER, record->name.data());
    hyd_alive_check();
    backhaul_send_msg(msg_word::flush_forwarding, BACKHAUL_MSG_PORT);
    autoconfig_agent_start(record);
    return reaction_end::release;
}

reaction_end wired_success(intf_record* record) {
    intf_timer_set(record, TIMER_OFF);
    flow_log("%s(%s) : Service AP Auto Config Success\n", DISPATCHER, record->name.data());
    service_ap_reload();
    device_24g_txpower_decrease();
    hyd_bcast_reset(record, INTF_ENABLE);
    backhaul_status_write(backhaul_status::ready);
    backhaul_intf_state_change(record, ETH_BACKHAUL_READY);
    return reaction_end::release;
}

reaction_end standby_assoc(intf_record* record) {
    // A station in standby that associates anyway is switched off again.
    dev_intf_enable_set(record, INTF_DISABLE);
    return reaction_end::release;
}

struct slave_reaction {
    link_state state;
    slave_event event;
    reaction_end (*react)(intf_record*);
};

constexpr std::array SLAVE_REACTIONS = {
    slave_reaction{INIT, START, init_start},
    slave_reaction{CONNECTING_BACKHAUL_AP, ASSOC, connecting_assoc},
    slave_reaction{CONNECTING_BACKHAUL_AP, TIMEOUT, connecting_timeout},
    slave_reaction{CONNECT_WITH_BACKHAUL_AP, AP_DISASSOC, configuring_disassoc},
    slave_reaction{CONNECT_WITH_BACKHAUL_AP, AUTO_CONFIG_SUCCESS, configuring_success},
    slave_reaction{CONNECT_WITH_BACKHAUL_AP, TIMEOUT, configuring_timeout},
    slave_reaction{BACKHAUL_READY, AP_DISASSOC, ready_disassoc},
    slave_reaction{BACKHAUL_READY, CONFIG_BEST_AP, ready_config_best_ap},
    slave_reaction{CONNECTING_TARGET_BACKHAUL_AP, ASSOC, target_assoc},
    slave_reaction{CONNECTING_TARGET_BACKHAUL_AP, TIMEOUT, switch_failed},
    slave_reaction{ETH_BACKHAUL_CONNECTED, TIMEOUT, wired_timeout},
    slave_reaction{ETH_BACKHAUL_CONNECTED, AUTO_CONFIG_SUCCESS, wired_success},
    slave_reaction{ETH_BACKHAUL_STANDBY, ASSOC, standby_assoc},
};

static_assert(table_keys_are_unique(SLAVE_REACTIONS, [](const slave_reaction& reaction) {
    return reaction.state * (int{CONFIG_BEST_AP} + 1) + static_cast<int>(reaction.event);
}));

/// States that log their name for every event, handled or not; the others log nothing.
constexpr bool state_is_announced(link_state state) {
    return state == INIT || state == CONNECTING_BACKHAUL_AP || state == CONNECT_WITH_BACKHAUL_AP ||
           state == BACKHAUL_READY;
}

reaction_end slave_event_react(intf_record* record, slave_event event) {
    const link_state state = record->state;
    if (state_is_announced(state)) {
        flow_log("%s : %s\n", DISPATCHER, link_state_name(state));
    }
    for (const slave_reaction& reaction : SLAVE_REACTIONS) {
        if (reaction.state == state && reaction.event == event) {
            return reaction.react(record);
        }
    }
    return reaction_end::release;
}

}  // namespace

void wifi_slave_event_process(intf_record* record, slave_event event) {
    if (record == nullptr) {
        return;
    }
    ScopedLock lock(runtime.state_mutex);
    flow_log("%s : ifname %s event %d\n", __func__, record->name.data(), static_cast<int>(event));
    if (slave_event_react(record, event) == reaction_end::keep_locked) {
        lock.release();
    }
}

void service_ap_reload() {
    device_led_control(LED_CONFIG, runtime.backhaul_sta_num);
    device_reload_ap_settings();
    device_led_control(LED_FINISH, runtime.backhaul_sta_num);
    command_run(AUTOCONFIG_RELOAD_AFTER_APPLY);
}

void backhaul_config_best_ap(intf_record* record) {
    device_config_best_ap(record);
}
