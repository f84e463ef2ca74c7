// The list of live extenders: file, memory, event log and transmit power, in order.

#include "root/ap_list.h"

#include "lab/tools/answer.h"
#include "runtime/runtime_block.h"
#include "tests/harness/contract_record.h"
#include "tests/harness/no_memory.h"
#include "tests/root/root_fixture.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <atomic>
#include <filesystem>
#include <functional>
#include <thread>

namespace {

using harness::file_is_there;
using harness::file_text;
using harness::put_file;
using testing::ElementsAre;
using testing::ElementsAreArray;

constexpr char LIST[] = "/tmp/backhaul_ap_list";
constexpr char POWER[] = "/tmp/dynamic_24g_txpower";

Journal joins(const std::string& text) {
    return {"$ vlog 0 0 \"" + text + " join\""};
}
Journal leaves(const std::string& text) {
    return {"$ vlog 0 0 \"" + text + " leave\""};
}

const Journal POWER_DOWN = {"device_24g_txpower_decrease : decrease WiFi 2.4G Tx power",
                            "$ iwconfig ath0 txpower 23", "$ iwpriv wifi0 cca_threshold -65",
                            "$ iwpriv wifi1 cca_threshold -65"};
const Journal POWER_UP = {"device_24g_txpower_recover : recover WiFi 2.4G Tx power",
                          "$ iwconfig ath0 txpower auto", "$ iwpriv wifi0 cca_threshold -75",
                          "$ iwpriv wifi1 cca_threshold -75"};

class ApList : public RootTest {
protected:
    static std::string printed(const std::function<void()>& action) {
        testing::internal::CaptureStdout();
        action();
        return harness::captured_stdout();
    }
    void expect_journal(std::initializer_list<Journal> parts) {
        EXPECT_THAT(journal_take(), ElementsAreArray(joined(parts)));
    }
    static std::string read_at_once(const char* path) {
        std::string text(8192, '\0');
        const int fd = open(path, O_RDONLY | O_CLOEXEC);
        const ssize_t size = read(fd, text.data(), text.size());
        close(fd);
        text.resize(size > 0 ? static_cast<size_t>(size) : 0);
        return text;
    }
    /// What cannot be opened although it exists.
    static void put_socket(const char* path) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::snprintf(address.sun_path, sizeof(address.sun_path), "%s", path);
        const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        EXPECT_EQ(bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
        close(fd);
    }
};

TEST_F(ApList, starts_empty_and_silent_without_a_file) {
    EXPECT_EQ(printed([] { backhaul_ap_list_init(); }), "");
    EXPECT_THAT(list_now(), ElementsAre());
    expect_journal({});
    EXPECT_FALSE(file_is_there(LIST));
}

TEST_F(ApList, says_so_when_the_file_cannot_be_opened) {
    put_socket(LIST);
    EXPECT_EQ(printed([] { backhaul_ap_list_init(); }),
              "backhaul_ap_list_init : can not open file\n");
    EXPECT_THAT(list_now(), ElementsAre());
}

TEST_F(ApList, does_not_spin_on_a_directory_in_the_place_of_the_file) {
    std::filesystem::create_directory(LIST);
    EXPECT_EQ(printed([] { backhaul_ap_list_init(); }),
              "backhaul_ap_list_init : can not open file\n");
    EXPECT_THAT(list_now(), ElementsAre());
    expect_journal({});
}

TEST_F(ApList, loads_nothing_from_what_is_no_file) {
    for (const auto plant : {+[] { return mkfifo(LIST, 0666); },
                             +[] {
                                 return symlink("/dev/zero", LIST);
                             }}) {
        ASSERT_EQ(plant(), 0);
        EXPECT_EQ(printed([] { backhaul_ap_list_init(); }),
                  "backhaul_ap_list_init : can not open file\n");
        EXPECT_THAT(list_now(), ElementsAre());
        std::filesystem::remove(LIST);
    }
}

TEST_F(ApList, is_loaded_in_order_each_address_joining_and_the_first_lowering_the_power) {
    put_file(LIST, "02:00:00:00:00:01\n02:00:00:00:00:02\n");
    backhaul_ap_list_init();
    EXPECT_THAT(list_now(), ElementsAre(almac("01"), almac("02")));
    EXPECT_EQ(runtime.ap_count, 2);
    expect_journal({joins("(02:00:00:00:00:01)"), POWER_DOWN, joins("(02:00:00:00:00:02)")});
    EXPECT_EQ(file_text("/var/log/backhaul_log"),
              "(02:00:00:00:00:01) join\n(02:00:00:00:00:02) join\n");
}

TEST_F(ApList, is_not_rewritten_while_it_is_loaded) {
    put_file(LIST, "  02:00:00:00:00:01 \n\n02:00:00:00:00:02\t\n");
    backhaul_ap_list_init();
    EXPECT_THAT(list_now(), ElementsAre(almac("01"), almac("02")));
    EXPECT_EQ(file_text(LIST), "  02:00:00:00:00:01 \n\n02:00:00:00:00:02\t\n");
}

TEST_F(ApList, drops_a_last_address_without_a_line_end) {
    put_file(LIST, "02:00:00:00:00:01\n02:00:00:00:00:02");
    backhaul_ap_list_init();
    EXPECT_THAT(list_now(), ElementsAre(almac("01")));
    put_file(LIST, "02:00:00:00:00:03");
    backhaul_ap_list_init();
    EXPECT_THAT(list_now(), ElementsAre(almac("01")));
}

TEST_F(ApList, loads_nothing_from_an_empty_file) {
    put_file(LIST, "");
    backhaul_ap_list_init();
    put_file(LIST, " \n\n");
    backhaul_ap_list_init();
    EXPECT_THAT(list_now(), ElementsAre());
}

TEST_F(ApList, cuts_a_word_that_is_too_long_and_drops_its_rest) {
    put_file(LIST, std::string(40, 'x') + "\n02:00:00:00:00:01\n");
    backhaul_ap_list_init();
    EXPECT_THAT(list_now(), ElementsAre(std::string(19, 'x'), almac("01")));
    EXPECT_EQ(file_text("/var/log/backhaul_log"),
              "(" + std::string(23, 'x') + ") join\n(02:00:00:00:00:01) join\n");
}

TEST_F(ApList, appends_a_node_and_rewrites_the_file) {
    backhaul_ap_node_add("02:00:00:00:00:02", ap_source::database);
    backhaul_ap_node_add("02:00:00:00:00:01", ap_source::database);
    EXPECT_THAT(list_now(), ElementsAre(almac("02"), almac("01")));
    EXPECT_EQ(file_text(LIST), "02:00:00:00:00:02\n02:00:00:00:00:01\n");
    EXPECT_EQ(runtime.ap_count, 2);
    EXPECT_STREQ(runtime.ap_list_tail->almac.data(), "02:00:00:00:00:01");
    expect_journal({joins("(02:00:00:00:00:02)"), POWER_DOWN, joins("(02:00:00:00:00:01)")});
}

TEST_F(ApList, leaves_the_file_alone_for_what_comes_from_it) {
    backhaul_ap_node_add("02:00:00:00:00:01", ap_source::file);
    EXPECT_FALSE(file_is_there(LIST));
    backhaul_ap_node_add("02:00:00:00:00:02", ap_source::database);
    EXPECT_EQ(file_text(LIST), "02:00:00:00:00:01\n02:00:00:00:00:02\n");
}

TEST_F(ApList, logs_a_join_before_the_power_and_writes_the_file_last) {
    lab::answer_hold("", "vlog", "log");
    lab::answer_hold("", "iwpriv.wifi1", "power");
    std::thread root([] { backhaul_ap_node_add("02:00:00:00:00:01", ap_source::database); });
    EXPECT_TRUE(harness::wait_until([] { return harness::recorded_calls().size() == 1; }));
    EXPECT_FALSE(file_is_there(POWER));
    EXPECT_FALSE(file_is_there("/var/log/backhaul_log"));
    lab::gate_open("", "log");
    EXPECT_TRUE(harness::wait_until([] { return harness::recorded_calls().size() == 4; }));
    EXPECT_EQ(file_text(POWER), "23\n");
    EXPECT_FALSE(file_is_there(LIST));
    lab::gate_open("", "power");
    root.join();
    EXPECT_EQ(file_text(LIST), "02:00:00:00:00:01\n");
}

TEST_F(ApList, logs_a_leave_before_the_file_and_raises_the_power_last) {
    backhaul_ap_node_add("02:00:00:00:00:01", ap_source::database);
    harness::take_calls();
    lab::answer_hold("", "vlog", "log");
    lab::answer_hold("", "iwconfig", "power");
    std::thread root([] { backhaul_ap_node_del("02:00:00:00:00:01"); });
    EXPECT_TRUE(harness::wait_until([] { return harness::recorded_calls().size() == 5; }));
    EXPECT_EQ(file_text(LIST), "02:00:00:00:00:01\n");
    lab::gate_open("", "log");
    EXPECT_TRUE(harness::wait_until([] { return harness::recorded_calls().size() == 6; }));
    EXPECT_EQ(file_text(LIST), "");
    EXPECT_TRUE(file_is_there(POWER));
    lab::gate_open("", "power");
    root.join();
    EXPECT_FALSE(file_is_there(POWER));
}

TEST_F(ApList, lowers_the_power_once_and_restores_it_when_the_last_one_leaves) {
    backhaul_ap_node_add("a", ap_source::database);
    backhaul_ap_node_add("b", ap_source::database);
    backhaul_ap_node_del("a");
    expect_journal({joins("(a)"), POWER_DOWN, joins("(b)"), leaves("(a)")});
    EXPECT_EQ(file_text(POWER), "23\n");
    backhaul_ap_node_del("b");
    expect_journal({leaves("(b)"), POWER_UP});
    EXPECT_FALSE(file_is_there(POWER));
    backhaul_ap_node_add("c", ap_source::database);
    expect_journal({joins("(c)"), POWER_DOWN});
}

TEST_F(ApList, changes_nothing_when_an_unknown_node_is_removed) {
    backhaul_ap_node_del("a");
    backhaul_ap_node_add("a", ap_source::database);
    journal_take();
    put_file(LIST, "untouched");
    backhaul_ap_node_del("b");
    backhaul_ap_node_del("A");
    backhaul_ap_node_del("");
    expect_journal({});
    EXPECT_EQ(file_text(LIST), "untouched");
    EXPECT_EQ(runtime.ap_count, 1);
}

TEST_F(ApList, can_lose_its_head_its_tail_and_a_node_between) {
    for (const char* const name : {"a", "b", "c", "d", "e"}) {
        backhaul_ap_node_add(name, ap_source::database);
    }
    backhaul_ap_node_del("c");
    EXPECT_THAT(list_now(), ElementsAre("a", "b", "d", "e"));
    backhaul_ap_node_del("e");
    EXPECT_THAT(list_now(), ElementsAre("a", "b", "d"));
    EXPECT_STREQ(runtime.ap_list_tail->almac.data(), "d");
    backhaul_ap_node_del("a");
    EXPECT_THAT(list_now(), ElementsAre("b", "d"));
    backhaul_ap_node_add("f", ap_source::database);
    EXPECT_THAT(list_now(), ElementsAre("b", "d", "f"));
    EXPECT_EQ(file_text(LIST), "b\nd\nf\n");
}

TEST_F(ApList, takes_a_node_again_after_its_only_one_has_left) {
    backhaul_ap_node_add("a", ap_source::database);
    backhaul_ap_node_del("a");
    EXPECT_EQ(runtime.ap_list_head, nullptr);
    EXPECT_EQ(file_text(LIST), "");
    backhaul_ap_node_add("b", ap_source::database);
    backhaul_ap_node_add("c", ap_source::database);
    EXPECT_THAT(list_now(), ElementsAre("b", "c"));
}

TEST_F(ApList, removes_the_first_of_two_equal_nodes) {
    for (const char* const name : {"a", "b", "a"}) {
        backhaul_ap_node_add(name, ap_source::database);
    }
    backhaul_ap_node_del("a");
    EXPECT_THAT(list_now(), ElementsAre("b", "a"));
}

TEST_F(ApList, can_be_given_the_text_of_the_node_that_leaves) {
    backhaul_ap_node_add("02:00:00:00:00:01", ap_source::database);
    journal_take();
    backhaul_ap_node_del(runtime.ap_list_head->almac.data());
    expect_journal({leaves("(02:00:00:00:00:01)"), POWER_UP});
}

TEST_F(ApList, says_so_and_changes_nothing_when_there_is_no_memory_for_a_node) {
    testing::internal::CaptureStdout();
    {
        const harness::NoMemory refused;
        backhaul_ap_node_add("02:00:00:00:00:01", ap_source::database);
    }
    EXPECT_EQ(harness::captured_stdout(), "backhaul_ap_node_add : malloc fail\n");
    EXPECT_EQ(runtime.ap_list_head, nullptr);
    EXPECT_EQ(runtime.ap_count, 0);
    EXPECT_EQ(journal_take(), Journal{});
    EXPECT_FALSE(harness::file_is_there("/tmp/backhaul_ap_list"));
}

TEST_F(ApList, finds_a_node_by_its_exact_address) {
    backhaul_ap_node_add("02:00:00:00:00:0a", ap_source::database);
    EXPECT_EQ(backhaul_ap_list_find("02:00:00:00:00:0a"), 1);
    EXPECT_EQ(backhaul_ap_list_find("02:00:00:00:00:0A"), 0);
    EXPECT_EQ(backhaul_ap_list_find("02:00:00:00:00:0"), 0);
    EXPECT_EQ(backhaul_ap_list_find(""), 0);
}

TEST_F(ApList, says_so_when_its_file_cannot_be_written_and_keeps_the_change) {
    std::filesystem::create_directory(LIST);
    EXPECT_EQ(printed([] { backhaul_ap_node_add("a", ap_source::database); }),
              "backhaul_ap_list_update : can not open file\n");
    EXPECT_THAT(list_now(), ElementsAre("a"));
    EXPECT_EQ(printed([] { backhaul_ap_node_del("a"); }),
              "backhaul_ap_list_update : can not open file\n");
    EXPECT_THAT(list_now(), ElementsAre());
}

TEST_F(ApList, shows_a_reader_the_whole_list_only) {
    constexpr int NODES = 400;
    for (int i = 0; i < NODES; ++i) {
        std::array<char, 20> name{};
        std::snprintf(name.data(), name.size(), "02:00:00:00:%02x:%02x", i / 256, i % 256);
        runtime.ap_count = 5;  // no tools for the power
        backhaul_ap_node_add(name.data(), ap_source::file);
    }
    std::atomic<bool> done{false};
    int reads = 0;
    backhaul_ap_list_update();
    std::thread reader([&] {
        while (!done) {
            const std::string text = read_at_once(LIST);
            ++reads;
            ASSERT_EQ(text.size(), 18u * NODES);
        }
    });
    for (int i = 0; i < 2000; ++i) {
        backhaul_ap_list_update();
    }
    done = true;
    reader.join();
    EXPECT_GT(reads, 50);
    EXPECT_EQ(file_text(LIST).size(), 18u * NODES);
}

class ApListSync : public ApList {
protected:
    void SetUp() override {
        ApList::SetUp();
        database_open();
    }
};

TEST_F(ApListSync, adds_who_is_alive_with_name_log_and_file) {
    device_add(almac("01"), "1", "0", "Attic");
    device_add(almac("02"), "1", "9", "");
    backhaul_ap_list_sync();
    EXPECT_THAT(list_now(), ElementsAre(almac("01"), almac("02")));
    EXPECT_EQ(file_text(LIST), "02:00:00:00:00:01\n02:00:00:00:00:02\n");
    EXPECT_EQ(file_text("/var/log/backhaul_log"),
              "Attic(02:00:00:00:00:01) join\n(02:00:00:00:00:02) join\n");
    expect_journal({joins("Attic(02:00:00:00:00:01)"), POWER_DOWN, joins("(02:00:00:00:00:02)")});
}

TEST_F(ApListSync, does_nothing_on_a_tick_without_a_change) {
    device_add(almac("01"), "1", "0");
    device_add(almac("02"), "0", "3");
    backhaul_ap_list_sync();
    journal_take();
    put_file(LIST, "untouched");
    backhaul_ap_list_sync();
    expect_journal({});
    EXPECT_EQ(file_text(LIST), "untouched");
}

TEST_F(ApListSync, keeps_a_node_for_two_misses_and_removes_it_at_the_third) {
    device_add(almac("01"), "1", "0", "Attic");
    backhaul_ap_list_sync();
    journal_take();
    for (const char* const misses : {"1", "2"}) {
        sql("UPDATE Device SET Alive=0, nNotAlive=" + std::string(misses) + ";");
        backhaul_ap_list_sync();
        EXPECT_THAT(list_now(), ElementsAre(almac("01"))) << misses;
    }
    expect_journal({});
    sql("UPDATE Device SET nNotAlive=3;");
    backhaul_ap_list_sync();
    EXPECT_THAT(list_now(), ElementsAre());
    EXPECT_EQ(file_text(LIST), "");
    expect_journal({leaves("Attic(02:00:00:00:00:01)"), POWER_UP});
    EXPECT_EQ(file_text("/var/log/backhaul_log"),
              "Attic(02:00:00:00:00:01) join\nAttic(02:00:00:00:00:01) leave\n");
}

TEST_F(ApListSync, removes_who_came_from_the_file_and_is_gone_on_the_first_tick) {
    put_file(LIST, "02:00:00:00:00:01\n02:00:00:00:00:02\n");
    backhaul_ap_list_init();
    device_add(almac("01"), "0", "3");
    device_add(almac("02"), "1", "0");
    journal_take();
    backhaul_ap_list_sync();
    EXPECT_THAT(list_now(), ElementsAre(almac("02")));
    expect_journal({leaves("(02:00:00:00:00:01)")});
    EXPECT_EQ(file_text(LIST), "02:00:00:00:00:02\n");
}

TEST_F(ApListSync, leaves_a_node_alone_that_the_database_no_longer_knows) {
    device_add(almac("01"), "1", "0");
    backhaul_ap_list_sync();
    sql("DELETE FROM Device;");
    backhaul_ap_list_sync();
    EXPECT_THAT(list_now(), ElementsAre(almac("01")));
}

TEST_F(ApListSync, looks_at_layer_2_devices_only) {
    device_add(almac("01"), "1", "0");
    sql("UPDATE Device SET DevType='L2device';");
    sql("INSERT INTO Device VALUES ('02:00:00:00:00:02',1,0,'Client','n','i');");
    backhaul_ap_list_sync();
    EXPECT_THAT(list_now(), ElementsAre());
}

TEST_F(ApListSync, takes_a_null_for_the_previous_row) {
    device_add(almac("01"), "1", "7");
    device_add(almac("02"), "NULL", "NULL");
    device_add(almac("03"), "0", "NULL");
    device_add(almac("04"), "NULL", "2");
    device_add(almac("05"), "NULL", "3");
    backhaul_ap_list_sync();
    EXPECT_THAT(list_now(), ElementsAre(almac("01"), almac("02"), almac("04")));
}

TEST_F(ApListSync, starts_each_tick_without_a_previous_row) {
    device_add(almac("01"), "5", "5");
    backhaul_ap_list_sync();
    sql("UPDATE Device SET Alive=NULL, nNotAlive=NULL;");
    backhaul_ap_list_sync();
    EXPECT_THAT(list_now(), ElementsAre(almac("01"))) << "nothing carried counts as present";
}

TEST_F(ApListSync, takes_any_alive_value_but_0_and_1_for_gone) {
    device_add(almac("01"), "1", "0");
    backhaul_ap_list_sync();
    sql("UPDATE Device SET Alive=2;");
    backhaul_ap_list_sync();
    EXPECT_THAT(list_now(), ElementsAre());
}

TEST_F(ApListSync, adds_and_removes_once_for_two_rows_of_one_address) {
    device_add(almac("01"), "1", "0");
    device_add(almac("01"), "1", "0");
    backhaul_ap_list_sync();
    EXPECT_THAT(list_now(), ElementsAre(almac("01")));
    EXPECT_EQ(runtime.ap_count, 1);
    sql("UPDATE Device SET Alive=0, nNotAlive=3;");
    journal_take();
    backhaul_ap_list_sync();
    expect_journal({leaves("(02:00:00:00:00:01)"), POWER_UP});
    EXPECT_EQ(runtime.ap_count, 0);
}

TEST_F(ApListSync, skips_a_row_without_an_address_but_keeps_its_values) {
    sql("INSERT INTO Device VALUES (NULL,3,0,'L2Device','n','i');");
    device_add(almac("01"), "NULL", "NULL");
    backhaul_ap_list_sync();
    EXPECT_THAT(list_now(), ElementsAre());
    expect_journal({});
}

TEST_F(ApListSync, lists_no_present_row_without_an_address) {
    sql("INSERT INTO Device VALUES (NULL,1,0,'L2Device','n','i');");
    backhaul_ap_list_sync();
    EXPECT_THAT(list_now(), ElementsAre());
    EXPECT_EQ(runtime.ap_count, 0);
    expect_journal({});
}

TEST_F(ApListSync, adds_an_address_of_300_characters_once) {
    device_add(std::string(300, 'x'), "1", "0");
    backhaul_ap_list_sync();
    backhaul_ap_list_sync();
    EXPECT_THAT(list_now(), ElementsAre(std::string(19, 'x')));
    sql("UPDATE Device SET Alive=4;");
    backhaul_ap_list_sync();
    EXPECT_THAT(list_now(), ElementsAre());
}

TEST_F(ApListSync, cuts_the_log_of_a_name_of_300_characters) {
    device_add(almac("01"), "1", "0", std::string(300, 'n'));
    backhaul_ap_list_sync();
    expect_journal({joins(std::string(63, 'n') + "(02:00:00:00:00:01)"), POWER_DOWN});
}

}  // namespace
