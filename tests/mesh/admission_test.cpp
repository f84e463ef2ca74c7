// How a node is admitted to the mesh: a real root and a real extender, and the listener that knows
// who the root is.

#include "lab/tools/answer.h"
#include "tests/mesh/mesh_story.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <map>

namespace {

constexpr char ROOT_FILE[] = "/tmp/rootap_ip";

/// A root at 192.168.1.21 and an extender at 192.168.1.20 on one switch.
class Admission : public MeshStory {
protected:
    void start_both() {
        add_extender();
        lab::NodeOptions options;
        options.address = "192.168.1.21/24";
        harness::Router& made = add_root(options);
        made.sql(
            "INSERT INTO Device VALUES ('02:00:00:00:00:20', 1, 0, 'L2Device', 'Extender', "
            "'192.168.1.20');");
        made.start({"-m"});
        router().start();
        // The root announces itself after five seconds; the extender's pause is longer.
        advance(5);
        heard();
        skip_both();
    }

    harness::Router& extender() {
        return router(0);
    }
    harness::Router& root() {
        return router(1);
    }
    void skip_both() {
        extender().skip();
        root().skip();
    }

    void approve(const std::string& line) {
        root().put_file(APPROVAL_LIST, line);
    }

    /// The extender wants to tell the mesh something and gets no answer.
    void expect_refused(Where where = Where::current()) {
        command(extender(), "network_reload\n");
        extender().expect_journal(message_sent("CHECK_VALID"), where);
        root().expect_journal(joined({message_opened(), received("CHECK_VALID", "192.168.1.20")}),
                              where);
    }

    void expect_admitted(Where where = Where::current()) {
        command(extender(), "network_reload\n");
        root().expect_journal(joined({message_opened(), received("CHECK_VALID", "192.168.1.20"),
                                      message_sent("CHECK_VALID_REPLY")}),
                              where);
        extender().expect_journal(joined({message_sent("CHECK_VALID"), message_opened(),
                                          received("CHECK_VALID_REPLY", "192.168.1.21")}),
                                  where);
    }
};

TEST_F(Admission, is_asked_for_until_it_is_granted_and_then_everything_goes_out) {
    start_both();
    extender().expect_file(ROOT_FILE, "192.168.1.21\n");
    expect_refused();
    approve("02:00:00:00:00:20 0 MRX50\n");
    expect_refused();
    approve("02:00:00:00:00:20 1 MRX50\n");
    expect_admitted();
    EXPECT_EQ(heard(), Words{}) << "the questions went to the root alone, the message nowhere";
    // Now the same command reaches everybody.
    command(extender(), "network_reload\n");
    extender().expect_journal(message_sent("NETWORKRELOAD"));
    root().expect_journal(joined({message_opened(), {"backhaul_network_reload_handle : Enter"}}));
    EXPECT_EQ(heard(), Words{"NETWORKRELOAD"});
}

TEST_F(Admission, never_brings_back_what_was_to_be_sent_before_it) {
    start_both();
    command(extender(), "network_reload\n");
    command(extender(), "uplink_scan\n");
    approve("02:00:00:00:00:20 1 MRX50\n");
    command(extender(), "network_reload\n");
    skip_both();
    heard();
    advance(4);
    extender().expect_shell({});
    EXPECT_EQ(heard(), Words{});
    command(extender(), "uplink_scan\n");
    EXPECT_EQ(heard(), Words{"UPLINKSCAN"});
}

TEST_F(Admission, is_kept_when_the_approval_is_taken_back) {
    start_both();
    approve("02:00:00:00:00:20 1 MRX50\n");
    expect_admitted();
    approve("02:00:00:00:00:20 0 MRX50\n");
    command(extender(), "network_reload\n");
    extender().expect_journal(message_sent("NETWORKRELOAD"));
}

TEST_F(Admission, is_asked_for_anew_by_the_next_worker) {
    start_both();
    approve("02:00:00:00:00:20 1 MRX50\n");
    expect_admitted();
    extender().kill_worker(10);
    advance(1);
    skip_both();
    // It does not know the root either, although the file is still there.
    command(extender(), "network_reload\n");
    extender().expect_journal(admission_asked_in_vain());
    extender().expect_file(ROOT_FILE, "192.168.1.21\n");
    root().expect_journal({});
    advance(4);
    skip_both();
    expect_admitted();
}

TEST_F(Admission, is_given_by_a_new_root_worker_without_being_asked_for_itself) {
    start_both();
    root().kill_worker(9);
    advance(1);
    heard();
    skip_both();
    command(root(), "network_reload\n");
    root().expect_journal(message_sent("NETWORKRELOAD"));
    EXPECT_EQ(heard(), Words{"NETWORKRELOAD"});
    approve("02:00:00:00:00:20 1 MRX50\n");
    skip_both();
    expect_admitted();
}

TEST_F(Admission, is_given_while_a_timer_of_the_root_hangs_in_a_tool) {
    start_both();
    approve("02:00:00:00:00:20 1 MRX50\n");
    lab::answer_hold(root().root(), "vlog", "slow");
    advance(25);
    root().expect_shell({"vlog 0 0 \"Extender(02:00:00:00:00:21) join\""});
    skip_both();
    expect_admitted();
    lab::gate_open(root().root(), "slow");
}

TEST_F(Admission, lets_a_ready_extender_tell_the_mesh_to_scan) {
    start_both();
    approve("02:00:00:00:00:20 1 MRX50\n");
    advance(5);
    extender().driver().associated("ath0", ap(1));
    advance_until([this] { return extender().file("/tmp/backhaul_status") == "ready\n"; }, 60);
    // The flush of forwarding tables was lost to the question; what came after it went out.
    EXPECT_EQ(heard(), Words{"UPLINKSCAN"});
    root().expect_log({"device_24g_txpower_decrease : decrease WiFi 2.4G Tx power",
                       "backhaul_notification_recv : recv CHECK_VALID from 192.168.1.20",
                       "backhaul_notification_recv : recv UPLINKSCAN from 192.168.1.20",
                       "backhaul_slave_backhaul_restore : Enter"});
}

class RootAddress : public MeshStory {
protected:
    void announced_by(const std::string& ip) {
        datagram(lab::message_seal("ImRootAP", "mesh-backhaul"), 36002, ip);
    }
};

TEST_F(RootAddress, is_written_when_the_root_changes_and_only_then) {
    start_extender();
    skip();
    expect_no_file(ROOT_FILE);
    announced_by("192.168.1.1");
    expect_file(ROOT_FILE, "192.168.1.1\n");
    expect_journal(message_opened());
    // A mark that only a writer removes.
    router().put_file(ROOT_FILE, "mark");
    announced_by("192.168.1.1");
    announced_by("192.168.1.1");
    expect_file(ROOT_FILE, "mark");
    announced_by(second_neighbour());
    expect_file(ROOT_FILE, "192.168.1.2\n");
    announced_by("192.168.1.1");
    expect_file(ROOT_FILE, "192.168.1.1\n");
}

TEST_F(RootAddress, is_where_the_next_question_goes) {
    start_extender();
    const std::string other = second_neighbour();
    lab::UdpPeer at_first(36003, "192.168.1.1");
    lab::UdpPeer at_other(36003, other);
    announced_by("192.168.1.1");
    command("network_reload\n");
    announced_by(other);
    command("network_reload\n");
    EXPECT_EQ(at_first.take().size(), 1U);
    EXPECT_EQ(at_other.take().size(), 1U);
}

TEST_F(RootAddress, is_known_although_its_file_cannot_be_written) {
    start_extender();
    router().put_file(std::string(ROOT_FILE) + "/keep", "");
    announced_by("192.168.1.1");
    heard();
    skip();
    command("network_reload\n");
    expect_journal(message_sent("CHECK_VALID"));
    EXPECT_EQ(heard(), Words{"CHECK_VALID"});
}

/// A descriptor of the worker, taken over: the same open socket.
class WorkersSocket {
public:
    WorkersSocket(pid_t worker, std::uint16_t port) {
        const int process = static_cast<int>(syscall(SYS_pidfd_open, worker, 0));
        for (int number = 3; number < 32 && fd_ < 0; ++number) {
            const int copy = static_cast<int>(syscall(SYS_pidfd_getfd, process, number, 0));
            sockaddr_in address{};
            socklen_t size = sizeof(address);
            if (copy >= 0 && getsockname(copy, reinterpret_cast<sockaddr*>(&address), &size) == 0 &&
                address.sin_family == AF_INET && ntohs(address.sin_port) == port) {
                fd_ = copy;
            } else if (copy >= 0) {
                close(copy);
            }
        }
        close(process);
    }
    ~WorkersSocket() {
        close(fd_);
    }
    WorkersSocket(const WorkersSocket&) = delete;
    WorkersSocket& operator=(const WorkersSocket&) = delete;
    int get() const {
        return fd_;
    }

private:
    int fd_ = -1;
};

class Silence : public RootAddress {
protected:
    /// How often each thread of the worker has come to rest, by thread.
    std::map<std::string, long> rests() {
        std::map<std::string, long> found;
        const pid_t worker = router().daemon().worker();
        for (const std::string& thread : router().daemon().worker_threads()) {
            const std::string number = thread.substr(0, thread.find(' '));
            std::ifstream status("/proc/" + std::to_string(worker) + "/task/" + number + "/status");
            for (std::string line; std::getline(status, line);) {
                if (line.rfind("voluntary_ctxt_switches:", 0) == 0) {
                    found[number] = std::strtol(line.c_str() + 24, nullptr, 10);
                }
            }
        }
        return found;
    }

