// Everything at once on an extender: driver events, words of the FIFO, datagrams with the key and
// without, and sweeps of timeouts as fast as they go. What the thread sanitizer says about it fails
// the test.

#include <gmock/gmock.h>

#include <array>

#include "lab/node/database.h"
#include "tests/harness/crowd.h"
#include "tests/harness/wait.h"
#include "tests/process/fault_story.h"

namespace {

constexpr char CLIENT[] = "02:cc:00:00:00:09";

class Races : public FaultStory {
protected:
    /// Time runs on by itself from the next worker on: no sleep of it lasts.
    void let_time_run() {
        clock().set(lab::CLOCK_EAGER, now());
        std::string error;
        ASSERT_TRUE(router().daemon().kill_worker(SIGUSR1, error)) << error;
        // The supervisor's pause began before.
        ASSERT_TRUE(harness::wait_until([this] {
            std::string ignored;
            clock().advance(1, ignored);
            return router().daemon().worker() != 0;
        }));
    }

    void send_driver_event(unsigned number) {
        const std::string station = number % 5 < 3 ? "ath0" : "ath1";
        switch (number % 4) {
            case 0:
                driver().lost(station);
                break;
            case 1:
                driver().client_joined("ath20", CLIENT);
                break;
            case 2:
                driver().associated(station, ap(1 + number % 2));
                break;
            default:
                driver().client_left("ath20", CLIENT);
                break;
        }
    }
    void send_word(unsigned number) {
        static constexpr std::array WORDS = {"uplink_scan\n", "network_reload\n", "eth_detect\n",
                                             "eth_lost\n", "nothing_of_the_kind\n"};
        std::string ignored;  // the FIFO may be full
        lab::fifo_command(router().node(), WORDS.at(number % WORDS.size()), ignored);
    }
};

TEST_F(Races, events_words_datagrams_and_sweeps_at_once) {
    start_whole();
    const std::string node = router().node().ip();
    lab::UdpPeer neighbour(0, "192.168.1.1");
    std::vector<std::string> sealed;
    for (const char* word :
         {"FLUSHFORWARDING", "UPLINKSCAN", "CHECK_VALID_REPLY", "NETWORKRELOAD"}) {
        sealed.push_back(lab::message_seal(word, lab::MESH_NAME));
    }
    sealed.push_back(lab::message_seal("UPLINKSCAN", "another mesh"));
    sealed.emplace_back("no message at all");
    const std::string announcement = lab::message_seal("ImRootAP", lab::MESH_NAME);
    driver().sender();
    let_time_run();
    const pid_t worker = router().daemon().worker();
    harness::Crowd crowd(router().root());
    crowd.add([this](unsigned number) { send_driver_event(number); });
    crowd.add([this](unsigned number) { send_word(number); });
    crowd.add([&](unsigned number) {
        neighbour.send(node, 36003, sealed[number % sealed.size()]);
        neighbour.send(node, 36002, number % 2 == 0 ? announcement : sealed.back());
    });
    EXPECT_TRUE(crowd.run()) << "only " << crowd.lines() << " lines";
    EXPECT_EQ(router().daemon().worker(), worker);
    std::printf("%u seconds of the node\n", clock().slept());
    clock().set(lab::CLOCK_HELD, now());
    clock().patience = std::chrono::seconds(120);
    router().follow_log_loosely(true);
    settle();
    // Cables were found and lost meanwhile.
    router().command("eth_lost\n");
    settle();
    router().follow_log_loosely(false);
    expect_whole();
}

}  // namespace
