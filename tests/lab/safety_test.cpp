// Whatever happens in a mesh, the machine's files stay as they are, wherever a user's folder lies.
//
// The machine is the sandbox of this program: its /tmp, /var/log and /run, and a home. A checkout
// with the lab's programs, a scenario and notes of the user is laid there, and meshes run from it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <map>
#include <sstream>

#include "lab/tools/folder_wipe.h"
#include "lab/tools/small_file.h"

namespace {

using testing::IsEmpty;
namespace fs = std::filesystem;

constexpr char SCENARIO[] =
    "node root root\nnode e1 extender\nnode e2 extender\n"
    "hears root e1 -55\nhears root e2 -60\nhears e1 e2 -50\n";

std::string file_text(const std::string& path) {
    std::string text;
    lab::file_read(path, &text);
    return text;
}

void put_file(const std::string& path, const std::string& text) {
    ASSERT_TRUE(lab::file_write(path, text)) << path;
}

// Nothing here may ever touch the real machine's /tmp.
class InSandbox : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(file_text("/proc/1/comm"), "lab_init\n");
    }
};

struct Ended {
    int code = -1;
    std::string out;
};

class Machine : public InSandbox, public testing::WithParamInterface<const char*> {
protected:
    void SetUp() override {
        InSandbox::SetUp();
        ASSERT_FALSE(HasFatalFailure());
        ASSERT_EQ(mount("home", "/home", "tmpfs", 0, nullptr), 0);
        fs::create_directories(checkout + "/build/lab");
        for (const char* program : {"lab/backhaul_lab", "lab/lab_tool", "lab/lab_sh",
                                    "lab/liblab_clock.so", "backhaul_monitor"}) {
            fs::copy_file(std::string(BACKHAUL_BUILD_DIR "/") + program,
                          checkout + "/build/" + program);
        }
        put_file(checkout + "/notes", "remember the milk\n");
        put_file(checkout + "/build/lab/my.scn", SCENARIO);
        for (const std::string folder : OTHERS) {
            put_file(folder + "/file", "as it was\n");
            fs::create_directory_symlink(checkout, folder + "/link");
        }
        fs::create_directory("/home/socket");
        fs::permissions("/home/socket", fs::perms::owner_all);
        before = files();
    }

    void TearDown() override {
        lab("down --socket /home/socket/control");
        fs::remove_all(checkout);
        for (const std::string folder : OTHERS) {
            fs::remove_all(folder);
        }
        umount2("/home", MNT_DETACH);
    }

    // What the machine holds: of every file its text, of every link where it leads.
    std::map<std::string, std::string> files() const {
        std::map<std::string, std::string> found;
        std::vector<std::string> folders(std::begin(OTHERS), std::end(OTHERS));
        folders.push_back(checkout);
        for (const std::string& folder : folders) {
            std::error_code missing;
            for (const auto& entry : fs::recursive_directory_iterator(folder, missing)) {
                found[entry.path()] = entry.is_symlink() ? fs::read_symlink(entry.path()).string()
                                      : entry.is_directory() ? "a folder"
                                                             : file_text(entry.path());
            }
        }
        return found;
    }

    void expect_as_before(const std::string& what) const {
        std::map<std::string, std::string> now = files();
        for (const auto& [path, text] : before) {
            const auto found = now.find(path);
            EXPECT_TRUE(found != now.end() && found->second == text)
                << path << (found == now.end() ? " is gone" : " was changed") << " after " << what;
            now.erase(path);
        }
        for (const auto& [path, text] : now) {
            ADD_FAILURE() << path << " is new after " << what;
        }
    }

    // The checkout's own program, called in the user's folder.
    Ended lab(const std::string& words, const std::string& through = "") const {
        const std::string line = "cd " + checkout + " && BACKHAUL_EVIDENCE=/home/evidence " +
                                 through + "build/lab/backhaul_lab " + words + " 2>&1";
        Ended ended;
        FILE* const out = popen(line.c_str(), "r");
        for (int one = getc(out); one != EOF; one = getc(out)) {
            ended.out.push_back(static_cast<char>(one));
        }
        const int status = pclose(out);
        ended.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        return ended;
    }

    std::string good(const std::string& words) const {
        const Ended ended = lab(words);
        EXPECT_EQ(ended.code, 0) << words << ": " << ended.out;
        return ended.out;
    }
    void up() const {
        good("up build/lab/my.scn --socket /home/socket/control");
        doing("wait-until all status ready within 300");
    }
    void doing(const std::string& step) const {
        good("do --socket /home/socket/control " + step);
    }

    static constexpr const char* OTHERS[] = {"/tmp/others", "/var/log/others", "/run/others",
                                             "/home/others"};
    std::string checkout = GetParam();
    std::map<std::string, std::string> before;
};

TEST_P(Machine, keeps_its_files_through_reboot_power_off_and_role_change) {
    up();
    expect_as_before("the start");
    doing("reboot e1");
    expect_as_before("a reboot");
    doing("power-off e2");
    expect_as_before("a power-off");
    doing("power-on e2");
    doing("wait-until all status ready within 300");
    doing("role e1 root");
    doing("wait 60");
    expect_as_before("a role change");
    good("down --socket /home/socket/control");
    expect_as_before("the end");
}

