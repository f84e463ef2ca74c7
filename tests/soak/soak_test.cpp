// Thousands of link cycles and many days in each role: the daemon that a router gets is as large at
// the end as it was at the beginning, and is still the same process.
//
// A short form is a test like any other; with BACKHAUL_SOAK in the environment it is 10,000 cycles
// and 7 days, which `./run soak` makes.

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "tests/process/extender_story.h"
#include "tests/soak/node_size.h"
#include "tests/soak/soak_files.h"

namespace {

using testing::AllOf;
using testing::Ge;
using testing::Le;

constexpr char STATUS[] = "/tmp/backhaul_status";
constexpr char AP_LIST[] = "/tmp/backhaul_ap_list";
constexpr std::uint32_t HOUR = 3600;
constexpr unsigned LOOKS = 10;
constexpr long MEMORY_SPARE_KB = 12;
/// Some come into being late; their names are few.
constexpr size_t TMP_FILES = 40;
constexpr long FILES_SPARE_BYTES = 2048;
constexpr size_t FLOW_LOG_LINES = 301;

bool is_whole() {
    return getenv("BACKHAUL_SOAK") != nullptr;
}
unsigned cycles_wanted() {
    return is_whole() ? 10000 : 200;
}
unsigned hours_wanted() {
    return is_whole() ? 7 * 24 : 3;
}

class Soak : public ExtenderStory {
protected:
    void SetUp() override {
        setenv("BACKHAUL_DAEMON", BACKHAUL_BUILD_DIR "/router/backhaul_monitor", 1);
    }
    void TearDown() override {
        Story::TearDown();
        unsetenv("BACKHAUL_DAEMON");
    }

    /// Starts the router that was added, in its soak's shell. `word` is what it hears from others.
    void start(const std::vector<std::string>& arguments, const std::string& word) {
        router().put_file(SOAK_WORD, word);
        lab::SpawnPlan plan;
        plan.words = {"mount", "--bind", harness::program_bring(router().node(), "soak_sh"),
                      "/bin/sh"};
        plan.moved_clock = false;
        std::string error;
        ASSERT_EQ(router().node().run(plan, error), 0) << error;
        router().start(arguments);
        worker_ = router().daemon().worker();
    }

    /// Looks at what the daemon holds, ten times a soak; all looks but the first expect what that
    /// one found. `done` of `all` are over.
    void look(const std::string& what, unsigned done, unsigned all) {
        const unsigned step = std::max(1U, all / LOOKS);
        if (done % step != 0) {
            return;
        }
        settle();
        const soak::NodeSize size = soak::node_size(router().node(), router().daemon());
        std::printf("%s %u: %s\n", what.c_str(), done, soak::node_size_text(size).c_str());
        std::fflush(stdout);
        if (done == step) {
            first_ = size;
        }
        EXPECT_EQ(router().daemon().worker(), worker_) << done;
        EXPECT_THAT(size.worker_kb, AllOf(Ge(1), Le(first_.worker_kb + MEMORY_SPARE_KB))) << done;
        EXPECT_LE(size.supervisor_kb, first_.supervisor_kb + MEMORY_SPARE_KB) << done;
        EXPECT_EQ(size.descriptors, first_.descriptors) << done;
        EXPECT_EQ(size.threads, first_.threads) << done;
        EXPECT_EQ(size.processes, 3U) << done;
        EXPECT_EQ(size.zombies, 0U) << done;
        EXPECT_LE(size.tmp_files, TMP_FILES) << done;
        EXPECT_LE(size.tmp_bytes, first_.tmp_bytes + FILES_SPARE_BYTES) << done;
        EXPECT_LE(size.log_files, 3U) << done;
        EXPECT_LE(size.log_lines, FLOW_LOG_LINES) << done;
    }

    /// Something of what comes to a node all day.
    void hear_others() {
        settle();
        router().command("uplink_scan\n");
        router().command("network_reload\n");
        neighbour_.send("192.168.1.255", 36002, announcement_);
        neighbour_.send(router().node().ip(), 36003, announcement_);
        settle();
    }

    /// The link is lost, and the station that the daemon then wants is associated, configured and
    /// ready: by the agent at the daemon's request, or on its own.
    void cycle(bool agent_is_asked) {
        router().remove_file(SOAK_WANTED);
        driver().lost(station_);
        connect(agent_is_asked);
    }
    void connect(bool agent_is_asked) {
        advance_until([this] { return !wanted().empty(); }, HOUR);
        station_ = wanted();
        driver().associated(station_, ap(1));
        if (!agent_is_asked) {
            settle();
            for (const char* path : SOAK_AGENT_FILES) {
                router().put_file(path, "configured\n");
            }
        }
        advance_until([this] { return router().file(STATUS) == "ready\n"; }, 60);
    }
    std::string wanted() {
        return router().file(SOAK_WANTED);
    }

    void begin_as_extender() {
        add_extender();
        start({"-r", "1"}, "FLUSHFORWARDING");
        connect(true);
    }

private:
    lab::UdpPeer neighbour_{0, "192.168.1.1"};
    const std::string announcement_ = lab::message_seal("ImRootAP", lab::MESH_NAME);
    pid_t worker_ = 0;
    std::string station_;
    soak::NodeSize first_;
};

TEST_F(Soak, extender_is_as_it_was_after_its_link_cycles) {
    begin_as_extender();
    const std::uint32_t start = now();
    for (unsigned done = 1; done <= cycles_wanted() && !HasFailure(); ++done) {
        cycle(done % 10 == 0);
        if (done % 10 == 0) {
            hear_others();
            advance(130);
        }
        look("link cycle", done, cycles_wanted());
    }
    std::printf("%u link cycles in %.1f hours of the node\n", cycles_wanted(),
                (now() - start) / static_cast<double>(HOUR));
}

TEST_F(Soak, extender_is_as_it_was_after_its_days) {
    begin_as_extender();
    for (unsigned hour = 1; hour <= hours_wanted() && !HasFailure(); ++hour) {
        advance(HOUR / 2);
        hear_others();
        advance(HOUR / 2);
        cycle(true);
        look("hour", hour, hours_wanted());
    }
}

TEST_F(Soak, root_is_as_it_was_after_its_days) {
    add_root();
    start({"-m"}, "CHECK_VALID");
    const auto extender_is = [this](const char* values) {
        router().sql(std::string("UPDATE Device SET (Alive, nNotAlive) = (") + values +
                     ") WHERE DevType='L2Device';");
        advance(30);
        return !router().file(AP_LIST).empty();
    };
    unsigned came = 0;
    unsigned went = 0;
    for (unsigned hour = 1; hour <= hours_wanted() && !HasFailure(); ++hour) {
        for (unsigned minute = 0; minute < 60; ++minute) {
            came += extender_is("1, 0") ? 1 : 0;
            went += extender_is("0, 3") ? 0 : 1;
        }
        hear_others();
        look("hour", hour, hours_wanted());
    }
    EXPECT_EQ(came, hours_wanted() * 60);
    EXPECT_EQ(went, hours_wanted() * 60);
}

}  // namespace
