#include "tests/process/fault_story.h"

#include <gmock/gmock.h>

#include <csignal>

#include "lab/node/database.h"
#include "lab/node/processes.h"

using testing::AnyOf;
using testing::Contains;

namespace {

constexpr char CLIENT[] = "02:cc:00:00:00:07";
constexpr size_t STREAMS = 3;

}  // namespace

void FaultStory::start_whole(const std::vector<std::string>& through) {
    if (through.empty()) {
        start_extender();
    } else {
        std::string error;
        ASSERT_TRUE(router().daemon().start({{}, {}, through}, error)) << error;
    }
    start_whole_running();
}

void FaultStory::start_whole_running() {
    settle();
    admit();
    advance(10);
    make_ready("ath0", ap(1));
    heard();
    descriptors_ = router().daemon().worker_descriptors().size();
}

void FaultStory::live(std::uint32_t seconds) {
    std::string ignored;  // there may be no worker at the moment
    driver().lost("ath0");
    driver().client_left("ath20", CLIENT);
    lab::fifo_command(router().node(), "uplink_scan\n", ignored);
    announce_root();
    say("FLUSHFORWARDING", router().node().ip());
    driver().associated("ath0", ap(1));
    advance(seconds);
    router().new_log();  // the log turns over: seen before it does so twice
}

void FaultStory::expect_event_handled(Where where) {
    skip();
    driver().client_left("ath20", CLIENT, where);
    settle(where);
    const Lines log = router().new_log();
    EXPECT_THAT(log, Contains(std::string("STA mac : ") + CLIENT)) << where.line;
}

void FaultStory::expect_whole(Where where) {
    const std::string here = "line " + std::to_string(where.line);
    advance(20, where);  // a worker that ended meanwhile, and its 10-second pause
    EXPECT_THAT(router().file("/tmp/backhaul_status"),
                AnyOf("ready\n", "not ready\n", "connected\n"))
        << here;
    expect_event_handled(where);
    skip();
    admit(where);
    EXPECT_THAT(router().new_log(),
                Contains("backhaul_notification_recv : recv CHECK_VALID_REPLY from 192.168.1.1"))
        << here;
    heard();
    router().command("network_reload\n", where);
    EXPECT_THAT(heard(), Contains("NETWORKRELOAD")) << here;
    EXPECT_EQ(router().daemon().worker_descriptors().size(), descriptors_)
        << here << testing::PrintToString(router().daemon().worker_descriptors());
    EXPECT_EQ(lab::descriptors_of(router().daemon().supervisor()).size(), STREAMS) << here;
    EXPECT_EQ(lab::node_processes(router().node()).size(), 3U) << here;
    // How far the old one had come with its losses is another story.
    router().kill_worker(SIGUSR1, where);
    advance(11, where);
    driver().associated("ath0", ap(1), where);
    advance_until([this] { return router().file("/tmp/backhaul_status") == "ready\n"; }, 60, where);
}

void FaultStory::inside(const std::vector<std::string>& words, Where where) {
    lab::SpawnPlan plan;
    plan.words = words;
    plan.out = "/run/lab/out/inside";
    plan.moved_clock = false;
    std::string error;
    if (router().node().run(plan, error) != 0) {
        harness::fail_at(where, testing::PrintToString(words), " ", error, router().file(plan.out));
    }
}

void FaultStory::next_worker() {
    router().kill_worker(SIGKILL);
    advance(1);
}
