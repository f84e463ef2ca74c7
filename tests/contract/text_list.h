// The texts of the contract, as tests/contract/*.txt list them: what the daemon may say, and what
// each test run has to make it say at least once.
//
// A text a line, in printf form, with line ends, tabs and backslashes as "\n", "\t" and "\\". Empty
// lines and lines that begin with "#" say nothing. "[NAME]" gives the function that the first %s of
// the texts below names, "[/PATH]" the file whose lines they are.
#pragma once

#include <string>
#include <vector>

#include "tests/contract/printf_form.h"
#include "tests/harness/contract_record.h"

namespace contract {

// Each is the file of its name with ".txt".
inline constexpr const char* KINDS[] = {"flow_log", "stdout", "stderr", "commands", "files"};

struct Text {
    std::string kind;
    std::string section;  // of the function or the file; may be empty
    std::string raw;      // the form itself
    Form form;            // with its section filled in
};

// As people read it: "flow_log [NAME] TEXT".
std::string text_label(const Text& text);

// Texts of one file's content. What is no text is described in `errors`.
std::vector<Text> texts_read(const std::string& kind, const std::string& content,
                             std::vector<std::string>* errors);

// Texts of all files in the folder.
std::vector<Text> texts_read_folder(const std::string& folder, std::vector<std::string>* errors);

// Whether the daemon has said this text when that line was seen. A text that has no line end may
// have been followed by others in its line.
bool text_explains(const Text& text, const harness::ContractRecord& record);

}  // namespace contract
