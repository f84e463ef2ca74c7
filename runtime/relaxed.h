#pragma once

// Shared scalars without a lock.
//
// Several threads of the worker read and write the same small fields: link states, counters,
// flags, the address of the upstream AP. Nothing may block on them, so they are relaxed atomics:
// a reader sees an old or a new value, never a torn scalar, and nothing orders one field with
// another. A type here has the size and alignment of the plain scalar that it stands for.

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

/// A scalar (or pointer) with relaxed loads and stores; reads and assigns like the plain type.
template <typename T>
class Relaxed {
public:
    constexpr Relaxed() noexcept = default;
    constexpr Relaxed(T value) noexcept : value_(value) {}
    Relaxed(const Relaxed& other) noexcept : value_(other.get()) {}
    Relaxed& operator=(const Relaxed&) = delete;
    Relaxed& operator=(T value) noexcept {
        set(value);
        return *this;
    }
    ~Relaxed() = default;

    operator T() const noexcept {
        return get();
    }
    T get() const noexcept {
        return value_.load(std::memory_order_relaxed);
    }
    void set(T value) noexcept {
        value_.store(value, std::memory_order_relaxed);
    }

private:
    std::atomic<T> value_{};
    static_assert(std::atomic<T>::is_always_lock_free);
};

/// `N` bytes read and written byte by byte: a reader may see a mix of two values (an upstream
/// address while it changes), which every reader here tolerates.
template <size_t N>
class RelaxedBytes {
public:
    using Value = std::array<uint8_t, N>;

    Value get() const noexcept {
        Value out{};
        for (size_t i = 0; i < N; ++i) {
            out[i] = bytes_[i].load(std::memory_order_relaxed);
        }
        return out;
    }
    void set(const Value& value) noexcept {
        for (size_t i = 0; i < N; ++i) {
            bytes_[i].store(value[i], std::memory_order_relaxed);
        }
    }

private:
    std::array<std::atomic<uint8_t>, N> bytes_{};
};

/// A short text of at most `N` - 1 characters, zero padded; a concurrent reader may see a mix of
/// the old and the new text but always a terminated one.
template <size_t N>
class RelaxedText {
public:
    using Value = std::array<char, N>;

    Value get() const noexcept {
        Value out{};
        const auto raw = bytes_.get();
        std::memcpy(out.data(), raw.data(), N - 1);
        return out;
    }
    void set(std::string_view text) noexcept {
        typename RelaxedBytes<N>::Value raw{};
        std::memcpy(raw.data(), text.data(), text.size() < N ? text.size() : N - 1);
        bytes_.set(raw);
    }
    bool empty() const noexcept {
        return get()[0] == '\0';
    }

private:
    RelaxedBytes<N> bytes_;
};
