// The owner's side of the moved clock: creates pages, moves time second by second, wakes who is
// due and waits until all is quiet again before the next second.
//
// Used by tests and the lab on one thread. One clock can move several nodes together. Within a
// second the due sleepers are called one after the other (earliest deadline first, then who lay
// down first), each run to quiet before the next; then all due timers expire at once. So what a
// node does is the same in every run. With a processor of their own all nodes are moved exactly
// (clock_exact.cpp). No real time passes but what the machine needs; a node that
// does not become quiet within `patience` is an error that says who is running.
//
// A function that answers false has put one sentence into `error`.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "lab/clock/clock_page.h"
#include "lab/clock/processor_place.h"
#include "lab/clock/quiet.h"

namespace lab {

// Makes the page file of one node: the file must exist before a program with LAB_CLOCK starts.
bool clock_page_create(const std::string& path, ClockMode mode, std::uint32_t now,
                       std::string& error);

struct ArmedTimer {
    pid_t pid = 0;            // of its process, in the node's numbering
    int fd = -1;              // its descriptor there
    std::uint32_t first = 0;  // as armed, in seconds; 0: not armed
    std::uint32_t period = 0;
    std::uint32_t due = 0;  // absolute second of the next expiry; 0: none
};

struct Sleeper {
    pid_t pid = 0;
    pid_t tid = 0;
    std::uint32_t deadline = 0;
};

class MovedClock {
public:
    MovedClock() = default;
    ~MovedClock();
    MovedClock(const MovedClock&) = delete;
    MovedClock& operator=(const MovedClock&) = delete;

    // Takes a node under this clock. `root` is the prefix of its files ("/proc/PID/root"; empty:
    // the caller's own sandbox, where the threads in `except` may run on). Its page must exist.
    bool add_node(const std::string& root, std::string& error, std::vector<pid_t> except = {});

    // Sets all pages. The mode CLOCK_HELD makes time stand still at `now`.
    void set(ClockMode mode, std::uint32_t now);
    std::uint32_t now() const;

    // Moves time on. `each_second`, if given, runs after every second when all is quiet; when it
    // returns true, time stops there.
    bool advance(std::uint32_t seconds, std::string& error,
                 const std::function<bool()>& each_second = nullptr);

    // Moves time one second on though nodes are running, and waits for nobody: for a test of what
    // they do at once. The next run is another one. Not for nodes that are moved exactly. A sleeper
    // whose process dies before it wakes keeps its slot.
    void pass_second();

    // Waits until all nodes are quiet, without moving time.
    bool settle(std::string& error);

    // All moved timers of all nodes, in the order of their creation.
    std::vector<ArmedTimer> timers() const;
    std::vector<Sleeper> sleepers() const;

    // Seconds passed by sleeps in CLOCK_EAGER.
    std::uint32_t slept() const;

    // Called whenever all nodes are quiet. Returns the nodes of which it made somebody go on; the
    // wait for quiet then begins again. For who serves requests that nodes wait for.
    std::function<std::vector<int>()> at_rest;

    // Calls the first due sleeper of every node at once, then the second ones, and so on. Many
    // nodes take less time; what one node sends another may then arrive before or after the
    // other's own sleeper ran.
    bool nodes_together = false;

    // All nodes share this processor, which outlives the clock: what they do and in which order is
    // the same however busy the machine is. To be called before nodes are added.
    void be_exact(ProcessorPlace* place);

    // To be called when the owner of exactly moved nodes starts or ends processes of this one: what
    // its account says holds no more.
    void touch(int node);

    // Grows with whatever a node or its owner does that may have changed its processes.
    std::uint32_t starts(int node) const;

    // Real time after which a node that is not quiet is an error. A machine that builds meanwhile
    // lets a node wait for long.
    std::chrono::milliseconds patience{60000};

    // Whether something outside the nodes still has an answer to give to one of them, which looks
    // blocked meanwhile; empty when there is nothing of that kind.
    std::function<bool()> also_busy;

private:
    struct Node {
        std::string root;
        ClockPage* page = nullptr;
        std::unique_ptr<QuietWatch> watch;
        bool touched = true;
        std::uint32_t touches = 0;
        std::uint32_t awake_at_rest = 0;
        std::uint32_t lines_at_rest = 0;
        std::uint32_t handed_at_rest = 0;

        bool may_run() const;
    };
    struct Due {
        Node* node;
        SleeperSlot* slot;
    };

    std::uint32_t next_event() const;
    std::vector<Due> due_sleepers();
    static std::vector<std::vector<Due>> rounds_of(const std::vector<Due>& due, bool together);
    bool call_sleeper(const Due& due, std::string& error);
    // Lets due timers expire; true when there were any.
    bool expire_due();
    bool fire_timers(std::string& error);
    bool move_to(std::uint32_t second, std::string& error);
    bool all_quiet();
    bool serve_at_rest();
    bool wait_quiet(std::string& error);
    bool not_quiet(std::string& error) const;
    std::string describe() const;

    // clock_exact.cpp
    bool exact_rest(std::string& error);
    bool packets_wait(std::string& error) const;
    static void slots_take_back(const Node& node);
    void exact_call(Node& node, SleeperSlot& slot);
    std::pair<Node*, SleeperSlot*> exact_first(SlotKind kind) const;
    bool exact_send(std::string& error);
    bool exact_settle(std::string& error);
    bool exact_move(std::string& error);

    ProcessorPlace* place_ = nullptr;

    std::vector<std::unique_ptr<Node>> nodes_;
};

}  // namespace lab
