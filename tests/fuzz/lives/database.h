// The topology database's answers to the daemon's five questions.
#pragma once

#include <string>

namespace lives {

class Life;

// As sqlite3_get_table; the result is dropped with `table_drop`.
int table_answer(Life& life, const std::string& sql, char*** table, int* rows, int* columns);
void table_drop(Life& life, char** table);

}  // namespace lives
