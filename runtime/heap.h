#pragma once

// Memory that outlives its maker: the interface table, the lists of the root. Without exceptions,
// and without the C++ library's operator new, which a small router would have to carry for this
// alone. Any thread.

#include <cstdlib>
#include <new>
#include <type_traits>

/// `count` values as their type starts, or null when there is no memory for them.
template <typename T>
T* heap_make(size_t count = 1) {
    static_assert(std::is_trivially_destructible_v<T>);
    void* const memory = std::calloc(count, sizeof(T));
    if (memory == nullptr) {
        return nullptr;
    }
    auto* const values = static_cast<T*>(memory);
    if constexpr (!std::is_trivially_default_constructible_v<T>) {
        for (size_t i = 0; i < count; ++i) {
            new (values + i) T{};
        }
    }
    return values;
}

/// Gives back what `heap_make` gave; null is allowed.
template <typename T>
void heap_drop(T* values) {
    std::free(const_cast<std::remove_const_t<T>*>(values));
}
