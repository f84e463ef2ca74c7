// What a router can take away from its daemon, and the ways in which that can be stopped: each is
// undone after a while, and the daemon is whole again.

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <functional>
#include <memory>
#include <random>

#include "lab/node/database.h"
#include "lab/sandbox/program.h"
#include "lab/sandbox/sandbox.h"
#include "tests/process/fault_story.h"

namespace {

using testing::AnyOf;

constexpr char DATABASE[] = "/tmp/netprobe.db";
constexpr std::uint32_t DAY = 86400;

class Faults : public FaultStory {
protected:
    /// Makes a file system small and full, and gives it its room back.
    void fill(const std::string& place) {
        inside({"mount", "-o", "remount,size=1M", "lab", place});
        inside(
            {"sh", "-c", "dd if=/dev/zero of=" + place + "/filler bs=1k 2>/dev/null; test $? = 1"});
    }
    void make_room(const std::string& place) {
        router().remove_file(place + "/filler");
        inside({"mount", "-o", "remount,size=50%", "lab", place});
    }

    static void descriptor_limit_set(pid_t pid, rlim_t limit) {
        const rlimit both{limit, 4096};
        ASSERT_EQ(prlimit(pid, RLIMIT_NOFILE, &both, nullptr), 0);
    }

    void bridge(const std::string& command) {
        inside({"sh", "-c", command});
    }
};

TEST_F(Faults, full_tmp) {
    start_whole();
    fill("/tmp");
    live();
    expect_event_handled();
    next_worker();
    live();
    make_room("/tmp");
    next_worker();
    expect_whole();
}

TEST_F(Faults, full_and_then_read_only_log_folder) {
    start_whole();
    fill("/var/log");
    live();
    make_room("/var/log");
    expect_whole();
    inside({"mount", "-o", "remount,ro", "lab", "/var/log"});
    live();
    inside({"mount", "-o", "remount,rw", "lab", "/var/log"});
    expect_whole();
}

TEST_F(Faults, no_descriptor_left) {
    start_whole();
    const pid_t worker = router().daemon().worker();
    descriptor_limit_set(worker, 0);
    descriptor_limit_set(router().daemon().supervisor(), 0);
    // Without a socket to send with the worker ends; the next ones cannot start either.
    live(5);
    EXPECT_NE(router().daemon().worker(), worker);
    descriptor_limit_set(router().daemon().supervisor(), 1024);
    expect_whole();
}

TEST_F(Faults, database_locked_removed_swapped_and_corrupt) {
    start_whole();
    {
        const lab::DatabaseLock lock(router().node());
        ASSERT_TRUE(lock.ok());
        live();
    }
    expect_whole();
    const std::string place = router().node().at(DATABASE);
    const std::string whole = router().file(DATABASE);
    ASSERT_EQ(rename(place.c_str(), (place + ".old").c_str()), 0);
    live();
    router().put_file(DATABASE, whole);  // another file of the same content
    expect_whole();
    router().put_file(DATABASE, std::string(whole.size(), 'x'));
    live();
    next_worker();
    live();
    router().put_file(DATABASE, whole);
    next_worker();
    expect_whole();
}

TEST_F(Faults, bridge_without_address_renamed_and_removed) {
    start_whole();
    const std::string address =
        "ip addr replace 192.168.1.20/24 brd + dev br-lan && "
        "ip route replace default via 192.168.1.1 dev br-lan";
    bridge("ip addr flush dev br-lan");
    live(60);
    bridge(address);
    expect_whole();
    bridge("ip link set br-lan down && ip link set br-lan name br-off && ip link set br-off up");
    live(60);
    bridge(
        "ip link set br-off down && ip link set br-off name br-lan && ip link set br-lan up && " +
        address);
    expect_whole();
    bridge("ip link set br-lan down && ip link del br-lan");
    live(60);
    bridge(
        "ip link add br-lan type bridge && ip link set lan0 master br-lan && "
        "ip link set br-lan up && " +
        address);
    // The neighbour still knows the old bridge's address.
    std::string error;
    EXPECT_TRUE(lab::run_program({"ip", "neigh", "flush", "all"}, "", error)) << error;
    expect_whole();
}

TEST_F(Faults, wall_clock_a_year_forward_and_a_day_back) {
    start_whole();
    clock().set(lab::CLOCK_HELD, now() + 365 * DAY);
    live();
    expect_whole();
    const std::uint32_t right = now();
    clock().set(lab::CLOCK_HELD, right - DAY);
    live();
    expect_event_handled();  // timeouts wait for that day to pass
    clock().set(lab::CLOCK_HELD, right + 20);
    expect_whole();
}

TEST_F(Faults, worker_and_supervisor_stopped_for_a_minute) {
    start_whole();
    const pid_t worker = router().daemon().worker();
    kill(worker, SIGSTOP);
    live(0);
    clock().set(lab::CLOCK_HELD, now() + 60);
    kill(worker, SIGCONT);
    expect_whole();
    kill(router().daemon().supervisor(), SIGSTOP);
    std::string error;
    ASSERT_TRUE(router().daemon().kill_worker(SIGKILL, error)) << error;
    advance(60);
    kill(router().daemon().supervisor(), SIGCONT);
    expect_whole();
}

TEST_F(Faults, second_supervisor_that_comes_and_goes) {
    start_whole();
    {
        lab::Daemon second(router().node());
        std::string error;
        ASSERT_TRUE(second.start({}, error)) << error;
        advance(3);
        expect_event_handled();
        kill(second.supervisor(), SIGKILL);
        int status = 0;
        settle();
        EXPECT_TRUE(second.has_ended(status));
    }
    // The second one's workers took the FIFO's place.
    next_worker();
    expect_whole();
}

/// Rounds of the test below; BACKHAUL_KILLS asks for more.
int kill_rounds() {
    const char* wanted = getenv("BACKHAUL_KILLS");
    return wanted == nullptr ? 50 : atoi(wanted);
}

TEST_F(Faults, worker_killed_at_random_moments) {
    start_whole();
    std::mt19937 random(20231114);
    std::uniform_int_distribution<useconds_t> moment(0, 20000);
    for (int round = 0; round < kill_rounds(); ++round) {
        std::string ignored;
        driver().lost("ath0");
        driver().associated("ath0", ap(1));
        lab::fifo_command(router().node(), "uplink_scan\n", ignored);
        usleep(moment(random));  // the moment is the point
        next_worker();
        EXPECT_THAT(router().file("/tmp/backhaul_status"),
                    AnyOf("ready\n", "not ready\n", "connected\n"))
            << "round " << round;
    }
    expect_whole();
}

}  // namespace
