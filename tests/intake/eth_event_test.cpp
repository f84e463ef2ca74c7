// Events of the Ethernet agent: reply, type file and work, in order.

#include "intake/eth_event.h"
#include "link/backhaul_type.h"

#include "lab/tools/answer.h"
#include "link/link_state.h"
#include "runtime/runtime_block.h"
#include "tests/msg/msg_fixture.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>
#include <thread>

namespace {

using harness::file_is_there;
using harness::file_text;
using harness::put_file;
using lab::message_open;

constexpr char REPLY_PATH[] = "/tmp/eth_backhaul_fifo";
constexpr char TYPE_PATH[] = "/tmp/backhaul_type";

Journal event(const std::string& word) {
    return {"backhaul_eth_event_handle : recv event " + word};
}
Journal reply(const std::string& word) {
    return {"$ echo " + word + " > /tmp/eth_backhaul_fifo"};
}
const Journal DETECTING = {"wifi_slave_eth_detect : Enter"};
const Journal RECOVERING = {"wifi_backhaul_recover : Enter"};

class EthEvent : public MsgTest {
protected:
    void eth_add() {
        intf_add("eth", ETHERNET, BAND_NONE)->state = ETH_BACKHAUL_DOWN;
        runtime.intf_init_done = 1;
    }
};

TEST_F(EthEvent, is_taken_for_a_cable_with_reply_type_work_broadcast_and_flush) {
    eth_add();
    const auto other = neighbour(36003);
    backhaul_eth_event_handle(fifo_command::eth_detect);
    expect_journal({event("eth_detect"), reply("eth_detect_reply"), DETECTING,
                    enciphered("FLUSHFORWARDING"), harness::tables_flushed()});
    EXPECT_EQ(file_text(REPLY_PATH), "eth_detect_reply\n");
    EXPECT_EQ(file_text(TYPE_PATH), "ethernet\n");
    EXPECT_EQ(runtime.eth_backhaul_active, 1);
    EXPECT_EQ(message_open(heard_by(*other).bytes, "mesh"), "FLUSHFORWARDING");
}

TEST_F(EthEvent, has_written_the_type_before_the_stations_are_moved_aside) {
    intf_add("ath0", BACKHAUL_STA, BAND_5G);
    eth_add();
    lab::answer_hold("", "wpa_cli", "aside");
    std::thread socket_thread([] { backhaul_eth_event_handle(fifo_command::eth_detect); });
    EXPECT_TRUE(harness::wait_until([] { return harness::recorded_calls().size() == 1; }));
    EXPECT_EQ(file_text(REPLY_PATH), "eth_detect_reply\n");
    EXPECT_EQ(file_text(TYPE_PATH), "ethernet\n");
    lab::gate_open("", "aside");
    socket_thread.join();
}

TEST_F(EthEvent, waits_with_the_work_until_the_agent_reads_the_reply) {
    eth_add();
    ASSERT_EQ(mkfifo(REPLY_PATH, 0666), 0);
    std::thread socket_thread([] { backhaul_eth_event_handle(fifo_command::eth_detect); });
    EXPECT_TRUE(harness::wait_until([] { return harness::recorded_lines().size() == 1; }));
    harness::clock_settle();
    expect_journal({event("eth_detect"), reply("eth_detect_reply")});
    EXPECT_FALSE(file_is_there(TYPE_PATH));
    EXPECT_EQ(file_text(REPLY_PATH), "eth_detect_reply\n");
    socket_thread.join();
    expect_journal({DETECTING, enciphered("FLUSHFORWARDING"), harness::tables_flushed()});
}

TEST_F(EthEvent, is_refused_without_a_wired_interface) {
    runtime.intf_init_done = 1;
    intf_add("eth0", ETHERNET, BAND_NONE);
    backhaul_eth_event_handle(fifo_command::eth_detect);
    expect_journal({event("eth_detect"), {"backhaul_eth_event_handle : eth_intf not found"}});
    EXPECT_FALSE(file_is_there(REPLY_PATH));
    EXPECT_FALSE(file_is_there(TYPE_PATH));
    EXPECT_EQ(runtime.eth_backhaul_active, 0);
}

TEST_F(EthEvent, is_refused_until_the_interfaces_are_initialised) {
    eth_add();
    runtime.intf_init_done = false;
    backhaul_eth_event_handle(fifo_command::eth_detect);
    expect_journal({event("eth_detect"), {"backhaul_eth_event_handle : intf not finish to init"}});
    EXPECT_FALSE(file_is_there(REPLY_PATH));
    EXPECT_FALSE(file_is_there(TYPE_PATH));
    EXPECT_EQ(runtime.eth_backhaul_active, 0);
}

TEST_F(EthEvent, asks_for_admission_in_place_of_the_broadcast_before_it_is_admitted) {
    eth_add();
    runtime.backhaul_valid = 0;
    runtime.rootap_ip.set("192.168.1.20");
    backhaul_eth_event_handle(fifo_command::eth_detect);
    expect_journal({event("eth_detect"), reply("eth_detect_reply"), DETECTING,
                    enciphered("CHECK_VALID"), harness::tables_flushed()});
}

TEST_F(EthEvent, recovers_the_wireless_backhaul_when_the_cable_is_gone) {
    eth_add();
    runtime.eth_backhaul_active = 1;
    runtime.intf_table.load()[0].state = ETH_BACKHAUL_READY;
    backhaul_eth_event_handle(fifo_command::eth_lost);
    const Journal all = journal_take();
    const Journal first = joined({event("eth_lost"),
                                  reply("eth_lost_reply"),
                                  RECOVERING,
                                  {"backhaul_intf_state_change : change eth state from 15 to 13"}});
    ASSERT_GE(all.size(), first.size());
    EXPECT_EQ(Journal(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(first.size())), first);
    for (const std::string& entry : all) {
        EXPECT_EQ(entry.find("openssl"), std::string::npos) << "nothing is broadcast";
        EXPECT_EQ(entry.find("device_forward_table_flush"), std::string::npos);
    }
    EXPECT_EQ(file_text(REPLY_PATH), "eth_lost_reply\n");
    EXPECT_FALSE(file_is_there(TYPE_PATH));
    EXPECT_EQ(runtime.eth_backhaul_active, 0);
}

TEST_F(EthEvent, replies_and_tries_to_recover_without_a_wired_interface) {
    backhaul_eth_event_handle(fifo_command::eth_lost);
    expect_journal({event("eth_lost"),
                    reply("eth_lost_reply"),
                    RECOVERING,
                    {"wifi_backhaul_recover : eth_intf is NULL"}});
    EXPECT_EQ(file_text(REPLY_PATH), "eth_lost_reply\n");
}

TEST_F(EthEvent, survives_the_loss_before_the_start_has_chosen_a_station) {
    eth_add();
    intf_add("ath0", BACKHAUL_STA, BAND_5G);
    runtime.intf_init_done = 0;
    backhaul_eth_event_handle(fifo_command::eth_lost);
    EXPECT_EQ(file_text(REPLY_PATH), "eth_lost_reply\n");
}

TEST_F(EthEvent, is_only_logged_for_any_other_command) {
    eth_add();
    for (const fifo_command command : {fifo_command::master, fifo_command::network_reload}) {
        backhaul_eth_event_handle(command);
        expect_journal({event(fifo_command_text(command))});
    }
    EXPECT_FALSE(file_is_there(REPLY_PATH));
}

TEST_F(EthEvent, cuts_a_reply_line_at_63_characters) {
    // The end of the line is lost, so the shell prints what is left.
    testing::internal::CaptureStdout();
    eth_backhaul_reply(std::string(70, 'r').c_str());
    testing::internal::GetCapturedStdout();
    expect_journal({{"$ echo " + std::string(58, 'r')}});
}

TEST_F(EthEvent, writes_each_kind_of_backhaul_whole) {
    put_file(TYPE_PATH, "something longer than any of them\n");
    backhaul_type_file_write(BACKHAUL_TYPE_WIFI);
    EXPECT_EQ(file_text(TYPE_PATH), "wifi\n");
    backhaul_type_file_write(BACKHAUL_TYPE_ETHERNET);
    EXPECT_EQ(file_text(TYPE_PATH), "ethernet\n");
    for (const int kind : {2, -1, 255}) {
        backhaul_type_file_write(static_cast<backhaul_type>(kind));
        EXPECT_EQ(file_text(TYPE_PATH), "other\n");
    }
    unlink(TYPE_PATH);
    ASSERT_EQ(mkdir(TYPE_PATH, 0755), 0);
    EXPECT_EQ(printed_out([] { backhaul_type_file_write(BACKHAUL_TYPE_WIFI); }), "");
}

}  // namespace
