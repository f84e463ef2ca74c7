// A day of list ticks: nodes come, are missed and leave by a fixed script of chance, and after each
// tick list, file, event log and power are what the rules give.

#include "root/ap_list.h"
#include "runtime/runtime_block.h"
#include "tests/root/root_fixture.h"

#include <gmock/gmock.h>
#include <random>

namespace {

using harness::file_is_there;
using harness::file_text;

constexpr int TICKS = 8640;
constexpr size_t NODES = 12;

struct model_node {
    std::string address;
    int misses = 0;
    bool reachable = false;
    bool listed = false;
};

/// What the rules give, kept beside the code under test.
struct model {
    std::vector<model_node> nodes;
    std::vector<std::string> order;
    std::vector<std::string> events;

    void event(const std::string& text) {
        events.push_back(text);
        if (events.size() > 5) {
            events.erase(events.begin());
        }
    }
    void tick() {
        for (model_node& node : nodes) {
            const bool present = node.misses < 3;
            if (present && !node.listed) {
                order.push_back(node.address);
                event("n(" + node.address + ") join");
            } else if (!present && node.listed) {
                std::erase(order, node.address);
                event("n(" + node.address + ") leave");
            }
            node.listed = present;
        }
    }
    static std::string lines(const std::vector<std::string>& all) {
        std::string text;
        for (const std::string& line : all) {
            text += line + "\n";
        }
        return text;
    }
};

class ApListDay : public RootTest {};

TEST_F(ApListDay, holds_what_the_rules_give_at_each_of_its_8640_ticks) {
    database_open();
    std::mt19937 chance(20240229);
    model expected;
    for (size_t i = 0; i < NODES; ++i) {
        expected.nodes.push_back({almac(std::to_string(10 + i)), 3, false, false});
        device_add(expected.nodes[i].address, "0", "3", "n");
    }
    int joins = 0;
    for (int tick = 0; tick < TICKS; ++tick) {
        std::string changes;
        for (model_node& node : expected.nodes) {
            if (chance() % 400 == 0) {
                node.reachable = !node.reachable;
            }
            const int before = node.misses;
            // The prober now and then misses a node that is there.
            const bool seen = node.reachable && chance() % 50 != 0;
            node.misses = seen ? 0 : std::min(node.misses + 1, 3);
            if (node.misses != before) {
                changes += "UPDATE Device SET Alive=" + std::to_string(seen ? 1 : 0) +
                           ", nNotAlive=" + std::to_string(node.misses) + " WHERE ALMac='" +
                           node.address + "';";
            }
        }
        if (!changes.empty()) {
            sql("BEGIN;" + changes + "COMMIT;");
        }
        const size_t before = expected.order.size();
        expected.tick();
        joins += expected.order.size() > before ? 1 : 0;
        backhaul_ap_list_sync();
        ASSERT_EQ(list_now(), expected.order) << "tick " << tick;
        ASSERT_EQ(runtime.ap_count, static_cast<int32_t>(expected.order.size()));
        ASSERT_EQ(file_text("/tmp/backhaul_ap_list"), model::lines(expected.order));
        ASSERT_EQ(file_text("/var/log/backhaul_log"), model::lines(expected.events));
        ASSERT_EQ(file_is_there("/tmp/dynamic_24g_txpower"), !expected.order.empty());
    }
    EXPECT_GT(joins, 50) << "the script must make something happen";
}

}  // namespace
