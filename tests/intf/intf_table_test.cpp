// Loading the interface profile, and finding interfaces in the table.

#include "intf/intf_table.h"

#include <gmock/gmock.h>
#include <sys/ptrace.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "runtime/heap.h"
#include "runtime/runtime_block.h"
#include "tests/harness/child.h"
#include "tests/harness/no_memory.h"
#include "tests/harness/sandbox.h"

namespace {

using testing::ElementsAre;

constexpr char PROFILE[] = "/tmp/wifi_if_profile";

class IntfTable : public harness::SandboxTest {
protected:
    void TearDown() override {
        table_forget();
        SandboxTest::TearDown();
    }

    static void table_forget() {
        heap_drop(runtime.intf_table.exchange(nullptr));
        runtime.intf_num = 0;
    }

    /// Loads a profile in place of the one before.
    static int load(const std::string& profile) {
        table_forget();
        harness::put_file(PROFILE, profile);
        return intf_table_load();
    }

    static std::vector<std::string> names() {
        std::vector<std::string> out;
        for (const auto& record : intf_table_walk()) {
            out.emplace_back(record.name.data());
        }
        return out;
    }
};

TEST_F(IntfTable, holds_a_bounded_number_of_records) {
    std::string profile;
    for (int i = 0; i < 5000; ++i) {
        profile += "ath" + std::to_string(i) + " MAIN_SERVICE_AP 2 0 0\n";
    }
    EXPECT_EQ(load(profile), 1024);
    EXPECT_EQ(names().back(), "ath1023");
}

TEST_F(IntfTable, is_not_loaded_from_what_is_no_file) {
    for (const auto plant : {+[] { return mkfifo(PROFILE, 0666); },
                             +[] {
                                 return symlink("/dev/zero", PROFILE);
                             }}) {
        ASSERT_EQ(plant(), 0);
        EXPECT_EQ(intf_table_load(), -1);
        unlink(PROFILE);
    }
}

TEST_F(IntfTable, has_a_record_for_each_line_in_file_order) {
    EXPECT_EQ(load("ath0 BACKHAUL_STA 5h 65535 0\n"
                   "ath10 MAIN_SERVICE_AP 2 3 1\n"
                   "eth ETHERNET 24 0 0\n"),
              3);
    EXPECT_EQ(intf_table_count(), 3);
    EXPECT_THAT(names(), ElementsAre("ath0", "ath10", "eth"));
    const intf_record* const records = intf_table_get();
    EXPECT_EQ(records[0].type, 3);
    EXPECT_EQ(records[0].band, 4);
    EXPECT_EQ(records[0].priority, 65535);
    EXPECT_EQ(records[0].follow_primary, 0);
    EXPECT_EQ(records[1].type, 0);
    EXPECT_EQ(records[1].band, 1);
    EXPECT_EQ(records[1].priority, 3);
    EXPECT_EQ(records[1].follow_primary, 1);
    EXPECT_EQ(records[2].type, 6);
    EXPECT_EQ(records[2].band, 0) << "an unknown band does not keep the band before";
}

TEST_F(IntfTable, starts_every_live_field_at_its_start_value) {
    ASSERT_EQ(load("ath0 BACKHAUL_STA 5 1 0\n"), 1);
    const intf_record& record = *intf_table_get();
    EXPECT_EQ(record.bssid.get(), mac_address{});
    EXPECT_EQ(record.configured_bssid.get(), mac_address{});
    EXPECT_EQ(record.channel, 0);
    EXPECT_EQ(record.dfs_count, 0);
    EXPECT_EQ(record.disconnect_count, 0);
    EXPECT_EQ(record.ready_count, 0);
    EXPECT_EQ(record.uplink_scan_count, 0);
    EXPECT_EQ(record.timer_type, 0);
    EXPECT_EQ(record.held_down, 0);
    EXPECT_EQ(record.autoconfig_state, 0);
    EXPECT_EQ(record.other_band_scan_enable, 1);
    EXPECT_EQ(record.other_band_switching, 0);
    EXPECT_EQ(record.timer_start, 0U);
    EXPECT_EQ(record.state, 0);
}

TEST_F(IntfTable, repeats_the_last_line_for_a_trailing_empty_one) {
    EXPECT_EQ(load("ath0 BACKHAUL_STA 5 7 0\nath1 BACKHAUL_AP 5l 8 1\n\n"), 3);
    EXPECT_THAT(names(), ElementsAre("ath0", "ath1", "ath1"));
    const intf_record& last = intf_table_get()[2];
    EXPECT_EQ(last.type, 4);
    EXPECT_EQ(last.band, 8);
    EXPECT_EQ(last.priority, 8);
    EXPECT_EQ(last.follow_primary, 1);
}

TEST_F(IntfTable, repeats_the_line_before_for_an_empty_one_in_the_middle) {
    EXPECT_EQ(load("ath0 BACKHAUL_STA 5 7 0\n\nath1 BACKHAUL_AP 5l 8 1\n"), 3);
    EXPECT_THAT(names(), ElementsAre("ath0", "ath0", "ath1"));
}

TEST_F(IntfTable, starts_with_an_empty_record_when_the_first_line_is_empty) {
    EXPECT_EQ(load("\nath0 BACKHAUL_STA 5 7 0\n"), 2);
    EXPECT_THAT(names(), ElementsAre("", "ath0"));
    EXPECT_EQ(intf_table_get()[0].type, 8);
    EXPECT_EQ(intf_table_get()[0].band, 0);
}

TEST_F(IntfTable, takes_numbers_that_the_first_line_lacks_for_0) {
    EXPECT_EQ(load("ath0 BACKHAUL_STA 5h\n"), 1);
    EXPECT_EQ(intf_table_walk().begin()->priority, 0);
    EXPECT_EQ(intf_table_walk().begin()->follow_primary, 0);
}

TEST_F(IntfTable, counts_a_line_longer_than_63_characters_twice) {
    const std::string line = "ath0 BACKHAUL_STA 5 7 0";
    const std::string next = "ath1 BACKHAUL_AP 5 1 0\n";
    const auto padded = [&](size_t size) {
        return line + std::string(size - line.size(), ' ');
    };
    EXPECT_EQ(load(padded(62) + "\n" + next), 2);
    EXPECT_EQ(load(padded(63) + "\n" + next), 3) << "its line end is the 64th";
    EXPECT_EQ(load(padded(64) + "\n" + next), 3);
    EXPECT_THAT(names(), ElementsAre("ath0", "ath1", "ath1")) << "one record more than lines";
    EXPECT_EQ(load(padded(125) + "\n" + next), 3);
    EXPECT_EQ(load(padded(126) + "\n" + next), 4) << "and three times from 126 on";
    EXPECT_EQ(load(padded(63)), 1) << "without a line end";
}

TEST_F(IntfTable, keeps_the_damage_of_a_long_or_wide_line_to_itself) {
    EXPECT_EQ(load("a-name-of-more-than-fifteen BACKHAUL_STA 5 7 0 and more\n"
                   "ath1 BACKHAUL_AP 5l 8 1\n"),
              2);
    EXPECT_THAT(names(), ElementsAre("a-name-of-more-", "ath1"));
    EXPECT_EQ(intf_table_get()[0].type, 3);
    EXPECT_EQ(intf_table_get()[1].type, 4);
    EXPECT_EQ(intf_table_get()[1].priority, 8);
}

TEST_F(IntfTable, counts_a_last_line_without_a_line_end) {
    EXPECT_EQ(load("ath0 BACKHAUL_STA 5 7 0\nath1 BACKHAUL_ST 5 8 0"), 2);
    EXPECT_THAT(names(), ElementsAre("ath0", "ath1"));
    EXPECT_EQ(intf_table_get()[1].type, 8);
}

TEST_F(IntfTable, is_empty_for_an_empty_file) {
    EXPECT_EQ(load(""), 0);
    EXPECT_EQ(intf_table_count(), 0);
    EXPECT_EQ(intf_table_get(), nullptr);
    EXPECT_TRUE(intf_table_walk().empty());
}

TEST_F(IntfTable, is_empty_when_there_is_no_file) {
    EXPECT_EQ(intf_table_load(), -1);
    EXPECT_EQ(intf_table_count(), 0);
    EXPECT_EQ(intf_table_get(), nullptr);
}

TEST_F(IntfTable, is_empty_when_there_is_no_memory_for_it) {
    harness::put_file(PROFILE, "ath0 BACKHAUL_STA 5 1 0\n");
    const int next = dup(STDIN_FILENO);
    close(next);
    {
        const harness::NoMemory refused;
        EXPECT_EQ(intf_table_load(), -1);
    }
    EXPECT_EQ(intf_table_count(), 0);
    EXPECT_EQ(intf_table_get(), nullptr);
    EXPECT_THAT(names(), testing::IsEmpty());
    const int again = dup(STDIN_FILENO);
    close(again);
    EXPECT_EQ(again, next) << "the profile was left open";
}

TEST_F(IntfTable, finds_the_first_record_with_exactly_that_name) {
    load("ath1 BACKHAUL_STA 5 7 0\nath10 MAIN_SERVICE_AP 2 3 1\nath1 BACKHAUL_AP 5l 8 1\n");
    EXPECT_EQ(intf_find_by_name("ath1"), &intf_table_get()[0]);
    EXPECT_EQ(intf_find_by_name("ath10"), &intf_table_get()[1]);
    for (const char* const name : {"", "ath", "ath100", "Ath1", "eth"}) {
        EXPECT_EQ(intf_find_by_name(name), nullptr) << name;
    }
}

TEST_F(IntfTable, finds_nothing_before_it_is_loaded) {
    EXPECT_EQ(intf_find_by_name("ath0"), nullptr);
    EXPECT_EQ(intf_find_by_name(""), nullptr);
}

TEST_F(IntfTable, is_whole_as_soon_as_another_thread_sees_it) {
    std::string profile;
    for (int i = 0; i < 500; ++i) {
        profile += "ath" + std::to_string(i) + " BACKHAUL_AP 5 1 0\n";
    }
    harness::put_file(PROFILE, profile);
    std::atomic<bool> running{false};
    std::string last;
    std::thread reader([&] {
        while (intf_find_by_name("ath499") == nullptr) {
            running = true;
        }
        last = intf_table_walk().back().name.data();
    });
    while (!running) {
    }
    EXPECT_EQ(intf_table_load(), 500);
    reader.join();
    EXPECT_EQ(last, "ath499");
}

/// The value of `variable` in a stopped child.
template <typename T>
T child_value(pid_t child, const T& variable) {
    const long word = ptrace(PTRACE_PEEKDATA, child, &variable, nullptr);
    T value{};
    std::memcpy(&value, &word, sizeof value);
    return value;
}

// The time between the two is a few instructions, so the loader is followed from one to the next.
TEST_F(IntfTable, has_its_records_in_the_instant_in_which_their_count_is_known) {
    harness::put_file(PROFILE, "ath0 BACKHAUL_STA 5 20 0\n");
    // As plain values: what the child holds is read as bytes.
    static_assert(sizeof runtime.intf_num == sizeof(int32_t));
    const auto& count = reinterpret_cast<const int32_t&>(runtime.intf_num);
    const auto& records = reinterpret_cast<intf_record* const&>(runtime.intf_table);
    const harness::Child loader([] {
        ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        std::raise(SIGSTOP);
        intf_table_load();
    });
    int status = 0;
    while (waitpid(loader.pid(), &status, 0) == loader.pid() && WIFSTOPPED(status) &&
           child_value(loader.pid(), count) == 0) {
        ptrace(PTRACE_SINGLESTEP, loader.pid(), nullptr, nullptr);
    }
    ASSERT_TRUE(WIFSTOPPED(status)) << "the count was never set";
    EXPECT_EQ(child_value(loader.pid(), count), 1);
    EXPECT_NE(child_value(loader.pid(), records), nullptr);
}

}  // namespace
