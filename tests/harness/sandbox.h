// In-process tests in a sandbox of their own: link `test_sandbox` (it brings main()) and derive
// from SandboxTest. The whole test program then runs in private namespaces with the stand-in tools
// on PATH, the recording shell as /bin/sh, "br-lan" up, devices ath0, ath1, ath10, ath11, ath14 and
// ath20, and the moved clock preloaded (real until clock_start).
//
// Everything here is for the test's own thread. What fails in here fails the test.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "lab/clock/clock_control.h"
#include "tests/harness/child.h"
#include "tests/harness/refusal.h"
#include "tests/harness/wait.h"

namespace harness {

// Whole content of a file; empty when it cannot be read.
std::string file_text(const std::string& path);
bool file_is_there(const std::string& path);

// Writes a file whole, making its folders. A failure fails the test.
void put_file(const std::string& path, const std::string& text);

// Shell lines that were given to `sh -c` (by system() and popen()), oldest first: all of them, or
// those since the last take.
std::vector<std::string> recorded_lines();
std::vector<std::string> take_lines();

// Calls of the stand-in tools as "TOOL WORD WORD", oldest first: all, or since the last take.
std::vector<std::string> recorded_calls();
std::vector<std::string> take_calls();

// Channel-list requests as "NAME LENGTH FLAGS".
std::vector<std::string> recorded_ioctls();

// Lines of the flow log without the date prefix, of ".1" and the live file in this order; all, or
// since the last take.
std::vector<std::string> flow_log_lines();
std::vector<std::string> take_log();

// Splits a flow log's text into entries' lines: each line loses "%.24s : ". A line without that
// prefix is kept as it is.
std::vector<std::string> without_dates(const std::string& log_text);

// Moves the clock to `now`. In CLOCK_EAGER a sleep() of the code under test moves the clock on by
// itself and returns at once. In CLOCK_HELD it waits until clock_advance passes it: for tests with
// threads of their own.
void clock_start(std::uint32_t now, lab::ClockMode mode = lab::CLOCK_EAGER);
void clock_stop();
std::uint32_t clock_now();
void clock_advance(std::uint32_t seconds);
std::vector<lab::ArmedTimer> clock_timers();

// Waits until all other threads and processes of the sandbox are blocked.
void clock_settle();

// Writes a program that is a script.
void put_script(const std::string& path, const std::string& text);

// Starts every test with empty /tmp and /var/log, nothing recorded, no answers set and real time.
class SandboxTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // Puts a script in the place of a stand-in tool until the test ends.
    void cover(const std::string& place, const std::string& script);

private:
    std::set<std::string> covered_;
};

}  // namespace harness
