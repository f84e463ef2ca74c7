// Waiting for what another thread or process does.
#pragma once

#include <unistd.h>

#include <chrono>

namespace harness {

// Waits until `condition` holds, polling; false when it does not within `limit_ms` of real time.
template <typename Condition>
bool wait_until(Condition condition, int limit_ms = 10000) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(limit_ms);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        usleep(500);
    }
    return true;
}

}  // namespace harness
