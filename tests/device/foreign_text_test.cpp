// What others may bring: names that a shell would read, and files that are none where the device
// operations read or where a line writes its result.

#include "device/ap_alive.h"
#include "device/approval_list.h"
#include "device/association.h"
#include "device/autoconfig_agent.h"
#include "device/client_control.h"
#include "device/first_mac.h"
#include "device/hop_distance.h"
#include "device/hyd.h"
#include "device/intf_enable.h"
#include "device/intf_existence.h"
#include "device/pid_file.h"
#include "device/station_link.h"
#include "device/supplicant.h"
#include "device/whc.h"

#include "lab/tools/answer.h"
#include "lab/tools/record.h"
#include "tests/device/device_fixture.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <type_traits>

namespace {

using harness::file_is_there;
using harness::file_text;
using harness::put_file;
using testing::ElementsAre;
using testing::IsEmpty;

using Words = std::vector<std::vector<std::string>>;

constexpr char PLAIN_NAME[] = "ath77";
/// Each as long as a name may be with what covers it; what they would run makes the file "ran".
constexpr std::array NAMES = {"$(>ran)", "`>ran`",  "a;>ran",      "a&>ran",    "a|>ran",
                              "a>ran",   "\">ran",  "';>ran;'",    "a'\"\\*?[", "<a#~!{b,c}",
                              "-x",      "a%s%d%n", "\x01\x7f\xff"};

struct operation {
    const char* what;
    void (*run)(intf_record* station);
};

/// Runs what takes a record, or nothing.
template <auto action>
void with(intf_record* record) {
    if constexpr (std::is_invocable_v<decltype(action)>) {
        action();
    } else {
        action(record);
    }
}

void ap_address(intf_record* record) {
    mac_address bssid{};
    device_sta_ap_bssid_get(record->name.data(), bssid);
}

void best_address(intf_record* record) {
    mac_address best{};
    device_best_bssid_get(record->name.data(), best.data(), best.size());
}

const std::array OPERATIONS = {
    operation{"enable",
              [](intf_record* record) {
                  dev_intf_enable_set(record, INTF_ENABLE);
              }},
    operation{"disable",
              [](intf_record* record) {
                  dev_intf_enable_set(record, INTF_DISABLE);
              }},
    operation{"disconnect", with<device_sta_disconnect>},
    operation{"reconnect", with<device_sta_reconnect>},
    operation{"credentials", with<device_sta_config_exist>},
    operation{"broadcast on",
              [](intf_record* record) {
                  hyd_bcast_reset(record, INTF_ENABLE);
              }},
    operation{"broadcast off",
              [](intf_record* record) {
                  hyd_bcast_reset(record, INTF_DISABLE);
              }},
    operation{"present", with<wifi_intf_present>},
    operation{"alive", with<ap_intf_alive>},
    operation{"associated", with<backhaul_sta_is_associated>},
    operation{"AP address", ap_address},
    operation{"distance", with<qca_dist_get>},
    operation{"distance of APs",
              [](intf_record* /*record*/) {
                  device_whc_dist_set(2);
              }},
    operation{"rate", with<device_backhaul_ap_ul_rate_update>},
    operation{"best AP", best_address},
    operation{"configure best AP", with<device_config_best_ap>},
};

class ForeignText : public DeviceTest {
protected:
    void SetUp() override {
        DeviceTest::SetUp();
        ASSERT_EQ(chdir("/tmp"), 0);
        put_file(SUPPLICANT_PID_PATH, std::to_string(pid_alive()) + "\n");
        station_ = intf_add(PLAIN_NAME, BACKHAUL_STA, BAND_5G);
        ap_ = intf_add(PLAIN_NAME, BACKHAUL_AP, BAND_5G);
        station_->bssid.set({2, 0, 0, 0, 0, 1});
    }
    void TearDown() override {
        EXPECT_EQ(chdir("/"), 0);
        DeviceTest::TearDown();
    }

    /// The tools' calls while `action` runs for interfaces of this name.
    Words calls_of(const operation& action, const std::string& name) {
        for (intf_record* const record : {station_, ap_}) {
            record->name.fill('\0');
            name.copy(record->name.data(), record->name.size() - 1);
        }
        lab::records_clear("");
        action.run(station_);
        Words calls;
        for (const lab::CallRecord& call : lab::call_records("")) {
            calls.push_back(call.words);
            calls.back().insert(calls.back().begin(), call.tool);
        }
        return calls;
    }

