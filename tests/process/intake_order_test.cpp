// The socket thread: driver events before commands before node messages, one at a time, and what
// it does without its FIFO.

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>

#include "lab/tools/answer.h"
#include "tests/process/extender_story.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char CLIENT[] = "02:cc:00:00:00:07";

const Lines FLUSH_MESSAGE =
    joined({message_opened(),
            {"backhaul_notification_recv : recv FLUSHFORWARDING from 192.168.1.1"},
            tables_flushed()});

const Lines CLIENT_LEFT = {"STA_DISASSOC_WITH_AP(ath20)", std::string("STA mac : ") + CLIENT};

class IntakeOrder : public ExtenderStory {
protected:
    /// A ready extender whose bridge has told the kernel's last word about itself: such a message
    /// would take the turn of the driver event that the test sends.
    void start_in_quiet_network() {
        start_ready_extender();
        const std::string state = "/sys/class/net/br-lan/operstate";
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (router().file(state) != "up\n" && std::chrono::steady_clock::now() < end) {
            usleep(1000);
        }
        EXPECT_EQ(router().file(state), "up\n");
        settle();
    }

    /// The socket thread is inside a tool until the gate "busy" opens.
    void make_socket_thread_busy() {
        lab::answer_hold(router().root(), "vl1905App.33", "busy");
        driver().client_joined("ath10", CLIENT);
        expect_journal({"STA_ASSOC_WITH_AP(ath10)", std::string("STA mac : ") + CLIENT,
                        std::string("device_kick_wifi_client : request to clear ") + CLIENT +
                            " from wifi list",
                        std::string("$ vl1905App 33 00:00:00:00:00:00 ") + CLIENT});
    }

    void open_gate(const std::string& gate) {
        lab::gate_open(router().root(), gate);
    }
};

TEST_F(IntakeOrder, serves_a_driver_event_then_a_command_then_a_message) {
    start_in_quiet_network();
    make_socket_thread_busy();
    say("FLUSHFORWARDING", router().node().ip());
    router().command("network_reload\n");
    driver().client_left("ath20", CLIENT);
    expect_journal({});
    open_gate("busy");
    expect_journal(joined({CLIENT_LEFT, message_sent("NETWORKRELOAD"), FLUSH_MESSAGE}));
    EXPECT_THAT(heard(), ElementsAre("NETWORKRELOAD"));
}

TEST_F(IntakeOrder, looks_at_all_three_again_after_each_round) {
    start_in_quiet_network();
    make_socket_thread_busy();
    for (int round = 0; round < 2; ++round) {
        say("FLUSHFORWARDING", router().node().ip());
        driver().client_left("ath20", CLIENT);
    }
    router().command("network_reload\n");
    open_gate("busy");
    // One datagram of each socket a round.
    expect_journal(joined(
        {CLIENT_LEFT, message_sent("NETWORKRELOAD"), FLUSH_MESSAGE, CLIENT_LEFT, FLUSH_MESSAGE}));
}

TEST_F(IntakeOrder, lets_a_message_and_an_event_wait_until_the_command_is_done) {
    start_in_quiet_network();
    lab::answer_hold(router().root(), "uci.get.wireless.ath20.ssid", "slow");
    router().command("network_reload\n");
    const Lines sent = message_sent("NETWORKRELOAD");
    expect_journal({sent.front()});
    say("FLUSHFORWARDING", router().node().ip());
    driver().client_left("ath20", CLIENT);
    advance(20);
    expect_journal({});
    EXPECT_THAT(heard(), IsEmpty());
    open_gate("slow");
    expect_journal(joined({{sent.back()}, CLIENT_LEFT, FLUSH_MESSAGE}));
}

TEST_F(IntakeOrder, goes_on_with_driver_events_and_messages_without_the_fifo) {
    // A folder with a file in it can be neither removed nor replaced.
    add_extender();
    ASSERT_EQ(mkdir(router().node().at("/tmp/backhaul_fifo").c_str(), 0700), 0);
    router().put_file("/tmp/backhaul_fifo/kept", "");
    router().start();
    expect_out_of_both({"Wait pid", "mkfifo : error"});
    advance(10);
    skip();
    driver().associated("ath0", ap(1));
    expect_journal(first_link("ath0", ap(1)));
    say("FLUSHFORWARDING", router().node().ip());
    expect_journal(FLUSH_MESSAGE);
    advance(17);
    expect_status("ready\n");
}

TEST_F(IntakeOrder, takes_a_new_fifo_in_place_of_what_an_earlier_worker_left) {
    add_extender().put_file("/tmp/backhaul_fifo", "stale");
    router().start();
    expect_out({"Wait pid"});
    struct stat about {};
    ASSERT_EQ(stat(router().node().at("/tmp/backhaul_fifo").c_str(), &about), 0);
    EXPECT_TRUE(S_ISFIFO(about.st_mode));
    advance(10);
    admit();
    skip();
    router().command("network_reload\n");
    expect_journal(message_sent("NETWORKRELOAD"));
}

}  // namespace
