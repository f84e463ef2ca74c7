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

void FaultStory::start_whole() {
    start_ready_extender();
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

void FaultStory::expect_event_handled(const char* file, int line) {
    skip();
    driver().client_left("ath20", CLIENT, file, line);
    settle(file, line);
    const Lines log = router().new_log();
    EXPECT_THAT(log, Contains(std::string("STA mac : ") + CLIENT)) << file << ":" << line;
}

void FaultStory::expect_whole(const char* file, int line) {
    const std::string here = std::string(file) + ":" + std::to_string(line);
    advance(20, file, line);  // a worker that ended meanwhile, and its 10-second pause
    EXPECT_THAT(router().file("/tmp/backhaul_status"),
                AnyOf("ready\n", "not ready\n", "connected\n"))
        << here;
    expect_event_handled(file, line);
    skip();
    admit(file, line);
    EXPECT_THAT(router().new_log(),
                Contains("backhaul_notification_recv : recv CHECK_VALID_REPLY from 192.168.1.1"))
        << here;
    heard();
    router().command("network_reload\n", file, line);
    EXPECT_THAT(heard(), Contains("NETWORKRELOAD")) << here;
    EXPECT_EQ(router().daemon().worker_descriptors().size(), descriptors_)
        << here << testing::PrintToString(router().daemon().worker_descriptors());
    EXPECT_EQ(lab::descriptors_of(router().daemon().supervisor()).size(), STREAMS) << here;
    EXPECT_EQ(lab::node_processes(router().node()).size(), 3U) << here;
    // How far the old one had come with its losses is another story.
    router().kill_worker(SIGUSR1, file, line);
    advance(11, file, line);
    driver().associated("ath0", ap(1), file, line);
    advance_until([this] { return router().file("/tmp/backhaul_status") == "ready\n"; }, 60, file,
                  line);
}

void FaultStory::inside(const std::vector<std::string>& words, const char* file, int line) {
    lab::SpawnPlan plan;
    plan.words = words;
    plan.out = "/run/lab/out/inside";
    plan.moved_clock = false;
    std::string error;
    if (router().node().run(plan, error) != 0) {
        ADD_FAILURE_AT(file, line)
            << testing::PrintToString(words) << " " << error << router().file(plan.out);
    }
}

void FaultStory::next_worker() {
    router().kill_worker(SIGKILL);
    advance(1);
}
