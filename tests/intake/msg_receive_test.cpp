// Receiving node messages from a neighbour: one datagram in, the exact reaction out.

#include "intake/msg_receive.h"
#include "link/uplink_scan.h"

#include "intake/msg_socket.h"
#include "lab/tools/answer.h"
#include "lab/tools/record.h"
#include "link/link_state.h"
#include "msg/msg_send.h"
#include "runtime/runtime_block.h"
#include "tests/msg/msg_fixture.h"
#include "topology/topology_db.h"

#include <gmock/gmock.h>
#include <poll.h>
#include <sqlite3.h>
#include <thread>

namespace {

using harness::file_is_there;
using harness::file_text;
using harness::put_file;
using lab::message_open;
using lab::message_seal;

constexpr char HERE[] = "192.168.1.10";

Journal received(const std::string& word, const std::string& from = "192.168.1.20") {
    return {"backhaul_notification_recv : recv " + word + " from " + from};
}

class MsgReceive : public MsgTest {
protected:
    void SetUp() override {
        MsgTest::SetUp();
        msg_socket_open();
        // Not the message port: answers go there whatever port a message came from.
        sender_ = neighbour(40000, "192.168.1.20");
        port_ = neighbour(36003, "192.168.1.20");
    }
    void TearDown() override {
        sqlite3_close(runtime.db);
        runtime.db = nullptr;
        sender_.reset();
        port_.reset();
        MsgTest::TearDown();
    }

    /// Handles the datagram that is on its way.
    static void receive() {
        pollfd entry{runtime.msg_fd, POLLIN, 0};
        ASSERT_EQ(poll(&entry, 1, 5000), 1) << "no datagram arrived";
        backhaul_notification_recv(runtime.msg_fd);
        EXPECT_EQ(poll(&entry, 1, 0), 0) << "exactly one datagram is read";
    }
    void deliver(const std::string& bytes) {
        ASSERT_TRUE(sender_->send(HERE, 36003, bytes));
        receive();
    }
    void deliver_word(const std::string& word) {
        deliver(message_seal(word, "mesh"));
    }

