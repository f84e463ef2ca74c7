#pragma once

// A mutex that is held while the object lives.

#include <pthread.h>

class ScopedLock {
public:
    explicit ScopedLock(pthread_mutex_t& mutex) : mutex_(&mutex) {
        pthread_mutex_lock(mutex_);
    }
    ~ScopedLock() {
        if (mutex_ != nullptr) {
            pthread_mutex_unlock(mutex_);
        }
    }
    ScopedLock(const ScopedLock&) = delete;
    ScopedLock& operator=(const ScopedLock&) = delete;

    /// The mutex stays locked for good when the object goes.
    void release() {
        mutex_ = nullptr;
    }

private:
    pthread_mutex_t* mutex_;
};
