// The supervisor's loop, run for real in a child process with workers that end on request.

#include "daemon/supervisor.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <pthread.h>
#include <sched.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "lab/sandbox/layout.h"
#include "runtime/flow_log.h"
#include "runtime/runtime_block.h"
#include "tests/harness/sandbox.h"

namespace {

using harness::file_is_there;
using harness::file_text;
using testing::ElementsAre;

/// How a supervisor ends whose worker was told "done".
constexpr int KILLED = -SIGKILL;
constexpr char CRASH[] = "/var/log/backhaul_flow_log.crash";
constexpr char START[] = "<-- backhaul_monitor start -->";

/// How the workers end, one word each; the last word is for the supervisor itself. Each worker
/// takes the next word.
std::string next_order() {
    const std::string orders = file_text("/tmp/orders");
    const size_t end = orders.find(' ');
    harness::put_file("/tmp/orders", orders.substr(end + 1));
    return orders.substr(0, end);
}

[[noreturn]] void worker_end_by(int signal) {
    std::signal(signal, SIG_DFL);
    kill(getpid(), signal);
    for (;;) {
        pause();
    }
}

void worker_by_order() {
    const std::string order = next_order();
    std::printf("worker %s\n", order.c_str());
    if (order == "done") {
        kill(getppid(), SIGKILL);
        worker_end_by(SIGKILL);
    }
    if (order.rfind("exit", 0) == 0) {
        std::fflush(stdout);
        _exit(std::atoi(order.c_str() + 4));
    }
    if (order == "interrupt") {
        kill(getppid(), SIGALRM);
        _exit(0);
    }
    worker_end_by(std::atoi(order.c_str()));
}

/// The supervisor is gone before its worker has made a step. A lock on "/tmp/alive" tells how long
/// either of them lives.
void supervisor_end_at_fork() {
    flock(open("/tmp/alive", O_RDWR | O_CREAT, 0600), LOCK_EX);
    pthread_atfork(nullptr, nullptr, [] {
        const pid_t supervisor = getppid();
        kill(supervisor, SIGKILL);
        while (getppid() == supervisor) {
            sched_yield();
        }
    });
}

class Supervisor : public harness::SandboxTest {
protected:
    static constexpr uint32_t START_TIME = 1000000;

    void SetUp() override {
        SandboxTest::SetUp();
        harness::clock_start(START_TIME);
        runtime.flow_log_lines = 0;
    }

