#include <cstdio>

#include "lab/program/commands.h"
#include "lab/program/mesh_host.h"
#include "lab/report/json.h"
#include "lab/report/table.h"
#include "lab/sandbox/doctor_report.h"

namespace lab {
namespace {

TableCell mark_of(DoctorMark mark) {
    switch (mark) {
        case DoctorMark::GOOD:
            return {"good", Colour::GREEN};
        case DoctorMark::LESS:
            return {"less", Colour::YELLOW};
        case DoctorMark::LACKS:
            return {"lacks", Colour::RED};
    }
    return {};
}

std::string report_json(const DoctorReport& report) {
    JsonWriter json;
    json.object_begin();
    json.key("good").value(doctor_is_good(report));
    json.key("nodes").value(report.nodes);
    json.key("checks").array_begin();
    for (const DoctorRow& row : report.rows) {
        json.object_begin();
        json.key("name").value(row.name);
        json.key("mark").value(mark_of(row.mark).text);
        json.key("found").value(row.found);
        json.key("lost").value(row.lost);
        json.key("remedy").value(row.remedy);
        json.object_end();
    }
    json.array_end();
    json.object_end();
    return json.text();
}

void report_print(const DoctorReport& report, bool in_colour) {
    Table table;
    table.columns = {{"CHECK"}, {"MARK"}, {"FOUND"}};
    for (const DoctorRow& row : report.rows) {
        table.rows.push_back({{row.name}, mark_of(row.mark), {row.found}});
    }
    printf("%s\n", table_text(table, in_colour).c_str());
    for (const DoctorRow& row : report.rows) {
        if (row.mark != DoctorMark::GOOD) {
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

int doctor_command(const Arguments& arguments) {
    const DoctorReport report = doctor_report(program_place().programs);
    if (arguments.json) {
        printf("%s\n", report_json(report).c_str());
    } else {
        report_print(report, wants_colour(arguments));
    }
    return doctor_is_good(report) ? EXIT_GOOD : EXIT_DIFFERS;
}

}  // namespace lab
