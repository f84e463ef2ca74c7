#include "lab/scenario/scenario_parse.h"

#include <algorithm>

#include "lab/scenario/statement_table.h"
#include "lab/scenario/step_values.h"
#include "lab/scenario/words.h"

namespace lab {
namespace {

using Words = std::span<const std::string>;

// A file that is no scenario at all is wrong in every line.
constexpr std::size_t MOST_ERRORS = 50;

class Reader {
public:
    Reader(Scenario* scenario, std::vector<ScenarioError>* errors, const ScenarioOpen& open)
        : scenario_(scenario), errors_(errors), open_(open) {}

    // Reads a file; false when nothing behind it is to be read.
    bool file_read(const ScenarioText& file) {
        files_.push_back(&file);
        std::string_view text = file.text;
        bool goes_on = true;
        for (int line = 1; goes_on && !text.empty(); ++line) {
            const std::size_t end = std::min(text.find('\n'), text.size());
            goes_on = line_read(text.substr(0, end), line);
            text.remove_prefix(std::min(end + 1, text.size()));
        }
        files_.pop_back();
        return goes_on;
    }

    // What only the whole can tell.
    void end_check(int lines) {
        for (const ScenarioStep& step : scenario_->steps) {
            if (!step.until.empty() && !scenario_->names.marks.contains(step.until)) {
                errors_->push_back(
                    {step.line, "no step below it is `mark " + step.until + "`", step.file});
            }
        }
        if (errors_->empty() && scenario_->nodes.empty()) {
            errors_->push_back(
                {lines, "there is no node: begin with `node root root` or `line 3`", ""});
        }
    }

private:
    bool line_read(std::string_view text, int line) {
        std::vector<std::string> words;
        std::string error;
        const bool cut = line_words(text, &words, error);
        if (cut && words.empty()) {
            return true;
        }
        if (cut && words[0] == "include" && words.size() == 2 && open_) {
            ScenarioText file;
            if (include_open(words[1], &file, error)) {
                return file_read(file);
            }
        } else if (cut && statement_read(words, line, error)) {
            return true;
        }
        return error_add(line, error);
    }

    bool error_add(int line, const std::string& error) {
        errors_->push_back({line, error, files_.back()->name});
        if (errors_->size() < MOST_ERRORS) {
            return true;
        }
        errors_->push_back(
            {line, "too many mistakes: what follows was not read", files_.back()->name});
        return false;
    }

    bool include_open(const std::string& name, ScenarioText* file, std::string& error) {
        if (files_.size() > DEEPEST_INCLUDE) {
            error = "files include each other at most " + std::to_string(DEEPEST_INCLUDE) + " deep";
            return false;
        }
        if (!open_(files_.back()->name, name, file, error)) {
            return false;
        }
        if (std::ranges::any_of(files_,
                                [&](const auto* above) { return above->key == file->key; })) {
            error = "`" + name + "` includes itself, by what stands here";
            return false;
        }
        return true;
    }

    bool statement_read(Words words, int line, std::string& error) {
        for (const Statement& statement : statement_readers()) {
            if (statement.row.name == words[0]) {
                const bool good = statement.read(words.subspan(1), scenario_, error);
                if (!good && error.empty()) {
                    error = "say `" + std::string(statement.row.usage) + "`";
                }
                return good;
            }
        }
        std::vector<ScenarioStep> steps;
        if (!steps_parse(words, scenario_, &steps, error)) {
            return false;
        }
        if (scenario_->steps.size() + steps.size() > MOST_STEPS) {
            error = "a scenario has at most " + std::to_string(MOST_STEPS) + " steps";
            return false;
        }
        for (ScenarioStep& step : steps) {
            step.line = line;
            step.file = files_.back()->name;
            scenario_->steps.push_back(std::move(step));
        }
        return true;
    }

    Scenario* scenario_;
    std::vector<ScenarioError>* errors_;
    const ScenarioOpen& open_;
    std::vector<const ScenarioText*> files_;  // the one that is read, behind those that include it
};

}  // namespace

bool scenario_parse(std::string_view text, Scenario* scenario, std::vector<ScenarioError>* errors,
                    const ScenarioOpen& open, const std::string& key) {
    *scenario = {};
    errors->clear();
    Reader reader(scenario, errors, open);
    if (reader.file_read({"", key, std::string(text)})) {
        const auto ends = std::count(text.begin(), text.end(), '\n');
        const bool is_cut = !text.empty() && text.back() != '\n';
        reader.end_check(static_cast<int>(ends) + (is_cut ? 1 : 0));
    }
    return errors->empty();
}

std::string scenario_errors_text(std::string_view file, const std::vector<ScenarioError>& errors) {
    std::string text;
    for (const ScenarioError& error : errors) {
        text += (error.file.empty() ? std::string(file) : error.file) + ":" +
                std::to_string(error.line) + ": " + error.text + "\n";
    }
    return text;
}

}  // namespace lab
