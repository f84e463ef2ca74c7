// Sending between two network namespaces: what goes out, what is retried, what is said.

#include "msg/msg_send.h"

#include "lab/tools/record.h"
#include "msg/bridge_address.h"
#include "runtime/runtime_block.h"
#include "tests/msg/msg_fixture.h"

#include <gmock/gmock.h>
#include <sys/socket.h>
#include <cerrno>
#include <cstring>
#include <thread>

namespace {

using harness::clock_advance;
using lab::message_open;
using testing::ElementsAre;

class MsgSend : public MsgTest {
protected:
    /// Runs a send that waits on a thread of its own, under a clock that stands.
    std::thread waiting(const std::function<void()>& send) {
        harness::clock_start(START_TIME, lab::CLOCK_HELD);
        return std::thread(send);
    }
    /// Waits until `count` shell lines were run and all is still.
    static void lines_reach(size_t count) {
        EXPECT_TRUE(
            harness::wait_until([count] { return harness::recorded_lines().size() >= count; }));
        harness::clock_settle();
    }
};

Journal broadcast_error(int error) {
    return {"backhaul_send_msg : sendto error " + std::to_string(error)};
}
Journal unicast_error(int error, const std::string& ip) {
    return {"backhaul_send_unicast_msg : sendto error " + std::to_string(error) + " '" + ip + "'"};
}

TEST_F(MsgSend, broadcasts_on_the_bridge_to_the_given_port) {
    const auto messages = neighbour(36003);
    const auto announcements = neighbour(36002);
    backhaul_send_msg(msg_word::flush_forwarding, 36003);
    const lab::Datagram message = heard_by(*messages);
    EXPECT_EQ(message.from, "192.168.1.10");
    EXPECT_EQ(message_open(message.bytes, "mesh"), "FLUSHFORWARDING");
    EXPECT_TRUE(announcements->take().empty());
    backhaul_send_msg(msg_word::root_announcement, 36002);
    EXPECT_EQ(message_open(heard_by(*announcements).bytes, "mesh"), "ImRootAP");
    expect_journal({enciphered("FLUSHFORWARDING"), enciphered("ImRootAP")});
}

TEST_F(MsgSend, sends_to_one_address) {
    const auto chosen = neighbour(36003, "192.168.1.20");
    const auto other = neighbour(36003, "192.168.1.21");
    backhaul_send_unicast_msg(msg_word::check_valid_reply, 36003, "192.168.1.20");
    EXPECT_EQ(message_open(heard_by(*chosen).bytes, "mesh"), "CHECK_VALID_REPLY");
    EXPECT_TRUE(other->take().empty());
    expect_journal({enciphered("CHECK_VALID_REPLY")});
}

TEST_F(MsgSend, works_under_an_empty_pass_phrase) {
    ssid_is("");
    const auto messages = neighbour(36003);
    backhaul_send_msg(msg_word::uplink_scan, 36003);
    EXPECT_EQ(message_open(heard_by(*messages).bytes, ""), "UPLINKSCAN");
}

TEST_F(MsgSend, asks_the_root_for_admission_in_place_of_every_broadcast) {
    runtime.backhaul_valid = 0;
    runtime.rootap_ip.set("192.168.1.20");
    const auto root = neighbour(36003, "192.168.1.20");
    const auto announce_port = neighbour(36002);
    for (const uint16_t port : {uint16_t{36003}, uint16_t{36002}}) {
        backhaul_send_msg(msg_word::uplink_scan, port);
        EXPECT_EQ(message_open(heard_by(*root).bytes, "mesh"), "CHECK_VALID");
    }
    EXPECT_TRUE(announce_port->take().empty());
    expect_journal({enciphered("CHECK_VALID"), enciphered("CHECK_VALID")});
}

TEST_F(MsgSend, never_sends_later_what_was_dropped_before_admission) {
    runtime.backhaul_valid = 0;
    runtime.rootap_ip.set("192.168.1.20");
    const auto messages = neighbour(36003);
    backhaul_send_msg(msg_word::uplink_scan, 36003);
    EXPECT_EQ(message_open(heard_by(*messages).bytes, "mesh"), "CHECK_VALID");
    runtime.backhaul_valid = 1;
    backhaul_send_msg(msg_word::flush_forwarding, 36003);
    EXPECT_EQ(message_open(heard_by(*messages).bytes, "mesh"), "FLUSHFORWARDING");
    EXPECT_TRUE(messages->take().empty());
}

TEST_F(MsgSend, gives_up_at_once_on_a_root_that_was_not_heard_yet) {
    runtime.backhaul_valid = 0;
    backhaul_send_msg(msg_word::uplink_scan, 36003);
    expect_journal({enciphered("CHECK_VALID"), unicast_error(13, "")});
}

TEST_F(MsgSend, tries_every_two_seconds_without_a_route_until_the_root_is_heard) {
    runtime.backhaul_valid = 0;
    const auto root = neighbour(36003, "192.168.1.20");
    network("route del default\n");
    std::thread sender = waiting([] { backhaul_send_msg(msg_word::uplink_scan, 36003); });
    lines_reach(2);
    expect_journal({enciphered("CHECK_VALID"), unicast_error(101, "")});
    clock_advance(1);
    expect_journal({});
    clock_advance(1);
    expect_journal({enciphered("CHECK_VALID"), unicast_error(101, "")});
    clock_advance(20);
    EXPECT_EQ(journal_take().size(), 30u) << "ten tries";
    runtime.rootap_ip.set("192.168.1.20");
    clock_advance(2);
    sender.join();
    expect_journal({enciphered("CHECK_VALID")});
    EXPECT_EQ(message_open(heard_by(*root).bytes, "mesh"), "CHECK_VALID");
}

TEST_F(MsgSend, tries_a_broadcast_again_until_the_bridge_is_up) {
    const auto messages = neighbour(36003);
    network("link set br-lan down\n");
    std::thread sender = waiting([] { backhaul_send_msg(msg_word::uplink_scan, 36003); });
    lines_reach(2);
    clock_advance(2);
    clock_advance(2);
    expect_journal({enciphered("UPLINKSCAN"), broadcast_error(101), enciphered("UPLINKSCAN"),
                    broadcast_error(101), enciphered("UPLINKSCAN"), broadcast_error(101)});
    // Everything is read anew for each try.
    ssid_is("changed");
    network("link set br-lan up\n");
    clock_advance(2);
    sender.join();
    expect_journal({enciphered("UPLINKSCAN", "changed")});
    EXPECT_EQ(message_open(heard_by(*messages).bytes, "changed"), "UPLINKSCAN");
}

TEST_F(MsgSend, tries_a_unicast_to_its_given_address_again) {
    const auto chosen = neighbour(36003, "192.168.1.20");
    network("link set br-lan down\n");
    std::thread sender = waiting(
        [] { backhaul_send_unicast_msg(msg_word::check_valid_reply, 36003, "192.168.1.20"); });
    lines_reach(2);
    expect_journal({enciphered("CHECK_VALID_REPLY"), unicast_error(101, "192.168.1.20")});
    network("link set br-lan up\n");
    clock_advance(2);
    sender.join();
    EXPECT_EQ(message_open(heard_by(*chosen).bytes, "mesh"), "CHECK_VALID_REPLY");
}

TEST_F(MsgSend, gives_up_on_any_other_error) {
    network(
        "route del broadcast 192.168.1.255 dev br-lan table local\n"
        "route add unreachable 192.168.1.255/32\n"
        "route add unreachable 192.168.1.77/32\n");
    backhaul_send_msg(msg_word::uplink_scan, 36003);
    backhaul_send_unicast_msg(msg_word::check_valid_reply, 36003, "192.168.1.77");
    network(
        "route del unreachable 192.168.1.255/32\n"
        "route del unreachable 192.168.1.77/32\n"
        "addr del 192.168.1.10/24 dev br-lan\n");
    expect_journal({enciphered("UPLINKSCAN"), broadcast_error(113), enciphered("CHECK_VALID_REPLY"),
                    unicast_error(113, "192.168.1.77")});
}

TEST_F(MsgSend, is_silent_when_there_is_nothing_to_send) {
    const auto messages = neighbour(36003);
    ssid_is("it's");
    backhaul_send_msg(msg_word::uplink_scan, 36003);
    backhaul_send_unicast_msg(msg_word::check_valid, 36003, "192.168.1.20");
    expect_journal({enciphered("UPLINKSCAN", "it's"), enciphered("CHECK_VALID", "it's")});
    EXPECT_TRUE(messages->take().empty());
}

TEST_F(MsgSend, asks_once_more_after_ten_seconds_for_the_address_of_a_bridge_without_one) {
    network("addr del 192.168.1.10/24 dev br-lan\n");
    std::string out;
    const std::string err = printed_err(
        [&] { out = printed_out([] { backhaul_send_msg(msg_word::uplink_scan, 36003); }); });
    EXPECT_EQ(out, "get_intf_bcast_address : try again\n");
    EXPECT_EQ(err, "ioctl: Cannot assign requested address\n");
    EXPECT_EQ(harness::clock_now(), START_TIME + 10);
    expect_journal({{"backhaul_send_msg : get broadcast address fail"}});
}

TEST_F(MsgSend, sends_when_the_second_look_finds_the_address) {
    const auto messages = neighbour(36003);
    network("addr del 192.168.1.10/24 dev br-lan\n");
    testing::internal::CaptureStdout();
    std::thread sender = waiting([] { backhaul_send_msg(msg_word::uplink_scan, 36003); });
    harness::clock_settle();
    clock_advance(9);
    expect_journal({});
    network("addr add 192.168.1.10/24 brd + dev br-lan\n");
    clock_advance(1);
    sender.join();
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(message_open(heard_by(*messages).bytes, "mesh"), "UPLINKSCAN");
    expect_journal({enciphered("UPLINKSCAN")});
}

TEST_F(MsgSend, loses_the_message_when_there_is_no_socket_to_ask_for_the_address) {
    sockets().pass_sockets = 1;
    sockets().fail_sockets = 1;
    EXPECT_EQ(printed_err([] { backhaul_send_msg(msg_word::uplink_scan, 36003); }),
              "socket: Too many open files\n");
    expect_journal({{"backhaul_send_msg : get broadcast address fail"}});
}

TEST_F(MsgSend, does_not_wait_for_a_bridge_that_is_not_there) {
    sockaddr_in address{};
    int result = 0;
    std::string out;
    const std::string err = printed_err(
        [&] { out = printed_out([&] { result = get_intf_bcast_address("br-none", &address); }); });
    EXPECT_LT(result, 0);
    EXPECT_EQ(out, "");
    EXPECT_EQ(err, "ioctl: No such device\n");
    EXPECT_EQ(harness::clock_now(), START_TIME);
}

TEST_F(MsgSend, cuts_the_name_of_the_bridge_at_15_characters) {
    network(
        "link add abcdefghijklmno type bridge\n"
        "addr add 10.7.0.1/24 brd + dev abcdefghijklmno\n");
    sockaddr_in address{};
    EXPECT_EQ(get_intf_bcast_address("abcdefghijklmnopqrstuvwxyz", &address), 0);
    network("link del abcdefghijklmno\n");
    EXPECT_STREQ(ip_text_get(address.sin_addr).data(), "10.7.0.255");
}

TEST_F(MsgSend, finds_the_broadcast_address_and_the_own_one) {
    sockaddr_in address{};
    EXPECT_EQ(get_intf_bcast_address("br-lan", &address), 0);
    EXPECT_EQ(address.sin_family, AF_INET);
    EXPECT_STREQ(ip_text_get(address.sin_addr).data(), "192.168.1.255");
    std::array<char, 16> text{};
    get_intf_ip_address(text.data());
    EXPECT_STREQ(text.data(), "192.168.1.10");
}

TEST_F(MsgSend, leaves_the_text_alone_without_an_own_address) {
    network("addr del 192.168.1.10/24 dev br-lan\n");
    std::array<char, 16> text{"before"};
    const std::string err = printed_err([&] { get_intf_ip_address(text.data()); });
    EXPECT_STREQ(text.data(), "before");
    sockets().fail_sockets = 1;
    get_intf_ip_address(text.data());
    EXPECT_STREQ(text.data(), "before");
    EXPECT_EQ(err, "");
}

TEST_F(MsgSend, sets_two_options_for_a_broadcast_and_none_for_a_unicast) {
    const auto messages = neighbour(36003);
    const std::string one("\1\0\0\0", 4);
    const std::string err = printed_err([] { backhaul_send_msg(msg_word::uplink_scan, 36003); });
    EXPECT_EQ(err.find("setsockopt"), std::string::npos) << err;
    EXPECT_EQ(err.find("reuse addr"), std::string::npos) << err;
    EXPECT_THAT(sockets().options,
                ElementsAre(socket_script::option{SOL_SOCKET, SO_BROADCAST, one},
                            socket_script::option{SOL_SOCKET, SO_REUSEADDR, one}));
    sockets().options.clear();
    backhaul_send_unicast_msg(msg_word::uplink_scan, 36003, "192.168.1.20");
    EXPECT_TRUE(sockets().options.empty());
}

TEST_F(MsgSend, has_set_the_options_before_it_enciphers) {
    std::vector<size_t> lines_run;
    sockets().on_option = [&](const socket_script::option& /*option*/) {
        lines_run.push_back(harness::recorded_lines().size());
    };
    backhaul_send_msg(msg_word::uplink_scan, 36003);
    EXPECT_THAT(lines_run, ElementsAre(0, 0));
    expect_journal({enciphered("UPLINKSCAN")});
}

TEST_F(MsgSend, says_so_and_goes_on_when_the_options_are_refused) {
    sockets().fail_options = true;
    // Only the complaints, not what openssl says about its keys.
    const std::string err = printed_err([] { backhaul_send_msg(msg_word::uplink_scan, 36003); });
    EXPECT_EQ(err.find("setsockopt: Operation not permitted\n"
                       "set sock reuse addr error: Operation not permitted\n"),
              0u)
        << err;
    expect_journal({enciphered("UPLINKSCAN"), broadcast_error(13)});
}

TEST_F(MsgSend, ends_the_worker_when_no_socket_can_be_made) {
    for (const bool broadcast : {true, false}) {
        int status = 0;
        const std::string err = printed_err([&] {
            status = harness::exit_code([&] {
                sockets().fail_sockets = 1;
                if (broadcast) {
                    backhaul_send_msg(msg_word::uplink_scan, 36003);
                } else {
                    backhaul_send_unicast_msg(msg_word::uplink_scan, 36003, "192.168.1.20");
                }
            });
        });
        EXPECT_EQ(status, 1);
        EXPECT_EQ(err, "socket: Too many open files\n");
    }
    expect_journal({});
}

TEST_F(MsgSend, gives_its_tools_no_socket) {
    backhaul_send_msg(msg_word::uplink_scan, 36003);
    backhaul_send_unicast_msg(msg_word::uplink_scan, 36003, "192.168.1.20");
    for (const lab::LineRecord& record : lab::line_records("")) {
        for (const std::string& descriptor : record.stamp.descriptors) {
            EXPECT_EQ(descriptor.find("socket"), std::string::npos) << descriptor;
        }
    }
}

}  // namespace
