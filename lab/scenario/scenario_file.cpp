#include "lab/scenario/scenario_file.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "lab/scenario/scenario_parse.h"

namespace lab {
namespace {

struct FileCloser {
    void operator()(FILE* file) const {
        std::fclose(file);
    }
};

bool text_read(const std::string& path, std::string* text, std::string& error) {
    constexpr std::size_t PIECE = 1U << 16U;
    const std::unique_ptr<FILE, FileCloser> file(std::fopen(path.c_str(), "re"));
    std::vector<char> piece(PIECE);
    std::size_t count = 1;
    errno = file == nullptr ? errno : 0;
    while (file != nullptr && count > 0 && text->size() <= LONGEST_SCENARIO_FILE) {
        count = std::fread(piece.data(), 1, piece.size(), file.get());
        text->append(piece.data(), count);
    }
    if (file == nullptr || std::ferror(file.get()) != 0) {
        error = "cannot read the scenario " + path + ": " + std::strerror(errno);
        return false;
    }
    if (text->size() > LONGEST_SCENARIO_FILE) {
        error = "cannot read the scenario " + path + ": it is longer than " +
                std::to_string(LONGEST_SCENARIO_FILE >> 20U) + " MiB";
        return false;
    }
    return true;
}

}  // namespace

bool scenario_file_read(const std::string& path, Scenario* scenario, std::string& error) {
    std::string text;
    std::vector<ScenarioError> errors;
    if (!text_read(path, &text, error)) {
        return false;
    }
    if (!scenario_parse(text, scenario, &errors)) {
        error = scenario_errors_text(path, errors);
        error.pop_back();  // whoever tells it ends the last line
        return false;
    }
    return true;
}

}  // namespace lab
