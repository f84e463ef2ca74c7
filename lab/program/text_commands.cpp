#include <algorithm>
#include <cstdio>
#include <string>

#include "lab/program/commands.h"
#include "lab/report/json.h"
#include "lab/report/table.h"
#include "lab/scenario/condition.h"
#include "lab/scenario/scenario_generate.h"
#include "lab/scenario/scenario_parse.h"
#include "lab/scenario/scenario_step.h"
#include "lab/scenario/verb.h"
#include "lab/scenario/words.h"

namespace lab {
namespace {

struct Entry {
    std::string_view name;
    std::string_view usage;
    std::string_view help;
};

struct Section {
    std::string title;
    std::string key;  // in JSON
    std::vector<Entry> entries;
};

template <typename Rows>
std::vector<Entry> entries_of(Rows rows) {
    std::vector<Entry> entries;
    for (const auto& row : rows) {
        entries.push_back({row.name, row.usage, row.help});
    }
    return entries;
}

std::vector<Section> vocabulary() {
    return {{"Statements: the mesh", "statements", entries_of(statement_table())},
            {"Steps: what happens, one after the other", "steps", entries_of(step_table())},
            {"Verbs: a step of their own", "verbs", entries_of(verb_table())},
            {"Conditions of wait-until and expect", "conditions", entries_of(condition_table())}};
}

std::string vocabulary_json(const std::vector<Section>& sections) {
    JsonWriter json;
    json.object_begin();
    for (const Section& section : sections) {
        json.key(section.key).array_begin();
        for (const Entry& entry : section.entries) {
            json.object_begin();
            json.key("name").value(entry.name);
            json.key("usage").value(entry.usage);
            json.key("help").value(entry.help);
            json.object_end();
        }
        json.array_end();
    }
    json.object_end();
    return json.text();
}

}  // namespace

int help_command(const Arguments& arguments) {
    if (arguments.words.empty()) {
        printf("%s", usage_text().c_str());
        return EXIT_GOOD;
    }
    std::vector<std::string> names;
    for (const CommandRow& row : command_table()) {
        names.emplace_back(row.name);
        if (row.name == arguments.words[0]) {
            printf("%s", usage_text(row).c_str());
            return EXIT_GOOD;
        }
    }
    return complain(unknown_word(arguments.words[0], "command", names), EXIT_USAGE);
}

int verbs_command(const Arguments& arguments) {
    const std::vector<Section> sections = vocabulary();
    if (arguments.json) {
        printf("%s\n", vocabulary_json(sections).c_str());
        return EXIT_GOOD;
    }
    for (const Section& section : sections) {
        printf("%s%s\n", &section == &sections.front() ? "" : "\n", section.title.c_str());
        for (const Entry& entry : section.entries) {
            printf("  %.*s\n      %.*s\n", static_cast<int>(entry.usage.size()), entry.usage.data(),
                   static_cast<int>(entry.help.size()), entry.help.data());
        }
    }
    return EXIT_GOOD;
}

int generate_command(const Arguments& arguments) {
    Scenario scenario;
    std::string error;
    const std::span<const std::string> words = arguments.words;
    if (!scenario_generate(words[0], words.subspan(1), &scenario, error)) {
        return complain(error, EXIT_USAGE);
    }
    scenario.seed = arguments.seed.value_or(scenario.seed);
    printf("%s", scenario_print(scenario).c_str());
    return EXIT_GOOD;
}

}  // namespace lab
