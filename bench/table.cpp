#include "bench/table.h"

#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace bench {
namespace {

double quantile(std::vector<double> values, double part) {
    if (values.empty()) {
        return 0;
    }
    const auto at = static_cast<std::ptrdiff_t>(part * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), values.begin() + at, values.end());
    return values[static_cast<std::size_t>(at)];
}

std::string text(double value, const std::string& unit) {
    char buffer[32];
    const int digits = unit.empty() || value >= 100 ? 0 : 2;
    std::snprintf(buffer, sizeof buffer, "%.*f%s%s", digits, value, unit.empty() ? "" : " ",
                  unit.c_str());
    return buffer;
}

}  // namespace

double Samples::median() const {
    return quantile(values, 0.5);
}

double Samples::spread() const {
    const double middle = median();
    return middle > 0 ? 50 * (quantile(values, 0.75) - quantile(values, 0.25)) / middle : 0;
}

void Table::add(const std::string& measure, const Samples& here, const Samples& floor,
                double goal) {
    add({measure, "us", here.median(), floor.median(), floor.spread(),
         goal > 0 ? Goal::ratio : Goal::none, goal});
}

void Table::count(const std::string& measure, double here, double floor, double goal) {
    add({measure, "", here, floor, 0, goal > 0 ? Goal::count : Goal::none, goal});
}

void Table::add(Row row) {
    rows_.push_back(std::move(row));
    std::fprintf(stderr, "bench: %s\n", rows_.back().measure.c_str());
}

void Table::print() const {
    utsname about{};
    uname(&about);
    double load = 0;
    getloadavg(&load, 1);
    std::printf("%ld cores, %s, kernel %s, load %.1f at the end\n\n", sysconf(_SC_NPROCESSORS_ONLN),
                about.machine, about.release, load);
    std::printf("| %-52s | %12s | %12s | %5s | %7s | %5s |\n", "Measure", "here", "floor", "ratio",
                "goal", "noise");
    std::printf("|%s|%s|%s|%s|%s|%s|\n", std::string(54, '-').c_str(), std::string(14, '-').c_str(),
                std::string(14, '-').c_str(), std::string(7, '-').c_str(),
                std::string(9, '-').c_str(), std::string(7, '-').c_str());
    for (const Row& row : rows_) {
        const double ratio = row.floor > 0 ? row.here / row.floor : 0;
        char goal[16] = "";
        char noise[16] = "";
        if (row.kind != Goal::none) {
            const double reached = row.kind == Goal::ratio ? ratio : row.here;
            std::snprintf(goal, sizeof goal, row.kind == Goal::ratio ? "%.2f%s" : "%.0f%s",
                          row.goal, reached > row.goal ? " *" : "");
        }
        if (row.noise > 0) {
            std::snprintf(noise, sizeof noise, "%.0f %%", row.noise);
        }
        std::printf("| %-52s | %12s | %12s | %5.2f | %7s | %5s |\n", row.measure.c_str(),
                    text(row.here, row.unit).c_str(), text(row.floor, row.unit).c_str(), ratio,
                    goal, noise);
    }
    std::printf("\n* the goal is missed. Noise: half of the floor's middle half, by its median.\n");
}

}  // namespace bench
