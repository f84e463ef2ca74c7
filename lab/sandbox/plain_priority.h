// While it lives, the calling thread runs as any other does, whatever priority it had.
//
// For what the kernel does by trying again and again until somebody else is done: a thread of a
// real-time priority that tries keeps whoever it waits for from running, when both have the same
// processor. Any thread.
#pragma once

namespace lab {

class PlainPriority {
public:
    PlainPriority();
    ~PlainPriority();
    PlainPriority(const PlainPriority&) = delete;
    PlainPriority& operator=(const PlainPriority&) = delete;

private:
    int policy_ = -1;  // to go back to; below 0: it was plain before, or may not change
    int priority_ = 0;
};

}  // namespace lab
