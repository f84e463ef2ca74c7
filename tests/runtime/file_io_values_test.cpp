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

TEST_F(FileIoWords, first_word_leaves_what_comes_behind_its_bound) {
    FILE* const file = stream("123456789 next");
    EXPECT_TRUE(file_first_word(file, word_));
    EXPECT_EQ(std::ftell(file), 7);
}

TEST_F(FileIoWords, first_number_is_the_beginning_of_the_first_word) {
    int number = 5;
    EXPECT_TRUE(file_first_number(stream(" \n -12abc 3"), number));
    EXPECT_EQ(number, -12);
}

TEST_F(FileIoWords, first_number_stays_as_it_is_when_there_is_none) {
    int number = 5;
    EXPECT_FALSE(file_first_number(stream("none 7"), number));
    EXPECT_EQ(number, 5);
}

TEST_F(FileIoWords, a_file_ends_at_its_bound) {
    constexpr auto MAX = static_cast<size_t>(FILE_READ_MAX);
    FILE* const words = stream("one " + std::string(MAX, 'w') + " two\nthree\n");
    EXPECT_EQ(file_next_word(words, word_), word_result::word);
    EXPECT_NE(file_next_word(words, word_), word_result::word);
    EXPECT_NE(file_next_word(words, word_), word_result::word);
    EXPECT_FALSE(file_next_line(words, word_));
    EXPECT_FALSE(file_next_piece(words, word_));
    std::fclose(words);

    std::string many;
    while (many.size() < MAX + 100) {
        many += "123\n";
    }
    FILE* const lines = stream(many);
    size_t count = 0;
    while (file_next_line(lines, word_)) {
        ++count;
    }
    EXPECT_EQ(count, MAX / 4);
    std::rewind(lines);
    for (count = 0; file_next_piece(lines, word_); ++count) {
    }
    EXPECT_EQ(count, MAX / 4);
    std::fclose(lines);

    EXPECT_FALSE(file_first_word(stream(std::string(MAX, ' ') + "word"), word_));
}

TEST(FileIo, next_word_stops_on_a_read_error) {
    FILE* const folder = std::fopen("/", "re");
    ASSERT_NE(folder, nullptr);
    std::array<char, 8> word{};
    EXPECT_EQ(file_next_word(folder, word), word_result::failed);
    std::fclose(folder);
}

TEST(FileIo, file_is_false_when_it_cannot_be_opened) {
    const File file("/no-such-folder/file", "r");
    EXPECT_FALSE(file);
    EXPECT_EQ(file.get(), nullptr);
}

}  // namespace
