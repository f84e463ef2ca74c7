#include "tests/harness/router.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <sstream>
#include <utility>

#include "lab/node/database.h"
#include "lab/tools/small_file.h"
#include "lab/tools/state_layout.h"
#include "tests/harness/contract_record.h"

namespace harness {
namespace {

lab::MacAddress address_of(const std::string& text) {
    lab::MacAddress address{};
    sscanf(text.c_str(), "%hhx:%hhx:%hhx:%hhx:%hhx:%hhx", &address[0], &address[1], &address[2],
           &address[3], &address[4], &address[5]);
    return address;
}

Lines from(const Lines& all, size_t cursor) {
    return {all.begin() + static_cast<std::ptrdiff_t>(std::min(cursor, all.size())), all.end()};
}

// A daemon that was made for something else than this machine, when BACKHAUL_DAEMON is one.
// BACKHAUL_DAEMON_THROUGH are the words of the program that runs it, BACKHAUL_DAEMON_LIBRARIES is a
// folder with libraries for it, the moved clock among them: the node has them in /run/lab/foreign.
bool bring_foreign(const lab::Node& node, lab::DaemonOptions& options, std::string& error) {
    const char* through = getenv("BACKHAUL_DAEMON_THROUGH");
    const char* libraries = getenv("BACKHAUL_DAEMON_LIBRARIES");
    if (through == nullptr || libraries == nullptr) {
        return true;
    }
    std::error_code failed;
    std::filesystem::copy(libraries, node.at("/run/lab/foreign"), failed);
    std::istringstream words(through);
    options.through.assign(std::istream_iterator<std::string>(words), {});
    // This machine's clock is not for it.
    options.environment.emplace_back("LD_PRELOAD=");
    error = failed ? "no libraries for the daemon: " + failed.message() : "";
    return !failed;
}

}  // namespace

std::string program_bring(const lab::Node& node, const std::string& name) {
    const std::string place = "/run/lab/test_" + name;
    std::error_code failed;
    std::filesystem::copy(BACKHAUL_BUILD_DIR "/tests/" + name, node.at(place),
                          std::filesystem::copy_options::overwrite_existing, failed);
    EXPECT_FALSE(failed) << name << ": " << failed.message();
    return place;
}

Driver::Driver(lab::Node& node) : node_(node) {}

lab::DriverSender& Driver::sender() {
    if (sender_.fd < 0 && !lab::driver_open(&sender_, node_.init(), error_)) {
        ADD_FAILURE() << error_;
    }
    sender_.other_byte_order = getenv("BACKHAUL_DAEMON_OTHER_BYTE_ORDER") != nullptr;
    return sender_;
}

void Driver::check(bool sent, Where where) {
    fail_if(!sent, error_, where);
}

void Driver::associated(const std::string& station, const std::string& ap, Where where) {
    associated_silently(station, ap);
    check(lab::driver_associated(&sender(), station, address_of(ap), error_), where);
}

void Driver::lost(const std::string& station, Where where) {
    lost_silently(station);
    check(lab::driver_disassociated(&sender(), station, error_), where);
}

void Driver::associated_silently(const std::string& station, const std::string& ap) {
    lab::wifi_associated_set(node_.root(), station, ap);
}

void Driver::lost_silently(const std::string& station) {
    lab::wifi_not_associated_set(node_.root(), station);
}

void Driver::client_joined(const std::string& interface, const std::string& client, Where where) {
    check(lab::driver_client_joined(&sender(), interface, address_of(client), error_), where);
}

void Driver::client_left(const std::string& interface, const std::string& client, Where where) {
    check(lab::driver_client_left(&sender(), interface, address_of(client), error_), where);
}

void Driver::channel(const std::string& interface, unsigned channel, Where where) {
    check(lab::driver_channel_changed(&sender(), interface, static_cast<std::uint8_t>(channel),
                                      error_),
          where);
}

void Driver::leave_reason(const std::string& interface, unsigned number, const std::string& client,
                          unsigned reason, Where where) {
    check(lab::driver_leave_reason(&sender(), interface, static_cast<std::uint16_t>(number),
                                   address_of(client), reason, error_),
          where);
}

Router::Router(std::unique_ptr<lab::Node> node, std::function<void()> settle)
    : node_(std::move(node)),
      settle_(std::move(settle)),
      daemon_(*node_),
      journal_(*node_),
      driver_(*node_) {}

void Router::start(const std::vector<std::string>& arguments,
                   const std::vector<std::string>& environment, Where where) {
    std::string error;
    lab::DaemonOptions options{arguments, environment};
    if (!bring_foreign(*node_, options, error) || !daemon_.start(options, error)) {
        fail_at(where, error);
    }
    // Only a log that was seen can be followed when it is renamed.
    update();
}

void Router::kill_worker(int signal, Where where) {
    std::string error;
    update();
    fail_if(!daemon_.kill_worker(signal, error), error, where);
    update();
}

std::string Router::file(const std::string& path) const {
    std::string text;
    lab::file_read(node_->at(path), &text);
    contract_note_file(root(), path);
    return text;
}

bool Router::has_file(const std::string& path) const {
    return access(node_->at(path).c_str(), F_OK) == 0;
}

void Router::put_file(const std::string& path, const std::string& text) {
    EXPECT_TRUE(lab::file_write(node_->at(path), text)) << path;
}

void Router::remove_file(const std::string& path) {
    EXPECT_TRUE(lab::file_remove(node_->at(path))) << path;
}

void Router::sql(const std::string& statements, Where where) {
    std::string error;
    fail_if(!lab::database_run(*node_, statements, error), error, where);
}

void Router::uci(const std::string& key, const std::string& value) {
    EXPECT_TRUE(lab::uci_store_set(root(), key, value)) << key;
}

void Router::command(const std::string& bytes, Where where) {
    std::string error;
    fail_if(!lab::fifo_command(*node_, bytes, error), error, where);
}

void Router::update() {
    settle_();
    journal_.update();
    if (!follows_loosely_ && journal_.lost() > lost_allowed_) {
        ADD_FAILURE() << "the flow log was replaced twice between two looks";
    }
}

void Router::follow_log_loosely(bool loosely) {
    follows_loosely_ = follows_loosely_ || loosely;
    update();
    follows_loosely_ = loosely;
    lost_allowed_ = journal_.lost();
}

void Router::expect(const std::string& kind, const Lines& expected, const Lines& all,
                    size_t& cursor, Where where) {
    const std::string difference = lines_differ(expected, from(all, cursor));
    cursor = all.size();
    if (!difference.empty()) {
        fail_at(where, node_->options().name, ": ", kind, " (- missing, + unexpected):\n",
                difference);
    }
}

void Router::expect_log(const Lines& lines, Where where) {
    expect("flow log", lines, log(), cursors_.log, where);
}

void Router::expect_shell(const Lines& lines, Where where) {
    expect("shell lines", lines, shell(), cursors_.shell, where);
}

void Router::expect_calls(const Lines& lines, Where where) {
    expect("tool calls", lines, calls(), cursors_.calls, where);
}

void Router::expect_out(const Lines& lines, Where where) {
    update();
    expect("standard output", lines, journal_.out(), cursors_.out, where);
}

void Router::expect_out_of_both(Lines lines, Where where) {
    update();
    Lines found = from(journal_.out(), cursors_.out);
    std::sort(found.begin(), found.end());
    std::sort(lines.begin(), lines.end());
    cursors_.out += found.size();
    size_t begin = 0;
    expect("standard output in any order", lines, found, begin, where);
}

void Router::expect_err(const Lines& lines, Where where) {
    update();
    expect("standard error", lines, journal_.err(), cursors_.err, where);
}

void Router::expect_journal(const Lines& lines, Where where) {
    expect("journal", lines, journal(), cursors_.journal, where);
}

void Router::expect_status(const std::string& text, Where where) {
    expect_file("/tmp/backhaul_status", text, where);
}

void Router::expect_file(const std::string& path, const std::string& text, Where where) {
    settle_();
    const std::string found = this->file(path);
    if (found != text || !has_file(path)) {
        fail_at(where, path, (has_file(path) ? " holds " : " is missing, not "),
                testing::PrintToString(has_file(path) ? found : text), " expected ",
                testing::PrintToString(text));
    }
}

void Router::expect_no_file(const std::string& path, Where where) {
    settle_();
    if (has_file(path)) {
        fail_at(where, path, " should not be there; it holds ",
                testing::PrintToString(this->file(path)));
    }
}

void Router::expect_state(const std::string& interface, int state, Where where) {
    const int found = state_after(log(), interface);
    if (found != state) {
        fail_at(where, interface, " is in state ", found, ", not ", state);
    }
}

void Router::skip() {
    update();
    cursors_.log = log().size();
    cursors_.shell = shell().size();
    cursors_.calls = calls().size();
    cursors_.journal = journal_.entries().size();
    cursors_.out = journal_.out().size();
    cursors_.err = journal_.err().size();
}

Lines Router::log() {
    Lines lines;
    for (const lab::JournalEntry& entry : entries()) {
        if (entry.kind == lab::EntryKind::log) {
            lines.push_back(entry.text);
        }
    }
    return lines;
}

Lines Router::shell() {
    Lines lines;
    for (const lab::JournalEntry& entry : entries()) {
        if (entry.kind == lab::EntryKind::shell) {
            lines.push_back(entry.text);
        }
    }
    return lines;
}

Lines Router::calls() {
    update();
    Lines lines;
    for (const lab::CallRecord& call : journal_.calls()) {
        lines.push_back(lab::call_text(call));
    }
    return lines;
}

Lines Router::journal() {
    Lines lines;
    for (const lab::JournalEntry& entry : entries()) {
        lines.push_back(lab::journal_text(entry));
    }
    return lines;
}

Lines Router::new_log() {
    return from(log(), cursors_.log);
}

Lines Router::new_shell() {
    return from(shell(), cursors_.shell);
}

Lines Router::new_journal() {
    return from(journal(), cursors_.journal);
}

const std::vector<lab::JournalEntry>& Router::entries() {
    update();
    return journal_.entries();
}

std::int64_t Router::time_of_log(const std::string& text) {
    std::int64_t time = -1;
    for (const lab::JournalEntry& entry : entries()) {
        if (entry.kind == lab::EntryKind::log && entry.text == text) {
            time = entry.time;
        }
    }
    return time;
}

void Router::note_contract() {
    journal_.update();
    for (const lab::JournalEntry& entry : journal_.entries()) {
        if (entry.kind == lab::EntryKind::log) {
            contract_note("flow_log", entry.text + "\n");
        } else {
            contract_note_commands({entry.text});
        }
    }
    contract_note_lines("stdout", journal_.out());
    contract_note_lines("stderr", journal_.err());
    contract_note_files(root());
}

}  // namespace harness
