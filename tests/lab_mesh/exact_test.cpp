// The same scenario, seed and daemon give the same bytes, however busy the machine is.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "lab/clock/processor_place.h"
#include "lab/scenario/scenario_chaos.h"
#include "lab/scenario/scenario_parse.h"
#include "lab/tools/small_file.h"
#include "tests/lab_program/program_run.h"

namespace {

namespace fs = std::filesystem;

using harness::Ended;
using harness::lab_run;
using testing::HasSubstr;

constexpr int NODES = 16;

// Programs that a mesh starts again and again.
constexpr std::array PROGRAMS = {BACKHAUL_BUILD_DIR "/lab/lab_sh",
                                 BACKHAUL_BUILD_DIR "/lab/lab_tool",
                                 BACKHAUL_BUILD_DIR "/backhaul_monitor", "/bin/sh", "/bin/grep"};

// Has the machine forget a file as it does when memory is short: the next one to use it waits for
// the disk.
void forget(const char* path) {
    const int fd = open(path, O_RDONLY | O_CLOEXEC);
    posix_fadvise(fd, 0, 0, POSIX_FADV_DONTNEED);
    close(fd);
}

// Every processor has something else to do while it lives, and programs are forgotten.
class BusyMachine {
public:
    BusyMachine() {
        for (unsigned one = 0; one < 2 * std::thread::hardware_concurrency(); ++one) {
            threads_.emplace_back([this] {
                while (!over_.load(std::memory_order_relaxed)) {
                }
            });
        }
        threads_.emplace_back([this] {
            while (!over_.load(std::memory_order_relaxed)) {
                std::for_each(PROGRAMS.begin(), PROGRAMS.end(), forget);
            }
        });
    }
    ~BusyMachine() {
        over_ = true;
        for (std::thread& thread : threads_) {
            thread.join();
        }
    }

private:
    std::atomic<bool> over_ = false;
    std::vector<std::thread> threads_;
};

class Exact : public testing::Test {
protected:
    void SetUp() override {
        if (lab::ProcessorPlace::take() == nullptr) {
            GTEST_SKIP() << "this machine allows no real-time scheduling to who runs the test";
        }
        lab::folder_remove(folder);
        lab::folder_make(folder);
        lab::ChaosOptions options;
        options.seed = 13;
        options.seconds = 240;
        options.settle = 90;
        options.mean_pause = 15;
        options.longest_trouble = 60;
        const lab::Scenario chaos = lab::scenario_chaos(lab::scenario_chaos_mesh(NODES), options);
        // The last step never holds: only what went wrong leaves everything behind.
        lab::file_write(folder + "/chaos.scn", lab::scenario_print(chaos) + "expect e1 hops 77\n");
    }

    void TearDown() override {
        unsetenv("BACKHAUL_EVIDENCE");
        if (!HasFailure()) {
            lab::folder_remove(folder);
        }
    }

    // Every file of every node, and what was told, by name.
    std::map<std::string, std::string> play(const std::string& name) const {
        const std::string evidence = folder + "/" + name;
        setenv("BACKHAUL_EVIDENCE", evidence.c_str(), 1);
        const Ended ended = lab_run("check " + folder + "/chaos.scn");
        EXPECT_EQ(ended.code, 1) << ended.out;
        EXPECT_THAT(ended.out, HasSubstr("expect e1 hops 77"));
        std::map<std::string, std::string> files;
        const std::string left = evidence + "/chaos.1";
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(left)) {
            // Processes are listed with the machine's own numbers.
            if (entry.is_regular_file() && entry.path().filename() != "processes") {
                lab::file_read(entry.path(), &files[fs::relative(entry.path(), left)]);
            }
        }
        return files;
    }

    std::string folder = BACKHAUL_BUILD_DIR "/exact_test";
};

std::vector<std::string> names_of(const std::map<std::string, std::string>& files) {
    std::vector<std::string> names;
    for (const auto& [name, text] : files) {
        names.push_back(name);
    }
    return names;
}

// The first line in which two texts differ, as both have it.
std::string first_difference(const std::string& one, const std::string& other) {
    std::istringstream ones(one);
    std::istringstream others(other);
    std::string mine;
    std::string its;
    for (int number = 1;; ++number) {
        const bool here = static_cast<bool>(std::getline(ones, mine));
        const bool there = static_cast<bool>(std::getline(others, its));
        if (!here || !there || mine != its) {
            return "line " + std::to_string(number) + "\n  idle: " + (here ? mine : "(ends)") +
                   "\n  busy: " + (there ? its : "(ends)");
        }
    }
}

TEST_F(Exact, leaves_the_same_bytes_on_an_idle_and_on_a_busy_machine) {
    const std::map<std::string, std::string> idle = play("idle");
    std::map<std::string, std::string> busy;
    {
        const BusyMachine machine;
        busy = play("busy");
    }
    EXPECT_EQ(names_of(idle), names_of(busy));
    EXPECT_TRUE(idle.contains("e1/journal"));
    for (const auto& [name, text] : idle) {
        EXPECT_TRUE(busy[name] == text)
            << name << " differs at " << first_difference(text, busy[name]) << "\nsee " << folder;
    }
}

}  // namespace
