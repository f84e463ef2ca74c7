// Everything at once: driver events, words of the FIFO, datagrams with the key and without, and
// sweeps of timeouts as fast as they go. What the thread sanitizer says about it fails the test.
//
// Counted in lines that the daemon runs, not in seconds: BACKHAUL_RACE_LINES asks for more of them.

#include <gmock/gmock.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <thread>

#include "lab/node/database.h"
#include "lab/tools/record.h"
#include "tests/harness/wait.h"
#include "tests/process/fault_story.h"

namespace {

constexpr char CLIENT[] = "02:cc:00:00:00:09";
/// Each sender sends once for so many lines that the daemon has run: all queues hold something, and
/// none grows without end.
constexpr size_t LINES_A_SEND = 12;
/// Far above what a line takes on a busy machine, under a sanitizer.
constexpr int PATIENCE_MS_A_LINE = 200;

size_t lines_wanted() {
    const char* wanted = getenv("BACKHAUL_RACE_LINES");
    return wanted == nullptr ? 1000 : static_cast<size_t>(atol(wanted));
}

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

    /// Calls `send` with 0, 1, 2... as the daemon's lines grow, until it has run all that are
    /// wanted.
    template <typename Send>
    void send_all_along(Send send) {
        for (unsigned number = 0; !is_over_; ++number) {
            send(number);
            const size_t next = lines_ + LINES_A_SEND;
            harness::wait_until([this, next] { return is_over_ || lines_ >= next; }, 1000);
        }
    }

    /// Counts the daemon's lines until they are enough.
    void count_lines() {
        std::uint64_t offset = 0;
        std::vector<lab::LineRecord> records;
        lab::line_records_read(router().root(), &offset, &records);
        const size_t before = records.size();
        const bool enough = harness::wait_until(
            [&] {
                lab::line_records_read(router().root(), &offset, &records);
                lines_ = records.size() - before;
                return lines_ >= lines_wanted();
            },
            static_cast<int>(lines_wanted()) * PATIENCE_MS_A_LINE);
        EXPECT_TRUE(enough) << "only " << lines_ << " lines";
        is_over_ = true;
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

private:
    std::atomic<size_t> lines_{0};
    std::atomic<bool> is_over_{false};
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
    std::vector<std::thread> senders;
    senders.emplace_back(
        [this] { send_all_along([this](unsigned number) { send_driver_event(number); }); });
    senders.emplace_back(
        [this] { send_all_along([this](unsigned number) { send_word(number); }); });
    senders.emplace_back([&, this] {
        send_all_along([&](unsigned number) {
            neighbour.send(node, 36003, sealed[number % sealed.size()]);
            neighbour.send(node, 36002, number % 2 == 0 ? announcement : sealed.back());
        });
    });
    count_lines();
    for (std::thread& sender : senders) {
        sender.join();
    }
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
