// One life of a node: the worker that runs, and all that stands around it.
//
// The worker is the daemon's own, from its start-up on, with its threads as fibers (fiber.h). What
// it asks of the system ends in this object instead (stand_in.cpp): commands, files, sockets,
// timers, locks, the database and the time. A thread that has to wait gives way to the others;
// when all wait, the life stands still until its next step. The rules (rules.h) look at each
// command, each line of the flow log and each standstill.
#pragma once

#include <pthread.h>
#include <sys/select.h>

#include <array>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "tests/fuzz/lives/fiber.h"
#include "tests/fuzz/lives/memory_files.h"
#include "tests/fuzz/lives/rules.h"

namespace lives {

// Interfaces that the driver knows, with their index less one.
inline constexpr std::array<const char*, 12> INTERFACES = {"ath0",  "ath1",  "ath2",  "ath10",
                                                           "ath11", "ath12", "ath14", "ath20",
                                                           "ath22", "ath23", "eth",   "timer"};

enum class Tool : uint8_t {
    uci_get,
    not_associated,
    iwconfig,
    distance,
    best_ap,
    rate,
    interface_add,
    supplicant_status,
    reload_flag,
    processes,
    visitor,
    encipher,
    decipher,
    radar,
    other,
    count
};

struct ToolMood {
    std::deque<std::string> answers;  // instead of its own, one a call
    unsigned seconds = 0;             // that the next call takes
};

// What a thread waits for.
enum class WaitKind : uint8_t { nothing, seconds, mutex, condition, readiness, datagram, ever };

struct Wait {
    WaitKind kind = WaitKind::nothing;
    int64_t until = 0;
    pthread_mutex_t* mutex = nullptr;
    fd_set* watched = nullptr;
    int max_fd = 0;
    int fd = -1;
};

struct Thread {
    std::string name;
    Fiber fiber;
    Wait wait;
    std::vector<pthread_mutex_t*> held;
    SignSet signs;          // of its log lines since it was at home
    bool is_home = false;   // it waits where its loop begins
    int64_t last_left = 0;  // when it last went on from there
    bool is_over = false;
};

enum class DescriptorKind : uint8_t { none, file, fifo, netlink, datagrams, timer };

struct OpenDescriptor {
    DescriptorKind kind = DescriptorKind::none;
    FileNodePtr node = {};
    uint16_t port = 0;
    int64_t timeout = 0;  // of a receive, 0: none
    int64_t due = 0;      // of a timer, 0: not armed
    int64_t period = 0;
};

struct Datagram {
    std::string bytes;
    uint32_t from = 0;  // network order
};

struct DeviceRow {
    std::string almac = {};
    std::string ip = {};
    std::string name = {};
    std::optional<std::string> alive = {};
    std::optional<std::string> not_alive = {};
};

struct LinkRow {
    std::string mac = {};
    std::string almac = {};
    std::optional<std::string> ap_almac = {};
    int status = 0;
};

// Others' side of the node.
struct Surroundings {
    std::map<std::string, std::string> options;     // "ath0.ssid"
    std::map<std::string, std::string> associated;  // interface to AP
    std::array<ToolMood, static_cast<size_t>(Tool::count)> tools;
    std::vector<DeviceRow> devices;
    std::vector<LinkRow> links;
    bool database_fails = false;
    bool bridge_has_address = true;
    int send_error = 0;
    bool descriptors_refused = false;
    bool memory_refused = false;
    bool threads_refused = false;
    uint32_t channels = 0x0F;    // each bit a channel of the radio
    uint32_t blocked = 0;        // and on its list of those under radar
    unsigned preempt_after = 0;  // commands until another thread comes first, 0: never
    uint8_t max_disconnect = 3;
    uint8_t loop_disconnect = 10;
    uint8_t ready_decay = 5;
    bool backhaul_ap_enable = false;
    bool intf_init = true;
};

class Life {
public:
    Life(bool master, bool tells);
    ~Life();
    Life(const Life&) = delete;
    Life& operator=(const Life&) = delete;

    // Prints a line of the story when it is told.
    void tell(const std::string& line) const;

    // Starts a worker where none runs.
    void worker_require();
    // The worker is gone, whoever ended it.
    void worker_drop();
    // Runs all threads until each waits, then holds the rules against it. False when the life is
    // over: a rule is broken, or it has taken long enough.
    bool settle();
    // The wall clock alone is set.
    void clock_moves(int64_t seconds);
    // The intake remembers an overrun beyond a life: one more event of no interface ends that.
    void intake_rest();
    // Lets time pass, a second at a time.
    bool pass(int64_t seconds);

    // For the stand-in, on a thread of the worker.
    [[noreturn]] void worker_end(int status);
    void wait(const Wait& wait);
    void lock(pthread_mutex_t* mutex);
    void unlock(pthread_mutex_t* mutex);
    // Runs a line; its output is returned unless it goes to a file.
    std::string command(const std::string& line);
    bool thread_add(void* (*entry)(void*), void* argument);
    int descriptor_add(OpenDescriptor descriptor);
    OpenDescriptor* descriptor(int fd);
    size_t descriptor_count(DescriptorKind kind) const;
    bool is_readable(int fd);
    int readable(const fd_set& watched, int max_fd, fd_set* ready);
    // The rule that is broken, in a sentence; the thread does not go on.
    void broken(const std::string& what);

    const bool master;
    const bool tells;
    int64_t elapsed = 0;       // seconds of this life
    int64_t clock_offset = 0;  // of the wall clock
    MemoryFiles files;
    Surroundings around;
    Rules rules;
    std::vector<std::unique_ptr<Thread>> threads;
    Thread* current = nullptr;  // the thread that runs
    bool worker_runs = false;
    bool is_broken = false;
    bool cleared_queue_is_due = false;  // the intake counts on one more driver event
    std::deque<std::string> driver_events;
    bool driver_overrun = false;
    std::string fifo_words;
    std::map<uint16_t, std::deque<Datagram>> datagrams;  // by port
    std::set<std::string> own_values;                    // of the configuration, as answered
    std::set<void*> memory;                              // that the worker holds
    std::map<char**, size_t> tables;  // answers of the database, with their cells
    std::map<pthread_mutex_t*, Thread*> mutex_owners;

    int64_t wall_clock() const;

private:
    bool can_run(const Thread& thread);
    Thread* next_thread();

    std::array<OpenDescriptor, 256> descriptors_;
    size_t last_thread_ = 0;
    unsigned commands_ = 0;
    unsigned turns_ = 0;
};

// Where stories are told while the program's own output is silent.
inline FILE* story_stream = nullptr;

// What the daemon prints is not for people here.
class Silence {
public:
    Silence();
    ~Silence();
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;

private:
    FILE* stdout_;
    FILE* stderr_;
};

// The life that the worker's calls end in; null outside of its threads.
Life* life_of_caller();

// What the tool of `line` answers, and what else it does (tools.cpp).
struct ToolAnswer {
    Tool tool = Tool::other;
    std::string output = {};
    std::string file = {};  // that takes the output, empty: none
};
ToolAnswer tool_run(Life& life, const std::string& line);
// A message as the stand-in's cipher writes it.
std::string encipher(const std::string& phrase, const std::string& word);
std::string decipher(const std::string& phrase, const std::string& bytes);

// The files and values of a node that lives well (surroundings.cpp).
void surroundings_fill(Life& life);

// "02:00:00:00:00:NN" of an access point, "02:00:00:00:01:NN" of a node.
std::string access_point_mac(unsigned number);
std::string node_mac(unsigned number);

}  // namespace lives
