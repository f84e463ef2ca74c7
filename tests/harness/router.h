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

namespace harness {

#define HARNESS_HERE const char *file = __builtin_FILE(), int line = __builtin_LINE()

// The wireless driver of one router: each call changes what the tools then say and sends the event
// that the real driver would.
class Driver {
public:
    explicit Driver(lab::Node& node);

    // The station is associated with the AP ("02:00:00:00:01:01"), or has lost it.
    void associated(const std::string& station, const std::string& ap, HARNESS_HERE);
    void lost(const std::string& station, HARNESS_HERE);
    // As above, but the event never reaches the daemon.
    void associated_silently(const std::string& station, const std::string& ap);
    void lost_silently(const std::string& station);
    void client_joined(const std::string& interface, const std::string& client, HARNESS_HERE);
    void client_left(const std::string& interface, const std::string& client, HARNESS_HERE);
    void channel(const std::string& interface, unsigned channel, HARNESS_HERE);
    void leave_reason(const std::string& interface, unsigned number, const std::string& client,
                      unsigned reason, HARNESS_HERE);

    // For anything else: events in any layout, broken messages.
    lab::DriverSender& sender();

private:
    void check(int result, const char* file, int line);
    lab::Node& node_;
    lab::DriverSender sender_;
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
               const std::vector<std::string>& environment = {}, HARNESS_HERE);

    // Ends the worker with a signal; one second later the supervisor starts the next one.
    void kill_worker(int signal, HARNESS_HERE);

    // Files of the router, by their own names.
    std::string file(const std::string& path) const;
    bool has_file(const std::string& path) const;
    void put_file(const std::string& path, const std::string& text);
    void remove_file(const std::string& path);
    void sql(const std::string& statements, HARNESS_HERE);
    void uci(const std::string& key, const std::string& value);

    // One write into the control FIFO, bytes as they are ("uplink_scan\n").
    void command(const std::string& bytes, HARNESS_HERE);

    void expect_log(const Lines& lines, HARNESS_HERE);
    void expect_shell(const Lines& lines, HARNESS_HERE);
    void expect_calls(const Lines& lines, HARNESS_HERE);  // of stand-in tools, "uci get a.b.c"
    void expect_out(const Lines& lines, HARNESS_HERE);    // standard output
    void expect_err(const Lines& lines, HARNESS_HERE);
    // Log and shell lines as one story, shell lines as "$ LINE".
    void expect_journal(const Lines& lines, HARNESS_HERE);
    void expect_status(const std::string& text, HARNESS_HERE);  // of /tmp/backhaul_status
    void expect_file(const std::string& path, const std::string& text, HARNESS_HERE);
    void expect_no_file(const std::string& path, HARNESS_HERE);
    // The link state that the log's last change of that interface leaves. States that the daemon
    // stores without a change line are not seen.
    void expect_state(const std::string& interface, int state, HARNESS_HERE);

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
                const char* file, int line);
    void update();

    std::unique_ptr<lab::Node> node_;
    std::function<void()> settle_;
    lab::Daemon daemon_;
    lab::Journal journal_;
    Driver driver_;
    Cursors cursors_;
};

}  // namespace harness
