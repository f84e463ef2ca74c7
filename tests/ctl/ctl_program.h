// The program backhaulctl as its user sees it: words in; exit code and both outputs back.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace ctl_test {

struct Result {
    int code = -1;
    std::string out;
    std::string err;
};

// The program's path.
std::string tool_path();

// Runs the program and waits for its end.
Result run(const std::vector<std::string>& words);

// The same with another program of PATH, `input` being its standard input.
Result run_tool(const std::vector<std::string>& words, const std::string& input = {});

// Whether a program is on PATH. Where nothing may be left out, one that is missing fails the test.
bool have_tool(const std::string& name);

// A folder of the build's own that goes with its owner.
class Folder {
public:
    Folder();
    ~Folder();
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    std::string path() const {
        return path_.string();
    }
    // Writes a file below it, with the folders above that file; returns its path.
    std::string put(const std::string& name, const std::string& text,
                    bool is_program = false) const;
    void remove(const std::string& name) const;

private:
    std::filesystem::path path_;
};

std::string text_of(const std::string& path);

// A log that real daemons wrote: "loop/e1". The text of its file.
std::string log_text(const std::string& name);

// The same up to the line that holds `last`, that line included.
std::string log_text_until(const std::string& name, const std::string& last);

}  // namespace ctl_test
