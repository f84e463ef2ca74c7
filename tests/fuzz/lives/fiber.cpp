#include "tests/fuzz/lives/fiber.h"

#include <sys/mman.h>

#include <cstdint>
#include <cstdlib>
#include <utility>
#include <vector>

// Of the address sanitizer's runtime; absent in a program without it.
extern "C" {
[[gnu::weak]] void __sanitizer_start_switch_fiber(void** fake_stack, const void* bottom,
                                                  size_t size);
[[gnu::weak]] void __sanitizer_finish_switch_fiber(void* fake_stack, const void** bottom,
                                                   size_t* size);
[[gnu::weak]] void __asan_unpoison_memory_region(const volatile void* address, size_t size);
}

namespace lives {
namespace {

// The sanitizers multiply what a frame needs.
constexpr size_t STACK_SIZE = 512 * 1024;
constexpr size_t GUARD_SIZE = 4096;

// Stacks of fibers that are gone, for the next ones.
std::vector<void*> spare_stacks;

void* stack_take() {
    if (!spare_stacks.empty()) {
        void* const stack = spare_stacks.back();
        spare_stacks.pop_back();
        return stack;
    }
    void* const stack =
        mmap(nullptr, STACK_SIZE, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (stack == MAP_FAILED) {
        std::abort();
    }
    // A thread that needs more ends there.
    mprotect(stack, GUARD_SIZE, PROT_NONE);
    return stack;
}

void switch_start(void** fake_stack, const void* bottom, size_t size) {
    if (__sanitizer_start_switch_fiber != nullptr) {
        __sanitizer_start_switch_fiber(fake_stack, bottom, size);
    }
}

void switch_finish(void* fake_stack, const void** bottom, size_t* size) {
    if (__sanitizer_finish_switch_fiber != nullptr) {
        __sanitizer_finish_switch_fiber(fake_stack, bottom, size);
    }
}

}  // namespace

Fiber::~Fiber() {
    if (stack_ != nullptr) {
        // Frames that were never left are still marked in it.
        if (__asan_unpoison_memory_region != nullptr) {
            __asan_unpoison_memory_region(stack_, STACK_SIZE);
        }
        spare_stacks.push_back(stack_);
    }
}

void Fiber::prepare(void* (*entry)(void*), void* argument) {
    entry_ = entry;
    argument_ = argument;
    stack_ = stack_take();
    getcontext(&context_);
    context_.uc_stack.ss_sp = stack_;
    context_.uc_stack.ss_size = STACK_SIZE;
    context_.uc_link = nullptr;
    const auto self = reinterpret_cast<uintptr_t>(this);
    makecontext(&context_, reinterpret_cast<void (*)()>(&Fiber::trampoline), 2,
                static_cast<unsigned>(self >> 32U), static_cast<unsigned>(self));
}

void Fiber::trampoline(unsigned high, unsigned low) {
    auto* const self = reinterpret_cast<Fiber*>((static_cast<uintptr_t>(high) << 32U) | low);
    switch_finish(nullptr, &self->outside_bottom_, &self->outside_size_);
    self->entry_(self->argument_);
    for (;;) {
        self->leave();
    }
}

void Fiber::enter() {
    if (!std::exchange(is_begun_, true)) {
        setcontext(&context_);
    }
    __builtin_longjmp(inside_, 1);
}

void Fiber::jump_out() {
    __builtin_longjmp(outside_, 1);
}

void Fiber::resume() {
    void* outside_fake = nullptr;
    switch_start(&outside_fake, stack_, STACK_SIZE);
    if (__builtin_setjmp(outside_) == 0) {
        enter();
    }
    switch_finish(outside_fake, nullptr, nullptr);
}

void Fiber::leave() {
    switch_start(&fake_stack_, outside_bottom_, outside_size_);
    if (__builtin_setjmp(inside_) == 0) {
        jump_out();
    }
    switch_finish(fake_stack_, &outside_bottom_, &outside_size_);
}

}  // namespace lives
