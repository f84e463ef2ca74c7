// Process tests: the real daemon on stand-in routers, in time that the test moves. Link
// `test_story` (it brings main()) and derive from Story. lab/README.md shows how to write one.
//
// The test's thread owns everything. Nothing in a router runs on while the test looks: every step
// first waits until all routers are quiet. At the end of each test no sanitizer may have reported
// anything and no zombie may be left; a test that failed prints the folder with its evidence.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "lab/clock/clock_control.h"
#include "lab/node/standard.h"
#include "lab/node/udp_peer.h"
#include "tests/harness/router.h"

namespace harness {

class Story : public ::testing::Test {
protected:
    using Where = harness::Where;

    void TearDown() override;

    // A router without a daemon yet, for a test that first changes something. The first one is
    // the router() of all functions below.
    Router& add_extender(lab::NodeOptions options = {}, Where where = Where::current());
    Router& add_root(lab::NodeOptions options = {}, Where where = Where::current());
    Router& add_router(lab::NodeOptions options,
                       Where where = Where::current());  // no files at all

    // The standard extender or root with its daemon running. An extender is in its 10-second
    // pause then.
    void start_extender(const std::vector<std::string>& arguments = {},
                        Where where = Where::current());
    void start_root(const std::vector<std::string>& arguments = {"-m"},
                    Where where = Where::current());

    // An extender whose preferred station ath0 is associated with ap(1), configured and ready; what
    // came until then is skipped. Admitted by the root unless told otherwise.
    void start_ready_extender(const std::vector<std::string>& arguments = {}, bool admitted = true,
                              Where where = Where::current());

    Router& router(size_t number = 0) {
        return *routers_.at(number);
    }
    Driver& driver() {
        return router().driver();
    }

    // Time of all routers.
    void advance(std::uint32_t seconds, Where where = Where::current());
    void settle(Where where = Where::current());
    std::uint32_t now() {
        return clock_.now();
    }
    lab::MovedClock& clock() {
        return clock_;
    }

    // Moves time second by second until `condition` holds, at most `limit` seconds. Returns the
    // seconds that passed; a condition that never holds fails the test.
    std::uint32_t advance_until(const std::function<bool()>& condition, std::uint32_t limit,
                                Where where = Where::current());
    // Until a new log line (since the last expect_log) equals `text`.
    std::uint32_t advance_until_log(const std::string& text, std::uint32_t limit,
                                    Where where = Where::current());

    // "02:00:00:00:01:0N".
    static std::string ap(unsigned number) {
        return lab::ap_address(number);
    }

    // The neighbour at 192.168.1.1, the stand-in root of a lone extender: announces itself, admits
    // the extender, says a word on the message port, hears what comes there (as plain words).
    void announce_root(const std::string& to = "192.168.1.255");
    void admit(Where where = Where::current());
    void say(const std::string& word, const std::string& to);
    std::vector<std::string> heard();

    // Of router(); see router.h.
    void expect_log(const Lines& lines, Where where = Where::current()) {
        router().expect_log(lines, where);
    }
    void expect_shell(const Lines& lines, Where where = Where::current()) {
        router().expect_shell(lines, where);
    }
    void expect_calls(const Lines& lines, Where where = Where::current()) {
        router().expect_calls(lines, where);
    }
    void expect_out(const Lines& lines, Where where = Where::current()) {
        router().expect_out(lines, where);
    }
    void expect_out_of_both(const Lines& lines, Where where = Where::current()) {
        router().expect_out_of_both(lines, where);
    }
    void expect_err(const Lines& lines, Where where = Where::current()) {
        router().expect_err(lines, where);
    }
    void expect_journal(const Lines& lines, Where where = Where::current()) {
        router().expect_journal(lines, where);
    }
    void expect_status(const std::string& text, Where where = Where::current()) {
        router().expect_status(text, where);
    }
    void expect_file(const std::string& path, const std::string& text,
                     Where where = Where::current()) {
        router().expect_file(path, text, where);
    }
    void expect_no_file(const std::string& path, Where where = Where::current()) {
        router().expect_no_file(path, where);
    }
    void expect_state(const std::string& interface, int state, Where where = Where::current()) {
        router().expect_state(interface, state, where);
    }
    void skip() {
        router().skip();
    }

    // Set to false in a test that means to leave a report or a zombie.
    bool check_sanitizers_ = true;
    bool check_zombies_ = true;

private:
    lab::UdpPeer& peer();
    void keep_evidence();

    std::vector<std::unique_ptr<Router>> routers_;
    lab::MovedClock clock_;
    std::unique_ptr<lab::UdpPeer> peer_;
};

}  // namespace harness
