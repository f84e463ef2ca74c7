// What a test program in a sandbox leaves outside of it, all of it below the build's folder. Used
// by the main() functions of test programs.
#pragma once

#include <cstdlib>
#include <string>

#include "lab/sandbox/outside.h"
#include "tests/harness/contract_record.h"

namespace harness {

// Where the evidence of failed process tests goes; opened by their main().
lab::OutsidePlace& evidence_place();

// Places that every test program writes to: records for the comparison with the contract and, in a
// build that counts executed lines, the counters. They are open as long as this lives.
class BuildPlaces {
public:
    // Before the sandbox is entered: opens them and names them in the environment.
    bool open(const std::string& build, std::string& error) {
        if (!contract_.open(build + "/contract", error)) {
            return false;
        }
        setenv(CONTRACT_PLACE, contract_.path().c_str(), 1);
        return lab::counters_open(error);
    }
    // For a program that is run anew inside.
    void survive_exec() const {
        contract_.survive_exec();
        lab::counters_survive_exec();
    }

private:
    lab::OutsidePlace contract_;
};

}  // namespace harness
