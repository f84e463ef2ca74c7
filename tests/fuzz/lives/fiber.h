// A thread of the daemon as a fiber: it runs on a stack of its own until it would have to wait,
// then hands back to whoever resumed it. One kernel thread runs all of them, so that a life is the
// same each time it is told. A fiber that never returns is simply resumed no more.
#pragma once

#include <ucontext.h>

#include <cstddef>

namespace lives {

class Fiber {
public:
    Fiber() = default;
    ~Fiber();
    Fiber(const Fiber&) = delete;
    Fiber& operator=(const Fiber&) = delete;

    // Readies `entry` for the first resume.
    void prepare(void* (*entry)(void*), void* argument);
    // From outside of all fibers: runs until it leaves.
    [[gnu::noinline]] void resume();
    // From inside: back to the resume.
    [[gnu::noinline]] void leave();

private:
    static void trampoline(unsigned high, unsigned low);
    [[gnu::noinline]] void enter();
    [[gnu::noinline]] void jump_out();

    // The registers that the compiler keeps for a jump of its own; without a system call, of which
    // a life would take thousands.
    using Jump = void* [5];

    ucontext_t context_{};  // for the first resume
    Jump inside_{};
    Jump outside_{};
    bool is_begun_ = false;
    void* stack_ = nullptr;
    void* fake_stack_ = nullptr;  // of the address sanitizer, which has to know of each change
    const void* outside_bottom_ = nullptr;
    size_t outside_size_ = 0;
    void* (*entry_)(void*) = nullptr;
    void* argument_ = nullptr;
};

}  // namespace lives
