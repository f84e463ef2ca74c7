// What the auto-configuration agent is told, and what its files mean.

#include "device/autoconfig_agent.h"

#include <gmock/gmock.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "lab/tools/answer.h"
#include "lab/tools/record.h"
#include "lab/tools/state_layout.h"
#include "tests/harness/table_fixture.h"

namespace {

using harness::file_is_there;
using harness::put_file;
using testing::IsEmpty;

constexpr char RELOAD[] = "$ /usr/sbin/vl1905App 18 1 0";
constexpr char EXTRACT[] =
    "$ cat /tmp/vl1905.json | grep AP-autoconfig_WiFiReload > /tmp/wifi_reload_flag";
constexpr char CLOSE[] = "$ /usr/sbin/vl1905App 23 00:00:00:00:00:00";

// The files of a pass in the order of their removal.
constexpr std::array FILES = {
    "APautooutput_24G",    "APautooutput_G1_24G",    "APautooutput_V_24G",
    "APautooutput_5G",     "APautooutput_G1_5G",     "APautooutput_V_5G",
    "APautoconfig_5G2",    "APautoconfig_G1_5G2",    "APautoconfig_V_5G2",
    "vl1905WIFIState_24G", "vl1905WIFIState_G1_24G", "vl1905WIFIState_V_24G",
    "vl1905WIFIState_5G",  "vl1905WIFIState_G1_5G",  "vl1905WIFIState_V_5G",
    "vl1905WIFIState_5G2", "vl1905WIFIState_G1_5G2", "vl1905WIFIState_V_5G2",
};

std::string agent_path(const std::string& name) {
    return "/tmp/vl1905/" + name;
}

class AutoconfigReload : public harness::TableTest {
protected:
    void SetUp() override {
        TableTest::SetUp();
        lab::state_clear("");
    }
};

TEST_F(AutoconfigReload, asks_once_when_the_agent_reports_0) {
    put_file("/tmp/vl1905.json", "{\n \"AP-autoconfig_WiFiReload\": 0\n}\n");
    EXPECT_EQ(autoconfig_reload_trigger(), 0);
    expect_journal({{RELOAD, EXTRACT}});
    EXPECT_EQ(harness::clock_now(), START_TIME);
}

TEST_F(AutoconfigReload, asks_again_after_2_seconds_when_the_agent_reports_1) {
    put_file("/tmp/vl1905.json", "{\n \"AP-autoconfig_WiFiReload\": 1\n}\n");
    autoconfig_reload_trigger();
    expect_journal({{RELOAD, EXTRACT, RELOAD}});
    EXPECT_EQ(harness::clock_now(), START_TIME + 2);
    const auto records = lab::line_records("");
    ASSERT_EQ(records.size(), 3U);
    EXPECT_EQ(records[1].stamp.time, START_TIME);
    EXPECT_EQ(records[2].stamp.time, START_TIME + 2) << "the pause comes first";
}

TEST_F(AutoconfigReload, asks_again_when_the_agent_has_no_status_file) {
    autoconfig_reload_trigger();
    expect_journal({{RELOAD, EXTRACT, RELOAD}});
    EXPECT_EQ(harness::clock_now(), START_TIME + 2);
}

TEST_F(AutoconfigReload, asks_again_when_the_status_file_lacks_the_key) {
    put_file("/tmp/vl1905.json", "{\n \"AP-autoconfig\": 0\n}\n");
    autoconfig_reload_trigger();
    expect_journal({{RELOAD, EXTRACT, RELOAD}});
}

TEST_F(AutoconfigReload, asks_once_for_a_value_of_10_which_holds_the_character) {
    put_file("/tmp/vl1905.json", "\"AP-autoconfig_WiFiReload\": 10\n");
    autoconfig_reload_trigger();
    expect_journal({{RELOAD, EXTRACT}});
}

TEST_F(AutoconfigReload, looks_at_the_first_line_only) {
    put_file("/tmp/vl1905.json",
             "\"AP-autoconfig_WiFiReload\": 1\n\"AP-autoconfig_WiFiReload\": 0\n");
    autoconfig_reload_trigger();
    expect_journal({{RELOAD, EXTRACT, RELOAD}});
}

TEST_F(AutoconfigReload, looks_at_the_first_79_characters_only) {
    const std::string key = "AP-autoconfig_WiFiReload";
    put_file("/tmp/vl1905.json", key + std::string(79 - key.size(), ' ') + "0\n");
    autoconfig_reload_trigger();
    EXPECT_EQ(journal_take().size(), 3U);
    put_file("/tmp/vl1905.json", key + std::string(78 - key.size(), ' ') + "0\n");
    autoconfig_reload_trigger();
    EXPECT_EQ(journal_take().size(), 2U);
}

TEST_F(AutoconfigReload, asks_once_when_the_flag_file_cannot_be_opened) {
    harness::put_file("/tmp/wifi_reload_flag/kept", "");
    autoconfig_reload_trigger();
    expect_journal({{RELOAD, EXTRACT}});
    EXPECT_EQ(harness::clock_now(), START_TIME);
}

TEST_F(AutoconfigReload, removes_the_files_of_the_pass_in_order) {
    for (const char* const name : FILES) {
        put_file(agent_path(name), "");
    }
    put_file(agent_path("APautooutput_5G2"), "not of a pass");
    const int watch = inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
    ASSERT_GE(inotify_add_watch(watch, "/tmp/vl1905", IN_DELETE), 0);

    autoconfig_reload_trigger();

    std::vector<std::string> removed;
    alignas(inotify_event) std::array<char, 8192> buffer{};
    const ssize_t size = read(watch, buffer.data(), buffer.size());
    close(watch);
    for (ssize_t at = 0; at < size;) {
        inotify_event event{};
        std::memcpy(&event, buffer.data() + at, sizeof event);
        removed.emplace_back(buffer.data() + at + sizeof event);
        at += static_cast<ssize_t>(sizeof event + event.len);
    }
    EXPECT_EQ(removed, std::vector<std::string>(FILES.begin(), FILES.end()));
    EXPECT_TRUE(file_is_there(agent_path("APautooutput_5G2")));
}

TEST_F(AutoconfigReload, clears_the_state_of_every_record_and_counts_them) {
    std::vector<intf_record*> records;
    for (int32_t type = 0; type <= 8; ++type) {
        records.push_back(intf_add(("if" + std::to_string(type)).c_str(), type, 1));
        records.back()->autoconfig_state = 1;
    }
    EXPECT_EQ(autoconfig_reload_trigger(), 9);
    for (const intf_record* const record : records) {
        EXPECT_EQ(record->autoconfig_state, 0) << record->name.data();
    }
}

class AutoconfigStart : public harness::TableTest {
protected:
    intf_record* backhaul_add(int32_t state) {
        intf_record* const record = intf_add("ath0", BACKHAUL_STA, BAND_5G);
        record->state = static_cast<link_state>(state);
        return record;
    }
};

TEST_F(AutoconfigStart, asks_for_each_service_ap_in_table_order_and_closes_the_series) {
    const intf_record* const backhaul = backhaul_add(4);
    intf_add("ath10", MAIN_SERVICE_AP, BAND_24G);
    intf_add("ath11", GUEST_SERVICE_AP, BAND_5G_LOW);
    autoconfig_agent_start(backhaul);
    expect_journal({{"$ /usr/sbin/vl1905App 17 0x00 1>/dev/null 2>&1",
                     "$ /usr/sbin/vl1905App 17 0x21 1>/dev/null 2>&1", CLOSE}});
}

TEST_F(AutoconfigStart, asks_with_the_code_of_each_service_on_each_radio) {
    const intf_record* const backhaul = backhaul_add(4);
    for (const uint8_t band : {BAND_24G, BAND_5G, BAND_5G_HIGH}) {
        intf_add("ath10", MAIN_SERVICE_AP, band);
        intf_add("ath11", GUEST_SERVICE_AP, band);
        intf_add("ath14", VISITOR_SERVICE_AP, band);
    }
    autoconfig_agent_start(backhaul);
    expect_journal({{"$ /usr/sbin/vl1905App 17 0x00 1>/dev/null 2>&1",
                     "$ /usr/sbin/vl1905App 17 0x20 1>/dev/null 2>&1",
                     "$ /usr/sbin/vl1905App 17 0x40 1>/dev/null 2>&1",
                     "$ /usr/sbin/vl1905App 17 0x01 1>/dev/null 2>&1",
                     "$ /usr/sbin/vl1905App 17 0x21 1>/dev/null 2>&1",
                     "$ /usr/sbin/vl1905App 17 0x41 1>/dev/null 2>&1",
                     "$ /usr/sbin/vl1905App 17 0x09 1>/dev/null 2>&1",
                     "$ /usr/sbin/vl1905App 17 0x29 1>/dev/null 2>&1",
                     "$ /usr/sbin/vl1905App 17 0x49 1>/dev/null 2>&1", CLOSE}});
}

TEST_F(AutoconfigStart, asks_in_the_states_4_8_and_14_only) {
    intf_record* const backhaul = backhaul_add(0);
    intf_add("ath10", MAIN_SERVICE_AP, BAND_24G);
    for (int32_t state = -1; state <= 17; ++state) {
        backhaul->state = static_cast<link_state>(state);
        autoconfig_agent_start(backhaul);
        if (state == 4 || state == 8 || state == 14) {
            EXPECT_EQ(journal_take().size(), 2U) << state;
        } else {
            EXPECT_THAT(journal_take(), IsEmpty()) << state << ": not even the close";
        }
    }
}

TEST_F(AutoconfigStart, leaves_out_what_is_configured) {
    const intf_record* const backhaul = backhaul_add(4);
    intf_add("ath10", MAIN_SERVICE_AP, BAND_24G)->autoconfig_state = 1;
    intf_add("ath11", GUEST_SERVICE_AP, BAND_5G_LOW);
    autoconfig_agent_start(backhaul);
    expect_journal({{"$ /usr/sbin/vl1905App 17 0x21 1>/dev/null 2>&1", CLOSE}});
}

TEST_F(AutoconfigStart, closes_the_series_even_when_nothing_was_asked_for) {
    autoconfig_agent_start(backhaul_add(14));
    expect_journal({{CLOSE}});
}

TEST_F(AutoconfigStart, asks_for_followers_too_but_not_for_other_types_or_unknown_bands) {
    const intf_record* const backhaul = backhaul_add(8);
    intf_add("ath12", BACKHAUL_AP, BAND_5G);
    intf_add("ath13", PRE_DEF_AP, BAND_24G);
    intf_add("eth", ETHERNET, BAND_24G);
    intf_add("ath15", MAIN_SERVICE_AP, BAND_NONE);
    intf_add("ath16", VISITOR_SERVICE_AP, BAND_5G_HIGH, 0, 1);
    autoconfig_agent_start(backhaul);
    expect_journal({{"$ /usr/sbin/vl1905App 17 0x49 1>/dev/null 2>&1", CLOSE}});
}

TEST_F(AutoconfigStart, hides_the_output_of_a_start_only) {
    lab::answer_always("", "vl1905App", "noise of the agent");
    const intf_record* const backhaul = backhaul_add(4);
    intf_add("ath10", MAIN_SERVICE_AP, BAND_24G);
    testing::internal::CaptureStdout();
    autoconfig_agent_start(backhaul);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "noise of the agent\n");
}

