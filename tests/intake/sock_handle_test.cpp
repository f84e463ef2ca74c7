// The socket thread: which descriptors it waits for, and in which order it serves them.
//
// The thread never ends, so each test runs it in a child process of its own.

#include "intake/sock_handle.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <optional>
#include <sstream>
#include <string>
#include <utility>

#include "intake/control_fifo.h"
#include "intake/msg_socket.h"
#include "intake/netlink_intake.h"
#include "intake/root_announce.h"
#include "lab/driver/netlink_sender.h"
#include "lab/node/udp_peer.h"
#include "lab/tools/answer.h"
#include "lab/tools/record.h"
#include "runtime/runtime_block.h"
#include "runtime/thread_start.h"
#include "tests/harness/table_fixture.h"

namespace {

using harness::file_text;
using harness::wait_until;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr lab::MacAddress CLIENT = {0x02, 0xcc, 0x00, 0x00, 0x00, 0x07};

class SockHandle : public harness::TableTest {
protected:
    void SetUp() override {
        TableTest::SetUp();
        harness::put_file("/tmp/eth_backhaul_fifo", "");
        ASSERT_TRUE(lab::driver_open(&driver_, 0, error_)) << error_;
    }

    void TearDown() override {
        child_.reset();
        TableTest::TearDown();
    }

    void sources_open() {
        ASSERT_TRUE(netlink_open());
        control_fifo_create();
        msg_socket_open();
    }

    /// Serves the open descriptors in a child, with its standard output in /tmp/out; the thread
    /// `beside` runs there too.
    void serve(void* (*beside)(void*) = nullptr) {
        const auto body = [beside] {
            if (beside != nullptr) {
                thread_start(beside, nullptr);
            }
            backhaul_sock_handle(nullptr);
        };
        child_.emplace(body, harness::LINES_OUT);
    }

    void driver_event(const char* name) {
        EXPECT_TRUE(lab::driver_client_left(&driver_, name, CLIENT, error_)) << error_;
    }

