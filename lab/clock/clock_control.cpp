#include "lab/clock/clock_control.h"

#include <fcntl.h>
#include <linux/futex.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>

#include "lab/sandbox/layout.h"

namespace lab {
namespace {

using RealClock = std::chrono::steady_clock;

constexpr std::uint32_t NEVER = UINT32_MAX;

// Of what is told when a mesh does not come to rest: nobody reads of all its nodes.
constexpr std::size_t LONGEST_DESCRIPTION = 8000;

// Waits at most `patience_ns` for the word to change from `seen`.
void futex_wait(const ClockWord& word, std::uint32_t seen, long patience_ns) {
    const timespec limit{0, patience_ns};
    syscall(SYS_futex, word.futex(), FUTEX_WAIT, ClockWord::in_page(seen), &limit, nullptr, 0);
}

// Ends a sleep; false when nobody sleeps there any more.
bool call(SleeperSlot& slot) {
    std::uint32_t expected = SLEEPER_WAITS;
    if (!slot.state.compare_exchange_strong(expected, SLEEPER_CALLED)) {
        return false;
    }
    slot.state.wake();
    return true;
}

ClockPage* map_page(const std::string& path) {
    const int fd = open(path.c_str(), O_RDWR | O_CLOEXEC);
    if (fd < 0) {
        return nullptr;
    }
    void* mapped = mmap(nullptr, sizeof(ClockPage), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    close(fd);
    return mapped == MAP_FAILED ? nullptr : static_cast<ClockPage*>(mapped);
}

// Whether any process still has the timer open.
bool is_open_somewhere(const std::string& path) {
    const int in = open(path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    if (in < 0) {
        return false;
    }
    close(in);
    return true;
}

std::string timer_path(const std::string& root, std::uint32_t number) {
    return root + LAB_TIMERS + "/" + std::to_string(number);
}

// Adds one expiry to what the program has not read yet. False when nobody has the timer open.
bool add_expiry(const std::string& path) {
    const int in = open(path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    if (in < 0) {
        return false;
    }
    std::uint64_t count = 0;
    int unread = 0;
    if (ioctl(in, FIONREAD, &unread) == 0 && unread >= static_cast<int>(sizeof(count))) {
        const int out = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        if (out >= 0) {
            if (read(out, &count, sizeof(count)) != sizeof(count)) {
                count = 0;
            }
            close(out);
        }
    }
    ++count;
    const bool written = write(in, &count, sizeof(count)) == sizeof(count);
    close(in);
    return written;
}

}  // namespace

bool clock_page_create(const std::string& path, ClockMode mode, std::uint32_t now,
                       std::string& error) {
    const int fd = open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (fd < 0 || ftruncate(fd, sizeof(ClockPage)) != 0) {
        error = "cannot make the clock page " + path + ": " + strerror(errno);
        if (fd >= 0) {
            close(fd);
        }
        return false;
    }
    close(fd);
    ClockPage* page = map_page(path);
    if (page == nullptr) {
        error = "cannot map the clock page " + path + ": " + strerror(errno);
        return false;
    }
    page->now.store(now);
    page->mode.store(mode);
    page->magic.store(CLOCK_MAGIC);
    munmap(page, sizeof(ClockPage));
    return true;
}

MovedClock::~MovedClock() {
    for (const auto& node : nodes_) {
        munmap(node->page, sizeof(ClockPage));
    }
}

bool MovedClock::add_node(const std::string& root, std::string& error, std::vector<pid_t> except) {
    auto node = std::make_unique<Node>();
    node->root = root;
    node->page = map_page(root + LAB_CLOCK);
    if (node->page == nullptr) {
        error = "no clock page at " + root + LAB_CLOCK + ": " + strerror(errno);
        return false;
    }
    node->page->exact.store(place_ == nullptr ? 0 : 1);
    // The waits for quiet are shorter than what the kernel adds to a sleep by default.
    prctl(PR_SET_TIMERSLACK, 1000UL);
    node->watch = std::make_unique<QuietWatch>(root + "/proc", std::move(except));
    if (!nodes_.empty() && node->page->mode.load() != CLOCK_REAL) {
        node->page->now.store(now());
    }
    nodes_.push_back(std::move(node));
    return true;
}

void MovedClock::set(ClockMode mode, std::uint32_t now) {
    for (const auto& node : nodes_) {
        node->page->now.store(now);
        node->page->mode.store(mode);
    }
}

std::uint32_t MovedClock::now() const {
    return nodes_.empty() ? 0 : nodes_.front()->page->now.load();
}

std::uint32_t MovedClock::slept() const {
    std::uint32_t seconds = 0;
    for (const auto& node : nodes_) {
        seconds += node->page->slept.load();
    }
    return seconds;
}

// The earliest second at which anybody is due; seconds before it pass unseen.
std::uint32_t MovedClock::next_event() const {
    std::uint32_t next = NEVER;
    for (const auto& node : nodes_) {
        for (const SleeperSlot& slot : node->page->sleepers) {
            if (slot.state.load() == SLEEPER_WAITS) {
                next = std::min(next, slot.deadline.load());
            }
        }
        for (const TimerSlot& timer : node->page->timers) {
            if (timer.taken.load() == 1 && timer.due.load() != 0) {
                next = std::min(next, timer.due.load());
            }
        }
    }
    return next;
}

std::vector<MovedClock::Due> MovedClock::due_sleepers() {
    std::vector<Due> due;
    for (const auto& node : nodes_) {
        for (SleeperSlot& slot : node->page->sleepers) {
            if (slot.state.load() == SLEEPER_WAITS && slot.kind.load() == SLOT_SLEEP &&
                slot.deadline.load() <= now()) {
                due.push_back({node.get(), &slot});
            }
        }
    }
    std::stable_sort(due.begin(), due.end(), [](const Due& one, const Due& other) {
        const std::uint32_t mine = one.slot->deadline.load();
        const std::uint32_t its = other.slot->deadline.load();
        return mine != its ? mine < its : one.slot->order.load() < other.slot->order.load();
    });
    return due;
}

// Who is called before the next wait for quiet: one sleeper, or one of every node.
std::vector<std::vector<MovedClock::Due>> MovedClock::rounds_of(const std::vector<Due>& due,
                                                                bool together) {
    std::vector<std::vector<Due>> rounds;
    for (const Due& one : due) {
        const auto place = std::find_if(rounds.begin(), rounds.end(), [&](const auto& round) {
            return together && std::none_of(round.begin(), round.end(), [&](const Due& other) {
                       return other.node == one.node;
                   });
        });
        if (place == rounds.end()) {
            rounds.push_back({one});
        } else {
            place->push_back(one);
        }
    }
    return rounds;
}

bool MovedClock::call_sleeper(const Due& due, std::string& error) {
    SleeperSlot& slot = *due.slot;
    const pid_t pid = static_cast<pid_t>(slot.pid.load());
    const pid_t tid = static_cast<pid_t>(slot.tid.load());
    const std::uint32_t order = slot.order.load();
    if (!call(slot)) {
        return true;
    }
    const auto end = RealClock::now() + patience;
    std::uint32_t seen = due.node->page->changes.load();
    while (slot.state.load() == SLEEPER_CALLED && slot.order.load() == order) {
        futex_wait(due.node->page->changes, seen, 2'000'000);
        if (due.node->page->changes.load() == seen && !due.node->watch->thread_exists(pid, tid)) {
            slot.state.store(SLEEPER_FREE);
            break;
        }
        seen = due.node->page->changes.load();
        if (RealClock::now() > end) {
            error = "a called sleeper does not wake\n" + describe();
            return false;
        }
    }
    return true;
}

bool MovedClock::expire_due() {
    bool fired = false;
    for (const auto& node : nodes_) {
        node->page->gate.fetch_add(1);
        for (std::uint32_t number = 0; number < TIMER_SLOTS; ++number) {
            TimerSlot& timer = node->page->timers[number];
            const std::uint32_t due = timer.due.load();
            if (timer.taken.load() != 1 || due == 0 || due > now()) {
                continue;
            }
            const std::uint32_t period = timer.period.load();
            timer.due.store(period == 0 ? 0 : due + period);
            fired = true;
            if (!add_expiry(timer_path(node->root, number))) {
                timer.taken.store(0);
            }
        }
        node->page->gate.fetch_add(1);
        node->page->gate.wake();
    }
    return fired;
}

bool MovedClock::fire_timers(std::string& error) {
    return !expire_due() || settle(error);
}

bool MovedClock::move_to(std::uint32_t second, std::string& error) {
    for (const auto& node : nodes_) {
        node->page->now.store(second);
    }
    if (place_ != nullptr) {
        place_->begin(patience);
        const bool moved = exact_move(error);
        place_->end();
        return moved && fire_timers(error);
    }
    for (const std::vector<Due>& round : rounds_of(due_sleepers(), nodes_together)) {
        for (const Due& due : round) {
            if (!call_sleeper(due, error)) {
                return false;
            }
        }
        if (!wait_quiet(error)) {
            return false;
        }
    }
    return fire_timers(error);
}

bool MovedClock::advance(std::uint32_t seconds, std::string& error,
                         const std::function<bool()>& each_second) {
    const std::uint32_t target = now() + seconds;
    if (!settle(error)) {
        return false;
    }
    while (now() < target) {
        std::uint32_t second = now() + 1;
        if (!each_second) {
            second = std::min(target, std::max(second, next_event()));
        }
        if (!move_to(second, error)) {
            return false;
        }
        if (each_second && each_second()) {
            return true;
        }
    }
    return true;
}

void MovedClock::pass_second() {
    for (const auto& node : nodes_) {
        node->page->now.fetch_add(1);
    }
    for (const Due& due : due_sleepers()) {
        call(*due.slot);
    }
    expire_due();
}

bool MovedClock::settle(std::string& error) {
    if (place_ == nullptr) {
        return wait_quiet(error);
    }
    place_->begin(patience);
    const bool settled = exact_settle(error);
    place_->end();
    return settled;
}

// One node may wake another that was looked at before it. Between the two looks at all of them lies
// a moment at which nobody ran; a packet that was under way then has been delivered and woken its
// receiver, or is under way still.
bool MovedClock::all_quiet() {
    return std::all_of(nodes_.begin(), nodes_.end(),
                       [](const auto& node) { return node->watch->is_quiet(); }) &&
           !packets_under_way() && !(also_busy && also_busy()) &&
           std::all_of(nodes_.begin(), nodes_.end(),
                       [](const auto& node) { return node->watch->is_quiet_still(); });
}

// Between its wait and its next word to the account of its node, who goes on may wait for the
// machine: that account holds no more.
bool MovedClock::serve_at_rest() {
    const std::vector<int> served = at_rest ? at_rest() : std::vector<int>{};
    for (const int node : served) {
        nodes_[static_cast<std::size_t>(node)]->touched = true;
    }
    return !served.empty();
}

bool MovedClock::wait_quiet(std::string& error) {
    const auto end = RealClock::now() + patience;
    useconds_t pause = 0;
    for (;;) {
        if (all_quiet()) {
            if (!serve_at_rest()) {
                return true;
            }
            pause = 0;
            continue;
        }
        if (RealClock::now() > end) {
            return not_quiet(error);
        }
        pause == 0 ? sched_yield() : usleep(pause);
        pause = std::min<useconds_t>(pause * 2 + 10, 1000);
    }
}

bool MovedClock::not_quiet(std::string& error) const {
    error = "not quiet after " + std::to_string(patience.count()) + " ms at second " +
            std::to_string(now()) + "\n" + describe();
    return false;
}

std::string MovedClock::describe() const {
    std::string text;
    for (const auto& node : nodes_) {
        if (text.size() > LONGEST_DESCRIPTION) {
            return text + "and more\n";
        }
        text += (node->root.empty() ? "own sandbox" : node->root) + ":\n" + node->watch->describe();
    }
    return text;
}

std::vector<ArmedTimer> MovedClock::timers() const {
    std::vector<std::pair<std::uint32_t, ArmedTimer>> found;
    for (const auto& node : nodes_) {
        for (std::uint32_t number = 0; number < TIMER_SLOTS; ++number) {
            const TimerSlot& timer = node->page->timers[number];
            if (timer.taken.load() == 1 && is_open_somewhere(timer_path(node->root, number))) {
                found.push_back(
                    {timer.order.load(),
                     {static_cast<pid_t>(timer.pid.load()), static_cast<int>(timer.fd.load()),
                      timer.first.load(), timer.period.load(), timer.due.load()}});
            }
        }
    }
    std::sort(found.begin(), found.end(),
              [](const auto& one, const auto& other) { return one.first < other.first; });
    std::vector<ArmedTimer> timers;
    for (const auto& one : found) {
        timers.push_back(one.second);
    }
    return timers;
}

std::vector<Sleeper> MovedClock::sleepers() const {
    std::vector<Sleeper> found;
    for (const auto& node : nodes_) {
        for (const SleeperSlot& slot : node->page->sleepers) {
            if (slot.state.load() == SLEEPER_WAITS) {
                found.push_back({static_cast<pid_t>(slot.pid.load()),
                                 static_cast<pid_t>(slot.tid.load()), slot.deadline.load()});
            }
        }
    }
    return found;
}

}  // namespace lab