class AutoconfigResult : public harness::TableTest {};

TEST_F(AutoconfigResult, is_1_when_both_files_of_every_independent_service_ap_exist) {
    const intf_record* const main_ap = intf_add("ath10", MAIN_SERVICE_AP, BAND_24G);
    const intf_record* const guest = intf_add("ath11", GUEST_SERVICE_AP, BAND_5G);
    const intf_record* const visitor = intf_add("ath14", VISITOR_SERVICE_AP, BAND_5G_LOW);
    const std::array files = {"APautooutput_24G",   "vl1905WIFIState_24G",
                              "APautooutput_G1_5G", "vl1905WIFIState_G1_5G",
                              "APautooutput_V_5G",  "vl1905WIFIState_V_5G"};
    for (const char* const name : files) {
        EXPECT_EQ(autoconfig_result_get(), 0) << "before " << name;
        put_file(agent_path(name), "");
    }
    EXPECT_EQ(autoconfig_result_get(), 1);
    EXPECT_EQ(main_ap->autoconfig_state, 1);
    EXPECT_EQ(guest->autoconfig_state, 1);
    EXPECT_EQ(visitor->autoconfig_state, 1);
    for (const char* const name : files) {
        unlink(agent_path(name).c_str());
        EXPECT_EQ(autoconfig_result_get(), 0) << "without " << name;
        put_file(agent_path(name), "");
    }
    EXPECT_EQ(autoconfig_result_get(), 1);
}

