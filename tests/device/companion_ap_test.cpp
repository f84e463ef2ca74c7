// The companion access points "ath22" and "ath23".

#include "device/companion_ap.h"

#include "runtime/runtime_block.h"
#include "tests/device/device_fixture.h"

#include <gmock/gmock.h>

#include <ostream>
#include <span>

namespace {

using harness::take_lines;
using harness::take_log;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char NOT_READY[] = "device_approval_list_check : approval list not ready";
constexpr char WORKAROUND[] = "device_ap_steering_workaround : Enter";

class CompanionAp : public DeviceTest {
protected:
    void SetUp() override {
        DeviceTest::SetUp();
        // In table order the second comes first: it must not matter.
        intf_add("ath23", GUEST_SERVICE_AP, BAND_5G_HIGH);
        intf_add("ath22", MAIN_SERVICE_AP, BAND_5G_HIGH);
    }
    static void list_put(const std::string& text) {
        harness::put_file("/tmp/ApplicationData/Approvelist", text);
    }
};

TEST_F(CompanionAp, leaves_the_list_alone_until_it_has_changed) {
    list_put("a 1 MRX70\n");
    device_approval_list_check();
    EXPECT_THAT(journal(), IsEmpty());
}

TEST_F(CompanionAp, keeps_the_change_pending_while_the_list_is_missing) {
    runtime.approval_changed = 1;
    device_approval_list_check();
    EXPECT_THAT(journal(), IsEmpty());
    EXPECT_EQ(int{runtime.approval_changed.get()}, 1);
}

TEST_F(CompanionAp, says_at_each_check_that_the_list_is_not_ready_until_the_model_is_there) {
    runtime.approval_changed = 1;
    list_put("a 1\n");
    device_approval_list_check();
    device_approval_list_check();
    EXPECT_THAT(journal(), ElementsAre(NOT_READY, NOT_READY));
    EXPECT_EQ(int{runtime.approval_changed.get()}, 1);
    list_put("a 1 MRX50\n");
    device_approval_list_check();
    EXPECT_EQ(int{runtime.approval_changed.get()}, 0);
    EXPECT_EQ(journal().at(2), WORKAROUND);
    const size_t before = journal().size();
    device_approval_list_check();
    EXPECT_EQ(journal().size(), before);
}

TEST_F(CompanionAp, withdraws_the_companions_when_no_approved_node_is_of_the_model) {
    list_put("a 1 MRX50\nb 0 MRX70\n");
    device_ap_steering_workaround();
    EXPECT_THAT(journal(), ElementsAre(WORKAROUND, "device_5g_high_ap_set : config 0",
                                       "$ uci set wireless.ath22.hidden=1", COMMIT,
                                       "$ uci get wireless.ath22.disabled",
                                       "$ uci set wireless.ath22.disabled=1", COMMIT, APPLY,
                                       "$ uci set wireless.ath23.hidden=1", COMMIT,
                                       "$ uci get wireless.ath23.disabled",
                                       "$ uci set wireless.ath23.disabled=1", COMMIT, APPLY));
    EXPECT_EQ(uci_value("ath22.hidden"), "1");
    EXPECT_EQ(uci_value("ath23.disabled"), "1");
    EXPECT_EQ(harness::file_text("/tmp/wifi5G_2_Apply"), "ath23");
}

TEST_F(CompanionAp, leaves_the_companions_untouched_when_no_node_is_approved) {
    runtime.approval_changed = 1;
    list_put("a 0 MRX70\nb 0\n");
    device_approval_list_check();
    EXPECT_THAT(journal(), ElementsAre(WORKAROUND));
    EXPECT_EQ(int{runtime.approval_changed.get()}, 0);
}

TEST_F(CompanionAp, offers_each_disabled_companion_when_an_approved_node_is_of_the_model) {
    list_put("a 1 MRX70\n");
    uci_put("ath22.disabled", "1");
    uci_put("ath23.disabled", "0");
    uci_put("ath10.disabled", "0");
    for (intf_record& record : std::span(runtime.intf_table.load(), 2)) {
        record.follow_primary = 1;
    }
    device_ap_steering_workaround();
    EXPECT_THAT(
        journal(),
        ElementsAre(WORKAROUND, "device_5g_high_ap_set : config 1",
                    "$ uci set wireless.ath22.hidden=1", COMMIT,
                    "$ uci get wireless.ath22.disabled", "dev_intf_enable_set : enable ath22",
                    "$ uci get wireless.ath10.disabled", "$ uci set wireless.ath22.disabled=0",
                    COMMIT, APPLY, "$ uci set wireless.ath23.hidden=1", COMMIT,
                    "$ uci get wireless.ath23.disabled"));
}

TEST_F(CompanionAp, skips_a_companion_that_the_table_lacks) {
    runtime.intf_num = 1;
    device_5g_high_ap_set(INTF_DISABLE);
    EXPECT_THAT(journal(),
                ElementsAre("device_5g_high_ap_set : config 0", "$ uci set wireless.ath23.hidden=1",
                            COMMIT, "$ uci get wireless.ath23.disabled",
                            "$ uci set wireless.ath23.disabled=1", COMMIT, APPLY));
}

TEST_F(CompanionAp, hides_or_shows_three_access_points_whether_the_table_has_them_or_not) {
    runtime.intf_num = 0;
    device_hidden_ap_set(0);
    EXPECT_THAT(journal(), ElementsAre("$ uci set wireless.ath22.hidden=0", COMMIT,
                                       "$ uci set wireless.ath23.hidden=0", COMMIT,
                                       "$ uci set wireless.ath24.hidden=0", COMMIT));
    take_lines();
    device_hidden_ap_set(-2147483647);
    EXPECT_EQ(take_lines().at(0), "uci set wireless.ath22.hidden=-2147483647");
}

struct Companion {
    int index;
    const char* reference;
    const char* companion;
    size_t flag;
};

void PrintTo(const Companion& companion, std::ostream* out) {
    *out << companion.companion;
}

class WifiConfigCheck : public CompanionAp, public testing::WithParamInterface<Companion> {
protected:
    void SetUp() override {
        CompanionAp::SetUp();
        list_put("a 1 MRX70\n");
    }
    const Companion& with() const {
        return GetParam();
    }
    std::string get_line() const {
        return std::string("uci get wireless.") + with().reference + ".disabled";
    }
    std::string set_line(int disabled) const {
        return std::string("uci set wireless.") + with().companion +
               ".disabled=" + std::to_string(disabled);
    }
    std::string reload_line(int enabled) const {
        return std::string("device_wifi_config_check : reload ") + with().companion + " " +
               std::to_string(enabled);
    }
    Relaxed<bool>& enabled() const {
        return runtime.service_ap_enabled[with().flag];
    }
    bool& reload() const {
        return runtime.companion_reload[with().flag];
    }
};

TEST_P(WifiConfigCheck, carries_a_disabled_reference_to_the_companion_at_the_next_call) {
    enabled() = 1;
    uci_put(std::string(with().reference) + ".disabled", "1");
    device_wifi_config_check(with().index);
    EXPECT_THAT(take_lines(), ElementsAre(get_line()));
    EXPECT_THAT(take_log(), IsEmpty());
    EXPECT_EQ(int{enabled().get()}, 0);
    EXPECT_EQ(int{reload()}, 1);

    device_wifi_config_check(with().index);
    EXPECT_THAT(take_lines(), ElementsAre(get_line(), set_line(1), "uci commit wireless",
                                          "/etc/init.d/wireless restart"));
    EXPECT_THAT(take_log(), ElementsAre(reload_line(0)));
    EXPECT_EQ(harness::file_text("/tmp/wifi5G_2_Apply"), with().companion);
    EXPECT_EQ(int{reload()}, 0);

    device_wifi_config_check(with().index);
    EXPECT_THAT(take_lines(), ElementsAre(get_line()));
    EXPECT_THAT(take_log(), IsEmpty());
}

TEST_P(WifiConfigCheck, carries_an_enabled_reference_to_the_companion_at_the_next_call) {
    uci_put(std::string(with().reference) + ".disabled", "0");
    device_wifi_config_check(with().index);
    EXPECT_THAT(take_lines(), ElementsAre(get_line()));
    EXPECT_EQ(int{enabled().get()}, 1);

    device_wifi_config_check(with().index);
    EXPECT_THAT(journal(), ElementsAre("$ " + get_line(), "$ " + get_line(), reload_line(1),
                                       "$ " + set_line(0), COMMIT, APPLY));
    EXPECT_EQ(int{reload()}, 0);
    EXPECT_EQ(int{enabled().get()}, 1);
}

TEST_P(WifiConfigCheck, carries_what_the_last_call_saw_although_the_reference_changed_again) {
    reload() = 1;
    enabled() = 1;
    uci_put(std::string(with().reference) + ".disabled", "1");
    device_wifi_config_check(with().index);
    EXPECT_THAT(journal(),
                ElementsAre("$ " + get_line(), reload_line(1), "$ " + set_line(0), COMMIT, APPLY));
    EXPECT_EQ(int{reload()}, 1);
    EXPECT_EQ(int{enabled().get()}, 0);
}

TEST_P(WifiConfigCheck, keeps_the_reload_pending_while_the_table_lacks_the_companion) {
    runtime.intf_num = 0;
    reload() = 1;
    enabled() = 1;
    uci_put(std::string(with().reference) + ".disabled", "0");
    device_wifi_config_check(with().index);
    EXPECT_THAT(take_lines(), ElementsAre(get_line()));
    EXPECT_EQ(int{reload()}, 1);
}

TEST_P(WifiConfigCheck, leaves_the_other_companion_alone) {
    const size_t other = 1 - with().flag;
    runtime.companion_reload[other] = 1;
    uci_put(std::string(with().reference) + ".disabled", "0");
    device_wifi_config_check(with().index);
    device_wifi_config_check(with().index);
    EXPECT_EQ(int{runtime.companion_reload[other]}, 1);
    EXPECT_EQ(int{runtime.service_ap_enabled[other].get()}, 0);
}

TEST_P(WifiConfigCheck, does_nothing_without_an_approved_node_of_the_model) {
    list_put("a 1 MRX50\n");
    reload() = 1;
    device_wifi_config_check(with().index);
    EXPECT_THAT(journal(), IsEmpty());
    EXPECT_EQ(int{reload()}, 1);
}

INSTANTIATE_TEST_SUITE_P(Both, WifiConfigCheck,
                         testing::Values(Companion{0, "ath10", "ath22", 0},
                                         Companion{1, "ath11", "ath23", 1}));

TEST_F(CompanionAp, checks_nothing_for_another_index) {
    list_put("a 1 MRX70\n");
    for (const int index : {2, 3, -1}) {
        device_wifi_config_check(index);
    }
    EXPECT_THAT(journal(), IsEmpty());
}

}  // namespace