    std::unique_ptr<lab::UdpPeer> sender_;
    std::unique_ptr<lab::UdpPeer> port_;
};

TEST_F(MsgReceive, flushes_the_forwarding_tables) {
    deliver_word("FLUSHFORWARDING");
    expect_journal({deciphered(), received("FLUSHFORWARDING"), harness::tables_flushed()});
}

TEST_F(MsgReceive, hears_a_broadcast_as_well) {
    ASSERT_TRUE(sender_->send("192.168.1.255", 36003, message_seal("FLUSHFORWARDING", "mesh")));
    receive();
    expect_journal({deciphered(), received("FLUSHFORWARDING"), harness::tables_flushed()});
}

TEST_F(MsgReceive, opens_the_scan_budget_of_every_station_and_restores_the_parked_ones) {
    intf_record* const ath0 = intf_add("ath0", BACKHAUL_STA, BAND_5G, 20);
    intf_record* const ath1 = intf_add("ath1", BACKHAUL_STA, BAND_5G, 10);
    intf_record* const ath10 = intf_add("ath10", MAIN_SERVICE_AP, BAND_24G);
    for (intf_record* const record : {ath0, ath1, ath10}) {
        record->uplink_scan_count = 7;
        record->other_band_scan_enable = 0;
        record->disconnect_count = 3;
    }
    ath1->state = CONNECT_PENDING;
    deliver_word("UPLINKSCAN");
    for (const intf_record* const station : {ath0, ath1}) {
        EXPECT_EQ(station->uplink_scan_count, 0);
        EXPECT_EQ(station->other_band_scan_enable, 1);
        EXPECT_EQ(station->disconnect_count, 0);
    }
    EXPECT_EQ(ath1->state, INIT);
    EXPECT_EQ(ath10->uplink_scan_count, 7);
    EXPECT_EQ(ath10->other_band_scan_enable, 0);
    expect_journal(
        {deciphered(), received("UPLINKSCAN"), {"backhaul_slave_backhaul_restore : Enter"}});
}

TEST_F(MsgReceive, has_opened_the_scan_budget_before_it_restarts_the_preferred_station) {
    intf_record* const ath0 = intf_add("ath0", BACKHAUL_STA, BAND_5G, 20);
    runtime.best_backhaul_sta = ath0;
    ath0->state = CONNECT_PENDING;
    ath0->uplink_scan_count = 7;
    ath0->other_band_scan_enable = 0;
    lab::answer_hold("", "uci.set", "store");
    // The restart goes on until the supplicant takes the station.
    std::thread socket_thread([this] { deliver_word("UPLINKSCAN"); });
    EXPECT_TRUE(harness::wait_until([] { return harness::recorded_lines().size() == 3; }));
    EXPECT_EQ(ath0->uplink_scan_count, 0);
    EXPECT_EQ(ath0->other_band_scan_enable, 1);
    lab::gate_open("", "store");
    socket_thread.join();
    EXPECT_EQ(ath0->state, CONNECTING_BACKHAUL_AP);
}

TEST_F(MsgReceive, takes_a_network_reload_without_a_line_of_its_own) {
    intf_record* const ath0 = intf_add("ath0", BACKHAUL_STA, BAND_5G, 20);
    ath0->state = BACKHAUL_READY;
    deliver_word("NETWORKRELOAD");
    EXPECT_EQ(ath0->disconnect_count, -1);
    expect_journal({deciphered(),
                    {"backhaul_network_reload_handle : Enter",
                     "backhaul_network_reload_handle : intf(ath0) disconnect_count -1"}});
}

TEST_F(MsgReceive, is_admitted_by_a_reply_from_anybody) {
    runtime.backhaul_valid = 0;
    deliver_word("CHECK_VALID_REPLY");
    EXPECT_EQ(runtime.backhaul_valid, 1);
    expect_journal({deciphered(), received("CHECK_VALID_REPLY")});
}

TEST_F(MsgReceive, takes_a_reply_as_a_root_in_the_same_way) {
    runtime.master = 1;
    runtime.backhaul_valid = 0;
    deliver_word("CHECK_VALID_REPLY");
    EXPECT_EQ(runtime.backhaul_valid, 1);
    expect_journal({deciphered(), received("CHECK_VALID_REPLY")});
}

class MsgAdmission : public MsgReceive {
protected:
    void SetUp() override {
        MsgReceive::SetUp();
        sqlite3* owner = nullptr;
        ASSERT_EQ(sqlite3_open(TOPOLOGY_DB_PATH, &owner), SQLITE_OK);
        ASSERT_EQ(sqlite3_exec(owner,
                               "CREATE TABLE Device (ALMac TEXT, IP TEXT);"
                               "INSERT INTO Device VALUES ('02:00:00:00:00:01','192.168.1.20');",
                               nullptr, nullptr, nullptr),
                  SQLITE_OK);
        sqlite3_close(owner);
        ASSERT_EQ(sqlite3_open(TOPOLOGY_DB_PATH, &runtime.db), SQLITE_OK);
    }
    void expect_refused() {
        deliver_word("CHECK_VALID");
        expect_journal({deciphered(), received("CHECK_VALID")});
        EXPECT_TRUE(port_->take().empty());
    }
};

TEST_F(MsgAdmission, answers_an_approved_node_on_the_message_port) {
    put_file("/tmp/ApplicationData/Approvelist", "02:00:00:00:00:01 1 MRX70\n");
    deliver_word("CHECK_VALID");
    EXPECT_EQ(message_open(heard_by(*port_).bytes, "mesh"), "CHECK_VALID_REPLY");
    EXPECT_TRUE(sender_->take().empty());
    expect_journal({deciphered(), received("CHECK_VALID"), enciphered("CHECK_VALID_REPLY")});
}

TEST_F(MsgAdmission, gives_no_answer_to_a_node_whose_flag_is_0) {
    put_file("/tmp/ApplicationData/Approvelist", "02:00:00:00:00:01 0 MRX70\n");
    expect_refused();
}

TEST_F(MsgAdmission, gives_no_answer_to_a_node_that_is_not_in_the_list) {
    put_file("/tmp/ApplicationData/Approvelist", "02:00:00:00:00:02 1 MRX70\n");
    expect_refused();
}

TEST_F(MsgAdmission, gives_no_answer_to_an_address_that_the_database_does_not_know) {
    put_file("/tmp/ApplicationData/Approvelist", "02:00:00:00:00:01 1 MRX70\n");
    const auto stranger = neighbour(36003, "192.168.1.21");
    ASSERT_TRUE(stranger->send(HERE, 36003, message_seal("CHECK_VALID", "mesh")));
    receive();
    expect_journal({deciphered(), received("CHECK_VALID", "192.168.1.21")});
    EXPECT_TRUE(stranger->take().empty());
}

TEST_F(MsgAdmission, gives_no_answer_without_a_list) {
    expect_refused();
}

TEST_F(MsgReceive, ignores_its_own_broadcast_before_anything_is_run) {
    backhaul_send_msg(msg_word::flush_forwarding, 36003);
    journal_take();
    receive();
    expect_journal({});
    EXPECT_FALSE(file_is_there("/tmp/ssl_input"));
}

TEST_F(MsgReceive, filters_nothing_while_its_own_address_is_not_known) {
    network(
        "addr del 192.168.1.10/24 dev br-lan\n"
        "addr add 192.168.1.10/24 brd + dev ath10\n");
    lab::UdpPeer self(0, HERE);
    ASSERT_TRUE(self.send(HERE, 36003, message_seal("FLUSHFORWARDING", "mesh")));
    receive();
    network("addr del 192.168.1.10/24 dev ath10\n");
    expect_journal({deciphered(), received("FLUSHFORWARDING", HERE), harness::tables_flushed()});
}

TEST_F(MsgReceive, reads_its_own_address_for_each_datagram) {
    deliver_word("CHECK_VALID_REPLY");
    network(
        "addr del 192.168.1.10/24 dev br-lan\n"
        "addr add 192.168.1.11/24 brd + dev br-lan\n");
    journal_take();
    lab::UdpPeer self(0, "192.168.1.11");
    ASSERT_TRUE(self.send("192.168.1.11", 36003, message_seal("FLUSHFORWARDING", "mesh")));
    receive();
    network("addr del 192.168.1.11/24 dev br-lan\n");
    expect_journal({});
}

TEST_F(MsgReceive, does_nothing_for_an_empty_datagram) {
    deliver("");
    expect_journal({});
    EXPECT_FALSE(file_is_there("/tmp/ssl_input"));
}

TEST_F(MsgReceive, drops_what_does_not_decipher_to_a_keyword) {
    for (const std::string& bytes :
         {std::string("x"), std::string(255, 'g'), std::string(256, 'g'), std::string(257, 'g'),
          std::string(1400, 'g'), std::string("FLUSHFORWARDING"), std::string(256, '\0'),
          message_seal("FLUSHFORWARDING", "other"), message_seal("ImRootAP", "mesh"),
          message_seal("flushforwarding", "mesh"), message_seal("XFLUSHFORWARDING", "mesh"),
          message_seal("", "mesh")}) {
        deliver(bytes);
        expect_journal({deciphered()});
    }
}

TEST_F(MsgReceive, cuts_a_datagram_at_256_bytes) {
    deliver(std::string(200, 'a') + std::string(1200, 'b'));
    EXPECT_EQ(file_text("/tmp/ssl_input"), std::string(200, 'a') + std::string(56, 'b'));
    // One byte too many for a whole message: it no longer deciphers.
    const std::string whole = message_seal("FLUSHFORWARDING " + std::string(224, 'x'), "mesh");
    ASSERT_EQ(whole.size(), 272u);
    journal_take();
    deliver(whole);
    EXPECT_EQ(file_text("/tmp/ssl_input").size(), 256u);
}

TEST_F(MsgReceive, obeys_a_keyword_that_fills_256_bytes_with_what_follows) {
    const std::string whole = message_seal("FLUSHFORWARDING " + std::string(223, 'x'), "mesh");
    ASSERT_EQ(whole.size(), 256u);
    deliver(whole);
    expect_journal({deciphered(), received("FLUSHFORWARDING"), harness::tables_flushed()});
}

TEST_F(MsgReceive, obeys_a_keyword_with_text_behind_a_blank) {
    deliver_word("FLUSHFORWARDING and more");
    expect_journal({deciphered(), received("FLUSHFORWARDING"), harness::tables_flushed()});
}

TEST_F(MsgReceive, obeys_a_node_that_shares_an_empty_pass_phrase) {
    ssid_is("");
    deliver(message_seal("CHECK_VALID_REPLY", ""));
    expect_journal({deciphered(""), received("CHECK_VALID_REPLY")});
}

TEST_F(MsgReceive, obeys_its_neighbour_under_every_kind_of_pass_phrase) {
    for (const phrase_row& row : PHRASES) {
        ssid_is(row.configured);
        runtime.backhaul_valid = 0;
        deliver(message_seal("CHECK_VALID_REPLY", row.opening));
        EXPECT_EQ(runtime.backhaul_valid, 1) << row.configured;
        backhaul_send_unicast_msg(msg_word::check_valid, 36003, "192.168.1.20");
        EXPECT_EQ(message_open(heard_by(*port_).bytes, row.sealing), "CHECK_VALID")
            << row.configured;
    }
}

TEST_F(MsgReceive, reads_the_pass_phrase_for_each_datagram) {
    deliver_word("CHECK_VALID_REPLY");
    ssid_is("changed");
    journal_take();
    deliver(message_seal("CHECK_VALID_REPLY", "changed"));
    expect_journal({deciphered("changed"), received("CHECK_VALID_REPLY")});
}

TEST_F(MsgReceive, obeys_no_message_after_an_earlier_one_when_openssl_fails) {
    deliver_word("FLUSHFORWARDING");
    journal_take();
    ssid_is("odd\"quote");
    deliver_word("FLUSHFORWARDING");
    expect_journal({deciphered("odd\"quote")});
}

TEST_F(MsgReceive, closes_its_socket_in_the_tools_that_it_runs) {
    deliver_word("FLUSHFORWARDING");
    for (const lab::LineRecord& record : lab::line_records("")) {
        for (const std::string& descriptor : record.stamp.descriptors) {
            EXPECT_EQ(descriptor.find("socket"), std::string::npos) << descriptor;
        }
    }
}

TEST_F(MsgReceive, holds_the_table_lock_of_a_scan_request_only_for_its_walks) {
    intf_add("ath0", BACKHAUL_STA, BAND_5G)->uplink_scan_count = 3;
    backhaul_sta_uplink_scan_count_clear();
    backhaul_sta_other_band_scan_enable();
    // Both came back, so both let go of the lock.
    backhaul_sta_uplink_scan_count_clear();
    backhaul_sta_other_band_scan_enable();
    EXPECT_EQ(runtime.intf_table.load()[0].uplink_scan_count, 0);
    EXPECT_EQ(runtime.intf_table.load()[0].other_band_scan_enable, 1);
}

}  // namespace
