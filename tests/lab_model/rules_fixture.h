// Fixture of the rules: a mesh of three that does nothing wrong, and what a test changes of it.
#pragma once

#include <gtest/gtest.h>
#include "lab/rules/rules.h"

namespace lab {

class Rules : public ::testing::Test {
protected:
    Rules() {
        node.name = "e1";
        node.interfaces = {{"ath0", "BACKHAUL_STA", 30},
                           {"ath1", "BACKHAUL_STA", 20},
                           {"ath20", "BACKHAUL_AP", 0},
                           {"eth", "ETHERNET", 0}};
        node.worker_pid = 100;
        node.status_exists = true;
        node.status_text = "not ready\n";
    }

    // Looks once now, with these new log lines; at `other`, too, when it has a name.
    void look(const std::vector<std::string>& lines = {}) {
        node.log.clear();
        for (const std::string& line : lines) {
            node.log.push_back({time, line});
        }
        Observation observation{time, {node}};
        if (!other.name.empty()) {
            observation.nodes.push_back(other);
        }
        for (const Violation& violation : rules_check(&memory, observation)) {
            all.push_back(violation);
            found.push_back(violation.rule + ": " + violation.text +
                            (violation.known.empty() ? "" : " (" + violation.known + ")"));
        }
    }

    // Looks once a second.
    void pass(int seconds) {
        for (int second = 0; second < seconds; ++second) {
            ++time;
            look();
        }
    }

    // The worker starts and 40 s later has its backhaul on ath0.
    void begin_ready() {
        look({"<-- backhaul_monitor start -->"});
        time += 40;
        node.status_text = "ready\n";
        node.uplinks = {"ath0"};
        node.service_aps_up = {"ath10"};
        look({change("ath0", 0, 3), change("ath0", 3, 4), change("ath0", 4, 7)});
        EXPECT_EQ(taken(), Texts{});
    }

    // Ready, but below e2, and neither of them has a way to a root.
    void begin_below_e2() {
        begin_ready();
        node.reaches_root = false;
        node.above = "e2";
        other.name = "e2";
        other.worker_pid = 200;
        other.reaches_root = false;
    }

    static std::string change(const std::string& interface, int from, int requested) {
        return "backhaul_intf_state_change : change " + interface + " state from " +
               std::to_string(from) + " to " + std::to_string(requested);
    }

    static std::string event(const std::string& interface, int event) {
        return "wifi_slave_event_process : ifname " + interface + " event " + std::to_string(event);
    }

    using Texts = std::vector<std::string>;

    // What was found since the last call.
    Texts taken() {
        Texts texts;
        texts.swap(found);
        return texts;
    }

    RulesMemory memory;
    NodeObservation node;
    NodeObservation other;
    std::int64_t time = 1000;
    Texts found;
    std::vector<Violation> all;
};

}  // namespace lab
