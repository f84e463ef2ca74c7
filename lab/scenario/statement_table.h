// The statements of a scenario file that make the mesh: a table of words, usages and readers.
#pragma once

#include <span>
#include <string_view>

#include "lab/scenario/statements.h"

namespace lab {

struct StatementRow {
    std::string_view name;
    std::string_view usage;  // "node NAME root|extender"
    std::string_view help;
};

// Statements that make the mesh, in the order in which a page would explain them.
std::span<const StatementRow> statement_table();

struct Statement {
    StatementRow row;
    StatementReader read;
};

// The same with the reader of each, for scenario_parse.
std::span<const Statement> statement_readers();

}  // namespace lab
