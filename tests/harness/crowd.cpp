#include "tests/harness/crowd.h"

#include <cstdint>
#include <cstdlib>
#include <thread>
#include <utility>

#include "lab/tools/record.h"
#include "tests/harness/wait.h"

namespace harness {
namespace {

constexpr size_t LINES_WANTED = 1000;
constexpr int PATIENCE_MS_A_LINE = 200;

size_t lines_wanted() {
    const char* wanted = getenv("BACKHAUL_RACE_LINES");
    return wanted == nullptr ? LINES_WANTED : strtoul(wanted, nullptr, 10);
}

}  // namespace

Crowd::Crowd(std::string root) : root_(std::move(root)), wanted_(lines_wanted()) {}

void Crowd::add(Send send, size_t lines_a_send, int patience_ms) {
    senders_.push_back({std::move(send), lines_a_send, patience_ms});
}

void Crowd::send_all_along(const Sender& sender) {
    for (unsigned number = 0; !is_over_; ++number) {
        sender.send(number);
        const size_t next = lines_ + sender.lines_a_send;
        wait_until([this, next] { return is_over_ || lines_ >= next; }, sender.patience_ms);
    }
}

bool Crowd::count_lines() {
    std::uint64_t offset = 0;
    std::vector<lab::LineRecord> records;
    lab::line_records_read(root_, &offset, &records);
    const size_t before = records.size();
    return wait_until(
        [&] {
            lab::line_records_read(root_, &offset, &records);
            lines_ = records.size() - before;
            return lines_ >= wanted_;
        },
        static_cast<int>(wanted_) * PATIENCE_MS_A_LINE);
}

bool Crowd::run() {
    std::vector<std::thread> threads;
    threads.reserve(senders_.size());
    for (const Sender& sender : senders_) {
        threads.emplace_back([this, &sender] { send_all_along(sender); });
    }
    const bool enough = count_lines();
    is_over_ = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    return enough;
}

}  // namespace harness
