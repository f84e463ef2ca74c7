#include <ftw.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

#include "tests/harness/contract_record.h"
#include "tests/harness/sandbox.h"

namespace harness {
namespace {

void make_folders_of(const std::string& path) {
    for (size_t at = path.find('/', 1); at != std::string::npos; at = path.find('/', at + 1)) {
        mkdir(path.substr(0, at).c_str(), 0777);
    }
}

// "Thu Jan  1 00:00:00 1970 : ", the length of every prefix.
constexpr size_t PREFIX_LENGTH = 27;

bool has_date(const std::string& line) {
    return line.size() >= PREFIX_LENGTH && line[13] == ':' && line[16] == ':' &&
           line.compare(24, 3, " : ") == 0;
}

}  // namespace

std::string file_text(const std::string& path) {
    contract_note_file("", path);
    std::string text;
    FILE* file = fopen(path.c_str(), "rbe");
    if (file == nullptr) {
        return text;
    }
    char block[4096];
    size_t got = 0;
    while ((got = fread(block, 1, sizeof(block), file)) > 0) {
        text.append(block, got);
    }
    fclose(file);
    return text;
}

bool file_is_there(const std::string& path) {
    return access(path.c_str(), F_OK) == 0;
}

void put_file(const std::string& path, const std::string& text) {
    make_folders_of(path);
    FILE* file = fopen(path.c_str(), "wbe");
    ASSERT_NE(file, nullptr) << "cannot write " << path;
    EXPECT_EQ(fwrite(text.data(), 1, text.size(), file), text.size());
    fclose(file);
}

void put_script(const std::string& path, const std::string& text) {
    put_file(path, text);
    ASSERT_EQ(chmod(path.c_str(), 0755), 0) << path;
}

std::vector<std::string> without_dates(const std::string& log_text) {
    std::vector<std::string> lines;
    size_t at = 0;
    while (at < log_text.size()) {
        const size_t end = std::min(log_text.find('\n', at), log_text.size());
        const std::string line = log_text.substr(at, end - at);
        lines.push_back(has_date(line) ? line.substr(PREFIX_LENGTH) : line);
        at = end + 1;
    }
    return lines;
}

}  // namespace harness
