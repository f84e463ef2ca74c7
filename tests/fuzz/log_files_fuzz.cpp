// The files of a node's flow log, as all commands of the tool read them: their lines against a
// plain split, and what the reader tells of them from the oldest to the newest.

#include "ctl/log_file.h"

#include <cstring>
#include <memory>
#include <vector>

#include "ctl/story_visitor.h"
#include "tests/fuzz/bed/input.h"
#include "tests/fuzz/bed/place.h"

namespace {

using fuzz::require;

/// Which a text of the input becomes, one after the other.
constexpr std::array PATHS = {"/var/log/backhaul_flow_log", "/var/log/backhaul_flow_log.1",
                              "/var/log/backhaul_flow_log.crash"};
constexpr std::uint8_t NEXT_FILE = '\f';
/// Stands for more of a line than the reader's block holds, which no input would be long enough
/// for.
constexpr char LONG = '\v';
constexpr size_t LONG_SIZE = 70000;
constexpr int LONGS_MOST = 2;

std::string stretched(const std::string& text) {
    std::string whole;
    int count = 0;
    for (const char c : text) {
        whole +=
            c == LONG && count++ < LONGS_MOST ? std::string(LONG_SIZE, 'x') : std::string(1, c);
    }
    return whole;
}

void lines_check(const char* path, std::string_view text) {
    log_reader reader(path);
    require(reader.good(), "a regular file can be read");
    std::string_view line;
    while (reader.next(line)) {
        require(!text.empty(), "the file has that line");
        const std::string_view wanted = text.substr(0, text.find('\n'));
        require(line == wanted.substr(0, LOG_LINE_MAX), "a line is the file's, cut");
        text.remove_prefix(std::min(text.size(), wanted.size() + 1));
    }
    require(text.empty(), "no line is left out");
}

struct Teller final : story_visitor {
    void node_begin(const log_source& first) override {
        ++nodes;
        story_visitor::node_begin(first);
    }
    void file_begin(const log_source& source, bool follows_on) override {
        require(source.first_time == LOG_TIME_NONE || source.first_time >= newest,
                "files come in the order in which they begin");
        newest = std::max(newest, source.first_time);
        story_visitor::file_begin(source, follows_on);
    }
    void entry(const log_entry& entry, const log_event& event) override {
        require(entry.line.size() == entry.text.size() + LOG_PREFIX_SIZE &&
                    entry.line.ends_with(entry.text) && entry.line.size() <= LOG_LINE_MAX,
                "an entry is its date and its text");
        told += 1;
        story_visitor::entry(entry, event);
    }
    void garbage(std::string_view line) override {
        told += 1;
        story_visitor::garbage(line);
    }
    void node_end(const log_source& last) override {
        ++ends;
        story_visitor::node_end(last);
    }
    void span_ended(const story_link& /*link*/, link_state /*state*/, int64_t begin,
                    int64_t end) override {
        require(begin == LOG_TIME_NONE || begin <= end, "no span ends before it begins");
    }
    void outage_ended(const outage& one) override {
        require(outage_seconds(one) >= 0, "no outage ends before it begins");
    }
    void found(const finding& /*one*/) override {}

    int nodes = 0;
    int ends = 0;
    size_t told = 0;
    int64_t newest = LOG_TIME_NONE;
};

}  // namespace

// The name is the fuzzer engine's.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::Input input(data, size);
    const auto logs = std::make_unique<log_set>();
    std::array<char, LOG_PATH_SIZE + 128> error{};
    size_t lines = 0;
    for (const char* const path : PATHS) {
        const std::string text = stretched(input.text_until(NEXT_FILE));
        fuzz::file_put(path, text);
        lines_check(path, text);
        lines += static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
        lines += !text.empty() && !text.ends_with('\n') ? 1 : 0;
        require(logs->add(path, error), "a log can be added");
    }
    logs->sort();
    const auto teller = std::make_unique<Teller>();
    logs->read(*teller);
    require(teller->nodes == 1 && teller->ends == 1, "three files of one name are one node");
    require(teller->told >= lines, "every line is told");
    return 0;
}
