// Which interfaces a starting root takes up or down, line by line.

#include "root/root_intf.h"

#include "lab/tools/answer.h"
#include "runtime/runtime_block.h"
#include "tests/root/root_fixture.h"

#include <gmock/gmock.h>
#include <thread>

namespace {

using harness::put_file;
using testing::ElementsAreArray;

constexpr char APPROVED[] = "02:00:00:00:00:01 1 MRX70\n";
constexpr char REFUSED[] = "02:00:00:00:00:01 0 MRX70\n";

Journal configured(const std::string& name) {
    return {"$ uci get wireless." + name + ".ssid", "$ uci get wireless." + name + ".WPAPSKkey"};
}
Journal enabled_independent(const std::string& name) {
    return joined({configured(name),
                   {"dev_intf_enable_set : enable " + name,
                    "$ uci get wireless." + name + ".disabled", "$ /etc/init.d/wireless restart"}});
}
Journal enabled_following(const std::string& name, const std::string& primary) {
    return joined(
        {configured(name),
         {"dev_intf_enable_set : enable " + name, "$ uci get wireless." + primary + ".disabled",
          "$ uci set wireless." + name + ".disabled=0", "$ uci commit wireless",
          "$ /etc/init.d/wireless restart"}});
}
Journal enabled_backhaul(const std::string& name) {
    return joined(
        {configured(name),
         {"dev_intf_enable_set : enable " + name, "$ uci set wireless." + name + ".disabled=0",
          "$ uci commit wireless", "$ /etc/init.d/wireless restart"}});
}
Journal disabled(const std::string& name) {
    return {"dev_intf_enable_set : disable " + name, "$ uci get wireless." + name + ".disabled",
            "$ uci set wireless." + name + ".disabled=1", "$ uci commit wireless",
            "$ /etc/init.d/wireless restart"};
}

class RootIntf : public RootTest {
protected:
    void add(const char* name, int32_t type, uint8_t follow_primary = 0) {
        intf_add(name, type, BAND_5G, 0, follow_primary);
        uci_put(std::string(name) + ".ssid", "mesh");
        uci_put(std::string(name) + ".WPAPSKkey", "secret00");
        uci_put(std::string(name) + ".disabled", "0");
    }
    void expect_journal(std::initializer_list<Journal> parts) {
        EXPECT_THAT(journal_take(), ElementsAreArray(joined(parts)));
    }
};

TEST_F(RootIntf, enables_the_independent_and_disables_the_following_when_a_node_is_approved) {
    put_file("/tmp/ApplicationData/Approvelist", APPROVED);
    add("ath10", MAIN_SERVICE_AP);
    add("ath0", BACKHAUL_STA);
    add("ath15", MAIN_SERVICE_AP, 1);
    add("ath11", GUEST_SERVICE_AP);
    add("ath16", GUEST_SERVICE_AP, 1);
    add("ath14", VISITOR_SERVICE_AP);
    add("ath17", VISITOR_SERVICE_AP, 1);
    add("ath22", PRE_DEF_AP);
    add("ath23", PRE_DEF_AP, 1);
    add("ath20", BACKHAUL_AP);
    add("ath21", BACKHAUL_AP, 1);
    add("eth", ETHERNET);
    add("timer", AP_TIMER_INTF);
    add("ath99", INTF_TYPE_OTHER, 1);
    backhaul_root_intf_init();
    expect_journal({enabled_independent("ath10"), disabled("ath15"), enabled_independent("ath11"),
                    disabled("ath16"), enabled_independent("ath14"), disabled("ath17"),
                    enabled_independent("ath22"), disabled("ath23"), enabled_backhaul("ath20"),
                    enabled_backhaul("ath21")});
    EXPECT_EQ(runtime.approval_changed, 1);
}

TEST_F(RootIntf, counts_the_approved_nodes_once_before_the_first_interface) {
    put_file("/tmp/ApplicationData/Approvelist", APPROVED);
    add("ath15", MAIN_SERVICE_AP, 1);
    add("ath16", GUEST_SERVICE_AP, 1);
    lab::answer_hold("", "uci", "first");
    std::thread start(backhaul_root_intf_init);
    EXPECT_TRUE(harness::wait_until([] { return !harness::recorded_calls().empty(); }));
    put_file("/tmp/ApplicationData/Approvelist", REFUSED);
    lab::gate_open("", "first");
    start.join();
    expect_journal({disabled("ath15"), disabled("ath16")});
}

TEST_F(RootIntf, enables_the_following_as_well_when_no_node_is_approved) {
    add("ath15", MAIN_SERVICE_AP, 1);
    uci_put("ath10.disabled", "0");
    backhaul_root_intf_init();
    expect_journal({enabled_following("ath15", "ath10")});
    put_file("/tmp/ApplicationData/Approvelist", REFUSED);
    backhaul_root_intf_init();
    expect_journal({enabled_following("ath15", "ath10")});
}

TEST_F(RootIntf, leaves_an_interface_alone_that_is_not_configured) {
    put_file("/tmp/ApplicationData/Approvelist", REFUSED);
    add("ath10", MAIN_SERVICE_AP);
    add("ath15", MAIN_SERVICE_AP, 1);
    add("ath20", BACKHAUL_AP);
    uci_put("ath10.WPAPSKkey", "");
    uci_put("ath15.ssid", "");
    uci_put("ath20.WPAPSKkey", "");
    backhaul_root_intf_init();
    const Journal all = journal_take();
    for (const std::string& entry : all) {
        EXPECT_EQ(entry.find("$ uci get"), 0u) << entry;
    }
    EXPECT_FALSE(all.empty());
}

TEST_F(RootIntf, disables_a_following_interface_without_looking_at_its_configuration) {
    put_file("/tmp/ApplicationData/Approvelist", APPROVED);
    add("ath15", MAIN_SERVICE_AP, 1);
    uci_put("ath15.ssid", "");
    backhaul_root_intf_init();
    expect_journal({disabled("ath15")});
}

TEST_F(RootIntf, asks_for_a_look_at_the_approval_list_even_without_interfaces) {
    backhaul_root_intf_init();
    expect_journal({});
    EXPECT_EQ(runtime.approval_changed, 1);
}

}  // namespace
