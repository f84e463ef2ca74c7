#include "tests/fuzz/lives/life.h"

#include <sys/socket.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "daemon/worker.h"
#include "intake/netlink_intake.h"
#include "runtime/flow_log.h"
#include "runtime/runtime_block.h"
#include "runtime/worker_end.h"

extern "C" void __real_free(void* memory);

namespace lives {
namespace {

constexpr int64_t CLOCK_START = 1'700'000'000;
constexpr int DESCRIPTOR_FIRST = 700;  // far from the machine's own, within what select holds
constexpr unsigned COMMANDS_MAX = 20'000;
constexpr unsigned TURNS_MAX = 20'000;

// The fuzzer engine has threads of its own, whose calls are none of a life's.
thread_local Life* running = nullptr;

// The block as the program's start left it.
const std::vector<char>& pristine_block() {
    static const std::vector<char> bytes(reinterpret_cast<const char*>(&runtime),
                                         reinterpret_cast<const char*>(&runtime + 1));
    return bytes;
}

// As the daemon takes it from a tool: up to a blank or a zero.
std::string first_word(const std::string& text) {
    constexpr std::string_view BLANKS = " \t\n\v\f\r";
    const size_t begin = std::min(text.find_first_not_of(BLANKS), text.size());
    const std::string word = text.substr(begin, text.find_first_of(BLANKS, begin) - begin);
    return word.substr(0, word.find('\0'));
}

void* worker_main(void* /*argument*/) {
    runtime.flow_log_lines = 0;
    flow_log("<-- backhaul_monitor start -->\n");
    backhaul_monitor();
}

}  // namespace

Silence::Silence() : stdout_(stdout), stderr_(stderr) {
    static FILE* const nowhere = [] {
        const cookie_io_functions_t silent{
            nullptr, [](void*, const char*, size_t size) { return static_cast<ssize_t>(size); },
            nullptr, nullptr};
        return fopencookie(nullptr, "w", silent);
    }();
    story_stream = stderr;
    stdout = nowhere;
    stderr = nowhere;
}

Silence::~Silence() {
    stdout = stdout_;
    stderr = stderr_;
}

Life* life_of_caller() {
    return running != nullptr && running->current != nullptr ? running : nullptr;
}

Life::Life(bool is_master, bool is_told) : master(is_master), tells(is_told) {
    pristine_block();
    files.on_close = [this](int fd) {
        *descriptor(fd) = {};
    };
    files.on_write = [this](const FileNode& node, std::string_view written) {
        const FileNodePtr log = files.find(FLOW_LOG_PATH);
        if (log.get() == &node) {
            rules.log_line(*this, written);
        }
    };
    surroundings_fill(*this);
}

Life::~Life() {
    worker_drop();
}

void Life::tell(const std::string& line) const {
    if (tells) {
        std::fprintf(story_stream, "%s\n", line.c_str());
    }
}

int64_t Life::wall_clock() const {
    return CLOCK_START + elapsed + clock_offset;
}

void Life::worker_require() {
    if (worker_runs || is_broken) {
        return;
    }
    ++elapsed;
    tell("-- a worker starts");
    std::memcpy(static_cast<void*>(&runtime), pristine_block().data(), pristine_block().size());
    runtime.master = master;
    runtime.max_disconnect = around.max_disconnect;
    runtime.loop_disconnect = around.loop_disconnect;
    runtime.ready_decay = around.ready_decay;
    runtime.backhaul_ap_enable = around.backhaul_ap_enable;
    runtime.intf_init = around.intf_init;
    rules.worker_started();
    worker_runs = true;
    threads.clear();
    last_thread_ = 0;
    thread_add(worker_main, nullptr);
}

void Life::worker_drop() {
    worker_runs = false;
    threads.clear();
    mutex_owners.clear();
    files.close_all();
    for (void* const block : memory) {
        __real_free(block);
    }
    memory.clear();
    tables.clear();
    descriptors_ = {};
    driver_events.clear();
    fifo_words.clear();
    datagrams.clear();
    std::memcpy(static_cast<void*>(&runtime), pristine_block().data(), pristine_block().size());
}

bool Life::can_run(const Thread& thread) {
    const Wait& reason = thread.wait;
    switch (reason.kind) {
        case WaitKind::nothing:
            return true;
        case WaitKind::seconds:
            return elapsed >= reason.until;
        case WaitKind::mutex:
            return !mutex_owners.contains(reason.mutex);
        case WaitKind::readiness:
            return readable(*reason.watched, reason.max_fd, nullptr) > 0;
        case WaitKind::datagram:
            return is_readable(reason.fd) || (reason.until != 0 && elapsed >= reason.until);
        case WaitKind::condition:  // a signal makes it wait for the mutex
        case WaitKind::ever:
            break;
    }
    return false;
}

Thread* Life::next_thread() {
    for (size_t i = 0; i < threads.size(); ++i) {
        const size_t place = (last_thread_ + i) % threads.size();
        if (!threads[place]->is_over && can_run(*threads[place])) {
            last_thread_ = place;
            return threads[place].get();
        }
    }
    return nullptr;
}

bool Life::settle() {
    while (worker_runs && !is_broken) {
        Thread* const thread = next_thread();
        if (thread == nullptr) {
            rules.standstill(*this);
            return !is_broken;
        }
        if (++turns_ > TURNS_MAX || commands_ > COMMANDS_MAX) {
            return false;
        }
        thread->wait = {};
        running = this;
        current = thread;
        thread->fiber.resume();
        current = nullptr;
        running = nullptr;
    }
    if (!worker_runs) {
        worker_drop();
    }
    return !is_broken;
}

void Life::clock_moves(int64_t seconds) {
    clock_offset += seconds;
    rules.clock_moved();
}

void Life::intake_rest() {
    if (!cleared_queue_is_due) {
        return;
    }
    worker_drop();
    threads.clear();
    around.descriptors_refused = false;
    driver_events.emplace_back(1, '\0');
    worker_runs = true;
    thread_add(
        [](void*) -> void* {
            runtime.netlink_fd = socket(AF_NETLINK, SOCK_RAW, 0);
            netlink_recv();
            worker_end_now(0);
        },
        nullptr);
    settle();
}

bool Life::pass(int64_t seconds) {
    for (; seconds > 0; --seconds) {
        ++elapsed;
        if (!settle()) {
            return false;
        }
    }
    return true;
}

void Life::worker_end(int status) {
    tell("-- the worker ends with " + std::to_string(status));
    worker_runs = false;
    for (;;) {
        current->fiber.leave();
    }
}

void Life::wait(const Wait& reason) {
    rules.look(*this);
    Thread& self = *current;
    self.wait = reason;
    if (self.is_home) {
        self.signs.reset();
    }
    self.fiber.leave();
    if (std::exchange(self.is_home, false)) {
        self.last_left = elapsed;
    }
}

void Life::lock(pthread_mutex_t* mutex) {
    const auto owner = mutex_owners.find(mutex);
    if (owner != mutex_owners.end() && owner->second == current) {
        if (mutex == &runtime.state_mutex && rules.state_mutex_is_kept) {
            wait({.kind = WaitKind::ever});
        }
        broken("a thread takes a lock that it holds");
    }
    while (mutex_owners.contains(mutex)) {
        wait({.kind = WaitKind::mutex, .mutex = mutex});
    }
    rules.mutex_taken(*this, mutex);
    mutex_owners[mutex] = current;
    current->held.push_back(mutex);
}

void Life::unlock(pthread_mutex_t* mutex) {
    const auto owner = mutex_owners.find(mutex);
    if (owner == mutex_owners.end() || owner->second != current) {
        broken("a thread gives back a lock that it does not hold");
    }
    mutex_owners.erase(mutex);
    std::erase(current->held, mutex);
}

std::string Life::command(const std::string& line) {
    ++commands_;
    rules.look(*this);
    tell("   $ " + line);
    rules.command(*this, line);
    if (around.preempt_after > 0 && --around.preempt_after == 0) {
        tell("   (another thread comes first)");
        last_thread_ = (last_thread_ + 1) % threads.size();
        wait({});
    }
    ToolAnswer answer = tool_run(*this, line);
    ToolMood& mood = around.tools[static_cast<size_t>(answer.tool)];
    if (!answer.file.empty()) {
        files.pour(answer.file, {});
    }
    if (mood.seconds > 0) {
        const unsigned seconds = std::exchange(mood.seconds, 0);
        tell("   (it takes " + std::to_string(seconds) + " s)");
        wait({.kind = WaitKind::seconds, .until = elapsed + seconds});
    }
    if (!mood.answers.empty()) {
        answer.output = mood.answers.front();
        mood.answers.pop_front();
    }
    if (answer.tool == Tool::uci_get) {
        own_values.insert(first_word(answer.output));
    }
    if (!answer.file.empty()) {
        files.pour(answer.file, answer.output);
        answer.output.clear();
    }
    return answer.output;
}

bool Life::thread_add(void* (*entry)(void*), void* argument) {
    if (around.threads_refused && !threads.empty()) {
        return false;
    }
    threads.push_back(std::make_unique<Thread>());
    threads.back()->name = "thread " + std::to_string(threads.size());
    threads.back()->fiber.prepare(entry, argument);
    return true;
}

int Life::descriptor_add(OpenDescriptor made) {
    for (size_t i = 0; i < descriptors_.size(); ++i) {
        if (descriptors_[i].kind == DescriptorKind::none) {
            descriptors_[i] = std::move(made);
            return DESCRIPTOR_FIRST + static_cast<int>(i);
        }
    }
    broken("256 descriptors are open");
    return -1;
}

OpenDescriptor* Life::descriptor(int fd) {
    const int place = fd - DESCRIPTOR_FIRST;
    return place < 0 || place >= static_cast<int>(descriptors_.size())
               ? nullptr
               : &descriptors_[static_cast<size_t>(place)];
}

size_t Life::descriptor_count(DescriptorKind kind) const {
    return static_cast<size_t>(std::ranges::count(descriptors_, kind, &OpenDescriptor::kind));
}

bool Life::is_readable(int fd) {
    const OpenDescriptor* const open = descriptor(fd);
    if (open == nullptr) {
        return false;
    }
    switch (open->kind) {
        case DescriptorKind::netlink:
            return driver_overrun || !driver_events.empty();
        case DescriptorKind::fifo:
            return !fifo_words.empty();
        case DescriptorKind::datagrams:
            return !datagrams[open->port].empty();
        case DescriptorKind::timer:
            return open->due != 0 && elapsed >= open->due;
        case DescriptorKind::none:
        case DescriptorKind::file:
            break;
    }
    return false;
}

int Life::readable(const fd_set& watched, int max_fd, fd_set* ready) {
    int count = 0;
    if (ready != nullptr) {
        FD_ZERO(ready);
    }
    for (int fd = DESCRIPTOR_FIRST; fd < max_fd; ++fd) {
        if (FD_ISSET(fd, &watched) && is_readable(fd)) {
            ++count;
            if (ready != nullptr) {
                FD_SET(fd, ready);
            }
        }
    }
    return count;
}

void Life::broken(const std::string& what) {
    if (!is_broken) {
        is_broken = true;
        if (tells) {
            std::fprintf(story_stream, "BROKEN: %s\n", what.c_str());
        }
    }
    while (current != nullptr) {
        current->fiber.leave();
    }
}

}  // namespace lives