    intf_record* station_ = nullptr;
    intf_record* ap_ = nullptr;
};

/// The words with `name` for PLAIN_NAME.
Words renamed(Words calls, const std::string& name) {
    for (auto& call : calls) {
        for (std::string& word : call) {
            const size_t at = word.find(PLAIN_NAME);
            if (at != std::string::npos) {
                word.replace(at, sizeof(PLAIN_NAME) - 1, name);
            }
        }
    }
    return calls;
}

TEST_F(ForeignText, reaches_the_tools_as_it_is_in_the_name_of_an_interface) {
    // The driver's own answers begin with the name.
    lab::answer_always("", "iwpriv", "answer:3");
    for (const operation& action : OPERATIONS) {
        const Words plain = calls_of(action, PLAIN_NAME);
        EXPECT_THAT(plain, testing::Not(IsEmpty())) << action.what;
        for (const char* const name : NAMES) {
            EXPECT_EQ(calls_of(action, name), renamed(plain, name)) << action.what << " " << name;
            EXPECT_FALSE(file_is_there("/tmp/ran")) << action.what << " " << name;
            std::filesystem::remove("/tmp/ran");
        }
    }
}

TEST_F(ForeignText, reaches_the_tools_as_it_is_in_the_address_of_a_station) {
    for (const char* const mac : {"$(>ran)", "`>ran`", "a;>ran", "a'\"\\*?[", "$(>ran)$(>ran)$"}) {
        lab::records_clear("");
        put_file("/tmp/assoc_list.24g", std::string(mac) + " 1 6 ath2 300 30\n");
        device_disassoc_all_backhaulap_sta();
        device_kick_wifi_client(nullptr, mac);
        device_kick_wifi_client(mac, "b");
        const auto calls = lab::call_records("");
        ASSERT_EQ(calls.size(), 3U) << mac;
        EXPECT_THAT(calls[0].words, ElementsAre("ath2", "kickmac", mac));
        EXPECT_THAT(calls[1].words, ElementsAre("33", "00:00:00:00:00:00", mac));
        EXPECT_THAT(calls[2].words, ElementsAre("33", mac, "b"));
        EXPECT_FALSE(file_is_there("/tmp/ran")) << mac;
    }
    EXPECT_THAT(
        harness::flow_log_lines(),
        testing::Contains("device_disassoc_all_backhaulap_sta : iwpriv ath2 kickmac $(>ran)"))
        << "the log holds the text itself";
}

struct read_file {
    const char* path;
    void (*run)(intf_record* station);
};

/// Every file that the device operations read, with an operation that reads it.
const std::array READ_FILES = {
    read_file{"/tmp/wifi5G_Status", with<ap_intf_alive>},
    read_file{"/tmp/FirstMAC", with<device_first_mac_get>},
    read_file{"/tmp/assoc_list.5g", with<device_disassoc_all_backhaulap_sta>},
    read_file{"/tmp/assoc_list.24g", with<device_disassoc_all_backhaulap_sta>},
    read_file{"/tmp/test.pid",
              [](intf_record* /*record*/) {
                  pid_file_alive("/tmp/test.pid");
              }},
    read_file{APPROVAL_LIST_PATH,
              [](intf_record* /*record*/) {
                  approval_list_approved_count();
                  approval_list_model_approved();
                  approval_list_readiness();
              }},
};

/// Every file that a line writes for us, with an operation that runs the line and reads the file.
const std::array RESULT_FILES = {
    read_file{"/tmp/wpa_result", with<device_supplicant_attach>},
    read_file{"/tmp/wpa_cli_status", with<wpa_state>},
    read_file{"/tmp/hyd_alive", with<hyd_alive_check>},
    read_file{"/tmp/iw_result", with<backhaul_sta_is_associated>},
    read_file{"/tmp/iwconfig.tmp", ap_address},
    read_file{"/tmp/wifi_intf.tmp", with<wifi_intf_present>},
    read_file{"/tmp/ul_rate", with<device_backhaul_ap_ul_rate_update>},
    read_file{"/tmp/best_bssid", best_address},
    read_file{"/tmp/ath_dist", with<qca_dist_get>},
    read_file{"/tmp/wifi_reload_flag", with<autoconfig_reload_trigger>},
};

// Blocking for ever is what fails these: the time limit of the test ends it.
TEST_F(ForeignText, stops_no_operation_by_something_else_in_the_place_of_a_file) {
    std::filesystem::create_directories("/tmp/ApplicationData");
    std::vector<read_file> all(READ_FILES.begin(), READ_FILES.end());
    all.insert(all.end(), RESULT_FILES.begin(), RESULT_FILES.end());
    for (const read_file& file : all) {
        std::filesystem::remove(file.path);
        ASSERT_EQ(mkfifo(file.path, 0666), 0) << file.path;
        file.run(station_);
        std::filesystem::remove(file.path);
        ASSERT_EQ(symlink("/dev/zero", file.path), 0) << file.path;
        file.run(station_);
        std::filesystem::remove(file.path);
        put_file(std::string(file.path) + "/kept", "");
        file.run(station_);
        std::filesystem::remove_all(file.path);
    }
}

TEST_F(ForeignText, leads_no_result_into_a_file_of_somebody_else) {
    for (const read_file& file : RESULT_FILES) {
        put_file("/tmp/victim", "victim\n");
        for (const char* const target : {"/tmp/victim", "/tmp/dangling"}) {
            std::filesystem::remove(file.path);
            ASSERT_EQ(symlink(target, file.path), 0) << file.path;
            file.run(station_);
        }
        EXPECT_EQ(file_text("/tmp/victim"), "victim\n") << file.path;
        EXPECT_FALSE(file_is_there("/tmp/dangling")) << file.path;
    }
}

TEST_F(ForeignText, sees_the_configuration_file_with_the_pass_phrase_only_as_its_owner) {
    const mode_t before = umask(0);
    device_supplicant_conf_write(station_, "/tmp/test.conf");
    umask(before);
    struct stat about {};
    ASSERT_EQ(stat("/tmp/test.conf", &about), 0);
    EXPECT_EQ(about.st_mode & 0777U, 0600U);
}

}  // namespace
