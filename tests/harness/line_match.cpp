#include "tests/harness/line_match.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

namespace harness {
namespace {

// reachable[i][j]: expected lines from i on can stand for actual lines from j on.
using Table = std::vector<std::vector<char>>;

Table match_table(const Lines& expected, const Lines& actual) {
    Table fits(expected.size() + 1, std::vector<char>(actual.size() + 1, 0));
    fits[expected.size()][actual.size()] = 1;
    for (size_t i = expected.size(); i-- > 0;) {
        for (size_t j = actual.size() + 1; j-- > 0;) {
            const bool more = j < actual.size();
            if (expected[i] == ANY_LINES) {
                fits[i][j] = fits[i + 1][j] != 0 || (more && fits[i][j + 1] != 0);
            } else {
                fits[i][j] = more && expected[i] == actual[j] && fits[i + 1][j + 1] != 0;
            }
        }
    }
    return fits;
}

// Longest common subsequence of the tails.
std::vector<std::vector<size_t>> common_lengths(const Lines& one, const Lines& other) {
    std::vector<std::vector<size_t>> length(one.size() + 1,
                                            std::vector<size_t>(other.size() + 1, 0));
    for (size_t i = one.size(); i-- > 0;) {
        for (size_t j = other.size(); j-- > 0;) {
            length[i][j] = one[i] == other[j] ? length[i + 1][j + 1] + 1
                                              : std::max(length[i + 1][j], length[i][j + 1]);
        }
    }
    return length;
}

constexpr size_t READABLE = 2000;

}  // namespace

std::string lines_differ(const Lines& expected, const Lines& actual) {
    if (match_table(expected, actual)[0][0] != 0) {
        return {};
    }
    if (expected.size() > READABLE || actual.size() > READABLE) {
        return "too many lines to show\n";
    }
    const auto length = common_lengths(expected, actual);
    std::string text;
    size_t i = 0;
    size_t j = 0;
    while (i < expected.size() || j < actual.size()) {
        if (i < expected.size() && expected[i] == ANY_LINES) {
            text += "  ...\n";
            ++i;
        } else if (i < expected.size() && j < actual.size() && expected[i] == actual[j]) {
            text += "  " + expected[i++] + "\n";
            ++j;
        } else if (j == actual.size() ||
                   (i < expected.size() && length[i + 1][j] >= length[i][j + 1])) {
            text += "- " + expected[i++] + "\n";
        } else {
            text += "+ " + actual[j++] + "\n";
        }
    }
    return text;
}

int state_after(const Lines& log, const std::string& interface) {
    // From, to: the transitions that are taken. All other requests are dropped.
    constexpr std::array<std::pair<int, int>, 30> TAKEN = {{
        {0, 0},   {0, 3},   {0, 16},  {3, 0},   {3, 3},   {3, 4},   {3, 6},  {3, 7},
        {3, 16},  {4, 0},   {4, 3},   {4, 4},   {4, 6},   {4, 7},   {4, 16}, {7, 0},
        {7, 3},   {7, 5},   {7, 6},   {7, 16},  {5, 3},   {5, 7},   {6, 3},  {16, 3},
        {13, 14}, {13, 15}, {14, 13}, {14, 15}, {15, 13}, {15, 14},
    }};
    int state = -1;
    const std::string start = "backhaul_intf_state_change : change " + interface + " state from ";
    for (const std::string& line : log) {
        int from = 0;
        int to = 0;
        if (line.rfind(start, 0) == 0 &&
            sscanf(line.c_str() + start.size(), "%d to %d", &from, &to) == 2) {
            const bool taken =
                std::find(TAKEN.begin(), TAKEN.end(), std::pair(from, to)) != TAKEN.end();
            state = taken ? to : from;
        }
    }
    return state;
}

}  // namespace harness
