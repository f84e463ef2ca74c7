#include "intf/intf_timer.h"

#include "runtime/runtime_block.h"
#include "runtime/scoped_lock.h"

#include <ctime>

void intf_timer_set(intf_record* record, timer_switch on) {
    const ScopedLock lock(runtime.timer_mutex);
    record->timer_type = on;
    int32_t count = runtime.active_timer_count;
    if (record->timer_start > 0) {
        --count;
    }
    if (on == TIMER_ON) {
        ++count;
        record->timer_start = static_cast<uint32_t>(time(nullptr));
    } else {
        record->timer_start = 0;
    }
    runtime.active_timer_count = count;
    // Also when the count falls to 1: the extra wake-up finds its sweep and does no harm.
    if (count == 1) {
        pthread_cond_signal(&runtime.timer_cond);
    }
}

void intf_timer_wait() {
    const ScopedLock lock(runtime.timer_mutex);
    while (runtime.active_timer_count == 0) {
        pthread_cond_wait(&runtime.timer_cond, &runtime.timer_mutex);
    }
}

int32_t intf_timer_elapsed(uint32_t now, uint32_t timer_start) {
    return static_cast<int32_t>(now - timer_start);
}
