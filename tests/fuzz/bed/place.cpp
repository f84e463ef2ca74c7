#include "tests/fuzz/bed/place.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <filesystem>

#include "lab/sandbox/sandbox.h"
#include "tests/fuzz/bed/input.h"

namespace fuzz {

void place_enter() {
    const uid_t uid = geteuid();
    const gid_t gid = getegid();
    const int user = uid == 0 ? 0 : CLONE_NEWUSER;
    std::string error;
    if (unshare(user | CLONE_NEWNS | CLONE_NEWNET) != 0) {
        std::perror("no namespaces");
        std::exit(1);
    }
    if (user != 0 && !lab::user_namespace_root(uid, gid, error)) {
        std::fprintf(stderr, "%s\n", error.c_str());
        std::exit(1);
    }
    // The kernel's current folder stays what it was: names relative to it lead outside.
    const bool is_private = mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    for (const char* const folder : {"/tmp", "/run", "/var/log"}) {
        if (!is_private || mount("fuzz", folder, "tmpfs", 0, "size=64m") != 0) {
            std::perror(folder);
            std::exit(1);
        }
    }
}

void file_put(const char* path, std::string_view bytes) {
    constexpr int FLAGS = O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC;
    int fd = open(path, FLAGS, 0644);
    if (fd < 0) {
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        fd = open(path, FLAGS, 0644);
    }
    require(fd >= 0 && write(fd, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()),
            "a file can be put");
    close(fd);
}

std::string file_get(const char* path) {
    std::string content;
    const int fd = open(path, O_RDONLY | O_CLOEXEC);
    std::array<char, 4096> piece{};
    for (ssize_t got = fd < 0 ? 0 : 1; got > 0;) {
        got = read(fd, piece.data(), piece.size());
        content.append(piece.data(), got > 0 ? static_cast<size_t>(got) : 0);
    }
    close(fd);
    return content;
}

ByteStream::ByteStream(std::string_view bytes)
    : file_(fmemopen(const_cast<char*>(bytes.data()), bytes.size(), "r")) {
    require(file_ != nullptr, "bytes can be a stream");
}

ByteStream::~ByteStream() {
    std::fclose(file_);
}

}  // namespace fuzz

// The name is the fuzzer engine's.
extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    fuzz::place_enter();
    return 0;
}
