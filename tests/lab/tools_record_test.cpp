#include "lab/tools/record.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <array>
#include <cstring>

#include "lab/tools/lab_time.h"
#include "lab/tools/text_escape.h"
#include "tests/lab/tools_fixture.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

class RecordTest : public ToolsTest {};

TEST_F(RecordTest, writes_control_characters_as_escapes_and_leaves_quotes_and_blanks) {
    EXPECT_EQ(lab::text_escape("a \"b\" 'c'\t\\\n\x01\x7f"), "a \"b\" 'c'\\t\\\\\\n\\x01\\x7f");
    EXPECT_EQ(lab::text_escape("a,b", ","), "a\\x2cb");
}

TEST_F(RecordTest, reads_back_every_byte_that_it_escaped) {
    std::string all;
    for (int byte = 0; byte < 256; ++byte) {
        all.push_back(static_cast<char>(byte));
    }
    EXPECT_EQ(lab::text_unescape(lab::text_escape(all)), all);
    EXPECT_EQ(lab::text_unescape("\\xZZ\\q\\"), "\\xZZ\\q\\");
}

TEST_F(RecordTest, writes_a_line_record_as_seven_fields) {
    lab::LineRecord record;
    record.stamp = {1700000000, 12, 11, 9, 480, {"5=/tmp/a,b", "6=pipe:[1]"}};
    record.line = "echo -n 'a'\tb\nc";
    EXPECT_EQ(lab::line_record_encode(record),
              "1700000000\t12\t11\t9:480\t5=/tmp/a\\x2cb,6=pipe:[1]\techo -n 'a'\\tb\\nc\n");
}

TEST_F(RecordTest, writes_a_call_record_with_note_tool_and_words) {
    lab::CallRecord record;
    record.stamp = {1700000000, 12, 11, 0, 0, {}};
    record.note = "wifi1 ath0";
    record.tool = "wpa_cli";
    record.words = {"interface_add", "", "two words"};
    EXPECT_EQ(lab::call_record_encode(record),
              "1700000000\t12\t11\t0:0\t\twifi1 ath0\twpa_cli\tinterface_add\t\ttwo words\n");
}

TEST_F(RecordTest, reads_back_what_it_wrote) {
    lab::CallRecord written;
    written.stamp = {1700000000, 12, 11, 9, 480, {"5=/tmp/a,b", "6=pipe:[1]"}};
    written.tool = "uci";
    written.words = {"set", "a.b.c=x y", "", "\n"};
    std::string text = lab::call_record_encode(written);
    text.pop_back();
    lab::CallRecord read;
    ASSERT_TRUE(lab::call_record_decode(text, &read));
    EXPECT_EQ(read.tool, "uci");
    EXPECT_THAT(read.words, ElementsAre("set", "a.b.c=x y", "", "\n"));
    EXPECT_THAT(read.stamp.descriptors, ElementsAre("5=/tmp/a,b", "6=pipe:[1]"));
    EXPECT_EQ(read.stamp.time, 1700000000);
    EXPECT_EQ(read.stamp.pid, 12);
    EXPECT_EQ(read.stamp.parent, 11);
    EXPECT_EQ(read.stamp.flow_log_inode, 9U);
    EXPECT_EQ(read.stamp.flow_log_size, 480U);
}

TEST_F(RecordTest, refuses_a_text_that_is_no_record) {
    lab::LineRecord line;
    EXPECT_FALSE(lab::line_record_decode("", &line));
    EXPECT_FALSE(lab::line_record_decode("1\t3\t4\t5:6\t", &line));
    EXPECT_FALSE(lab::line_record_decode("x\t3\t4\t5:6\t\tls", &line));
    EXPECT_FALSE(lab::line_record_decode("1\t3\t4\t5\t\tls", &line));
    EXPECT_TRUE(lab::line_record_decode("1\t3\t4\t5:6\t\tls", &line));
    EXPECT_EQ(line.line, "ls");
}

