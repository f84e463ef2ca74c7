// What a machine has for the lab, check by check: what was found, what is lost without it and what
// helps. For `doctor`; any thread; makes and discards one sandbox.
//
// No kernel module for Wi-Fi, no preloaded clock of somebody else's and no virtual machine is
// needed, so nothing is asked about them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace lab {

enum class DoctorMark {
    good,
    less,   // the lab runs, but something is lost
    lacks,  // it does not run
};

struct DoctorRow {
    std::string name;
    DoctorMark mark = DoctorMark::good;
    std::string found;
    std::string lost;    // empty when good
    std::string remedy;  // empty when good
};

struct DoctorReport {
    std::vector<DoctorRow> rows;
    int nodes = 0;  // that a mesh may have here and still be quick
};

// Looks at the machine. `programs` is the folder of lab_tool, lab_sh and liblab_clock.so.
DoctorReport doctor_report(const std::string& programs);

// Nothing that the lab cannot do without is missing.
bool doctor_is_good(const DoctorReport& report);

// Nodes for so many cores, so much free memory and so many open files: whichever gives the fewest.
// A function of values.
int doctor_nodes(int cores, std::int64_t free_mb, std::int64_t descriptors);

}  // namespace lab
