#include "tests/harness/sandbox.h"

#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "lab/sandbox/layout.h"
#include "lab/tools/folder_wipe.h"
#include "lab/tools/record.h"
#include "lab/tools/state_layout.h"
#include "tests/harness/contract_record.h"

namespace harness {
namespace {

struct Cursors {
    size_t lines = 0;
    size_t calls = 0;
    size_t log = 0;
};

Cursors& cursors() {
    static Cursors instance;
    return instance;
}

std::unique_ptr<lab::MovedClock>& own_clock() {
    static std::unique_ptr<lab::MovedClock> instance;
    return instance;
}

std::vector<std::string> rest_of(std::vector<std::string> all, size_t& cursor) {
    const size_t from = std::min(cursor, all.size());
    cursor = all.size();
    return {all.begin() + static_cast<std::ptrdiff_t>(from), all.end()};
}

// Whether /tmp is the sandbox's own. Nothing may ever be removed from the machine's.
bool is_inside_sandbox() {
    struct stat tmp {};
    struct stat run {};
    struct stat above {};
    const std::string init = file_text("/proc/1/comm");
    return init == "lab_init\n" && stat("/tmp", &tmp) == 0 && stat("/", &above) == 0 &&
           stat(lab::LAB_ROOT, &run) == 0 && tmp.st_dev != above.st_dev &&
           run.st_dev != above.st_dev;
}

}  // namespace

std::vector<std::string> recorded_lines() {
    return lab::recorded_line_texts("");
}

std::vector<std::string> take_lines() {
    return rest_of(recorded_lines(), cursors().lines);
}

std::vector<std::string> recorded_calls() {
    return lab::recorded_call_texts("");
}

std::vector<std::string> take_calls() {
    return rest_of(recorded_calls(), cursors().calls);
}

std::vector<std::string> recorded_ioctls() {
    std::vector<std::string> requests;
    const std::string text = file_text(lab::LAB_IOCTLS);
    for (size_t at = 0; at < text.size();) {
        const size_t end = text.find('\n', at);
        const size_t name = text.find(' ', text.find(' ', at) + 1) + 1;
        requests.push_back(text.substr(name, end - name));
        at = end + 1;
    }
    return requests;
}

std::vector<std::string> flow_log_lines() {
    return without_dates(file_text("/var/log/backhaul_flow_log.1") +
                         file_text("/var/log/backhaul_flow_log"));
}

std::vector<std::string> take_log() {
    return rest_of(flow_log_lines(), cursors().log);
}

void clock_start(std::uint32_t now, lab::ClockMode mode) {
    std::string error;
    if (own_clock() == nullptr) {
        own_clock() = std::make_unique<lab::MovedClock>();
        const pid_t self = static_cast<pid_t>(syscall(SYS_gettid));
        ASSERT_TRUE(own_clock()->add_node("", error, {self})) << error;
    }
    own_clock()->set(mode, now);
}

void clock_stop() {
    if (own_clock() != nullptr) {
        own_clock()->set(lab::CLOCK_REAL, 0);
    }
}

std::uint32_t clock_now() {
    return own_clock() == nullptr ? 0 : own_clock()->now();
}

void clock_advance(std::uint32_t seconds) {
    ASSERT_NE(own_clock(), nullptr) << "clock_start comes first";
    std::string error;
    EXPECT_TRUE(own_clock()->advance(seconds, error)) << error;
}

std::vector<lab::ArmedTimer> clock_timers() {
    return own_clock() == nullptr ? std::vector<lab::ArmedTimer>{} : own_clock()->timers();
}

void clock_settle() {
    ASSERT_NE(own_clock(), nullptr) << "clock_start comes first";
    std::string error;
    EXPECT_TRUE(own_clock()->settle(error)) << error;
}

void SandboxTest::SetUp() {
    if (!is_inside_sandbox()) {
        fprintf(stderr, "FAILED: this test runs outside a sandbox: link test_sandbox's main()\n");
        abort();
    }
    lab::folder_wipe("", "/tmp");
    lab::folder_wipe("", "/var/log");
    lab::state_clear("");
    lab::records_clear("");
    unlink(lab::LAB_IOCTLS);
    unlink(lab::LAB_CHANNELS);
    unlink(lab::LAB_CHANNELS_RAW);
    cursors() = {};
    clock_stop();
}

void SandboxTest::cover(const std::string& place, const std::string& script) {
    ASSERT_EQ(unlink(place.c_str()), 0) << place;
    put_script(place, script);
    covered_.insert(place);
}

void SandboxTest::TearDown() {
    for (const std::string& place : covered_) {
        EXPECT_EQ(unlink(place.c_str()), 0) << place;
        EXPECT_EQ(symlink(lab::LAB_TOOL, place.c_str()), 0) << place;
    }
    clock_stop();
    contract_note_lines("flow_log", flow_log_lines());
    contract_note_commands(recorded_lines());
    // Where tests put the output of a child.
    contract_note_stdout_file("/tmp/out");
    contract_note_files("");
    contract_save();
}

}  // namespace harness
