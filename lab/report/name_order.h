// The order of names for people: e1, e2, e10. Runs of digits compare as numbers.
#pragma once

#include <string_view>

namespace lab {

struct NameOrder {
    using is_transparent = void;

    bool operator()(std::string_view one, std::string_view other) const {
        const std::string_view first = one;
        const std::string_view second = other;
        while (!one.empty() && !other.empty()) {
            const std::size_t digits = digits_of(one);
            const std::size_t others = digits_of(other);
            if (digits > 0 && others > 0) {
                const std::string_view number = without_zeros(one.substr(0, digits));
                const std::string_view against = without_zeros(other.substr(0, others));
                if (number != against) {
                    return number.size() != against.size() ? number.size() < against.size()
                                                           : number < against;
                }
            } else if (one[0] != other[0]) {
                return one[0] < other[0];
            }
            one.remove_prefix(digits > 0 && others > 0 ? digits : 1);
            other.remove_prefix(digits > 0 && others > 0 ? others : 1);
        }
        // "e1" and "e01" are two names.
        return one.empty() != other.empty() ? one.empty() : first < second;
    }

private:
    static std::size_t digits_of(std::string_view text) {
        const std::size_t end = text.find_first_not_of("0123456789");
        return end == std::string_view::npos ? text.size() : end;
    }
    static std::string_view without_zeros(std::string_view number) {
        const std::size_t first = number.find_first_not_of('0');
        return first == std::string_view::npos ? std::string_view() : number.substr(first);
    }
};

}  // namespace lab
