#include "tests/fuzz/lives/rules.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <functional>
#include <unordered_set>
#include <utility>

#include "intf/intf_table.h"
#include "lab/rules/link_table.h"
#include "lab/rules/link_tracker.h"
#include "link/link_state.h"
#include "root/ap_list.h"
#include "runtime/flow_log.h"
#include "runtime/runtime_block.h"
#include "tests/fuzz/lives/life.h"
#include "tests/fuzz/lives/shell_words.h"

namespace lives {
namespace {

constexpr std::array<std::string_view, static_cast<size_t>(Sign::count)> SIGN_LINES = {
    "wifi_backhaul_recover : Enter",
    "backhaul_slave_backhaul_restore : Enter",
    "find_backup_backhaul_link : finding backup backhaul link",
    "find_backup_backhaul_link : found backup backhaul sta",
    "backhaul_dfs_check : dfs_count",
    "device_dfs_monitoring : Disable",
    "device_dfs_blocking : Enable",
    "wifi_slave_eth_detect : Enter",
    "backhaul_connected : Unknown status",
    "wifi_slave_event_process : eth_intf is NULL",
    "backhaul_auto_config_timeout_handle : backhaul sta lost connection",
};

SignSet sign(Sign one) {
    return SignSet().set(static_cast<size_t>(one));
}

// Stores past the transition table; -1: from any state.
struct DirectStore {
    int32_t from;
    int32_t to;
    Sign told_by;
};
constexpr int32_t ANY = -1;
constexpr std::array DIRECT_STORES = {
    DirectStore{ANY, INIT, Sign::recover},
    DirectStore{CONNECT_PENDING, INIT, Sign::restore},
    DirectStore{CONNECTING_BACKHAUL_AP, ETH_BACKHAUL_STANDBY, Sign::search},
    DirectStore{ETH_BACKHAUL_STANDBY, INIT, Sign::backup_found},
    DirectStore{ANY, DFS_MONITORING, Sign::dfs_count},
    DirectStore{DFS_MONITORING, DFS_BLOCKING, Sign::dfs_disable},
    DirectStore{DFS_BLOCKING, DFS_MONITORING, Sign::dfs_enable},
};

// Reactions of the required behaviour after which the count of links is another than the number of
// stations with a link.
struct KnownDrift {
    Sign told_by;
    const char* reason;
};
constexpr std::array KNOWN_DRIFTS = {
    KnownDrift{Sign::unknown_status,
               "an association that fits no case is counted, and its station left as it is"},
    KnownDrift{Sign::wired, "the cable sets the count to 0; a station that is switching stays so"},
    KnownDrift{Sign::recover, "all stations go back to idle, and the count stays"},
};

constexpr std::array FINAL_FILES = {
    "/tmp/backhaul_status",  "/tmp/backhaul_mode_change", "/tmp/rootdistance",
    "/tmp/backhaul_ap_list", "/tmp/backhaul_type",        "/tmp/rootap_ip",
    "/tmp/WirelessDev",      "/tmp/wifi24G_Apply",        "/tmp/wifi5G_Apply",
    "/tmp/wifi5G_2_Apply",   "/tmp/dynamic_24g_txpower",  "/tmp/ssl_input",
    "/tmp/ssl_output",       "/tmp/ssl_decrypt",          "/var/log/backhaul_log"};

ContractLines contract;

bool is_one_of(const std::string& text, std::initializer_list<std::string_view> words) {
    return std::ranges::find(words, text) != words.end();
}

bool is_number_line(const std::string& text) {
    return text.size() > 1 && text.ends_with('\n') &&
           text.find_first_not_of("-0123456789") == text.size() - 1;
}

bool is_whole_lines(const std::string& text) {
    return text.empty() || text.ends_with('\n');
}

bool is_interface_name(const std::string& text) {
    return !text.empty() && text.size() < INTF_NAME_SIZE &&
           std::ranges::none_of(text, [](unsigned char c) { return std::isspace(c) != 0; });
}

bool is_conf(const std::string& text) {
    return text.starts_with("network={\n\tscan_ssid=1\n\tssid=\"") && text.ends_with('\n');
}

// What may ever stand in a file that the daemon alone writes.
struct StatusFile {
    std::string_view path;
    bool (*is_whole)(const std::string& text);
};
constexpr std::array STATUS_FILES = {
    StatusFile{"/tmp/backhaul_status",
               [](const std::string& text) {
                   return is_one_of(text, {"not ready\n", "connected\n", "ready\n"});
               }},
    StatusFile{"/tmp/backhaul_type",
               [](const std::string& text) {
                   return is_one_of(text, {"wifi\n", "ethernet\n"});
               }},
    StatusFile{"/tmp/WirelessDev",
               [](const std::string& text) {
                   return is_one_of(text, {"wifi0", "wifi1", "wifi2"});
               }},
    StatusFile{"/tmp/rootdistance", is_number_line},
    StatusFile{"/tmp/dynamic_24g_txpower",
               [](const std::string& text) {
                   return text == "23\n";
               }},
    StatusFile{"/tmp/wifi24G_Apply", is_interface_name},
    StatusFile{"/tmp/wifi5G_Apply", is_interface_name},
    StatusFile{"/tmp/wifi5G_2_Apply", is_interface_name},
    StatusFile{"/tmp/rootap_ip",
               [](const std::string& text) {
                   return is_whole_lines(text) && std::ranges::count(text, '.') == 3;
               }},
    StatusFile{"/tmp/wpa_supplicant-ath0.conf", is_conf},
    StatusFile{"/tmp/wpa_supplicant-ath1.conf", is_conf},
    StatusFile{"/tmp/wpa_supplicant-ath2.conf", is_conf},
    StatusFile{"/var/log/backhaul_log", is_whole_lines},
};

bool state_has_link(int32_t state) {
    return state == CONNECT_WITH_BACKHAUL_AP || state == BACKHAUL_READY ||
           state == CONNECTING_TARGET_BACKHAUL_AP;
}

int32_t links_linked() {
    const auto table = intf_table_walk();
    return static_cast<int32_t>(std::ranges::count_if(table, [](const intf_record& record) {
        return record.type == BACKHAUL_STA && state_has_link(record.state.get());
    }));
}

bool all_are_home(const Life& life) {
    return std::ranges::all_of(life.threads, [](const auto& thread) { return thread->is_home; });
}

std::string state_words(const std::string& name, int32_t from, int32_t to) {
    return name + " went from " + lab::link_state_text(from) + " to " + lab::link_state_text(to);
}

}  // namespace

bool Rules::prepare(const char* commands_path) {
    return contract.read(commands_path);
}

void Rules::worker_started() {
    *this = {};
}

void Rules::log_line(Life& life, std::string_view line) {
    constexpr size_t DATE_SIZE = 27;  // with " : "
    line.remove_prefix(std::min(line.size(), DATE_SIZE));
    line = line.substr(0, line.find('\n'));
    life.tell("   " + std::string(line));
    for (size_t i = 0; i < SIGN_LINES.size(); ++i) {
        if (line.starts_with(SIGN_LINES[i])) {
            life.current->signs.set(i);
            step_signs_.set(i);
            state_mutex_is_kept =
                state_mutex_is_kept || i == static_cast<size_t>(Sign::no_eth_record);
        }
    }
    look(life);
    if (const auto change = lab::state_change_parse(line)) {
        request_ = {true, change->interface, change->from, change->requested};
    }
}

void Rules::clock_moved() {
    clock_was_moved_ = true;
}

void Rules::look(Life& life) {
    states_check(life);
    request_check(life);
}

// The states that have been stored since the last look are those of the table, or known stores.
void Rules::states_check(Life& life) {
    const auto table = intf_table_walk();
    states_.resize(table.size(), INIT);
    for (size_t i = 0; i < table.size(); ++i) {
        const int32_t before = std::exchange(states_[i], table[i].state.get());
        const int32_t now = states_[i];
        if (before == now) {
            continue;
        }
        const std::string name = table[i].name.data();
        if ((request_.is_open && request_.name == name && request_.from == before &&
             request_.to == now && lab::link_change(before, now).has_value())) {
            continue;
        }
        // The extender's start, on the first thread.
        const bool starts = life.current == life.threads.front().get() && before == INIT &&
                            (now == AP_TIMER_WAIT || now == ETH_BACKHAUL_DOWN);
        const bool is_known = std::ranges::any_of(DIRECT_STORES, [&](const DirectStore& row) {
            return (row.from == ANY || row.from == before) && row.to == now &&
                   life.current->signs.test(static_cast<size_t>(row.told_by));
        });
        if (!starts && !is_known) {
            life.broken(state_words(name, before, now) + ", which no rule lets it");
        }
    }
}

// A request that the table accepts is carried out, with what becomes of the timeout.
void Rules::request_check(Life& life) {
    if (!request_.is_open) {
        return;
    }
    request_.is_open = false;
    const auto timer = lab::link_change(request_.from, request_.to);
    const auto table = intf_table_walk();
    const bool done = std::ranges::any_of(table, [&](const intf_record& record) {
        return request_.name == record.name.data() &&
               record.state.get() == (timer ? request_.to : request_.from) &&
               (!timer || (record.timer_start.get() != 0) == (*timer == lab::LinkTimer::arm));
    });
    if (!done) {
        life.broken(state_words(request_.name, request_.from, request_.to) +
                    " as requested, but not as the table has it");
    }
}

void Rules::command(Life& life, const std::string& line) {
    // A tool may read them now.
    files_check(life);
    static std::unordered_set<std::string> good;
    constexpr size_t GOOD_MAX = 50'000;
    if (good.contains(line)) {
        return;
    }
    if (!contract.hold(line, life.own_values)) {
        life.broken("no line of the contract, or read by the shell as more than it says: " + line);
    }
    // Only what holds whatever the configuration says is remembered.
    if (good.size() < GOOD_MAX && contract.hold(line, {})) {
        good.insert(line);
    }
}

void Rules::message_sent(Life& life, const std::string& bytes, uint16_t port) {
    const size_t at = bytes.find('/');
    const std::string word = at == std::string::npos ? "" : bytes.substr(at + 1);
    life.tell("   (sends " + word + " to port " + std::to_string(port) + ")");
    const bool is_word = is_one_of(word, {"FLUSHFORWARDING", "UPLINKSCAN", "NETWORKRELOAD",
                                          "CHECK_VALID", "CHECK_VALID_REPLY", "ImRootAP"});
    // A tool that answered something else is not the daemon's doing.
    if (bytes.starts_with("Salted__") && at != std::string::npos && !is_word) {
        life.broken("sends what is no word: " + word);
    }
    if (is_word && !runtime.backhaul_valid &&
        !is_one_of(word, {"CHECK_VALID", "CHECK_VALID_REPLY"})) {
        life.broken("is not admitted, and sends " + word);
    }
    if (port != ROOT_ANNOUNCE_PORT && port != BACKHAUL_MSG_PORT) {
        life.broken("sends to port " + std::to_string(port));
    }
}

// State before timer; the others are leaves.
void Rules::mutex_taken(Life& life, const void* mutex) {
    for (const pthread_mutex_t* const held : life.current->held) {
        const bool is_leaf = held != &runtime.state_mutex;
        if (is_leaf || mutex == &runtime.state_mutex) {
            life.broken("takes two locks in an order that another thread may turn round");
        }
    }
}

void Rules::file_opened(Life& life, const std::string& path) {
    const std::string name = path.substr(0, path.rfind(".new"));
    const bool is_ours =
        path == FLOW_LOG_PATH ||
        (path != name && (std::ranges::find(FINAL_FILES, name) != FINAL_FILES.end() ||
                          (name.starts_with("/tmp/wpa_supplicant-") && name.ends_with(".conf"))));
    if (!is_ours) {
        life.broken("makes the file " + path + " in its final place, or one that it never writes");
    }
}

void Rules::standstill(Life& life) {
    locks_check(life);
    timers_check(life);
    deadlines_check(life);
    files_check(life);
    if (all_are_home(life)) {
        links_check(life);
        extenders_check(life);
        descriptors_check(life);
    }
}

void Rules::locks_check(Life& life) const {
    for (const auto& [mutex, owner] : life.mutex_owners) {
        const bool is_kept = mutex == &runtime.state_mutex && state_mutex_is_kept;
        if (owner->is_home && !is_kept) {
            life.broken(owner->name + " is back at its loop with a lock held");
        }
    }
}

void Rules::timers_check(Life& life) const {
    int32_t armed = 0;
    for (const intf_record& record : intf_table_walk()) {
        const bool pending = record.timer_start.get() != 0;
        armed += pending ? 1 : 0;
        if (pending != (record.timer_type.get() == TIMER_ON)) {
            life.broken(std::string(record.name.data()) + " is armed by half");
        }
    }
    const int32_t counted = runtime.active_timer_count.get();
    if (armed != counted) {
        life.broken(std::to_string(armed) + " timeouts are armed, " + std::to_string(counted) +
                    " counted");
    }
    for (const auto& thread : life.threads) {
        if (thread->wait.kind == WaitKind::condition && counted > 0) {
            life.broken("a timeout is armed, and the timer thread sleeps");
        }
    }
}

// An armed timeout ends, and is acted on when it does.
void Rules::deadlines_check(Life& life) const {
    const auto sweeper = std::ranges::find_if(life.threads, [](const auto& thread) {
        return thread->is_home && thread->wait.kind == WaitKind::seconds;
    });
    const bool timer_is_home = sweeper != life.threads.end();
    // A sweep goes by the time at which it began.
    const int64_t since_sweep = timer_is_home ? life.elapsed - (*sweeper)->last_left : 0;
    for (const intf_record& record : intf_table_walk()) {
        if (record.timer_start.get() == 0) {
            continue;
        }
        const int32_t state = record.state.get();
        const auto limit = lab::link_limit(state);
        if (!limit) {
            life.broken(std::string(record.name.data()) + " is armed in " +
                        lab::link_state_text(state) + ", which has no limit");
            continue;
        }
        const int64_t elapsed =
            life.wall_clock() - since_sweep - static_cast<int64_t>(record.timer_start.get());
        // The agent of a wired node is asked again at each second, without a new start.
        if (timer_is_home && !clock_was_moved_ && !state_mutex_is_kept && elapsed > *limit &&
            state != ETH_BACKHAUL_CONNECTED) {
            life.broken(std::string(record.name.data()) + " is " + std::to_string(elapsed) +
                        " s in " + lab::link_state_text(state) + ", and nothing was done");
        }
    }
}

void Rules::links_check(Life& life) {
    const int32_t drift = runtime.backhaul_sta_num.get() - links_linked();
    const int32_t before = std::exchange(drift_, drift);
    const SignSet signs = std::exchange(step_signs_, {});
    if (drift == before) {
        return;
    }
    for (const KnownDrift& known : KNOWN_DRIFTS) {
        if ((signs & sign(known.told_by)).any()) {
            life.tell(std::string("   (known: ") + known.reason + ")");
            return;
        }
    }
    life.broken("counts " + std::to_string(runtime.backhaul_sta_num.get()) + " links, " +
                std::to_string(links_linked()) + " stations have one");
}

void Rules::files_check(Life& life) {
    if (std::exchange(files_seen_, life.files.changes()) == life.files.changes()) {
        return;
    }
    for (const StatusFile& status : STATUS_FILES) {
        const FileNodePtr node = life.files.find(std::string(status.path));
        if (node != nullptr && node->kind == FileKind::regular && !status.is_whole(node->content)) {
            life.broken(std::string(status.path) + " holds `" + node->content + "`");
        }
    }
}

// Nothing that a reaction opened stays open.
void Rules::descriptors_check(Life& life) const {
    if (life.files.open_count() > 0 || life.descriptor_count(DescriptorKind::file) > 0 ||
        life.tables.size() > 0) {
        life.broken("all threads are at home, and something that they opened is still open");
    }
}

void Rules::extenders_check(Life& life) const {
    int32_t listed = 0;
    for (const ap_node* node = runtime.ap_list_head; node != nullptr; node = node->next) {
        ++listed;
    }
    if (listed != runtime.ap_count) {
        life.broken(std::to_string(listed) + " extenders are listed, " +
                    std::to_string(runtime.ap_count) + " counted");
    }
}

}  // namespace lives
