#include <algorithm>
#include <array>
#include <chrono>
#include <filesystem>
#include <thread>

#include "bench/life.h"
#include "bench/rows.h"
#include "lab/tools/small_file.h"

namespace bench {
namespace {

constexpr std::chrono::seconds MINUTE{60};
// Until a minute begins: what led to the state is over then, and the ready station's tick, a minute
// after it became ready, lies within.
constexpr std::chrono::seconds SETTLED{5};
// Without a station and without the timer's interface no timeout is ever pending.
constexpr char NOTHING_ARMED[] =
    "ath10 MAIN_SERVICE_AP 5l 0 0\n"
    "ath20 BACKHAUL_AP 5h 0 0\n"
    "eth ETHERNET 0 0 0\n";
// A minute's required wake-ups: sweeps, the announcement's receive timeout, the root's timers.
constexpr double SWEEPS = 60;
constexpr double RECEIVE_TIMEOUTS = 2;
constexpr double ROOT_TIMERS = 12;

// One of the four lives, and how its worker stood when the minute began.
struct Subject {
    const char* measure;
    double floor;
    double goal;
    std::unique_ptr<Bed> bed;
    std::uint64_t lines = 0;
    long before = 0;
};

// How often the threads of a process have gone to sleep of their own will.
long times_awake(pid_t pid) {
    constexpr char KEY[] = "voluntary_ctxt_switches:";
    long sum = 0;
    std::error_code gone;
    const std::string folder = "/proc/" + std::to_string(pid) + "/task";
    for (const auto& task : std::filesystem::directory_iterator(folder, gone)) {
        sum += number_behind(task.path() / "status", KEY);
    }
    return sum;
}

// What a bare loop sleeps for while it runs the lines of that minute.
bool sleeps_of_lines(Subject& subject, double& sleeps) {
    std::string printed;
    lab::file_write(subject.bed->node().at("/tmp/steps"), lines_since(*subject.bed, subject.lines));
    if (!subject.bed->run({bench_program("bench_floor"), "lines", "/tmp/steps"}, printed)) {
        return false;
    }
    sleeps = std::stod(printed.substr(printed.rfind('\n', printed.size() - 2) + 1));
    return true;
}

}  // namespace

bool wakeups_measure(Table& table, std::string& error) {
    std::array<Subject, 4> subjects = {
        Subject{"wake-ups a minute, nothing armed", RECEIVE_TIMEOUTS, 2, nullptr},
        Subject{"wake-ups a minute, waiting for an AP", SWEEPS + RECEIVE_TIMEOUTS, 62, nullptr},
        Subject{"wake-ups a minute, ready: with its lines", SWEEPS + RECEIVE_TIMEOUTS, 64, nullptr},
        Subject{"wake-ups a minute, root: with its lines", ROOT_TIMERS, 74, nullptr}};
    for (std::size_t at = 0; at < subjects.size(); ++at) {
        BedOptions options{.name = "wake" + std::to_string(at),
                           .address = "192.168.1." + std::to_string(20 + 10 * at) + "/24"};
        options.records_lines = true;
        options.is_root = at == 3;
        options.profile = at == 0 ? NOTHING_ARMED : "";
        subjects[at].bed = Bed::make(options, error);
        if (subjects[at].bed == nullptr) {
            return false;
        }
        if (!subjects[at].bed->start_daemon()) {
            error = subjects[at].bed->error();
            return false;
        }
    }
    if (!subjects[2].bed->make_ready() || !subjects[1].bed->await_log("essid mesh-backhaul", 20)) {
        error = subjects[2].bed->error() + subjects[1].bed->error();
        return false;
    }
    std::this_thread::sleep_for(SETTLED);
    for (Subject& subject : subjects) {
        lines_since(*subject.bed, subject.lines);
        subject.before = times_awake(subject.bed->daemon().worker());
    }
    std::this_thread::sleep_for(MINUTE);
    for (Subject& subject : subjects) {
        const long awake = times_awake(subject.bed->daemon().worker()) - subject.before;
        double sleeps = 0;
        if (!sleeps_of_lines(subject, sleeps)) {
            error = subject.bed->error();
            return false;
        }
        table.count(subject.measure, static_cast<double>(awake), subject.floor + sleeps,
                    subject.goal);
    }
    return true;
}

}  // namespace bench