TEST_F(AutoconfigResult, is_0_for_a_state_file_without_the_output_file) {
    const intf_record* const record = intf_add("ath10", MAIN_SERVICE_AP, BAND_5G);
    put_file(agent_path("vl1905WIFIState_5G"), "");
    EXPECT_EQ(autoconfig_result_get(), 0);
    EXPECT_EQ(record->autoconfig_state, 0);
}

TEST_F(AutoconfigResult, stores_that_the_output_file_exists_also_while_it_is_not_applied) {
    intf_record* const record = intf_add("ath10", MAIN_SERVICE_AP, BAND_5G);
    put_file(agent_path("APautooutput_5G"), "");
    EXPECT_EQ(autoconfig_result_get(), 0);
    EXPECT_EQ(record->autoconfig_state, 1);
    unlink(agent_path("APautooutput_5G").c_str());
    EXPECT_EQ(autoconfig_result_get(), 0);
    EXPECT_EQ(record->autoconfig_state, 0);
}

TEST_F(AutoconfigResult, does_not_ask_about_followers_and_other_types) {
    const intf_record* const follower = intf_add("ath15", MAIN_SERVICE_AP, BAND_24G, 0, 1);
    intf_add("ath20", BACKHAUL_AP, BAND_5G);
    intf_add("ath0", BACKHAUL_STA, BAND_5G);
    EXPECT_EQ(autoconfig_result_get(), 1) << "there is no independent service AP at all";
    put_file(agent_path("APautooutput_24G"), "");
    EXPECT_EQ(autoconfig_result_get(), 1);
    EXPECT_EQ(follower->autoconfig_state, 0);
}