TEST_F(RecordTest, hands_out_only_new_and_whole_records) {
    std::uint64_t offset = 0;
    std::vector<lab::LineRecord> records;
    EXPECT_EQ(lab::line_records_read(root, &offset, &records), -1) << "there is no file yet";
    lab::line_record_append(root, "first");
    lab::line_record_append(root, "second");
    EXPECT_EQ(lab::line_records_read(root, &offset, &records), 2);
    EXPECT_EQ(offset, lab::file_size(lab::lines_path(root)));
    lab::file_append(lab::lines_path(root), "1\t3\t4\t5:6\t\thal");
    EXPECT_EQ(lab::line_records_read(root, &offset, &records), 0) << "a half line is not given out";
    lab::file_append(lab::lines_path(root), "f\n");
    EXPECT_EQ(lab::line_records_read(root, &offset, &records), 1);
    ASSERT_EQ(records.size(), 3U);
    EXPECT_EQ(records[0].line, "first");
    EXPECT_EQ(records[1].line, "second");
    EXPECT_EQ(records[2].line, "half");
}

TEST_F(RecordTest, begins_again_when_the_file_was_cleared) {
    std::uint64_t offset = 0;
    std::vector<lab::LineRecord> records;
    lab::line_record_append(root, "a line before, long enough to be seen");
    lab::line_records_read(root, &offset, &records);
    lab::records_clear(root);
    lab::file_append(lab::lines_path(root), "1\t3\t4\t5:6\t\tb\n");
    EXPECT_EQ(lab::line_records_read(root, &offset, &records), 1);
    EXPECT_EQ(records.back().line, "b");
}

TEST_F(RecordTest, stamps_an_event_with_process_descriptors_and_length_of_the_flow_log) {
    lab::file_write(root + "/var/log/backhaul_flow_log", "twelve bytes");
    const int open_file = open((root + "/var/log/backhaul_flow_log").c_str(), O_RDONLY);
    ASSERT_GT(open_file, 2);
    const lab::RecordStamp stamp = lab::record_stamp_now(root);
    close(open_file);
    EXPECT_EQ(stamp.pid, getpid());
    EXPECT_EQ(stamp.parent, getppid());
    EXPECT_EQ(stamp.flow_log_size, 12U);
    EXPECT_NE(stamp.flow_log_inode, 0U);
    EXPECT_THAT(stamp.descriptors,
                Contains(std::to_string(open_file) + "=" + root + "/var/log/backhaul_flow_log"));
    EXPECT_EQ(lab::record_stamp_now("/nowhere").flow_log_inode, 0U);
}

TEST_F(RecordTest, takes_the_time_of_a_moved_clock_and_that_of_the_machine_without_one) {
    // Magic, mode and time of a clock's page.
    const std::array<std::uint32_t, 3> page = {0x4C414243, 1, 1234567890};
    std::string bytes(sizeof page, '\0');
    std::memcpy(bytes.data(), page.data(), sizeof page);
    lab::file_write(root + "/clock", bytes);
    setenv("LAB_CLOCK", (root + "/clock").c_str(), 1);
    EXPECT_EQ(lab::node_time(), 1234567890);
    EXPECT_EQ(lab::record_stamp_now(root).time, 1234567890);
    setenv("LAB_CLOCK", (root + "/no-clock").c_str(), 1);
    EXPECT_GT(lab::node_time(), 1700000000);
    unsetenv("LAB_CLOCK");
    EXPECT_GT(lab::node_time(), 1700000000);
}

TEST_F(RecordTest, records_a_call_before_the_tool_acts_and_joins_its_words_with_blanks) {
    run("uci", {"set", "wireless.ath0.ssid=mesh"});
    run("hyd", {"stop"});
    run("ps", {});
    EXPECT_THAT(lab::recorded_call_texts(root),
                ElementsAre("uci set wireless.ath0.ssid=mesh", "hyd stop", "ps"));
    EXPECT_THAT(lab::recorded_line_texts(root), IsEmpty());
}

}  // namespace
