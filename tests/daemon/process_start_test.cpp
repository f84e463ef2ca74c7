// A daemon that is started badly, and the end of a worker whose supervisor is gone.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <fstream>
#include <string>
#include <vector>

#include "lab/node/processes.h"
#include "lab/sandbox/layout.h"
#include "lab/tools/answer.h"
#include "tests/harness/story.h"

namespace {

using testing::IsEmpty;

constexpr char START[] = "<-- backhaul_monitor start -->";
constexpr char CLIENT[] = "02:cc:00:00:00:07";
const harness::Lines CLIENT_LEFT = {"STA_DISASSOC_WITH_AP(ath20)", "STA mac : 02:cc:00:00:00:07"};

constexpr std::uint64_t bit(int signal) {
    return 1ULL << (signal - 1);
}

class ProcessStart : public harness::Story {
protected:
    /// Starts the daemon of router() through another program.
    void start_through(const std::vector<std::string>& words) {
        std::string error;
        ASSERT_TRUE(router().daemon().start({{}, {}, words}, error)) << error;
        settle();
    }

    /// Through a shell that opens or closes streams first ("<&- >&-").
    void start_with_streams(const std::string& streams) {
        start_through({lab::LAB_REAL_SHELL, "-c", "exec \"$0\" \"$@\" " + streams});
    }

    /// Both the kernel's events and the control FIFO are served.
    void expect_answers() {
        skip();
        driver().client_left("ath20", CLIENT);
        expect_log(CLIENT_LEFT);
        router().put_file("/tmp/eth_backhaul_fifo", "");
        router().command("eth_lost\n");
        expect_log({"backhaul_eth_event_handle : recv event eth_lost", "..."});
    }

    /// The first process of that name in the router, 0 without one.
    pid_t process(const std::string& name) {
        for (const lab::ProcessInfo& one : lab::node_processes(router().node())) {
            if (one.name == name) {
                return one.pid;
            }
        }
        return 0;
    }

    /// A set of signals of a process ("SigIgn", "SigBlk"), signal N as bit N - 1.
    static std::uint64_t signals(pid_t pid, const std::string& set) {
        std::ifstream status("/proc/" + std::to_string(pid) + "/status");
        for (std::string line; std::getline(status, line);) {
            if (line.rfind(set + ":", 0) == 0) {
                return std::stoull(line.substr(set.size() + 1), nullptr, 16);
            }
        }
        return ~0ULL;
    }
};

TEST_F(ProcessStart, opens_the_standard_streams_that_are_closed) {
    struct row {
        const char* streams;
        std::array<bool, 3> closed;
    };
    add_extender();
    for (const row& one :
         {row{"<&- >&- 2>&-", {true, true, true}}, row{">&-", {false, true, false}},
          row{"</dev/zero 2>&-", {false, false, true}}}) {
        SCOPED_TRACE(one.streams);
        start_with_streams(one.streams);
        const auto open = lab::descriptors_of(router().daemon().supervisor());
        const auto worker = router().daemon().worker_descriptors();
        ASSERT_EQ(open.size(), 3U);
        for (size_t fd = 0; fd < open.size(); ++fd) {
            if (one.closed.at(fd)) {
                EXPECT_EQ(open[fd], std::to_string(fd) + "=/dev/null");
            }
            EXPECT_EQ(worker.at(fd), open[fd]);
        }
        expect_answers();
        router().daemon().stop();
    }
}

TEST_F(ProcessStart, sees_the_end_of_workers_when_the_ends_of_children_were_ignored_and_blocked) {
    add_extender();
    start_through({"env", "--ignore-signal=CHLD,USR1", "--block-signal=CHLD,USR1"});
    std::string error;
    skip();
    ASSERT_TRUE(router().daemon().kill_worker(SIGUSR1, error)) << error;
    advance(1);
    expect_log({START, "..."});
    ASSERT_TRUE(router().daemon().kill_worker(SIGKILL, error)) << error;
    settle();
    expect_log({"abnormal termination : 9"});
    EXPECT_THAT(lab::zombies(router().node()), IsEmpty());
}

TEST_F(ProcessStart, hands_no_signal_on_to_its_tools_blocked_or_ignored) {
    add_extender();
    lab::answer_hold(router().root(), "uci", "busy");
    start_through({"env", "--ignore-signal=CHLD,PIPE,USR1", "--block-signal"});
    const pid_t worker = router().daemon().worker();
    const pid_t tool = process("uci");
    ASSERT_NE(tool, 0);
    EXPECT_EQ(signals(worker, "SigBlk") & ~bit(SIGCHLD), 0U) << "system() blocks one";
    EXPECT_EQ(signals(tool, "SigBlk"), 0U);
    // Others stay as whoever started it wants them.
    EXPECT_EQ(signals(tool, "SigIgn") & (bit(SIGCHLD) | bit(SIGPIPE) | bit(SIGUSR1)), 0U);
    lab::gate_open(router().root(), "busy");
}

TEST_F(ProcessStart, survives_a_reader_of_its_output_that_is_gone) {
    add_extender();
    const std::string pipe = router().node().at("/tmp/console");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const int reader = open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    start_with_streams(">/tmp/console 2>&1");
    const pid_t worker = router().daemon().worker();
    close(reader);
    skip();
    advance(20);  // the worker prints that it is a slave
    EXPECT_EQ(router().daemon().worker(), worker);
    expect_answers();
    std::string error;
    ASSERT_TRUE(router().daemon().kill_worker(SIGUSR1, error)) << error;
    advance(1);  // the supervisor prints that it waits
    expect_answers();
}

TEST_F(ProcessStart, leaves_both_ports_to_the_next_supervisor_when_its_own_is_killed) {
    start_extender();
    advance(20);
    for (int round = 0; round < 3; ++round) {
        // With a tool at work: it ends by itself.
        lab::answer_hold(router().root(), "vl1905App", "busy");
        driver().client_joined("ath10", CLIENT);
        settle();
        ASSERT_NE(process("vl1905App"), 0);
        kill(router().daemon().supervisor(), SIGKILL);
        int status = 0;
        settle();
        EXPECT_TRUE(router().daemon().has_ended(status));
        EXPECT_NE(process("vl1905App"), 0);
        lab::gate_open(router().root(), "busy");
        settle();
        EXPECT_EQ(lab::node_processes(router().node()).size(), 1U) << "all but process 1 are gone";
        router().start();
        lab::gate_shut(router().root(), "busy");
        expect_answers();
        expect_err({});
    }
}

TEST_F(ProcessStart, loses_no_datagram_when_both_ports_hear_one_at_once) {
    start_ready_extender();
    const std::string other = "192.168.1.9";
    std::string error;
    ASSERT_TRUE(lab::switch_address_add(other + "/24", error)) << error;
    lab::UdpPeer root(0, other);
    ASSERT_TRUE(root.ok());
    // The message is at the question for its pass phrase when the announcement comes.
    lab::answer_hold(router().root(), "uci.get.wireless.ath20.ssid", "asked");
    say("FLUSHFORWARDING", router().node().ip());
    ASSERT_TRUE(
        root.send(router().node().ip(), 36002, lab::message_seal("ImRootAP", lab::MESH_NAME)));
    settle();
    expect_file("/tmp/rootap_ip", other + "\n");
    lab::gate_open(router().root(), "asked");
    settle();
    expect_log({"backhaul_notification_recv : recv FLUSHFORWARDING from 192.168.1.1", "..."});
}

}  // namespace