TEST_F(AutoconfigResult, is_0_when_the_first_ap_has_no_files_to_test) {
    intf_record* const high = intf_add("ath12", MAIN_SERVICE_AP, BAND_5G_HIGH);
    high->autoconfig_state = 1;
    put_file(agent_path("APautoconfig_5G2"), "");
    put_file(agent_path("vl1905WIFIState_5G2"), "");
    EXPECT_EQ(autoconfig_result_get(), 0);
    EXPECT_EQ(high->autoconfig_state, 1) << "left as it is";
}

TEST_F(AutoconfigResult, judges_an_ap_without_files_by_the_one_before) {
    intf_add("ath10", MAIN_SERVICE_AP, BAND_24G);
    intf_record* const high = intf_add("ath12", MAIN_SERVICE_AP, BAND_5G_HIGH);
    intf_record* const unknown = intf_add("ath13", GUEST_SERVICE_AP, BAND_NONE);
    put_file(agent_path("APautooutput_24G"), "");
    EXPECT_EQ(autoconfig_result_get(), 0);
    put_file(agent_path("vl1905WIFIState_24G"), "");
    EXPECT_EQ(autoconfig_result_get(), 1);
    EXPECT_EQ(high->autoconfig_state, 0);
    EXPECT_EQ(unknown->autoconfig_state, 0);
}

TEST_F(AutoconfigResult, stays_0_when_a_later_ap_is_done) {
    intf_add("ath10", MAIN_SERVICE_AP, BAND_24G);
    intf_add("ath11", GUEST_SERVICE_AP, BAND_24G);
    put_file(agent_path("APautooutput_G1_24G"), "");
    put_file(agent_path("vl1905WIFIState_G1_24G"), "");
    EXPECT_EQ(autoconfig_result_get(), 0);
}

TEST_F(AutoconfigResult, runs_no_command) {
    intf_add("ath10", MAIN_SERVICE_AP, BAND_24G);
    autoconfig_result_get();
    expect_journal({});
}

}  // namespace
