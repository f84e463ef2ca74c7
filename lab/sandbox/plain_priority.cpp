#include "lab/sandbox/plain_priority.h"

#include <sched.h>

namespace lab {

PlainPriority::PlainPriority() {
    const int policy = sched_getscheduler(0);
    sched_param before{};
    const sched_param plain{};
    if (policy >= 0 && policy != SCHED_OTHER && sched_getparam(0, &before) == 0 &&
        sched_setscheduler(0, SCHED_OTHER, &plain) == 0) {
        policy_ = policy;
        priority_ = before.sched_priority;
    }
}

PlainPriority::~PlainPriority() {
    if (policy_ >= 0) {
        sched_param back{};
        back.sched_priority = priority_;
        sched_setscheduler(0, policy_, &back);
    }
}

}  // namespace lab
