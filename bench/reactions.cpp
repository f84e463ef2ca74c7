#include <algorithm>

#include "bench/life.h"
#include "bench/rows.h"

namespace bench {
namespace {

long count_of(const std::string& steps) {
    return std::count(steps.begin(), steps.end(), '\n');
}

// One sample of everything that a life has to tell.
struct Sides {
    Samples here;
    Samples floor;

    void add(double one_here, double one_floor) {
        here.add(one_here);
        floor.add(one_floor);
    }
};
struct LifeSamples {
    Sides first_tool;
    Sides loss;
    Sides connect;
    Sides ready;
    Sides status;
    Sides status_with_entries;
    Sides loss_entry;
    Sides connect_entry;
};

bool life_sample(Pair& pair, LifeSamples& samples, std::string& error) {
    Bed& floor = *pair.floor;
    Reaction lost;
    Reaction connected;
    Reaction ready;
    Reaction again;
    const auto tools = [](int count) {
        return [count](const Reaction& so_far) {
            return so_far.tools >= count;
        };
    };
    const auto status = [](const Reaction& so_far) {
        return so_far.status >= 0;
    };
    const auto entry_and_status = [](const Reaction& so_far) {
        return so_far.first_entry >= 0 && so_far.status >= 0;
    };
    Reaction bare_loss;
    Reaction bare_connect;
    Reaction bare_ready;
    Reaction bare_status;
    Reaction bare_entries;
    // In turns: each side has been asleep for about as long when its event comes.
    if (!pair.daemon->lose(lost) || !floor_react(floor, "ath0", bare_loss, tools(lost.tools)) ||
        !pair.daemon->connect(connected) ||
        !floor_react(floor, "ath1", bare_connect, tools(connected.tools)) ||
        !pair.daemon->configure(ready) || !floor_react(floor, "ath10", bare_ready, status) ||
        !pair.daemon->lose(again) || !floor_react(floor, "ath11", bare_status, status) ||
        !pair.daemon->connect(again) ||
        !floor_react(floor, "ath14", bare_entries, entry_and_status) ||
        !pair.daemon->configure(again)) {
        error = pair.daemon->error() + " or " + floor.error();
        return false;
    }
    samples.first_tool.add(lost.first_tool, bare_loss.first_tool);
    samples.loss.add(lost.last_tool, bare_loss.last_tool);
    samples.connect.add(connected.last_tool, bare_connect.last_tool);
    samples.ready.add(ready.status - ready.first_tool, bare_ready.status - bare_ready.first_tool);
    samples.status.add(lost.status, bare_status.status);
    samples.status_with_entries.add(lost.status, bare_entries.status);
    samples.loss_entry.add(lost.first_entry, bare_entries.first_entry);
    samples.connect_entry.add(connected.first_entry, bare_entries.first_entry);
    return true;
}

}  // namespace

bool reactions_measure(Pair& pair, int rounds, Table& table, std::string& error) {
    LifeSamples samples;
    for (int round = 0; round < rounds; ++round) {
        if (!life_sample(pair, samples, error)) {
            return false;
        }
    }
    const auto add = [&table](const std::string& measure, const Sides& sides, double goal) {
        table.add(measure, sides.here, sides.floor, goal);
    };
    const auto lines = [](const std::string& steps) {
        return std::to_string(count_of(steps)) + " lines: the same in a bare loop";
    };
    add("driver event to the first tool: system() on it", samples.first_tool, 1.03);
    add("connect, " + lines(pair.life.connect), samples.connect, 1.02);
    add("ready, " + lines(pair.life.ready), samples.ready, 1.02);
    add("loss, " + lines(pair.life.loss), samples.loss, 1.02);
    add("loss to the new status file: receive, write it", samples.status, 1.3);
    add("the same with its entries in the floor", samples.status_with_entries, 1.1);
    add("loss to the first log entry: receive, write it", samples.loss_entry, 1.1);
    add("association to the first entry: receive, write it", samples.connect_entry, 1.1);
    return true;
}

}  // namespace bench
