// The comparison of what the contract lists with what a whole test run has seen.
//
// Functions of values, apart from the reading of folders.
#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "tests/contract/text_list.h"

namespace contract {

// Lines that were seen, each once, as tests write them down.
using Seen = std::set<std::string>;

// All that the tests of one run wrote down, without what the lab's own tests saw: nothing there
// came from the daemon. `tests` counts the files.
Seen seen_read_folder(const std::string& folder, int* tests);

// Marks each text that explains a line.
std::vector<bool> produced(const std::vector<Text>& texts, const Seen& seen);

// Texts that no test can produce: their labels, from a list in which each is preceded by "#
// REASON".
std::vector<std::string> exceptions_read(const std::string& content,
                                         std::vector<std::string>* errors);

struct KindCount {
    std::string kind;
    int texts = 0;
    int produced = 0;
    int excepted = 0;
};

struct Report {
    std::vector<KindCount> counts;
    std::vector<std::string> missing;   // labels of texts that nobody excepted
    std::vector<std::string> needless;  // exceptions that are produced, or are no text
};

Report report_make(const std::vector<Text>& texts, const std::vector<bool>& is_produced,
                   const std::vector<std::string>& exceptions);

}  // namespace contract
