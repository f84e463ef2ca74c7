#include "lab/scenario/scenario_file.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
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

// Reads the file; `room` is what all of them together may still have, in bytes.
bool text_read(const std::string& path, std::size_t* room, std::string* text, std::string& error) {
    constexpr std::size_t PIECE = 1U << 16U;
    const std::unique_ptr<FILE, FileCloser> file(std::fopen(path.c_str(), "re"));
    std::vector<char> piece(PIECE);
    std::size_t count = 1;
    errno = file == nullptr ? errno : 0;
    while (file != nullptr && count > 0 && text->size() <= *room) {
        count = std::fread(piece.data(), 1, piece.size(), file.get());
        text->append(piece.data(), count);
    }
    if (file == nullptr || std::ferror(file.get()) != 0) {
        error = "cannot read the scenario " + path + ": " + std::strerror(errno);
        return false;
    }
    if (text->size() > *room) {
        error = "cannot read the scenario " + path + ": it is longer than " +
                std::to_string(LONGEST_SCENARIO_FILE >> 20U) + " MiB" +
                (*room < LONGEST_SCENARIO_FILE ? ", with the files that were read before it" : "");
        return false;
    }
    *room -= text->size();
    return true;
}

// The same for every name of the file.
std::string key_of(const std::string& path) {
    std::error_code failure;
    const std::filesystem::path whole = std::filesystem::canonical(path, failure);
    return failure ? path : whole.string();
}

}  // namespace

bool scenario_file_read(const std::string& path, Scenario* scenario, std::string& error) {
    std::string text;
    std::size_t room = LONGEST_SCENARIO_FILE;
    std::vector<ScenarioError> errors;
    if (!text_read(path, &room, &text, error)) {
        return false;
    }
    const ScenarioOpen open = [&](const std::string& from, const std::string& file,
                                  ScenarioText* opened, std::string& why) {
        const std::filesystem::path includes = from.empty() ? path : from;
        opened->name = (includes.parent_path() / file).lexically_normal().string();
        opened->key = key_of(opened->name);
        return text_read(opened->name, &room, &opened->text, why);
    };
    if (!scenario_parse(text, scenario, &errors, open, key_of(path))) {
        error = scenario_errors_text(path, errors);
        error.pop_back();  // whoever tells it ends the last line
        return false;
    }
    return true;
}

}  // namespace lab
