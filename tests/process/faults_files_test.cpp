// Files that others write and the daemon reads, in every state in which they may be found, and a
// topology database that holds too much or what nobody expects.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <thread>

#include "tests/process/fault_story.h"

namespace {

using testing::Contains;

constexpr off_t HUGE_SIZE = 100L * 1024 * 1024;

/// What the daemon of an extender reads and others write.
constexpr std::array FILES = {"/tmp/wifi_if_profile",
                              "/tmp/netprobe.db",
                              "/tmp/backhaul_mode_change",
                              "/tmp/backhaul_init_conf",
                              "/tmp/ApplicationData/Approvelist",
                              "/tmp/FirstMAC",
                              "/tmp/assoc_list.5g",
                              "/tmp/assoc_list.24g",
                              "/tmp/wifi24G_Status",
                              "/tmp/wifi5G_Status",
                              "/tmp/wifi5G_2_Status",
                              "/tmp/wifi_reload_flag",
                              "/var/run/wpa_supplicant-global.pid"};

/// Puts something else in a file's place; `place` names it from outside, `text` was its content.
struct file_fault {
    const char* name;
    void (*put)(const std::string& place, const std::string& text);
};

void PrintTo(const file_fault& fault, std::ostream* out) {
    *out << fault.name;
}

void bytes_put(const std::string& place, const std::string& bytes, off_t size) {
    const int fd = open(place.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    EXPECT_EQ(write(fd, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size())) << place;
    EXPECT_EQ(ftruncate(fd, size), 0) << place;
    close(fd);
}

/// Its own content over and over, then nothing but zeros. A profile stands there once: over and
/// over it would be the right one of a router with a thousand interfaces.
void huge_put(const std::string& place, const std::string& text) {
    const size_t size = place.ends_with("/wifi_if_profile") ? text.size() : size_t{2} << 20U;
    std::string much;
    while (much.size() < size) {
        much += text.empty() ? "word\n" : text;
    }
    bytes_put(place, much, HUGE_SIZE);
}

void binary_put(const std::string& place, const std::string& /*text*/) {
    std::string bytes;
    for (unsigned at = 0; at < 70000; ++at) {
        bytes += static_cast<char>(at * 7919 >> (at % 5));
    }
    bytes_put(place, bytes, static_cast<off_t>(bytes.size()));
}

void missing_put(const std::string& place, const std::string& /*text*/) {
    unlink(place.c_str());
}

void empty_put(const std::string& place, const std::string& /*text*/) {
    bytes_put(place, "", 0);
}

/// Not empty: nobody can put a file in its place.
void folder_put(const std::string& place, const std::string& /*text*/) {
    unlink(place.c_str());
    EXPECT_EQ(mkdir(place.c_str(), 0755), 0) << place;
    EXPECT_EQ(mkdir((place + "/x").c_str(), 0755), 0) << place;
}

/// There, and not to be opened, by root neither.
void unreadable_put(const std::string& place, const std::string& /*text*/) {
    unlink(place.c_str());
    EXPECT_EQ(mknod(place.c_str(), S_IFSOCK | 0600, 0), 0) << place;
}

/// Nobody ever writes into it. The stand-in tools read the profile as well and would wait.
void fifo_put(const std::string& place, const std::string& /*text*/) {
    unlink(place.c_str());
    if (place.ends_with("/wifi_if_profile")) {
        return;
    }
    EXPECT_EQ(mknod(place.c_str(), S_IFIFO | 0600, 0), 0) << place;
}

class FaultyFiles : public FaultStory, public testing::WithParamInterface<file_fault> {
protected:
    void put_back(const std::string& path, const std::string& text, bool was_there) {
        std::filesystem::remove_all(router().node().at(path));
        if (was_there) {
            router().put_file(path, text);
        }
    }
};

TEST_P(FaultyFiles, are_survived) {
    start_whole();
    for (const char* const path : FILES) {
        SCOPED_TRACE(path);
        const bool was_there = router().has_file(path);
        const std::string text = was_there ? router().file(path) : "";
        router().put_file(path, text);  // with its folder
        GetParam().put(router().node().at(path), text);
        live();
        next_worker();
        live();
        if (path != FILES[0] && path != FILES[1]) {
            // Without a profile a worker ends, without a database it waits for one.
            expect_event_handled();
        }
        put_back(path, text, was_there);
    }
    next_worker();
    expect_whole();
}

INSTANTIATE_TEST_SUITE_P(
    Each, FaultyFiles,
    testing::Values(file_fault{"of_100_MB", huge_put}, file_fault{"binary", binary_put},
                    file_fault{"missing", missing_put}, file_fault{"empty", empty_put},
                    file_fault{"a_folder", folder_put}, file_fault{"fifo", fifo_put},
                    file_fault{"unreadable", unreadable_put}),
    [](const auto& one) { return std::string(one.param.name); });

/// Puts other contents in the place of a file for as long as it lives, as fast as it can.
class Replacer {
public:
    Replacer(const std::string& place, const std::string& text)
        : thread_([this, place, text] {
              const std::string beside = place + ".by-its-owner";
              for (unsigned turn = 0; !is_over_; ++turn) {
                  const size_t kept = text.empty() ? 0 : turn % text.size();
                  bytes_put(beside, text.substr(0, kept), static_cast<off_t>(kept));
                  EXPECT_EQ(rename(beside.c_str(), place.c_str()), 0) << place;
                  bytes_put(place, text, static_cast<off_t>(text.size()));
              }
          }) {}
    ~Replacer() {
        is_over_ = true;
        thread_.join();
    }
    Replacer(const Replacer&) = delete;
    Replacer& operator=(const Replacer&) = delete;

private:
    std::atomic<bool> is_over_{false};
    std::thread thread_;
};

class ReplacedFiles : public FaultStory {};

TEST_F(ReplacedFiles, are_survived) {
    start_whole();
    for (const char* const path : FILES) {
        SCOPED_TRACE(path);
        const bool was_there = router().has_file(path);
        const std::string text = was_there ? router().file(path) : "";
        router().put_file(path, text);  // with its folder
        {
            const Replacer replacer(router().node().at(path), text.empty() ? "word\n" : text);
            live();
            next_worker();
            live();
        }
        router().remove_file(path);
        if (was_there) {
            router().put_file(path, text);
        }
    }
    next_worker();
    expect_whole();
}

class FaultyDatabase : public FaultStory {
protected:
    void rows_put(const std::string& insert, int count) {
        router().sql("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " +
                     std::to_string(count) + ") " + insert);
    }
};

constexpr int MANY = 1000000;

TEST_F(FaultyDatabase, of_a_million_links) {
    start_whole();
    rows_put(
        "INSERT INTO ExtenderWiFiLink SELECT printf('06:%010x', i), printf('04:%010x', i),"
        " printf('04:%010x', i + 1), 0 FROM n;",
        MANY);
    live();
    expect_event_handled();
    router().sql("DELETE FROM ExtenderWiFiLink WHERE Mac LIKE '06:%';");
    expect_whole();
}

/// A text that a shell would act upon, as a device's name or its address.
constexpr std::array HOSTILE = {"$(>/tmp/ran)",    "`>/tmp/ran`",   "\";>/tmp/ran;\"",
                                "a\n>/tmp/ran\nb", "';>/tmp/ran;'", "\\\";>/tmp/ran #",
                                "*?[~{a,b}!&|<",   "%s%n%255s"};

class HostileNames : public FaultStory {
protected:
    static std::string sql_text(const std::string& text) {
        std::string quoted;
        for (const char c : text) {
            quoted += c == '\'' ? "''" : std::string(1, c);
        }
        return "'" + quoted + "'";
    }
    void expect_nothing_ran() {
        EXPECT_FALSE(router().has_file("/tmp/ran"));
        EXPECT_FALSE(router().has_file("/ran"));
    }
    void expect_join(const std::string& text) {
        advance_until(
            [this, &text] {
                const Lines calls = router().calls();
                return std::find(calls.begin(), calls.end(), "vlog 0 0 " + text + " join") !=
                       calls.end();
            },
            60);
    }
};

TEST_F(HostileNames, reach_the_log_as_they_are_and_run_nothing) {
    start_root();
    settle();
    int number = 0;
    for (const std::string name : HOSTILE) {
        SCOPED_TRACE(name);
        const std::string almac = "02:00:00:00:07:0" + std::to_string(++number);
        router().sql("INSERT INTO Device VALUES ('" + almac + "', 1, 0, 'L2Device', " +
                     sql_text(name) + ", '192.168.1.77');");
        expect_join(name + "(" + almac + ")");
        expect_nothing_ran();
    }
}

TEST_F(HostileNames, as_addresses_reach_the_log_as_they_are_and_run_nothing) {
    start_root();
    settle();
    for (const std::string name : HOSTILE) {
        SCOPED_TRACE(name);
        router().sql("INSERT INTO Device VALUES (" + sql_text(name) +
                     ", 1, 0, 'L2Device', 'Kitchen', '192.168.1.77');");
        // A text with a quote is none that the database is asked for.
        const bool is_asked = name.find('\'') == std::string::npos;
        expect_join((is_asked ? "Kitchen(" : "(") + name + ")");
        expect_nothing_ran();
    }
    // The list outlives the worker: its texts come from the file now.
    router().kill_worker(SIGKILL);
    advance(11);
    expect_nothing_ran();
}

TEST_F(FaultyDatabase, of_a_million_devices) {
    // Under a sanitizer one look at all of them takes long.
    clock().patience = std::chrono::minutes(4);
    start_root();
    settle();
    rows_put("INSERT INTO Device SELECT printf('06:%010x', i), 0, 9, 'L2Device', 'x', '' FROM n;",
             MANY);
    advance(10);
    expect_event_handled();
    router().sql(
        "DELETE FROM Device WHERE ALMac LIKE '06:%';"
        "INSERT INTO Device VALUES ('02:00:00:00:07:01', 1, 0, 'L2Device', 'New', "
        "'192.168.1.77');");
    advance_until(
        [this] {
            return router().file("/tmp/backhaul_ap_list").find("02:00:00:00:07:01") !=
                   std::string::npos;
        },
        60);
}

}  // namespace
