#pragma once

// The runtime block: the one process-wide record of options and shared state.
//
// Every subsystem reads it; each field names its writer, the writer's thread and what guards it.
// There is one instance, `runtime`, with constant initialisation and no destructor, so that a
// worker may end on any thread at any time. The supervisor fills in the options before the first
// fork and every worker inherits them; everything else starts afresh in each worker because only
// workers write it (the flow-log counter, which the supervisor uses too, is set to 0 by the new
// worker before its first line).
//
// Threads: main (start-up, then the timer loop on an extender or the root loop on a root), socket
// (`backhaul_sock_handle`), timer (`backhaul_timer_monitor`: the main thread of an extender, a
// thread of its own on a root), announce (`loop_slave_handle`, extender only).
//
// Lock order: `state_mutex` before `timer_mutex`, never the reverse. `apply_lock`,
// `intf_table_lock` (the two walks that a scan request makes) and `cipher_lock` (the files of one
// message and the line that makes them) are leaves.

#include "runtime/relaxed.h"

#include <pthread.h>
#include <array>
#include <atomic>
#include <cstdint>

struct intf_record;
struct ap_node;
struct event_log_entry;
struct frequency_list;
struct sqlite3;

/// Wireless Extensions version assumed when driver events are decoded.
inline constexpr int WE_VERSION_DEFAULT = 22;
/// UDP port of node messages.
inline constexpr uint16_t BACKHAUL_MSG_PORT = 36003;
/// UDP port of the root's announcement.
inline constexpr uint16_t ROOT_ANNOUNCE_PORT = 36002;
/// Bytes of a dotted IPv4 text with its terminator.
inline constexpr size_t IP_TEXT_SIZE = 16;

/// `visitor_network_feature` while it is not known.
inline constexpr int32_t VISITOR_FEATURE_UNKNOWN = -1;

/// Index into `runtime_block::service_ap_enabled` and `companion_reload`.
enum service_ap_index : uint8_t {
    SERVICE_AP_MAIN = 0,
    SERVICE_AP_GUEST = 1,
    SERVICE_AP_VISITOR = 2,
};

struct runtime_block {
    // Descriptors: written once at start-up (main thread) before the threads that read them.
    int netlink_fd = -1;
    int fifo_fd = -1;
    int msg_fd = -1;
    int we_version = WE_VERSION_DEFAULT;
    /// Kept at -1: the root loop's timers are its own locals.
    int timer_fd = -1;

    /// This node is the root. Written at start-up and by the socket thread just before it ends the
    /// worker.
    Relaxed<bool> master{false};
    /// Option d. Written by the supervisor only.
    bool backhaul_ap_enable = false;
    /// Option b, a heap copy handed to `loop_slave_handle`. Written by the supervisor only.
    char* b_arg = nullptr;
    /// Highest descriptor of the socket loop; written by the socket thread only.
    Relaxed<int> max_fd{0};
    /// Set by the socket thread (approval list command) and by the root's start; cleared by the
    /// root loop.
    Relaxed<bool> approval_changed{false};

    // The root's list of extenders: root loop thread only.
    ap_node* ap_list_head = nullptr;
    ap_node* ap_list_tail = nullptr;
    int32_t ap_count = 0;

    // Link bookkeeping of the extender: written under `state_mutex` by the dispatcher's callees,
    // and without it by the Ethernet detection (socket thread) and the extender start (main
    // thread).
    Relaxed<int32_t> backhaul_sta_num{0};
    /// Set once the extender start has classified the interfaces (main thread).
    Relaxed<bool> intf_init_done{false};
    Relaxed<intf_record*> backup_backhaul_sta{nullptr};
    /// Never changes after the extender start.
    Relaxed<intf_record*> best_backhaul_sta{nullptr};

    /// Set while a wired backhaul is present (socket thread).
    Relaxed<bool> eth_backhaul_active{false};
    /// Set once a station was found without configuration; never cleared (dispatcher).
    Relaxed<bool> sta_unconfigured{false};

    /// Address of the root last heard; written by the announce thread only, read by senders.
    RelaxedText<IP_TEXT_SIZE> rootap_ip;

    /// Records with a pending timeout; changed under `timer_mutex` (`intf_timer_set`).
    Relaxed<int32_t> active_timer_count{0};

    // Join/leave history: root loop thread only.
    event_log_entry* event_log_head = nullptr;
    event_log_entry* event_log_tail = nullptr;
    int32_t event_log_num = 0;

    /// Flow-log calls since the last rotation; every thread, an increment may be lost.
    Relaxed<int32_t> flow_log_lines{0};

    /// Interface table: written once by the loader (main thread), the pointer before the count,
    /// while the socket thread already runs.
    std::atomic<intf_record*> intf_table{nullptr};
    std::atomic<int32_t> intf_num{0};

    /// Per service AP (main, guest, visitor): whether the reference interface was not disabled at
    /// the last enable. `dev_intf_enable_set` on any thread, the root's configuration check.
    std::array<Relaxed<bool>, 3> service_ap_enabled{};
    /// Companions "ath22" and "ath23" to be reloaded at the next check; root loop thread only.
    std::array<bool, 2> companion_reload{};

    /// Set once this node may broadcast: set at start-up on a root, by the socket thread on an
    /// extender; never cleared.
    Relaxed<bool> backhaul_valid{false};

    /// Topology database and the memory of its connection, which is never closed; set at start-up,
    /// used by every thread (SQLite serialises it).
    sqlite3* db = nullptr;
    void* db_lookaside = nullptr;

    /// What the system tool says of the visitor network, once it has told; timer thread.
    Relaxed<int32_t> visitor_network_feature{VISITOR_FEATURE_UNKNOWN};
    /// The radio's channels, once it has told any; timer thread.
    frequency_list* dfs_channel_cache = nullptr;

    // Statically initialised and never initialised again: the socket thread may be inside the
    // dispatcher before the extender start, and a root never runs the extender start.
    pthread_mutex_t timer_mutex = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t timer_cond = PTHREAD_COND_INITIALIZER;
    pthread_mutex_t state_mutex = PTHREAD_MUTEX_INITIALIZER;
    pthread_mutex_t apply_lock = PTHREAD_MUTEX_INITIALIZER;
    pthread_mutex_t intf_table_lock = PTHREAD_MUTEX_INITIALIZER;
    pthread_mutex_t cipher_lock = PTHREAD_MUTEX_INITIALIZER;
    /// Times that a datagram was put before the tool; under `cipher_lock`.
    unsigned cipher_turn = 0;

    // Settings of the command line and of the start hint; written by the supervisor only.
    uint8_t max_disconnect = 3;
    uint8_t loop_disconnect = 10;
    uint8_t ready_decay = 5;
    bool intf_init = true;
};

extern runtime_block runtime;
