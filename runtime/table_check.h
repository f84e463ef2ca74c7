#pragma once

// Checks of constant tables, for static_assert: that no key comes twice, and that the rows of an
// enumeration's table stand in the order of its values. Functions of values, compile time only.

#include <cstddef>

/// Whether `key` gives a different value for every row.
template <typename Rows, typename Key>
constexpr bool table_keys_are_unique(const Rows& rows, Key key) {
    for (size_t i = 0; i < rows.size(); ++i) {
        for (size_t j = i + 1; j < rows.size(); ++j) {
            if (key(rows[i]) == key(rows[j])) {
                return false;
            }
        }
    }
    return true;
}

/// Whether `key` gives `first`, `first` + 1, ... in the order of the rows.
template <typename Rows, typename Key>
constexpr bool table_keys_count_up(const Rows& rows, Key key, int first = 0) {
    for (size_t i = 0; i < rows.size(); ++i) {
        if (static_cast<int>(key(rows[i])) != first + static_cast<int>(i)) {
            return false;
        }
    }
    return true;
}
