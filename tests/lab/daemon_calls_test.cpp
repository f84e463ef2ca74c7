// Every function of the C library that the daemon calls is known to the moved clock's account: one
// that could start a program or wait for the machine, and that nobody notes, would make a mesh
// inexact.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <set>
#include <string>
#include <string_view>

namespace {

// Those that the preloaded clock stands before (lab/clock/clock_preload.cpp, acts_preload.cpp).
const std::set<std::string, std::less<>> NOTED = {
    "fork",   "gettimeofday", "ioctl",  "pclose", "popen",          "recvfrom",        "select",
    "sendto", "sleep",        "system", "time",   "timerfd_create", "timerfd_settime", "waitpid"};

// Those that start no program and wait for nothing of the machine. What they let
// run in the node itself has run before the owner does.
const std::set<std::string, std::less<>> HARMLESS = {"_exit",
                                                     "abort",
                                                     "access",
                                                     "atoi",
                                                     "bind",
                                                     "calloc",
                                                     "close",
                                                     "ctime_r",
                                                     "exit",
                                                     "fchmod",
                                                     "fclose",
                                                     "fcntl",
                                                     "fdopen",
                                                     "ferror",
                                                     "fflush",
                                                     "fgets",
                                                     "fileno",
                                                     "fprintf",
                                                     "fputc",
                                                     "fputs",
                                                     "fread",
                                                     "free",
                                                     "fstat",
                                                     "ftell",
                                                     "fwrite",
                                                     "getc",
                                                     "getopt",
                                                     "getpid",
                                                     "getppid",
                                                     "getrandom",
                                                     "if_indextoname",
                                                     "inet_addr",
                                                     "inet_ntop",
                                                     "isspace",
                                                     "lstat",
                                                     "malloc",
                                                     "memchr",
                                                     "memcmp",
                                                     "memcpy",
                                                     "memmove",
                                                     "memset",
                                                     "mkfifo",
                                                     "open",
                                                     "remove",
                                                     "rename",
                                                     "unlink",
                                                     "optarg",
                                                     "perror",
                                                     "poll",
                                                     "printf",
                                                     "prctl",
                                                     "pthread_attr_destroy",
                                                     "pthread_attr_init",
                                                     "pthread_attr_setstacksize",
                                                     "pthread_cond_signal",
                                                     "pthread_cond_wait",
                                                     "pthread_create",
                                                     "pthread_detach",
                                                     "pthread_mutex_lock",
                                                     "pthread_mutex_unlock",
                                                     "pthread_self",
                                                     "putchar",
                                                     "puts",
                                                     "read",
                                                     "rewind",
                                                     "setsockopt",
                                                     "setvbuf",
                                                     "sigaction",
                                                     "sigemptyset",
                                                     "signal",
                                                     "sigprocmask",
                                                     "snprintf",
                                                     "socket",
                                                     "sscanf",
                                                     "stderr",
                                                     "stdout",
                                                     "strchr",
                                                     "strcmp",
                                                     "strdup",
                                                     "strerror",
                                                     "strlen",
                                                     "strncmp",
                                                     "strstr",
                                                     "strtol",
                                                     "strtoul",
                                                     "vfprintf",
                                                     "vsnprintf",
                                                     "write",
                                                     "optind",
                                                     "opterr",
                                                     "strcpy",
                                                     "runtime",  // the daemon's own block
                                                     "strncpy",
                                                     "strrchr",
                                                     "strnlen",
                                                     "errno_location",
                                                     "fdelt_chk"};

// "__printf_chk" and "__isoc99_sscanf" are printf and sscanf; what compilers and sanitizers add,
// and what has a C++ name, is nothing that the daemon calls in the C library.
std::string plain_name(std::string_view name) {
    if (name.starts_with("__isoc")) {
        name = name.substr(name.rfind('_') + 1);
    } else if (name.starts_with("__") && name.ends_with("_chk") && name != "__fdelt_chk") {
        name = name.substr(2, name.size() - 6);
    } else if (name == "__fdelt_chk" || name == "__errno_location") {
        name = name.substr(2);
    }
    const bool is_added = name.starts_with("_Z") || name.starts_with("__") ||
                          name.starts_with("sqlite3_") || name.starts_with("_GLOBAL") ||
                          name.starts_with("_Unwind") || name.starts_with("_ITM");
    return std::string(is_added ? std::string_view{} : name);
}

TEST(DaemonCalls, are_all_known_to_the_account_of_the_moved_clock) {
    FILE* const names = popen("nm --undefined-only --format=just-symbols $(find " BACKHAUL_BUILD_DIR
                              " -name 'libbackhaul_*.a' ! -name '*ctl*') 2>/dev/null",
                              "r");
    ASSERT_NE(names, nullptr);
    int known = 0;
    std::array<char, 512> line{};
    while (fgets(line.data(), static_cast<int>(line.size()), names) != nullptr) {
        std::string_view name(line.data());
        name = name.substr(0, name.find_first_of("@\n"));
        // The name of an archive's member ends in a colon.
        const std::string plain = name.ends_with(":") ? "" : plain_name(name);
        known += NOTED.contains(plain) || HARMLESS.contains(plain) ? 1 : 0;
        EXPECT_TRUE(plain.empty() || NOTED.contains(plain) || HARMLESS.contains(plain))
            << plain
            << "(): may it change a file that the mesh reads, start a program, or wait for the "
               "machine?";
    }
    EXPECT_EQ(pclose(names), 0);
    EXPECT_GT(known, 50);
}

}  // namespace
