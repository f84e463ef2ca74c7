// Many who send to one router at the same time, each on a thread of its own, until its daemon has
// run so many lines. Counted in lines, not in seconds: a busy machine takes longer and does the
// same.
#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace harness {

class Crowd {
public:
    /// Called with 0, 1, 2... on the sender's own thread.
    using Send = std::function<void(unsigned number)>;

    /// For the router with its files at `root`, until its daemon has run 1,000 more lines, or
    /// BACKHAUL_RACE_LINES of them.
    explicit Crowd(std::string root);

    /// Sends whenever the daemon has run so many more lines, or has not for `patience_ms`: all
    /// queues hold something, and none grows without end.
    void add(Send send, size_t lines_a_send = 12, int patience_ms = 1000);

    /// Lets all of them send. False when the lines did not come in 200 ms each, which is far above
    /// what one takes on a busy machine, under a sanitizer.
    bool run();

    /// Lines that the daemon ran meanwhile.
    size_t lines() const {
        return lines_;
    }

private:
    struct Sender {
        Send send;
        size_t lines_a_send;
        int patience_ms;
    };

    void send_all_along(const Sender& sender);
    bool count_lines();

    std::string root_;
    size_t wanted_;
    std::vector<Sender> senders_;
    std::atomic<size_t> lines_{0};
    std::atomic<bool> is_over_{false};
};

}  // namespace harness
