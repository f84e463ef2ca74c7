// Asking the wireless service to apply an interface's configuration.

#include "device/wireless_apply.h"

#include "lab/tools/answer.h"
#include "lab/tools/record.h"
#include "runtime/runtime_block.h"
#include "tests/device/device_fixture.h"

#include <gmock/gmock.h>
#include <pthread.h>
#include <sys/stat.h>

#include <ostream>
#include <thread>

namespace {

using harness::file_text;
using testing::ElementsAre;
using testing::IsEmpty;

struct Row {
    uint8_t band;
    const char* radio;
    const char* apply_path;
};

void PrintTo(const Row& row, std::ostream* out) {
    *out << "band " << int{row.band};
}

class WirelessApply : public DeviceTest {};
class WirelessApplyBand : public DeviceTest, public testing::WithParamInterface<Row> {};

/// What the wireless service found in its files at each restart.
std::vector<std::string> restarts_seen() {
    std::vector<std::string> notes;
    for (const lab::CallRecord& call : lab::call_records("")) {
        if (call.tool == "wireless") {
            notes.push_back(call.note);
        }
    }
    return notes;
}

TEST_P(WirelessApplyBand, writes_radio_and_interface_without_line_end_then_restarts) {
    const Row& row = GetParam();
    uci_put("ath20.disabled", "0");
    device_wireless_apply(intf_add("ath20", BACKHAUL_AP, row.band));
    EXPECT_EQ(file_text("/tmp/WirelessDev"), row.radio);
    EXPECT_EQ(file_text(row.apply_path), "ath20");
    EXPECT_THAT(journal(), ElementsAre("$ /etc/init.d/wireless restart"));
    EXPECT_THAT(restarts_seen(), ElementsAre(std::string(row.radio) + " ath20 disabled=0"));
}

INSTANTIATE_TEST_SUITE_P(Bands, WirelessApplyBand,
                         testing::Values(Row{1, "wifi0", "/tmp/wifi24G_Apply"},
                                         Row{2, "wifi1", "/tmp/wifi5G_Apply"},
                                         Row{8, "wifi1", "/tmp/wifi5G_Apply"},
                                         Row{4, "wifi2", "/tmp/wifi5G_2_Apply"}));

TEST_F(WirelessApply, replaces_what_the_files_held) {
    harness::put_file("/tmp/WirelessDev", "something longer\n");
    harness::put_file("/tmp/wifi24G_Apply", "something longer\n");
    device_wireless_apply(intf_add("ath0", MAIN_SERVICE_AP, BAND_24G));
    EXPECT_EQ(file_text("/tmp/WirelessDev"), "wifi0");
    EXPECT_EQ(file_text("/tmp/wifi24G_Apply"), "ath0");
}

TEST_F(WirelessApply, does_nothing_for_a_band_without_a_radio) {
    for (const uint8_t band : {uint8_t{0}, uint8_t{3}, uint8_t{16}}) {
        device_wireless_apply(intf_add("ath0", MAIN_SERVICE_AP, band));
    }
    EXPECT_THAT(journal(), IsEmpty());
    EXPECT_FALSE(harness::file_is_there("/tmp/WirelessDev"));
    ASSERT_EQ(pthread_mutex_trylock(&runtime.apply_lock), 0);
    pthread_mutex_unlock(&runtime.apply_lock);
}

TEST_F(WirelessApply, restarts_although_a_file_cannot_be_written) {
    ASSERT_EQ(mkdir("/tmp/WirelessDev", 0700), 0);
    device_wireless_apply(intf_add("ath0", MAIN_SERVICE_AP, BAND_24G));
    EXPECT_EQ(file_text("/tmp/wifi24G_Apply"), "ath0");
    EXPECT_THAT(journal(), ElementsAre("$ /etc/init.d/wireless restart"));
}

TEST_F(WirelessApply, keeps_a_second_apply_waiting_until_the_first_restart_has_returned) {
    lab::answer_hold("", "wireless.restart", "service");
    const intf_record* const first = intf_add("ath0", MAIN_SERVICE_AP, BAND_24G);
    const intf_record* const second = intf_add("ath10", MAIN_SERVICE_AP, BAND_5G);
    std::thread one([&] { device_wireless_apply(first); });
    ASSERT_TRUE(harness::wait_until([] { return restarts_seen().size() == 1; }));
    EXPECT_EQ(pthread_mutex_trylock(&runtime.apply_lock), EBUSY);
    std::thread two([&] { device_wireless_apply(second); });
    harness::clock_settle();
    EXPECT_EQ(journal().size(), 1U);
    EXPECT_EQ(file_text("/tmp/WirelessDev"), "wifi0");
    lab::gate_open("", "service");
    one.join();
    two.join();
    EXPECT_THAT(restarts_seen(), ElementsAre("wifi0 ath0 disabled=", "wifi1 ath10 disabled="));
}

}  // namespace