    static void fifo_command(const std::string& bytes) {
        const int writer = open("/tmp/backhaul_fifo", O_WRONLY | O_NONBLOCK | O_CLOEXEC);
        ASSERT_GE(writer, 0);
        EXPECT_EQ(write(writer, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
        close(writer);
    }

    /// A datagram that does not decipher; the attempt shows that it was read.
    static void node_message() {
        node_messages(1, 36003, "x");
    }

    /// The same datagram `count` times; of a flood the kernel keeps as many as the socket holds.
    static void node_messages(int count, uint16_t port, const std::string& bytes) {
        const int sock = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        sockaddr_in to{};
        to.sin_family = AF_INET;
        to.sin_port = htons(port);
        to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        for (int i = 0; i < count; ++i) {
            EXPECT_EQ(sendto(sock, bytes.data(), bytes.size(), 0,
                             reinterpret_cast<const sockaddr*>(&to), sizeof to),
                      static_cast<ssize_t>(bytes.size()));
        }
        close(sock);
    }

    /// Waits until an entry of the journal contains `text`; the journal from the last call on.
    harness::Journal journal_until(const std::string& text) {
        const bool seen = wait_until([&] {
            for (const std::string& entry : journal_take()) {
                seen_.push_back(entry);
            }
            for (const std::string& entry : seen_) {
                if (entry.find(text) != std::string::npos) {
                    return true;
                }
            }
            return false;
        });
        EXPECT_TRUE(seen) << "no `" << text << "` in " << testing::PrintToString(seen_);
        return std::exchange(seen_, {});
    }

    lab::DriverSender driver_;
    std::string error_;  // of the driver
    std::optional<harness::Child> child_;

private:
    harness::Journal seen_;
};

/// The first bytes of a file that may grow faster than anybody reads it.
std::string file_begin(const char* path) {
    std::array<char, 200> bytes{};
    const int fd = open(path, O_RDONLY | O_CLOEXEC);
    const ssize_t got = fd < 0 ? 0 : read(fd, bytes.data(), bytes.size());
    close(fd);
    return {bytes.data(), static_cast<size_t>(got < 0 ? 0 : got)};
}

/// Place of the first entry that contains `text`, or the size when there is none.
size_t place(const harness::Journal& journal, const std::string& text) {
    size_t at = 0;
    while (at < journal.size() && journal[at].find(text) == std::string::npos) {
        ++at;
    }
    return at;
}

TEST_F(SockHandle, serves_driver_events_then_commands_then_node_messages) {
    sources_open();
    // All three are readable before the thread first looks.
    node_message();
    fifo_command("eth_lost\n");
    driver_event("ath0");
    serve();
    const harness::Journal journal = journal_until("openssl");
    const size_t event = place(journal, "STA_DISASSOC_WITH_AP(ath0)");
    const size_t command = place(journal, "recv event eth_lost");
    const size_t message = place(journal, "openssl");
    EXPECT_LT(event, command) << testing::PrintToString(journal);
    EXPECT_LT(command, message) << testing::PrintToString(journal);
}

TEST_F(SockHandle, lets_a_node_message_wait_until_a_command_is_done) {
    sources_open();
    intf_add("ath0", BACKHAUL_STA, BAND_5G);
    runtime.backhaul_valid = 1;
    lab::answer_hold("", "uci", "gate");
    serve();
    fifo_command("network_reload\n");
    // The command is inside a tool now.
    ASSERT_TRUE(wait_until([] { return !harness::recorded_calls().empty(); }));
    node_message();
    driver_event("ath1");
    lab::gate_open("", "gate");
    const harness::Journal journal = journal_until("STA_DISASSOC_WITH_AP(ath1)");
    EXPECT_LT(place(journal, "NETWORKRELOAD"), place(journal, "STA_DISASSOC_WITH_AP(ath1)"))
        << testing::PrintToString(journal);
}

size_t entries_with(const harness::Journal& journal, const std::string& text) {
    return static_cast<size_t>(std::count_if(
        journal.begin(), journal.end(),
        [&](const std::string& entry) { return entry.find(text) != std::string::npos; }));
}

TEST_F(SockHandle, takes_a_driver_event_before_the_next_word_of_a_flood) {
    constexpr int WORDS = 10000;
    constexpr int HELD = 9900;
    sources_open();
    fcntl(runtime.fifo_fd, F_SETPIPE_SZ, WORDS * 32);
    // One read takes 32 bytes: a word each. The first 9,900 and the last do nothing but log.
    std::string words;
    for (int word = 0; word < WORDS; ++word) {
        std::string one = word == HELD ? "eth_lost" : "eth_detect";
        one.resize(32, '\0');
        words += one;
    }
    fifo_command(words);
    // The reply to "eth_lost" waits until somebody reads it.
    unlink("/tmp/eth_backhaul_fifo");
    ASSERT_EQ(mkfifo("/tmp/eth_backhaul_fifo", 0600), 0);
    serve();
    ASSERT_TRUE(wait_until([] { return !harness::recorded_lines().empty(); }, 50000));
    driver_event("ath0");
    const int reply = open("/tmp/eth_backhaul_fifo", O_RDONLY | O_CLOEXEC);
    EXPECT_TRUE(wait_until([] {
        int unread = 0;
        return ioctl(runtime.fifo_fd, FIONREAD, &unread) == 0 && unread == 0;
    }));
    close(reply);
    // The log is of the last words only, which is enough.
    EXPECT_TRUE(wait_until([] {
        return entries_with(harness::flow_log_lines(), "eth_intf not found") >= WORDS - HELD - 1;
    }));
    const harness::Journal log = harness::flow_log_lines();
    const auto held = static_cast<std::ptrdiff_t>(place(log, "recv event eth_lost"));
    const auto event = static_cast<std::ptrdiff_t>(place(log, "STA_DISASSOC_WITH_AP(ath0)"));
    ASSERT_LT(event, static_cast<std::ptrdiff_t>(log.size()));
    ASSERT_LT(held, event);
    EXPECT_EQ(entries_with({log.begin() + held + 1, log.begin() + event}, "recv event"), 0U);
}

/// Datagrams that do not decipher, and datagrams of somebody who knows the pass phrase.
class MessageFlood : public SockHandle, public testing::WithParamInterface<bool> {
protected:
    void SetUp() override {
        SockHandle::SetUp();
        uci_put("ath20.ssid", "mesh");
    }

    static void flood(uint16_t port) {
        const std::string sealed = lab::message_seal("UPLINKSCAN", "mesh");
        ASSERT_FALSE(sealed.empty());
        node_messages(10000, port, GetParam() ? sealed : "x");
    }

    /// Waits until the handling of a datagram is at the gate.
    static void hold_one() {
        lab::gate_shut("", "gate");
        lab::answer_hold("", "uci", "gate");
        ASSERT_TRUE(wait_until([] { return lab::answers_left("", "uci") == 0; }));
    }
};

TEST_P(MessageFlood, lets_a_driver_event_in_before_the_next_datagram) {
    sources_open();
    flood(36003);
    serve();
    for (const std::string name : {"ath0", "ath1", "ath10"}) {
        hold_one();
        harness::Journal journal = journal_take();
        driver_event(name.c_str());
        lab::gate_open("", "gate");
        journal = journal_until("STA_DISASSOC_WITH_AP(" + name + ")");
        journal.resize(place(journal, "STA_DISASSOC_WITH_AP(" + name + ")"));
        EXPECT_LE(entries_with(journal, "openssl"), 1U) << testing::PrintToString(journal);
    }
}

TEST_P(MessageFlood, of_announcements_leaves_the_socket_thread_alone) {
    sources_open();
    intf_add("eth", ETHERNET, BAND_NONE);
    serve(loop_slave_handle);
    // Heard for the first time: the port is open.
    ASSERT_TRUE(wait_until([] {
        node_messages(1, 36002, "x");
        return !harness::recorded_lines().empty();
    }));
    flood(36002);
    hold_one();
    const size_t opened = entries_with(journal_take(), "openssl");
    driver_event("ath0");
    journal_until("STA_DISASSOC_WITH_AP(ath0)");
    fifo_command("eth_detect\n");
    EXPECT_EQ(entries_with(journal_until("recv event eth_detect"), "openssl"), 0U)
        << "one of " << opened << " datagrams is still being handled";
}

INSTANTIATE_TEST_SUITE_P(Datagrams, MessageFlood, testing::Bool(),
                         [](const auto& key) { return key.param ? "with_key" : "without_key"; });

TEST_F(SockHandle, works_without_the_fifo) {
    ASSERT_TRUE(netlink_open());
    msg_socket_open();
    serve();
    driver_event("ath0");
    journal_until("STA_DISASSOC_WITH_AP(ath0)");
    node_message();
    journal_until("openssl");
}

TEST_F(SockHandle, works_without_driver_events) {
    control_fifo_create();
    msg_socket_open();
    serve();
    fifo_command("eth_lost\n");
    journal_until("recv event eth_lost");
    node_message();
    journal_until("openssl");
}

/// Whether process `pid` is inside select, and with no limit to its wait.
bool waits_without_limit(pid_t pid) {
    std::istringstream text(file_text("/proc/" + std::to_string(pid) + "/syscall"));
    long number = -1;
    std::array<unsigned long, 5> words{};
    text >> number >> std::hex;
    for (unsigned long& word : words) {
        text >> word;
    }
    return text && number == SYS_pselect6 && words[1] != 0 && words[4] == 0;
}

TEST_F(SockHandle, waits_without_a_limit) {
    sources_open();
    serve();
    EXPECT_TRUE(wait_until([this] { return waits_without_limit(child_->pid()); }))
        << file_text("/proc/" + std::to_string(child_->pid()) + "/syscall");
}

TEST_F(SockHandle, leaves_out_a_descriptor_that_select_cannot_hold) {
    control_fifo_create();
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit enough{std::max(before.rlim_cur, rlim_t{2} * FD_SETSIZE),
                        std::max(before.rlim_max, rlim_t{2} * FD_SETSIZE)};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &enough), 0);
    ASSERT_TRUE(netlink_open());
    const int high = fcntl(runtime.netlink_fd, F_DUPFD_CLOEXEC, FD_SETSIZE);
    ASSERT_GE(high, FD_SETSIZE);
    close(std::exchange(runtime.netlink_fd, high));
    setrlimit(RLIMIT_NOFILE, &before);
    serve();
    fifo_command("eth_lost\n");
    journal_until("recv event eth_lost");
}

TEST_F(SockHandle, goes_on_without_a_pause_when_select_fails) {
    control_fifo_create();
    // A descriptor that is not there: every select fails. One above it stays open, because the
    // kernel looks only at numbers that its table of the process has room for.
    runtime.msg_fd = fcntl(runtime.fifo_fd, F_DUPFD_CLOEXEC, 40);
    const int above = fcntl(runtime.fifo_fd, F_DUPFD_CLOEXEC, runtime.msg_fd + 1);
    ASSERT_GT(above, runtime.msg_fd);
    close(runtime.msg_fd);
    serve();
    EXPECT_TRUE(wait_until([] {
        return file_begin("/tmp/out")
                   .rfind("select error: Bad file descriptor\nselect error: Bad file descriptor\n",
                          0) == 0;
    })) << file_begin("/tmp/out");
    close(above);
    runtime.msg_fd = -1;
}

TEST_F(SockHandle, goes_on_when_a_signal_interrupts_it) {
    control_fifo_create();
    struct sigaction handler {};
    struct sigaction before {};
    handler.sa_handler = [](int) {
    };
    sigaction(SIGUSR2, &handler, &before);
    serve();
    sigaction(SIGUSR2, &before, nullptr);
    EXPECT_TRUE(wait_until([this] {
        kill(child_->pid(), SIGUSR2);
        return file_text("/tmp/out").rfind("select error: Interrupted system call\n", 0) == 0;
    })) << file_text("/tmp/out");
    fifo_command("eth_lost\n");
    journal_until("recv event eth_lost");
}

TEST_F(SockHandle, raises_the_highest_descriptor_and_never_lowers_it) {
    control_fifo_create();
    EXPECT_EQ(harness::exit_code([] {
                  runtime.max_fd = 300;
                  thread_start(backhaul_sock_handle, nullptr);
                  fifo_command("eth_lost\n");
                  const bool served = wait_until([] { return !harness::recorded_lines().empty(); });
                  _exit(served && runtime.max_fd == 300 ? 0 : 1);
              }),
              0);
}

}  // namespace
