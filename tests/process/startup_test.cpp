// The end of a worker that cannot start: its exit status and what it says, and the start that works
// once the cause is gone.

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <sstream>
#include <thread>

#include "tests/process/extender_story.h"

namespace {

constexpr char DATABASE[] = "/tmp/netprobe.db";
constexpr char NOT_READY[] = "backhaul_monitor : Database not ready yet, try again";
constexpr char DATABASE_AWAY[] = "/tmp/netprobe.db.away";

/// A UDP port of the router that somebody else has.
class TakenPort {
public:
    TakenPort(const lab::Node& node, std::uint16_t port) {
        // A thread of its own: only that one moves into the router's network.
        std::thread([this, &node, port] { take(node, port); }).join();
    }
    ~TakenPort() {
        close(fd_);
    }
    TakenPort(const TakenPort&) = delete;
    TakenPort& operator=(const TakenPort&) = delete;
    bool ok() const {
        return fd_ >= 0;
    }

private:
    void take(const lab::Node& node, std::uint16_t port) {
        const std::string path = "/proc/" + std::to_string(node.init()) + "/ns/net";
        const int network = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        const bool inside = setns(network, CLONE_NEWNET) == 0;
        close(network);
        if (!inside) {
            return;
        }
        fd_ = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        if (bind(fd_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
            close(fd_);
            fd_ = -1;
        }
    }

    int fd_ = -1;
};

class Startup : public ExtenderStory {
protected:
    void TearDown() override {
        // Its worker would be left as a zombie.
        if (stopped_ > 0) {
            supervisor_goes_on();
        }
        ExtenderStory::TearDown();
    }

    /// Starts the daemon and lets its worker run to its end. Returns its exit status, 128 + signal
    /// when it was killed, -1 when it lives on. `supervisor_goes_on` then lets it be reaped.
    int first_worker_status(const std::vector<std::string>& arguments = {}) {
        // The worker waits for the database until its parent cannot reap it.
        database_move(DATABASE, DATABASE_AWAY);
        router().start(arguments);
        const pid_t worker = router().daemon().worker();
        stopped_ = router().daemon().supervisor();
        kill(stopped_, SIGSTOP);
        settle();
        database_move(DATABASE_AWAY, DATABASE);
        advance(1);
        return status_of_zombie(worker);
    }

    void supervisor_goes_on() {
        kill(stopped_, SIGCONT);
        stopped_ = 0;
        settle();
    }

private:
    void database_move(const char* from, const char* to) {
        lab::Node& node = router().node();
        EXPECT_EQ(rename(node.at(from).c_str(), node.at(to).c_str()), 0);
    }

    static int status_of_zombie(pid_t pid) {
        std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
        std::string all;
        std::getline(stat, all);
        std::istringstream words(all.substr(std::min(all.size(), all.rfind(") ") + 2)));
        std::string state;
        words >> state;
        if (state != "Z") {
            return -1;
        }
        std::string word;
        while (words >> word) {
            // The last word is the wait status.
        }
        const int status = std::stoi(word);
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

    pid_t stopped_ = 0;
};

const Lines ENDED_AT_ONCE = {"<-- backhaul_monitor start -->", "normal termination : 1"};

TEST_F(Startup, ends_with_status_0_when_there_is_no_profile) {
    add_extender().remove_file("/tmp/wifi_if_profile");
    EXPECT_EQ(first_worker_status(), 0);
    expect_out_of_both({"Wait pid", NOT_READY, "Init WiFi interface table fail"});
    expect_log({"<-- backhaul_monitor start -->"});
    supervisor_goes_on();
    expect_log({"normal termination : 1"});
    advance(1);
    expect_log(ENDED_AT_ONCE);
    expect_err({});
    expect_shell({});
    expect_no_file("/tmp/backhaul_status");
}

TEST_F(Startup, ends_with_status_0_when_the_profile_is_empty) {
    add_extender().put_file("/tmp/wifi_if_profile", "");
    EXPECT_EQ(first_worker_status(), 0);
    expect_out_of_both({"Wait pid", NOT_READY, "Init WiFi interface table fail"});
    supervisor_goes_on();
    expect_log(ENDED_AT_ONCE);
}

TEST_F(Startup, works_once_the_profile_is_there) {
    add_extender().remove_file("/tmp/wifi_if_profile");
    router().start();
    advance(1);
    expect_log(joined({ENDED_AT_ONCE, ENDED_AT_ONCE}));
    router().put_file("/tmp/wifi_if_profile", lab::EXTENDER_PROFILE);
    skip();
    advance(1);
    expect_start_journal(joined(
        {{"<-- backhaul_monitor start -->"}, ap_off("ath10"), ap_off("ath11"), backhaul_ap_off()}));
}

TEST_F(Startup, ends_with_status_1_when_the_profile_has_no_wired_interface) {
    add_extender().put_file("/tmp/wifi_if_profile",
                            "ath0 BACKHAUL_STA 5l 200 0\n"
                            "timer AP_TIMER_INTF 0 0 0\n");
    EXPECT_EQ(first_worker_status(), 1);
    const Lines noticed = {"<-- backhaul_monitor start -->", "loop_slave_handle : Enter",
                           "loop_slave_handle : Can not get ethernet interface"};
    expect_log(noticed);
    supervisor_goes_on();
    expect_log({"normal termination : 1"});
    advance(1);
    expect_log(joined({noticed, {"normal termination : 1"}}));
    expect_out_of_both({"Wait pid", NOT_READY, "Wait pid"});
}

TEST_F(Startup, ends_at_every_start_while_the_message_port_is_taken) {
    add_extender();
    {
        const TakenPort taken(router().node(), 36003);
        ASSERT_TRUE(taken.ok());
        router().start();
        expect_err({"bind: Address already in use"});
        expect_log(ENDED_AT_ONCE);
        for (int start = 0; start < 2; ++start) {
            advance(1);
            expect_err({"bind: Address already in use"});
            expect_log(ENDED_AT_ONCE);
        }
        expect_shell({});
        expect_out({"Wait pid", "Wait pid", "Wait pid"});
    }
    skip();
    advance(1);
    expect_log({"<-- backhaul_monitor start -->", "..."});
    expect_status("not ready\n");
}

TEST_F(Startup, ends_with_status_1_when_the_announce_port_is_taken) {
    add_extender();
    const TakenPort taken(router().node(), 36002);
    ASSERT_TRUE(taken.ok());
    EXPECT_EQ(first_worker_status(), 1);
    expect_err({"bind: Address already in use"});
}

}  // namespace
