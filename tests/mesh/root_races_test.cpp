// Everything at once on a root: its eight timers as fast as they go, clients that come and go,
// words of the FIFO, datagrams with the key and without, extenders that live and die in the
// database, and an approval list that changes. What the thread sanitizer says about it fails the
// test.

#include <array>

#include "lab/node/database.h"
#include "tests/harness/crowd.h"
#include "tests/mesh/root_story.h"

namespace {

constexpr char CLIENT[] = "02:cc:00:00:00:09";
/// Time does not wait for lines: most seconds of a root bring none.
constexpr size_t LINES_A_SECOND = 4;
constexpr int SECOND_MS = 5;

class RootRaces : public RootStory {
protected:
    void send_driver_event(unsigned number) {
        if (number % 2 == 0) {
            driver().client_joined("ath20", CLIENT);
        } else {
            driver().client_left("ath20", CLIENT);
        }
    }
    void send_word(unsigned number) {
        static constexpr std::array WORDS = {"uplink_scan\n", "approval_list_changed\n",
                                             "network_reload\n", "nothing_of_the_kind\n"};
        std::string ignored;  // the FIFO may be full
        lab::fifo_command(router().node(), WORDS.at(number % WORDS.size()), ignored);
    }
    void change_lists(unsigned number) {
        const std::string is_alive = number % 2 == 0 ? "1, 0" : "0, 3";
        std::string ignored;  // somebody reads
        lab::database_run(
            router().node(),
            "UPDATE Device SET (Alive, nNotAlive) = (" + is_alive + ") WHERE DevType='L2Device';",
            ignored);
        approvals(number % 3 == 0 ? "" : "02:00:00:00:00:01 1 MRX50\n");
    }
};

TEST_F(RootRaces, timers_events_words_datagrams_and_lists_at_once) {
    start_root();
    const std::string node = router().node().ip();
    lab::UdpPeer neighbour(0, "192.168.1.1");
    const std::vector<std::string> sealed = {lab::message_seal("CHECK_VALID", lab::MESH_NAME),
                                             lab::message_seal("UPLINKSCAN", lab::MESH_NAME),
                                             lab::message_seal("NETWORKRELOAD", lab::MESH_NAME),
                                             lab::message_seal("CHECK_VALID", "another mesh"),
                                             "no message at all"};
    driver().sender();
    const pid_t worker = router().daemon().worker();
    const std::uint32_t start = now();
    harness::Crowd crowd(router().root());
    crowd.add([this](unsigned) { clock().pass_second(); }, LINES_A_SECOND, SECOND_MS);
    crowd.add([this](unsigned number) { send_driver_event(number); });
    crowd.add([this](unsigned number) { send_word(number); });
    crowd.add([this](unsigned number) { change_lists(number); });
    crowd.add(
        [&](unsigned number) { neighbour.send(node, 36003, sealed[number % sealed.size()]); });
    EXPECT_TRUE(crowd.run()) << "only " << crowd.lines() << " lines";
    EXPECT_EQ(router().daemon().worker(), worker);
    std::printf("%u seconds of the node\n", now() - start);
    clock().patience = std::chrono::seconds(120);
    router().follow_log_loosely(true);
    settle();
    router().follow_log_loosely(false);
    // Each of them still acts: the timers, the driver's events, the words and the messages.
    change_lists(1);
    advance(20);
    expect_file("/tmp/backhaul_ap_list", "");
    change_lists(2);
    advance(20);
    EXPECT_NE(router().file("/tmp/backhaul_ap_list"), "");
    skip();
    driver().client_left("ath20", CLIENT);
    expect_log({"...", std::string("STA mac : ") + CLIENT, "..."});
    heard();
    router().command("network_reload\n");
    EXPECT_EQ(heard(), std::vector<std::string>{"NETWORKRELOAD"});
    say("CHECK_VALID", node);
    EXPECT_EQ(heard(), std::vector<std::string>{"CHECK_VALID_REPLY"});
}

}  // namespace
