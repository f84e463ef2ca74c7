// Words of small files: bounds, ends, and read errors. The files are in memory.

#include "runtime/file_io.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <string>

namespace {

/// A stream over the given bytes.
class FileIoWords : public testing::Test {
protected:
    FILE* stream(const std::string& content) {
        const int fd = memfd_create("words", MFD_CLOEXEC);
        EXPECT_EQ(write(fd, content.data(), content.size()), static_cast<ssize_t>(content.size()));
        lseek(fd, 0, SEEK_SET);
        file_ = fdopen(fd, "r");
        return file_;
    }
    void TearDown() override {
        if (file_ != nullptr) {
            std::fclose(file_);
        }
    }

    FILE* file_ = nullptr;
    std::array<char, 8> word_{};
};

TEST_F(FileIoWords, first_word_is_bounded_and_terminated) {
    FILE* const file = stream(" \t\n1234567890 next\n");
    EXPECT_EQ(file_first_word(file, word_), 1);
    EXPECT_STREQ(word_.data(), "1234567");
}

TEST_F(FileIoWords, first_word_counts_without_a_line_end) {
    EXPECT_EQ(file_first_word(stream("master"), word_), 1);
    EXPECT_STREQ(word_.data(), "master");
}

TEST_F(FileIoWords, first_word_is_empty_when_there_is_none) {
    word_ = {'o', 'l', 'd', '\0'};
    EXPECT_EQ(file_first_word(stream(" \n\n"), word_), 0);
    EXPECT_STREQ(word_.data(), "");
}

TEST_F(FileIoWords, next_word_goes_on_while_something_follows) {
    FILE* const file = stream("one two\nthree\n");
    EXPECT_EQ(file_next_word(file, word_), word_result::word);
    EXPECT_STREQ(word_.data(), "one");
    EXPECT_EQ(file_next_word(file, word_), word_result::word);
    EXPECT_STREQ(word_.data(), "two");
    EXPECT_EQ(file_next_word(file, word_), word_result::word);
    EXPECT_STREQ(word_.data(), "three");
    EXPECT_EQ(file_next_word(file, word_), word_result::at_end);
    EXPECT_STREQ(word_.data(), "");
}

TEST_F(FileIoWords, next_word_does_not_count_when_it_ends_the_file) {
    FILE* const file = stream("one two");
    EXPECT_EQ(file_next_word(file, word_), word_result::word);
    EXPECT_EQ(file_next_word(file, word_), word_result::at_end);
}

TEST_F(FileIoWords, next_word_swallows_the_rest_of_a_long_word) {
    FILE* const file = stream("123456789 tail\n");
    EXPECT_EQ(file_next_word(file, word_), word_result::word);
    EXPECT_STREQ(word_.data(), "1234567");
    EXPECT_EQ(file_next_word(file, word_), word_result::word);
    EXPECT_STREQ(word_.data(), "tail");
}

TEST(FileIo, next_word_stops_on_a_read_error) {
    const File folder("/", "r");
    ASSERT_TRUE(folder);
    std::array<char, 8> word{};
    EXPECT_EQ(file_next_word(folder.get(), word), word_result::failed);
}

TEST(FileIo, file_is_false_when_it_cannot_be_opened) {
    const File file("/no-such-folder/file", "r");
    EXPECT_FALSE(file);
    EXPECT_EQ(file.get(), nullptr);
}

TEST(FileIo, file_is_close_on_exec_in_every_mode) {
    for (const char* const mode : {"r", "rb", "a+"}) {
        const File file("/dev/null", mode);
        ASSERT_TRUE(file) << mode;
        EXPECT_NE(fcntl(fileno(file.get()), F_GETFD) & FD_CLOEXEC, 0) << mode;
    }
}

}  // namespace
