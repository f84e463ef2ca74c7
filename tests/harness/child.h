// A process that a test splits off itself: for code that ends its process, never returns, or must
// meet a refusal (refusal.h) that the rest of the test program could not live with.
//
// For the test's own thread. A child has a process group of its own, so that the tools which it
// runs end with it.
#pragma once

#include <sys/types.h>

#include <cstdio>
#include <functional>
#include <string>

namespace harness {

// How a child ends whose body returns.
inline constexpr int BODY_RETURNED = 99;

// Where a child prints, and how the stream is buffered (as setvbuf() knows it).
struct ChildOutput {
    const char* file = nullptr;  // none: where the test prints
    int buffer = _IOFBF;
};
inline constexpr ChildOutput WHOLE_OUT{"/tmp/out", _IOFBF};
inline constexpr ChildOutput LINES_OUT{"/tmp/out", _IOLBF};

class Child {
public:
    explicit Child(const std::function<void()>& body, ChildOutput output = {});
    // Ends what still runs, with the tools that it started.
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    pid_t pid() const {
        return pid_;
    }
    bool is_running() const;

    // How it ended: its exit status, or minus the signal. One that does not end in time fails the
    // test and is killed.
    int wait();

private:
    const pid_t pid_;
    bool is_over_ = false;
};

// How a child that runs `body` ends.
int exit_code(const std::function<void()>& body, ChildOutput output = {});

}  // namespace harness