    /// Runs a supervisor of `worker` until a worker is told "done". Gives how it ended.
    static int supervise(const std::string& orders, void (*prepare)() = nullptr,
                         void (*worker)() = worker_by_order) {
        harness::put_file("/tmp/orders", orders);
        return harness::exit_code(
            [=] {
                const rlimit no_core{0, 0};
                setrlimit(RLIMIT_CORE, &no_core);
                if (prepare != nullptr) {
                    prepare();
                }
                supervisor_run(worker);
            },
            harness::LINES_OUT);
    }
};

TEST_F(Supervisor, logs_any_exit_as_normal_with_the_value_1) {
    EXPECT_EQ(supervise("exit0 exit1 exit7 done"), KILLED);
    EXPECT_THAT(harness::flow_log_lines(),
                ElementsAre(START, "normal termination : 1", START, "normal termination : 1", START,
                            "normal termination : 1", START));
    EXPECT_FALSE(file_is_there(CRASH));
    EXPECT_EQ(harness::clock_now(), START_TIME + 3) << "a second before each restart";
}

TEST_F(Supervisor, leaves_no_worker_when_it_was_gone_before_that_could_ask_for_its_end) {
    EXPECT_EQ(supervise("exit0", supervisor_end_at_fork), KILLED);
    const int alive = open("/tmp/alive", O_RDWR | O_CLOEXEC);
    EXPECT_TRUE(harness::wait_until([&] { return flock(alive, LOCK_EX | LOCK_NB) == 0; }));
    close(alive);
    EXPECT_FALSE(file_is_there(FLOW_LOG_PATH));
    EXPECT_EQ(file_text("/tmp/orders"), "exit0") << "no worker ran";
}

TEST_F(Supervisor, restarts_quietly_after_signal_10) {
    EXPECT_EQ(supervise("10 done"), KILLED);
    EXPECT_THAT(harness::flow_log_lines(), ElementsAre(START, START));
    EXPECT_FALSE(file_is_there(CRASH));
    EXPECT_EQ(harness::clock_now(), START_TIME + 1);
}

TEST_F(Supervisor, keeps_the_flow_log_of_a_worker_killed_by_another_signal) {
    for (const int signal : {SIGSEGV, SIGKILL, SIGTERM, SIGUSR2}) {
        SetUp();
        const std::string number = std::to_string(signal);
        EXPECT_EQ(supervise(number + " done"), KILLED);
        EXPECT_THAT(harness::without_dates(file_text(CRASH)),
                    ElementsAre(START, "abnormal termination : " + number))
            << "the line comes before the renaming";
        EXPECT_THAT(harness::without_dates(file_text(FLOW_LOG_PATH)), ElementsAre(START));
        EXPECT_EQ(harness::clock_now(), START_TIME + 1);
    }
}

TEST_F(Supervisor, replaces_an_older_crash_log) {
    harness::put_file(CRASH, "older\n");
    EXPECT_EQ(supervise("exit0 9 11 done"), KILLED);
    EXPECT_THAT(harness::without_dates(file_text(CRASH)),
                ElementsAre(START, "abnormal termination : 11"));
}

TEST_F(Supervisor, goes_on_when_the_flow_log_cannot_be_written_or_renamed) {
    mkdir(CRASH, 0755);
    harness::put_file(std::string(CRASH) + "/keeps", "it");
    EXPECT_EQ(supervise("9 9 done"), KILLED);
    EXPECT_THAT(harness::flow_log_lines(), ElementsAre(START, "abnormal termination : 9", START,
                                                       "abnormal termination : 9", START));
}

TEST_F(Supervisor, prints_each_line_once_and_in_order) {
    EXPECT_EQ(supervise("exit0 9 10 done"), KILLED);
    const std::string out = file_text("/tmp/out");
    size_t waits = 0;
    for (size_t at = out.find("Wait pid\n"); at != std::string::npos;
         at = out.find("Wait pid\n", at + 1)) {
        ++waits;
    }
    // The last one may be cut off: that worker kills its supervisor.
    EXPECT_GE(waits, 3U) << out;
    EXPECT_LE(waits, 4U) << out;
    for (const char* const line : {"worker exit0\n", "worker 9\n", "worker 10\n"}) {
        const size_t first = out.find(line);
        EXPECT_NE(first, std::string::npos) << out;
        EXPECT_EQ(out.find(line, first + 1), std::string::npos) << out;
    }
}

TEST_F(Supervisor, waits_on_when_a_signal_interrupts_it) {
    EXPECT_EQ(supervise("interrupt exit0 done",
                        [] {
                            struct sigaction handler {};
                            handler.sa_handler = [](int) {
                            };
                            sigaction(SIGALRM, &handler, nullptr);
                        }),
              KILLED);
    EXPECT_THAT(harness::flow_log_lines(), ElementsAre(START, "normal termination : 1", START,
                                                       "normal termination : 1", START));
}

TEST_F(Supervisor, ends_with_status_0_and_without_a_word_when_fork_fails) {
    EXPECT_EQ(supervise("exit0 done", harness::forks_refuse), 0);
    EXPECT_FALSE(file_is_there(FLOW_LOG_PATH));
    EXPECT_EQ(file_text("/tmp/out"), "");
    EXPECT_EQ(file_text("/tmp/orders"), "exit0 done") << "no worker ran";
}

TEST_F(Supervisor, starts_each_worker_with_a_count_of_its_own_and_the_same_settings) {
    runtime.flow_log_lines = 123;
    runtime.intf_init = 0;
    const int end = supervise("exit0 done", nullptr, [] {
        // The start line was the first call of this process.
        flow_log("count %d, intf_init %d\n", static_cast<int>(runtime.flow_log_lines),
                 runtime.intf_init);
        runtime.intf_init = 1;
        runtime.master = 1;
        worker_by_order();
    });
    EXPECT_EQ(end, KILLED);
    runtime.intf_init = 1;
    EXPECT_THAT(harness::flow_log_lines(),
                ElementsAre(START, "count 1, intf_init 0", "normal termination : 1", START,
                            "count 1, intf_init 0"));
}

TEST_F(Supervisor, leaves_no_zombie_after_20_kills_in_a_row) {
    std::string orders;
    for (int i = 0; i < 20; ++i) {
        orders += "9 ";
    }
    const int end = supervise(orders + "done", nullptr, [] {
        if (file_text("/tmp/orders") == "done") {
            // What the supervisor has for children now: this worker alone.
            const std::string supervisor = std::to_string(getppid());
            const std::string children =
                file_text("/proc/" + supervisor + "/task/" + supervisor + "/children");
            harness::put_file("/tmp/children",
                              children == std::to_string(getpid()) + " " ? "one" : children);
        }
        worker_by_order();
    });
    EXPECT_EQ(end, KILLED);
    EXPECT_EQ(file_text("/tmp/children"), "one");
    EXPECT_EQ(harness::clock_now(), START_TIME + 20);
}

}  // namespace
