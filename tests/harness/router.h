// One stand-in router of a story: its node, its daemon, its driver, and what the test expects of
// them. Made by Story; for the test's thread only.
//
// Every `expect_` waits until all nodes are quiet, then looks only at what came since the last
// expectation of the same kind; a "..." among the lines stands for any number of lines. Failures
// are reported at the line of the caller.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "lab/driver/netlink_sender.h"
#include "lab/node/daemon.h"
#include "lab/node/journal.h"
#include "lab/node/node.h"
#include "tests/harness/line_match.h"
#include "tests/harness/where.h"

namespace harness {

/// Brings a program of the tests into the node, which does not see a build that lies in /tmp, /run
/// or /var/log. Its path there; a failure fails the test.
std::string program_bring(const lab::Node& node, const std::string& name);

// The wireless driver of one router: each call changes what the tools then say and sends the event
// that the real driver would.
class Driver {
public:
    explicit Driver(lab::Node& node);

    // The station is associated with the AP ("02:00:00:00:01:01"), or has lost it.
    void associated(const std::string& station, const std::string& ap,
                    Where where = Where::current());
    void lost(const std::string& station, Where where = Where::current());
    // As above, but the event never reaches the daemon.
    void associated_silently(const std::string& station, const std::string& ap);
    void lost_silently(const std::string& station);
    void client_joined(const std::string& interface, const std::string& client,
                       Where where = Where::current());
    void client_left(const std::string& interface, const std::string& client,
                     Where where = Where::current());
    void channel(const std::string& interface, unsigned channel, Where where = Where::current());
    void leave_reason(const std::string& interface, unsigned number, const std::string& client,
                      unsigned reason, Where where = Where::current());

    // For anything else: events in any layout, broken messages.
    lab::DriverSender& sender();

private:
    void check(bool sent, Where where);
    lab::Node& node_;
    lab::DriverSender sender_;
    std::string error_;  // of the driver
};

class Router {
public:
    Router(std::unique_ptr<lab::Node> node, std::function<void()> settle);

    lab::Node& node() {
        return *node_;
    }
    const std::string& root() const {
        return node_->root();
    }
    lab::Daemon& daemon() {
        return daemon_;
    }
    Driver& driver() {
        return driver_;
    }

    // Starts the daemon with these arguments and waits until it rests.
    void start(const std::vector<std::string>& arguments = {},
               const std::vector<std::string>& environment = {}, Where where = Where::current());

    // Ends the worker with a signal; one second later the supervisor starts the next one.
    void kill_worker(int signal, Where where = Where::current());

    // Files of the router, by their own names.
    std::string file(const std::string& path) const;
    bool has_file(const std::string& path) const;
    void put_file(const std::string& path, const std::string& text);
    void remove_file(const std::string& path);
    void sql(const std::string& statements, Where where = Where::current());
    void uci(const std::string& key, const std::string& value);

    // One write into the control FIFO, bytes as they are ("uplink_scan\n").
    void command(const std::string& bytes, Where where = Where::current());

    void expect_log(const Lines& lines, Where where = Where::current());
    void expect_shell(const Lines& lines, Where where = Where::current());
    void expect_calls(const Lines& lines,
                      Where where = Where::current());  // of stand-in tools, "uci get a.b.c"
    void expect_out(const Lines& lines, Where where = Where::current());  // standard output
    // Standard output of the supervisor and its new worker, who print side by side: any order.
    void expect_out_of_both(Lines lines, Where where = Where::current());
    void expect_err(const Lines& lines, Where where = Where::current());
    // Log and shell lines as one story, shell lines as "$ LINE".
    void expect_journal(const Lines& lines, Where where = Where::current());
    void expect_status(const std::string& text,
                       Where where = Where::current());  // of /tmp/backhaul_status
    void expect_file(const std::string& path, const std::string& text,
                     Where where = Where::current());
    void expect_no_file(const std::string& path, Where where = Where::current());
    // The link state that the log's last change of that interface leaves. States that the daemon
    // stores without a change line are not seen.
    void expect_state(const std::string& interface, int state, Where where = Where::current());

    // Forgets everything that came so far, of all kinds.
    void skip();

    // All lines from the beginning.
    Lines log();
    Lines shell();
    Lines calls();
    Lines journal();
    // What came since the last expectation of that kind, without using it up.
    Lines new_log();
    Lines new_shell();
    Lines new_journal();
    // Entries with their times and stamps.
    const std::vector<lab::JournalEntry>& entries();
    // Second of the newest log line that equals `text`; -1 without one.
    std::int64_t time_of_log(const std::string& text);

    // Whether the log may be replaced twice between two looks, and lines of it be missed: for a
    // test whose workers die faster than it looks, and that expects nothing of the log meanwhile.
    void follow_log_loosely(bool loosely);

    // Keeps what the daemon said, and its files as they are, for the contract's texts. Never waits.
    void note_contract();

private:
    struct Cursors {
        size_t log = 0;
        size_t shell = 0;
        size_t calls = 0;
        size_t out = 0;
        size_t err = 0;
        size_t journal = 0;
    };
    void expect(const std::string& kind, const Lines& expected, const Lines& all, size_t& cursor,
                Where where);
    void update();

    std::unique_ptr<lab::Node> node_;
    std::function<void()> settle_;
    lab::Daemon daemon_;
    lab::Journal journal_;
    Driver driver_;
    Cursors cursors_;
    bool follows_loosely_ = false;
    int lost_allowed_ = 0;
};

}  // namespace harness
