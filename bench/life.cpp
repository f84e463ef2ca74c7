#include "bench/life.h"

#include <unistd.h>

#include <chrono>
#include <sstream>

#include "bench/rows.h"
#include "lab/tools/record.h"
#include "lab/tools/small_file.h"

namespace bench {
namespace {

constexpr char DAEMON_ADDRESS[] = "192.168.1.20/24";
constexpr char FLOOR_ADDRESS[] = "192.168.1.40/24";
constexpr char RECORDED_ADDRESS[] = "192.168.1.60/24";

// The log's entries from the last loss to the status file, which is written behind the event.
std::string entries_of_loss(Bed& bed) {
    std::string log;
    lab::file_read(bed.node().at(LOG), &log);
    const std::size_t from = log.rfind('\n', log.rfind("STA_CONNECTION_DOWN")) + 1;
    std::istringstream lines(log.substr(from));
    std::string steps;
    for (std::string line; std::getline(lines, line);) {
        steps += "E " + line + "\n";
        if (line.ends_with("AP_DISASSOC")) {
            break;
        }
    }
    return steps;
}

// What a life consists of, told by the shell that records.
bool life_read(Life& life, std::string& error) {
    BedOptions options{.name = "recorded", .address = RECORDED_ADDRESS};
    options.records_lines = true;
    const std::unique_ptr<Bed> bed = Bed::make(options, error);
    Reaction ignored;
    std::uint64_t offset = 0;
    if (bed == nullptr || !bed->start_daemon() || !bed->make_ready()) {
        error = bed == nullptr ? error : bed->error();
        return false;
    }
    lines_since(*bed, offset);
    bool done = bed->lose(ignored);
    life.loss = lines_since(*bed, offset);
    life.loss_entries = entries_of_loss(*bed);
    done = done && bed->connect(ignored);
    life.connect = lines_since(*bed, offset);
    done = done && bed->configure(ignored);
    life.ready = lines_since(*bed, offset);
    error = bed->error();
    return done;
}

}  // namespace

std::string lines_since(Bed& bed, std::uint64_t& offset) {
    std::vector<lab::LineRecord> records;
    lab::line_records_read(bed.node().root(), &offset, &records);
    std::string text;
    for (const lab::LineRecord& record : records) {
        text += "L " + record.line + "\n";
    }
    return text;
}

bool floor_start(Bed& bed, const std::vector<std::pair<std::string, std::string>>& scripts,
                 pid_t& pid, std::string& error) {
    std::vector<std::string> words = {bench_program("bench_floor"), "replay"};
    for (const auto& [interface, steps] : scripts) {
        lab::file_write(bed.node().at("/tmp/steps." + interface), steps);
        words.push_back(interface + "=/tmp/steps." + interface);
    }
    pid = bed.spawn(words);
    if (pid < 0) {
        error = bed.error();
        return false;
    }
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (access(bed.node().at("/tmp/floor_listens").c_str(), F_OK) != 0) {
        if (std::chrono::steady_clock::now() > end) {
            error = "the floor's program does not listen";
            return false;
        }
        usleep(1000);
    }
    return true;
}

bool pair_make(Pair& pair, std::string& error) {
    pair.daemon = Bed::make({.name = "daemon", .address = DAEMON_ADDRESS}, error);
    pair.floor = pair.daemon == nullptr
                     ? nullptr
                     : Bed::make({.name = "floor", .address = FLOOR_ADDRESS}, error);
    if (pair.floor == nullptr || !life_read(pair.life, error)) {
        return false;
    }
    if (!pair.daemon->start_daemon() || !pair.daemon->make_ready()) {
        error = pair.daemon->error();
        return false;
    }
    const Life& life = pair.life;
    const std::string status = "S not ready\n";
    return floor_start(*pair.floor,
                       {{"ath0", life.loss},
                        {"ath1", life.connect},
                        {"ath10", life.ready + "S ready\n"},
                        {"ath11", status},
                        {"ath14", life.loss_entries + status}},
                       pair.floor_pid, error);
}

// The floor's program acts on an event of `interface` until `done`.
bool floor_react(Bed& bed, const char* interface, Reaction& seen,
                 const std::function<bool(const Reaction&)>& done) {
    return bed.watch(
        [&bed, interface] {
            return lab::driver_disassociated(&bed.driver(), interface, bed.error());
        },
        seen, [&done](const Reaction& so_far, const std::string&) { return done(so_far); });
}

}  // namespace bench
