// The daemon's own functions beside their floors, in this process: one log entry, a message out and
// in, and what grows with the mesh at 10, 100 and 1,000. Started inside a node; prints a line for
// each row: measure, microseconds here, of the floor, the floor's spread in percent, the goal.

#include "bench/table.h"
#include "intake/msg_receive.h"
#include "intake/msg_socket.h"
#include "intf/intf_record.h"
#include "lab/node/udp_peer.h"
#include "link/timeout_check.h"
#include "msg/msg_send.h"
#include "root/ap_list.h"
#include "runtime/flow_log.h"
#include "runtime/runtime_block.h"
#include "topology/topology_check.h"
#include "topology/topology_db.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr int ROUNDS = 31;
constexpr int MESSAGE_ROUNDS = 60;
constexpr double BATCH_US = 2000;
constexpr char MESSAGE_PEER[] = "127.0.0.1";

double time_of(const std::function<void()>& action, int times) {
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < times; ++i) {
        action();
    }
    const std::chrono::duration<double, std::micro> passed =
        std::chrono::steady_clock::now() - start;
    return passed.count() / times;
}

/// Samples of both in turns; each sample is a batch that takes long enough to be timed.
void compare(const std::string& measure, double goal, const std::function<void()>& here,
             const std::function<void()>& floor, int rounds = ROUNDS) {
    bench::Samples of_here;
    bench::Samples of_floor;
    const int times = std::max(1, static_cast<int>(BATCH_US / std::max(time_of(floor, 3), 0.01)));
    for (int round = 0; round < rounds; ++round) {
        of_floor.add(time_of(floor, times));
        of_here.add(time_of(here, times));
    }
    std::printf("%s\t%.6f\t%.6f\t%.3f\t%.2f\n", measure.c_str(), of_here.median(),
                of_floor.median(), of_floor.spread(), goal);
    std::fflush(stdout);
}

void log_entry() {
    constexpr std::string_view ENTRY =
        "Sun Sep  9 01:46:40 2001 : wifi_slave_event_process : ifname ath0 event 2\n";
    compare(
        "one log entry: open, write, close", 1.2,
        [] { flow_log("%s : ifname %s event %d\n", "wifi_slave_event_process", "ath0", 2); },
        [ENTRY] {
            const int fd = open("/var/log/floor", O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
            [[maybe_unused]] const ssize_t written = write(fd, ENTRY.data(), ENTRY.size());
            close(fd);
        });
    unlink("/var/log/floor");
}

void line_run(const char* line) {
    [[maybe_unused]] const int status = std::system(line);
}

void phrase_ask() {
    FILE* const pipe = popen("uci get wireless.ath20.ssid", "re");
    std::array<char, 64> word{};
    [[maybe_unused]] const char* const read = std::fgets(word.data(), word.size(), pipe);
    pclose(pipe);
}

void messages() {
    runtime.rootap_ip.set(MESSAGE_PEER);
    compare(
        "message out: uci get and the bare pipeline", 1.01,
        [] { backhaul_send_root_msg(msg_word::check_valid, 36009); },
        [] {
            phrase_ask();
            line_run(
                "echo -n 'CHECK_VALID' | openssl aes-128-cbc -e -k 'mesh-backhaul' "
                "> /tmp/floor_output 2>/dev/null");
        },
        MESSAGE_ROUNDS);
    const std::string sealed = lab::message_seal("HELLO", "mesh-backhaul");
    FILE* const input = std::fopen("/tmp/floor_input", "we");
    std::fwrite(sealed.data(), 1, sealed.size(), input);
    std::fclose(input);
    msg_socket_open();
    lab::UdpPeer peer(36009);
    compare(
        "message in: uci get and the bare pipeline", 1.01,
        [&] {
            peer.send(MESSAGE_PEER, BACKHAUL_MSG_PORT, sealed);
            backhaul_notification_recv(runtime.msg_fd);
        },
        [] {
            phrase_ask();
            line_run(
                "openssl aes-128-cbc -d -k \"mesh-backhaul\" -in /tmp/floor_input "
                "> /tmp/floor_decrypt 2>/dev/null");
        },
        MESSAGE_ROUNDS);
}

std::string almac(int node) {
    std::array<char, 18> text{};
    std::snprintf(text.data(), text.size(), "02:00:00:00:%02x:%02x", node / 256 % 256, node % 256);
    return text.data();
}

void statement_run(const std::string& sql) {
    sqlite3_exec(runtime.db, sql.c_str(), nullptr, nullptr, nullptr);
}

/// A chain of nodes, the root first: the longest way that a check can go, each link found last.
void mesh_make(int nodes) {
    statement_run("DELETE FROM Device; DELETE FROM ExtenderWiFiLink;");
    std::string rows = "BEGIN;";
    for (int node = 1; node <= nodes; ++node) {
        rows +=
            "INSERT INTO Device VALUES ('" + almac(node) +
            "',1,0,'L2Device','Extender','192.168.1.2');INSERT INTO ExtenderWiFiLink VALUES ('" +
            almac(node) + "','" + almac(node) + "','" + almac(node - 1) + "',1);";
    }
    statement_run(rows + "COMMIT;");
}

/// A query's rows fetched by SQLite alone.
void query(const std::string& sql) {
    char** cells = nullptr;
    sqlite3_get_table(runtime.db, sql.c_str(), &cells, nullptr, nullptr, nullptr);
    sqlite3_free_table(cells);
}

void what_grows(int nodes) {
    const std::string size = std::to_string(nodes);
    std::vector<intf_record> records(static_cast<size_t>(nodes));
    for (intf_record& record : records) {
        record.state = CONNECTING_BACKHAUL_AP;
        record.timer_type = TIMER_ON;
        record.timer_start = 1000;
    }
    runtime.intf_table = records.data();
    runtime.intf_num = nodes;
    compare(
        "sweep of " + size + " armed interfaces: reading them", 0, [] { timeout_sweep(1001); },
        [&records] {
            for (const intf_record& record : records) {
                if (record.timer_type != 0 && 1001 - record.timer_start > 180) {
                    std::abort();
                }
            }
        });
    runtime.intf_num = 0;
    mesh_make(nodes);
    backhaul_ap_list_sync();
    compare("list sync with " + size + " nodes: its query", 0, backhaul_ap_list_sync,
            [] { query(SQL_EXTENDERS); });
    const std::string bottom = almac(nodes);
    const std::string owner = "SELECT ALMac FROM ExtenderWiFiLink where [Mac]='" + bottom + "';";
    compare(
        "loop check in a chain of " + size + ": its queries", 0,
        [&bottom] { backhaul_db_topo_check(bottom.c_str()); },
        [&owner] {
            query(owner);
            query(SQL_LIVE_LINKS);
        });
}

}  // namespace

int main() {
    // What openssl says about its key is no result.
    if (backhaul_db_open() != 0 || std::freopen("/dev/null", "w", stderr) == nullptr) {
        return 1;
    }
    log_entry();
    messages();
    for (const int nodes : {10, 100, 1000}) {
        what_grows(nodes);
    }
    return 0;
}
