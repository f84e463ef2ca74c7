// Stories of logs that a test makes up, and what is heard of them.
#pragma once

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "ctl/story.h"
#include "tests/ctl/ctl_program.h"

namespace ctl_test {

struct Heard final : story_listener {
    void outage_ended(const outage& one) override {
        outages.push_back(one);
    }
    void found(const finding& one) override {
        (one.kind == finding_kind::dropped ? dropped : findings).emplace_back(one.line);
    }
    std::vector<outage> outages;
    std::vector<std::string> findings;
    std::vector<std::string> dropped;
};

// A node's log that a test makes up, line by line.
class NodeLog : public testing::Test {
protected:
    virtual void say(int64_t time, const std::string& text) = 0;

    void change(int64_t time, const std::string& name, int from, int to) {
        say(time, "backhaul_intf_state_change : change " + name + " state from " +
                      std::to_string(from) + " to " + std::to_string(to));
    }
    /// A station that is ready since second 20.
    void ready() {
        say(0, "<-- backhaul_monitor start -->");
        change(1, "ath0", 0, 3);
        change(4, "ath0", 3, 4);
        change(20, "ath0", 4, 7);
    }
    /// A cable that is ready since second 4.
    void wired() {
        say(0, "<-- backhaul_monitor start -->");
        change(1, "eth", 13, 14);
        change(4, "eth", 14, 15);
    }
    void unplug(int64_t time) {
        say(time, "wifi_backhaul_recover : Enter");
        change(time, "eth", 15, 13);
    }
};

// What is told of such a log.
class StoryTest : public NodeLog {
protected:
    void say(int64_t time, const std::string& text) override {
        const log_entry entry{time, text, text};
        told.feed(entry, log_event_read(text));
    }
    void lose(int64_t time) {
        say(time, "Disconnect with : 02:00:00:00:01:04");
        say(time, "wifi_slave_event_process : ifname ath0 event 2");
        change(time, "ath0", 7, 3);
    }
    std::string words() {
        std::array<char, 400> text{};
        outage_words(heard.outages.back(), text);
        return text.data();
    }
    /// A whole log of real daemons.
    void feed_log(const std::string& name) {
        std::istringstream lines(ctl_test::log_text(name));
        log_dates dates;
        for (std::string line; std::getline(lines, line);) {
            log_entry entry;
            ASSERT_TRUE(log_line_read(line, dates, entry)) << line;
            told.feed(entry, log_event_read(entry.text));
        }
    }

    Heard heard;
    story told{heard};
};

}  // namespace ctl_test
