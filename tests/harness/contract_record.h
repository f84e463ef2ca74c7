// What a test saw the daemon say: kept in one file per test, BUILD/contract/PROGRAM.SUITE.TEST, for
// the comparison with the texts in tests/contract after a whole run.
//
// For the test's own thread. Nothing in here fails a test: a file that cannot be written is missed
// by the comparison.
#pragma once

#include <string>
#include <vector>

namespace harness {

// Names, in the environment of a test in a sandbox, the path by which it reaches that folder.
inline constexpr char CONTRACT_PLACE[] = "BACKHAUL_CONTRACT";

// One line that was seen. Without a line end, where the text had none.
struct ContractRecord {
    std::string kind;  // as the file in tests/contract without ".txt": "flow_log", "stdout"
    std::string text;
};

// Remembers each line of `text`, for the test that is running.
void contract_note(const std::string& kind, const std::string& text);
// Remembers lines that lost their line ends.
void contract_note_lines(const std::string& kind, const std::vector<std::string>& lines);
// Remembers shell lines, which have none.
void contract_note_commands(const std::vector<std::string>& lines);
// Remembers the beginning of a file that holds standard output; a loop may fill it without end.
void contract_note_stdout_file(const std::string& path);
// Remembers the daemon's own files below `root` as they are now, and one of them; others are
// ignored.
void contract_note_files(const std::string& root);
void contract_note_file(const std::string& root, const std::string& path);

// Writes what was remembered since the running test began to the test's file.
void contract_save();

// GoogleTest's captured text of standard output and error, remembered and saved.
std::string captured_stdout();
std::string captured_stderr();

// One line of such a file; false when it is none.
bool contract_record_read(const std::string& line, ContractRecord* record);

}  // namespace harness
