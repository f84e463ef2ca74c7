// System calls that the kernel refuses, and those that the worker does not live to make.

#include <gmock/gmock.h>

#include <atomic>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <set>

#include "lab/tools/small_file.h"
#include "tests/process/call_gate.h"
#include "tests/process/fault_story.h"

namespace {

using testing::AnyOf;
using testing::Each;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::MatchesRegex;

/// Kills the worker when it is about to make a call that no worker made before: a step of a file's
/// new content, or a process (told apart by the step before it). Called on the gate's thread.
class Killer {
public:
    Killer(std::string root, pid_t supervisor) : root_(std::move(root)), supervisor_(supervisor) {}

    /// Whether one more may be killed from now on.
    void arm(bool armed) {
        const std::lock_guard lock(mutex_);
        is_armed_ = armed;
    }

    call_verdict operator()(const GatedCall& call) {
        const std::lock_guard lock(mutex_);
        if (!is_of_worker(call)) {
            return call_verdict::go;
        }
        const std::string path = call.new_path.substr(0, call.new_path.find(".new"));
        const std::string step = call.name + " " + (path.empty() ? "after " + last_step_ : path);
        if (!path.empty()) {
            last_step_ = step;
        }
        if (call.name == "create") {
            before_[path] = content(path);
        }
        if (!is_armed_ || !met_.insert(step).second) {
            return call_verdict::go;
        }
        is_armed_ = false;
        if (!path.empty() && content(path) != before_[path]) {
            spoilt_.insert(step);
        }
        return call_verdict::kill;
    }

    /// At which steps somebody was killed, and those at which the file was no longer what it was.
    std::set<std::string> met() {
        const std::lock_guard lock(mutex_);
        return met_;
    }
    std::set<std::string> spoilt() {
        const std::lock_guard lock(mutex_);
        return spoilt_;
    }

private:
    bool is_of_worker(const GatedCall& call) const {
        std::string name;
        lab::file_read("/proc/" + std::to_string(call.thread) + "/comm", &name);
        return name.starts_with("backhaul") && call.thread != supervisor_;
    }
    std::string content(const std::string& path) const {
        std::string text;
        lab::file_read(root_ + path, &text);
        return text;
    }

    const std::string root_;
    const pid_t supervisor_;
    std::mutex mutex_;
    bool is_armed_ = false;
    std::string last_step_ = "start";
    std::map<std::string, std::string> before_;
    std::set<std::string> met_;
    std::set<std::string> spoilt_;
};

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

    /// Half made files, by name.
    Lines left_over() {
        Lines names;
        for (const auto& entry : std::filesystem::directory_iterator(router().node().at("/tmp"))) {
            const std::string name = entry.path().filename();
            if (name.find(".new") != std::string::npos) {
                names.push_back(name);
            }
        }
        return names;
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

TEST_F(FaultyCalls, worker_killed_before_each_call_that_makes_a_file_or_a_process) {
    start_gated();
    Killer killer(router().root(), router().daemon().supervisor());
    gate().decide([&killer](const GatedCall& call) { return killer(call); });
    // The log of a killed worker is put away, and a second one may follow before anybody looks.
    router().follow_log_loosely(true);
    constexpr int LIVES_MAX = 60;
    size_t known = 1;
    for (int life = 0; life < LIVES_MAX && killer.met().size() != known; ++life) {
        known = killer.met().size();
        killer.arm(true);
        live(0);
        for (int second = 0; second < 30; ++second) {
            killer.arm(true);
            advance(1);
            EXPECT_THAT(router().file("/tmp/backhaul_status"),
                        AnyOf("ready\n", "not ready\n", "connected\n"));
        }
        killer.arm(false);
        advance(2);  // the supervisor's pause, if the last one died just now
        expect_event_handled();
    }
    gate().decide({});
    router().follow_log_loosely(false);
    EXPECT_EQ(killer.met().size(), known) << "in the last life something was new";
    EXPECT_THAT(killer.spoilt(), IsEmpty());
    std::set<std::string> wanted;
    for (const char* call : {"create ", "write ", "rename "}) {
        for (const char* path : {"/tmp/backhaul_status", "/tmp/rootdistance", "/tmp/rootap_ip",
                                 "/tmp/ssl_input", "/tmp/wpa_supplicant-ath0.conf"}) {
            wanted.insert(std::string(call) + path);
        }
        // A line that follows a file.
        wanted.insert("process after rename /tmp/backhaul_status");
        wanted.insert("process after rename /tmp/wpa_supplicant-ath0.conf");
    }
    EXPECT_THAT(killer.met(), IsSupersetOf(wanted));
    std::printf("killed at %zu steps\n", killer.met().size());
    expect_whole();
    // What was left half made has the name that is used again.
    EXPECT_THAT(left_over(), Each(MatchesRegex(".*\\.new[0-9]")));
}

}  // namespace