TEST_P(Machine, keeps_its_files_through_checks_and_chaos) {
    good("check build/lab/my.scn");
    expect_as_before("a check");
    // Ended like a run of somebody who has seen enough; what it found is not asked here.
    const Ended chaos = lab("chaos --nodes 3 --hours 1 --seed 5", "timeout -s INT 15 ");
    EXPECT_THAT(chaos.out, testing::HasSubstr("worst outage")) << chaos.out;
    expect_as_before("chaos");
}

TEST_P(Machine, can_only_be_read_by_what_runs_in_a_node) {
    up();
    const std::string inside = "shell e1 --socket /home/socket/control -c ";
    std::istringstream mounts(good(inside + "'cat /proc/self/mountinfo'"));
    std::string line;
    std::vector<std::string> writable;
    int count = 0;
    while (std::getline(mounts, line)) {
        // number, parent, device, root, place, options, [tags] - type, source, options
        std::istringstream words(line);
        std::string place;
        std::string options;
        for (int word = 0; word < 3; ++word) {
            words >> options;
        }
        words >> options >> place >> options;
        const std::string source = line.substr(line.find(" - ") + 3);
        const bool own = source.starts_with("tmpfs lab ") || source.starts_with("proc ");
        ++count;
        if (!own && options.substr(0, 2) == "rw") {
            writable.push_back(line);
        }
    }
    EXPECT_GT(count, 5);
    EXPECT_THAT(writable, IsEmpty());
    lab(inside + "'rm -rf " + checkout + " /home/others /tmp/others'");
    expect_as_before("an attempt to remove it");
    good("down --socket /home/socket/control");
}

INSTANTIATE_TEST_SUITE_P(Place, Machine,
                         testing::Values("/tmp/checkout", "/var/log/checkout", "/run/checkout",
                                         "/home/user/checkout"),
                         [](const testing::TestParamInfo<const char*>& place) {
                             return std::string(place.param).substr(1, 3);
                         });

class Wiping : public InSandbox {};

TEST_F(Wiping, removes_all_but_what_is_named_and_follows_no_link) {
    put_file("/var/log/kept/file", "x");
    put_file("/tmp/wiped/deep/er/file", "x");
    put_file("/tmp/wiped/.hidden", "x");
    put_file("/tmp/wiped/named/file", "x");
    fs::create_directory_symlink("/var/log/kept", "/tmp/wiped/link");
    EXPECT_TRUE(lab::folder_wipe("", "/tmp/wiped", {"named"}));
    EXPECT_FALSE(lab::path_exists("/tmp/wiped/deep"));
    EXPECT_FALSE(lab::path_exists("/tmp/wiped/.hidden"));
    EXPECT_FALSE(fs::is_symlink("/tmp/wiped/link"));
    EXPECT_TRUE(lab::path_exists("/tmp/wiped/named/file"));
    EXPECT_TRUE(lab::path_exists("/var/log/kept/file"));
    fs::create_directory_symlink("/var/log/kept", "/tmp/link");
    EXPECT_FALSE(lab::folder_wipe("", "/tmp/link"));
    EXPECT_TRUE(lab::path_exists("/var/log/kept/file"));
}

TEST_F(Wiping, stops_at_mount_points_of_the_same_file_system) {
    put_file("/tmp/outside/file", "x");
    put_file("/tmp/single", "x");
    put_file("/tmp/wiped/in/place/covered", "x");
    put_file("/tmp/wiped/file", "");
    put_file("/tmp/wiped/in/goes", "x");
    ASSERT_EQ(mount("/tmp/outside", "/tmp/wiped/in/place", nullptr, MS_BIND, nullptr), 0);
    ASSERT_EQ(mount("/tmp/single", "/tmp/wiped/file", nullptr, MS_BIND, nullptr), 0);
    EXPECT_TRUE(lab::folder_wipe("", "/tmp/wiped"));
    EXPECT_FALSE(lab::path_exists("/tmp/wiped/in/goes"));
    EXPECT_TRUE(lab::path_exists("/tmp/wiped/in/place/file"));
    EXPECT_EQ(file_text("/tmp/wiped/file"), "x") << "a mounted file was taken away";
    EXPECT_TRUE(lab::path_exists("/tmp/outside/file"));
    umount2("/tmp/wiped/in/place", MNT_DETACH);
    umount2("/tmp/wiped/file", MNT_DETACH);
}

TEST_F(Wiping, takes_links_of_another_root_for_that_roots) {
    put_file("/tmp/log/file", "x");
    put_file("/tmp/router/log/file", "x");
    fs::create_directory("/tmp/router/var");
    fs::create_directory_symlink("/log", "/tmp/router/var/log");
    EXPECT_TRUE(lab::folder_wipe("/tmp/router", "/var/log"));
    EXPECT_FALSE(lab::path_exists("/tmp/router/log/file"));
    EXPECT_TRUE(lab::path_exists("/tmp/log/file"));
}

}  // namespace
