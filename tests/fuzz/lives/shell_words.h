// A line as the shell takes it apart, and the lines of the contract as forms of such words.
// Functions of values.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace lives {

struct ShellToken {
    bool is_operator = false;
    std::string text;  // without its quotes
};

// Nothing when the shell would expand something or waits for a quote to close.
std::optional<std::vector<ShellToken>> shell_split(std::string_view line);

// The lines that the daemon may give to the shell.
class ContractLines {
public:
    // Reads the list of forms; false when it cannot be read or holds none.
    bool read(const char* path);
    // Whether `line` is one of them, with each value in the place of exactly one word or a part of
    // it. `own` are texts of the node's own configuration, which stand as they are.
    bool hold(std::string_view line, const std::set<std::string>& own) const;

private:
    bool hold_strictly(std::string_view line) const;

    std::vector<std::vector<ShellToken>> forms_;
};

}  // namespace lives