    /// Waits until a thread has come to rest `times` more than in `before`.
    bool rested_again(const std::map<std::string, long>& before, long times) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        long most = 0;
        while (most < times && std::chrono::steady_clock::now() < end) {
            usleep(10000);
            for (const auto& [thread, count] : rests()) {
                const auto known = before.find(thread);
                most = std::max(most, known == before.end() ? 0 : count - known->second);
            }
        }
        return most >= times;
    }
};

TEST_F(Silence, of_thirty_seconds_only_starts_the_next_wait) {
    start_extender();
    announced_by("192.168.1.1");
    const WorkersSocket socket(router().daemon().worker(), 36002);
    ASSERT_GE(socket.get(), 0);
    timeval limit{};
    socklen_t size = sizeof(limit);
    ASSERT_EQ(getsockopt(socket.get(), SOL_SOCKET, SO_RCVTIMEO, &limit, &size), 0);
    EXPECT_EQ(limit.tv_sec, 30);
    EXPECT_EQ(limit.tv_usec, 0);
    // The limit is real time: shorter from the next wait on, so that many of them pass.
    limit = {0, 100000};
    ASSERT_EQ(setsockopt(socket.get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit)), 0);
    announced_by("192.168.1.1");
    skip();
    router().put_file(ROOT_FILE, "mark");
    ASSERT_TRUE(rested_again(rests(), 5));
    expect_journal({});
    expect_file(ROOT_FILE, "mark");
    announced_by(second_neighbour());
    expect_journal(message_opened());
    expect_file(ROOT_FILE, "192.168.1.2\n");
}

}  // namespace
