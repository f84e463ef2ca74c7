// System calls that the kernel refuses, or that a worker does not live to see done.

#include <gmock/gmock.h>

#include <map>
#include <memory>
#include <mutex>
#include <set>

#include "lab/tools/small_file.h"
#include "tests/process/call_gate.h"
#include "tests/process/fault_story.h"

namespace {

using testing::IsEmpty;
using testing::IsSupersetOf;

class FaultyCalls : public FaultStory {
protected:
    void start_gated() {
        add_extender();
        gate_ = std::make_unique<CallGate>(router().node());
        clock().also_busy = [this] {
            return gate_->is_busy();
        };
        start_whole(gate_->through());
    }

    void TearDown() override {
        router().daemon().stop();
        clock().also_busy = {};
        gate_.reset();
        FaultStory::TearDown();
    }

    CallGate& gate() {
        return *gate_;
    }

private:
    std::unique_ptr<CallGate> gate_;
};

TEST_F(FaultyCalls, no_process_left) {
    start_gated();
    std::atomic<int> refused{0};
    gate().decide([&refused](const GatedCall& call) {
        refused += call.name == "process" ? 1 : 0;
        return call.name == "process" ? call_verdict::refuse : call_verdict::go;
    });
    router().skip();
    live();
    EXPECT_GT(refused, 10);
    EXPECT_THAT(router().new_shell(), IsEmpty());
    const pid_t worker = router().daemon().worker();
    expect_event_handled();
    EXPECT_NE(worker, 0);
    EXPECT_EQ(router().daemon().worker(), worker);
    gate().decide({});
    expect_whole();
}

/// Kills who is about to do something to a file's new content that nobody did before, and sees to
/// it that the file itself is what it was.
class Killer {
public:
    explicit Killer(const std::string& root) : root_(root) {}

    /// One kill: each one makes the flow log a new file, and only a log that is seen can be
    /// followed.
    void arm() {
        const std::lock_guard lock(mutex_);
        is_armed_ = true;
    }

    call_verdict operator()(const GatedCall& call) {
        const std::lock_guard lock(mutex_);
        const std::string path = call.new_path.substr(0, call.new_path.find(".new"));
        if (call.name == "create") {
            before_[path] = content(path);
        }
        if (!is_armed_ || call.name == "process" || !seen_.insert(call.name + " " + path).second) {
            return call_verdict::go;
        }
        is_armed_ = false;
        if (content(path) != before_[path]) {
            spoilt_.insert(call.name + " " + path);
        }
        return call_verdict::kill;
    }
    std::set<std::string> seen() {
        const std::lock_guard lock(mutex_);
        return seen_;
    }
    std::set<std::string> spoilt() {
        const std::lock_guard lock(mutex_);
        return spoilt_;
    }

private:
    std::string content(const std::string& path) const {
        std::string text;
        lab::file_read(root_ + path, &text);
        return text;
    }

    const std::string root_;
    std::mutex mutex_;
    bool is_armed_ = false;
    std::map<std::string, std::string> before_;
    std::set<std::string> seen_;
    std::set<std::string> spoilt_;
};

TEST_F(FaultyCalls, worker_killed_at_each_call_that_leaves_a_file_half_made) {
    start_gated();
    Killer killer(router().root());
    gate().decide([&killer](const GatedCall& call) { return killer(call); });
    constexpr int LIVES_MAX = 60;
    size_t known = 1;
    for (int life = 0; life < LIVES_MAX && killer.seen().size() != known; ++life) {
        known = killer.seen().size();
        killer.arm();
        live(0);
        for (int second = 0; second < 30; ++second) {
            killer.arm();
            advance(1);
            router().new_log();
        }
    }
    gate().decide({});
    EXPECT_EQ(killer.seen().size(), known) << "in the last life something was new";
    EXPECT_THAT(killer.spoilt(), IsEmpty());
    std::set<std::string> wanted;
    for (const char* call : {"create ", "write ", "rename "}) {
        for (const char* path : {"/tmp/backhaul_status", "/tmp/rootdistance", "/tmp/rootap_ip",
                                 "/tmp/ssl_input", "/tmp/wpa_supplicant-ath0.conf"}) {
            wanted.insert(std::string(call) + path);
        }
    }
    EXPECT_THAT(killer.seen(), IsSupersetOf(wanted));
    expect_whole();
}

}  // namespace
