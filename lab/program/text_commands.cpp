#include <algorithm>
#include <cstdio>
#include <string>

#include "lab/mesh/mesh_place.h"
#include "lab/program/commands.h"
#include "lab/report/table.h"
#include "lab/sandbox/doctor_report.h"
#include "lab/scenario/condition.h"
#include "lab/scenario/scenario_generate.h"
#include "lab/scenario/scenario_parse.h"
#include "lab/scenario/scenario_step.h"
#include "lab/scenario/verb.h"

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
            {"Conditions of wait-until, expect, always and never", "conditions",
             entries_of(condition_table())}};
}

Json vocabulary_json(const std::vector<Section>& sections) {
    Json json;
    for (const Section& section : sections) {
        Json& entries = json[section.key] = Json::array();
        for (const Entry& entry : section.entries) {
            entries.push_back({{"name", entry.name}, {"usage", entry.usage}, {"help", entry.help}});
        }
    }
    return json;
}

TableCell mark_of(DoctorMark mark) {
    switch (mark) {
        case DoctorMark::good:
            return {"good", Colour::green};
        case DoctorMark::less:
            return {"less", Colour::yellow};
        case DoctorMark::lacks:
            return {"lacks", Colour::red};
    }
    return {};
}

Json report_json(const DoctorReport& report) {
    Json json = {{"good", doctor_is_good(report)}, {"nodes", report.nodes}};
    Json& checks = json["checks"] = Json::array();
    for (const DoctorRow& row : report.rows) {
        checks.push_back({{"name", row.name},
                          {"mark", mark_of(row.mark).text},
                          {"found", row.found},
                          {"lost", row.lost},
                          {"remedy", row.remedy}});
    }
    return json;
}

void report_print(const DoctorReport& report, bool in_colour) {
    Table table;
    table.columns = {{"CHECK"}, {"MARK"}, {"FOUND"}};
    for (const DoctorRow& row : report.rows) {
        table.rows.push_back({{row.name}, mark_of(row.mark), {row.found}});
    }
    printf("%s\n", table_text(table, in_colour).c_str());
    for (const DoctorRow& row : report.rows) {
        if (row.mark != DoctorMark::good) {
            printf("%s: %s\n    %s\n", row.name.c_str(), row.lost.c_str(), row.remedy.c_str());
        }
    }
    if (doctor_is_good(report)) {
        printf("The lab runs here, with meshes of about %d nodes.\n", report.nodes);
    } else {
        printf("The lab does not run here.\n");
    }
}

}  // namespace

int verbs_command(const Arguments& arguments) {
    const std::vector<Section> sections = vocabulary();
    if (arguments.json) {
        json_print(vocabulary_json(sections));
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
        return complain(arguments, error, EXIT_USAGE);
    }
    scenario.seed = arguments.seed.value_or(scenario.seed);
    printf("%s", scenario_print(scenario).c_str());
    return EXIT_GOOD;
}

int doctor_command(const Arguments& arguments) {
    const DoctorReport report = doctor_report(program_place().programs);
    if (arguments.json) {
        json_print(report_json(report));
    } else {
        report_print(report, wants_colour(arguments));
    }
    return doctor_is_good(report) ? EXIT_GOOD : EXIT_DIFFERS;
}

}  // namespace lab
