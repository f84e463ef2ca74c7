// One processor for a whole mesh: nodes run on it before their owner does. So whenever the owner
// runs, nobody else of the mesh can, and who of them runs first is given by who was ready first,
// however busy the machine is.
//
// Taken by who moves a mesh, on the thread that owns it, before the first node is made; programs
// that it starts under a NodePriority come before it. The owner shares its priority fairly with
// owners of other meshes on the same processor. Linux gives ordinary tasks a twentieth of the
// processor meanwhile. Needs the right to real-time scheduling (root, or a limit `ulimit -r` of 2).
#pragma once

#include <sched.h>
#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>

namespace lab {

class ProcessorPlace {
public:
    // The processor on which the caller runs at that moment: the kernel has put it where there is
    // room. Null where the machine does not allow it.
    static std::unique_ptr<ProcessorPlace> take();

    // The caller is again where it was.
    ~ProcessorPlace();
    ProcessorPlace(const ProcessorPlace&) = delete;
    ProcessorPlace& operator=(const ProcessorPlace&) = delete;

    // While a node that never rests keeps the owner from running, nobody could say so: after
    // `patience` between begin() and end() without a beat, the owner may run anywhere.
    void begin(std::chrono::milliseconds patience);
    void beat();
    void end();

private:
    ProcessorPlace() = default;
    void await_watcher();
    void watch();

    cpu_set_t before_{};
    pid_t owner_ = 0;
    std::mutex mutex_;
    std::condition_variable changed_;
    bool watching_ = false;                      // under the mutex
    bool over_ = false;                          // under the mutex
    std::atomic<std::int64_t> patience_ms_ = 0;  // 0: nothing is waited for
    std::atomic<std::uint32_t> beats_ = 0;
    std::thread watcher_;
};

// While it lives, what the caller starts has the priority of a node, if the caller has a place.
class NodePriority {
public:
    NodePriority();
    ~NodePriority();
    NodePriority(const NodePriority&) = delete;
    NodePriority& operator=(const NodePriority&) = delete;

private:
    bool raised_ = false;
};

}  // namespace lab
