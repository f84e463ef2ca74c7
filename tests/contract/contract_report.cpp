// Says which texts of the contract no test of the last whole run has produced. Ends with 1 when
// there are some that the list of exceptions does not name.

#include <cstdio>
#include <string>
#include <vector>

#include "lab/tools/small_file.h"
#include "tests/contract/coverage.h"
#include "tests/contract/text_list.h"

namespace {

constexpr char LISTS[] = BACKHAUL_SOURCE_DIR "/tests/contract";
constexpr char SEEN[] = BACKHAUL_BUILD_DIR "/contract";

void print_all(const char* title, const std::vector<std::string>& lines) {
    for (const std::string& line : lines) {
        printf("contract: %s: %s\n", title, line.c_str());
    }
}

}  // namespace

int main() {
    std::vector<std::string> errors;
    const std::vector<contract::Text> texts = contract::texts_read_folder(LISTS, &errors);
    std::string list;
    lab::file_read(std::string(LISTS) + "/unproduced.txt", &list);
    const std::vector<std::string> exceptions = contract::exceptions_read(list, &errors);
    int tests = 0;
    const contract::Seen seen = contract::seen_read_folder(SEEN, &tests);
    const contract::Report report =
        contract::report_make(texts, contract::produced(texts, seen), exceptions);

    printf("contract: %zu different lines of %d tests\n", seen.size(), tests);
    for (const contract::KindCount& count : report.counts) {
        printf("contract: %-8s %3d texts, %3d produced, %d excepted\n", count.kind.c_str(),
               count.texts, count.produced, count.excepted);
    }
    print_all("broken list", errors);
    print_all("no test produces", report.missing);
    print_all("needs no exception", report.needless);
    return errors.empty() && report.missing.empty() && report.needless.empty() ? 0 : 1;
}
