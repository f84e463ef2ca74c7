// System calls of the daemon that wait for a test's word: those that make a process, and those that
// put a new content in a file's place (the file made beside it, each write to that, the rename).
//
// The daemon is started through a program that has the kernel ask for each such call of it and of
// all that it starts. Made and used on the test's thread; calls are answered on a thread of the
// gate's own, so what decides is called there. Must live until the daemon has ended.
#pragma once

#include <sys/types.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "lab/node/node.h"

struct GatedCall {
    pid_t thread = 0;      // that asks, as the test sees it
    std::string name;      // "process", "create", "write" or "rename"
    std::string new_path;  // of the three that concern a file: the file made beside it
};

enum class call_verdict { go, refuse, kill };  // kill: the process that asks, before the call

class CallGate {
public:
    using Decision = std::function<call_verdict(const GatedCall&)>;

    // Everything goes until something else is decided. A failure fails the test.
    explicit CallGate(const lab::Node& node);
    ~CallGate();
    CallGate(const CallGate&) = delete;
    CallGate& operator=(const CallGate&) = delete;

    // What the daemon is to be started through.
    const std::vector<std::string>& through() const {
        return through_;
    }
    void decide(Decision decision);

    // Whether a call waits for its answer; who made it looks blocked.
    bool is_busy() const;

private:
    void serve();
    void answer();
    call_verdict verdict_of(const GatedCall& call);

    std::string place_;
    std::vector<std::string> through_;
    int door_ = -1;                     // where the program hands over the kernel's questions
    std::vector<int> stop_ = {-1, -1};  // closed at the end
    std::atomic<int> listener_{-1};
    std::atomic<bool> answers_{false};
    std::mutex mutex_;
    Decision decision_;
    std::thread thread_;
};
