// Files that stay in memory, whatever the machine forgets meanwhile.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

#include "lab/clock/resident_files.h"
#include "lab/tools/small_file.h"
#include "tests/harness/sandbox.h"

namespace {

using lab::ResidentFiles;
using testing::ElementsAre;
using testing::IsEmpty;

class ResidentFilesTest : public harness::SandboxTest {};

// A file on the disk of the build that nobody uses meanwhile: what lies in a folder of the sandbox
// never leaves memory.
class FileOfTheDisk {
public:
    FileOfTheDisk() : fd_(open(PATH, O_RDONLY | O_CLOEXEC)) {
        struct stat status {};
        fsync(fd_);
        fstat(fd_, &status);
        const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        size_ = static_cast<std::size_t>(status.st_size);
        pages_ = (size_ + page - 1) / page;
    }
    ~FileOfTheDisk() {
        close(fd_);
    }
    FileOfTheDisk(const FileOfTheDisk&) = delete;
    FileOfTheDisk& operator=(const FileOfTheDisk&) = delete;

    std::size_t pages() const {
        return pages_;
    }

    // Asks the kernel to forget the file's pages; how many it still has.
    std::size_t pages_after_forgetting() const {
        posix_fadvise(fd_, 0, 0, POSIX_FADV_DONTNEED);
        void* const memory = mmap(nullptr, size_, PROT_READ, MAP_SHARED, fd_, 0);
        std::vector<unsigned char> here(pages_);
        EXPECT_EQ(mincore(memory, size_, here.data()), 0);
        munmap(memory, size_);
        return static_cast<std::size_t>(std::count_if(
            here.begin(), here.end(), [](unsigned char one) { return (one & 1U) != 0; }));
    }

    static constexpr char PATH[] = BACKHAUL_BUILD_DIR "/CMakeCache.txt";

private:
    int fd_;
    std::size_t size_ = 0;
    std::size_t pages_ = 0;
};

TEST_F(ResidentFilesTest, keeps_every_page_for_as_long_as_it_lives) {
    const FileOfTheDisk file;
    if (file.pages_after_forgetting() != 0) {
        GTEST_SKIP() << "the build lies where nothing leaves memory";
    }
    {
        ResidentFiles files;
        EXPECT_TRUE(files.keep(FileOfTheDisk::PATH));
        EXPECT_EQ(file.pages_after_forgetting(), file.pages());
    }
    EXPECT_EQ(file.pages_after_forgetting(), 0U);
}

TEST_F(ResidentFilesTest, keeps_a_file_once_whatever_its_name) {
    ASSERT_EQ(symlink(FileOfTheDisk::PATH, "/tmp/other"), 0);
    ResidentFiles files;
    EXPECT_TRUE(files.keep(FileOfTheDisk::PATH));
    EXPECT_TRUE(files.keep("/tmp/other"));
    EXPECT_EQ(files.count(), 1U);
}

TEST_F(ResidentFilesTest, keeps_nothing_that_is_no_file_and_waits_for_nobody) {
    ASSERT_EQ(mkfifo("/tmp/fifo", 0600), 0);
    ASSERT_TRUE(lab::file_write("/tmp/empty", ""));
    ResidentFiles files;
    for (const char* name : {"/tmp/fifo", "/tmp/empty", "/tmp/missing", "/tmp"}) {
        EXPECT_FALSE(files.keep(name)) << name;
    }
    EXPECT_EQ(files.count(), 0U);
}

TEST_F(ResidentFilesTest, keeps_the_libraries_of_a_program_with_it) {
    ResidentFiles files;
    files.keep_program("grep");
    const std::size_t with_libraries = files.count();
    EXPECT_GE(with_libraries, 3U) << "the program, the C library, the linker";
    files.keep_program("/bin/grep");
    EXPECT_EQ(files.count(), with_libraries);
}

TEST_F(ResidentFilesTest, runs_no_program_to_learn_of_its_libraries) {
    ASSERT_TRUE(lab::file_write("/tmp/script", "#!/bin/sh\n: >/tmp/left\n"));
    ASSERT_EQ(chmod("/tmp/script", 0755), 0);
    ResidentFiles files;
    files.keep_program("/tmp/script");
    EXPECT_EQ(files.count(), 1U);
    EXPECT_FALSE(lab::path_exists("/tmp/left"));
    files.keep_program("no-such-program");
    EXPECT_EQ(files.count(), 1U);
}

TEST(LibrariesListed, are_the_paths_of_the_linkers_list) {
    EXPECT_THAT(lab::libraries_listed("\tlinux-vdso.so.1 (0x00007ffd1a5f2000)\n"
                                      "\tlibc.so.6 => /lib/a b/libc.so.6 (0x00007f0e3c000000)\n"
                                      "\tlibgone.so.1 => not found\n"
                                      "\t/lib64/ld-linux-x86-64.so.2 (0x00007f0e3c3f5000)\n"),
                ElementsAre("/lib/a b/libc.so.6", "/lib64/ld-linux-x86-64.so.2"));
    EXPECT_THAT(lab::libraries_listed("statically linked"), IsEmpty());
    EXPECT_THAT(lab::libraries_listed(""), IsEmpty());
}

}  // namespace
