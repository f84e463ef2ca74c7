// The control FIFO: how it is made, and what each command does.

#include "intake/control_fifo.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <initializer_list>
#include <string>

#include "runtime/runtime_block.h"
#include "tests/harness/contract_record.h"
#include "tests/harness/table_fixture.h"

namespace {

using harness::file_is_there;
using harness::file_text;
using harness::put_file;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr char FIFO[] = "/tmp/backhaul_fifo";
constexpr char ROLE[] = "/tmp/backhaul_mode_change";

class ControlFifo : public harness::TableTest {
protected:
    /// Writes `bytes` into the FIFO at once and lets the daemon read it.
    static void command(const std::string& bytes) {
        const int writer = open(FIFO, O_WRONLY | O_NONBLOCK | O_CLOEXEC);
        ASSERT_GE(writer, 0);
        ASSERT_EQ(write(writer, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
        close(writer);
        backhaul_fifo_recv();
    }

    /// As above in a child process, for a command that ends the worker: how it ended.
    static int command_in_child(const std::string& bytes) {
        return harness::exit_code([&] { command(bytes); }, harness::WHOLE_OUT);
    }

    /// The words that were given to the cipher, oldest first: what was sent.
    harness::Journal sent_words() {
        harness::Journal words;
        for (const std::string& entry : journal_take()) {
            const std::string start = "$ echo -n '";
            if (entry.rfind(start, 0) == 0) {
                words.push_back(
                    entry.substr(start.size(), entry.find('\'', start.size()) - start.size()));
            }
        }
        return words;
    }
};

TEST_F(ControlFifo, is_made_anew_and_opened_for_both_sides) {
    put_file(FIFO, "a stale file");
    const mode_t mask = umask(022);
    control_fifo_create();
    umask(mask);
    struct stat about {};
    ASSERT_EQ(stat(FIFO, &about), 0);
    EXPECT_TRUE(S_ISFIFO(about.st_mode));
    EXPECT_EQ(about.st_mode & 0777U, 0755U) << "0777 less the process's mask";
    ASSERT_GE(runtime.fifo_fd, 0);
    EXPECT_EQ(fcntl(runtime.fifo_fd, F_GETFL) & O_ACCMODE, O_RDWR);
    EXPECT_NE(fcntl(runtime.fifo_fd, F_GETFD) & FD_CLOEXEC, 0);
}

TEST_F(ControlFifo, stays_away_when_the_name_cannot_be_taken) {
    mkdir(FIFO, 0755);
    put_file(std::string(FIFO) + "/keeps", "it");
    testing::internal::CaptureStdout();
    control_fifo_create();
    EXPECT_EQ(harness::captured_stdout(), "mkfifo : error\n");
    EXPECT_EQ(runtime.fifo_fd, -1);
}

TEST_F(ControlFifo, stays_closed_when_it_cannot_be_opened) {
    const int code = harness::exit_code(
        [] {
            const harness::DescriptorsRefused refused;
            control_fifo_create();
            std::fflush(stdout);
            _exit(runtime.fifo_fd == -1 ? 0 : 1);
        },
        harness::WHOLE_OUT);
    EXPECT_EQ(code, 0);
    EXPECT_EQ(file_text("/tmp/out"), "fifo: Failed to open fifo: Too many open files\n");
}

TEST_F(ControlFifo, makes_an_extender_a_root_by_ending_the_worker) {
    control_fifo_create();
    EXPECT_EQ(command_in_child("master\n"), 0);
    EXPECT_EQ(file_text("/tmp/out"), "backhaul_fifo_recv : mode change to master\n");
    EXPECT_EQ(file_text(ROLE), "master\n");
}

TEST_F(ControlFifo, makes_a_root_an_extender_by_ending_the_worker) {
    runtime.master = 1;
    control_fifo_create();
    EXPECT_EQ(command_in_child("slave\n"), 0);
    EXPECT_EQ(file_text("/tmp/out"), "backhaul_fifo_recv : mode change to slave\n");
    EXPECT_EQ(file_text(ROLE), "slave\n");
}

TEST_F(ControlFifo, says_the_new_role_and_writes_it) {
    control_fifo_create();
    EXPECT_EQ(command_in_child("master\n"), 0);
    EXPECT_EQ(file_text("/tmp/out"), "backhaul_fifo_recv : mode change to master\n");
    EXPECT_EQ(file_text(ROLE), "master\n");
}

TEST_F(ControlFifo, ends_the_worker_even_when_the_role_file_cannot_be_written) {
    mkdir(ROLE, 0755);
    control_fifo_create();
    EXPECT_EQ(command_in_child("master\n"), 0);
    EXPECT_EQ(file_text("/tmp/out"), "backhaul_fifo_recv : mode change to master\n");
}

TEST_F(ControlFifo, changes_nothing_for_the_role_that_the_node_has) {
    control_fifo_create();
    put_file(ROLE, "master\n");
    testing::internal::CaptureStdout();
    command("slave\n");
    runtime.master = 1;
    command("master\n");
    EXPECT_EQ(harness::captured_stdout(), "");
    EXPECT_EQ(file_text(ROLE), "master\n");
    EXPECT_EQ(runtime.master, 1);
    expect_journal({});
}

TEST_F(ControlFifo, drops_unknown_commands_without_a_word) {
    control_fifo_create();
    testing::internal::CaptureStdout();
    for (const std::string bytes :
         {"master", "masterx\n", "MASTER\n", "master\r\n", "eth_detect\neth_lost\n", "reboot\n",
          "uplink_scan \n", " uplink_scan\n", "\n", "x", "approval_list_changed\n",
          "a command that is longer than any one read of 32 bytes\n"}) {
        command(bytes);
        EXPECT_THAT(journal_take(), IsEmpty()) << bytes;
    }
    EXPECT_EQ(harness::captured_stdout(), "");
    EXPECT_FALSE(file_is_there(ROLE));
    EXPECT_EQ(runtime.approval_changed, 0) << "on an extender";
}

TEST_F(ControlFifo, takes_a_read_that_fails_for_no_command) {
    runtime.fifo_fd = open("/tmp", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    backhaul_fifo_recv();
    expect_journal({});
}

TEST_F(ControlFifo, reads_one_command_at_a_time) {
    control_fifo_create();
    const int writer = open(FIFO, O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    const std::string first(32, 'x');
    ASSERT_EQ(write(writer, first.data(), 32), 32);
    command("eth_lost\n");
    EXPECT_THAT(journal_take(), IsEmpty()) << "32 bytes at most";
    put_file("/tmp/eth_backhaul_fifo", "");
    backhaul_fifo_recv();
    EXPECT_EQ(journal_take().at(0), "backhaul_eth_event_handle : recv event eth_lost");
    close(writer);
}

TEST_F(ControlFifo, hands_the_ethernet_words_on_in_either_role) {
    control_fifo_create();
    put_file("/tmp/eth_backhaul_fifo", "");
    for (const uint8_t master : std::initializer_list<uint8_t>{0, 1}) {
        runtime.master = master;
        command("eth_detect\n");
        expect_journal({{"backhaul_eth_event_handle : recv event eth_detect",
                         "backhaul_eth_event_handle : eth_intf not found"}});
        command("eth_lost\n");
        EXPECT_EQ(journal_take().at(1), "$ echo eth_lost_reply > /tmp/eth_backhaul_fifo");
        EXPECT_EQ(file_text("/tmp/eth_backhaul_fifo"), "eth_lost_reply\n");
    }
}

TEST_F(ControlFifo, passes_a_network_reload_on_to_the_other_nodes) {
    uci_put("ath20.ssid", "mesh");
    uci_put("ath20.WPAPSKkey", "secret-pass");
    runtime.backhaul_valid = 1;
    control_fifo_create();
    command("network_reload\n");
    EXPECT_THAT(sent_words(), ElementsAre("NETWORKRELOAD"));
}

TEST_F(ControlFifo, re_opens_the_scans_and_restores_the_stations_before_it_tells_the_others) {
    uci_put("ath20.ssid", "mesh");
    uci_put("ath20.WPAPSKkey", "secret-pass");
    runtime.backhaul_valid = 1;
    intf_record* const station = intf_add("ath0", BACKHAUL_STA, BAND_5G);
    intf_record* const ap = intf_add("ath20", BACKHAUL_AP, BAND_5G);
    for (intf_record* const record : {station, ap}) {
        record->uplink_scan_count = 4;
        record->other_band_scan_enable = 0;
        record->disconnect_count = 2;
    }
    control_fifo_create();
    command("uplink_scan\n");
    EXPECT_EQ(station->uplink_scan_count, 0);
    EXPECT_EQ(station->other_band_scan_enable, 1);
    EXPECT_EQ(station->disconnect_count, 0);
    EXPECT_EQ(ap->uplink_scan_count, 4) << "stations only";
    EXPECT_EQ(ap->other_band_scan_enable, 0);
    const harness::Journal journal = journal_take();
    ASSERT_FALSE(journal.empty());
    EXPECT_EQ(journal.front(), "backhaul_slave_backhaul_restore : Enter");
    size_t told = 0;
    for (const std::string& entry : journal) {
        told += entry.rfind("$ echo -n 'UPLINKSCAN'", 0) == 0 ? 1 : 0;
    }
    EXPECT_EQ(told, 1U);
}

class ApprovalChange : public ControlFifo {
protected:
    static constexpr char LIST[] = "/tmp/ApplicationData/Approvelist";

    void SetUp() override {
        ControlFifo::SetUp();
        runtime.master = 1;
        control_fifo_create();
    }

    /// The switching of interfaces and of the companions' visibility, in order.
    harness::Journal switched() {
        harness::Journal lines;
        for (const std::string& entry : journal_take()) {
            if (entry.rfind("dev_intf_enable_set : ", 0) == 0 ||
                entry.find(".hidden=") != std::string::npos) {
                lines.push_back(entry);
            }
        }
        return lines;
    }
};

TEST_F(ApprovalChange, switches_the_followers_on_while_nobody_is_approved) {
    intf_add("ath10", MAIN_SERVICE_AP, BAND_24G);
    intf_add("ath15", MAIN_SERVICE_AP, BAND_5G, 0, 1);
    intf_add("ath17", PRE_DEF_AP, BAND_5G, 0, 1);
    intf_add("ath18", BACKHAUL_AP, BAND_5G, 0, 1);
    intf_add("ath16", GUEST_SERVICE_AP, BAND_5G, 0, 2);
    command("approval_list_changed\n");
    EXPECT_THAT(
        switched(),
        ElementsAre("$ uci set wireless.ath22.hidden=0", "$ uci set wireless.ath23.hidden=0",
                    "$ uci set wireless.ath24.hidden=0", "dev_intf_enable_set : enable ath15",
                    "$ uci set wireless.ath22.hidden=0", "$ uci set wireless.ath23.hidden=0",
                    "$ uci set wireless.ath24.hidden=0", "dev_intf_enable_set : enable ath16"));
    EXPECT_EQ(runtime.approval_changed, 1);
}

TEST_F(ApprovalChange, switches_the_followers_off_once_a_node_is_approved) {
    intf_add("ath15", VISITOR_SERVICE_AP, BAND_5G, 0, 1);
    put_file(LIST, "aa:bb:cc:dd:ee:ff 1 MRX70\n");
    command("approval_list_changed\n");
    EXPECT_THAT(
        switched(),
        ElementsAre("$ uci set wireless.ath22.hidden=0", "$ uci set wireless.ath23.hidden=0",
                    "$ uci set wireless.ath24.hidden=0", "dev_intf_enable_set : disable ath15"));
    EXPECT_EQ(runtime.approval_changed, 1);
}

TEST_F(ApprovalChange, is_noted_even_when_no_interface_follows) {
    intf_add("ath10", MAIN_SERVICE_AP, BAND_24G);
    command("approval_list_changed\n");
    expect_journal({});
    EXPECT_EQ(runtime.approval_changed, 1);
}

}  // namespace
