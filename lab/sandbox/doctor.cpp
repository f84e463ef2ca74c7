#include "lab/sandbox/doctor.h"

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <string_view>

#include "lab/sandbox/sandbox.h"

namespace lab {
namespace {

bool on_path(const std::string& name) {
    const char* old = getenv("PATH");
    std::string path = (old == nullptr ? std::string() : std::string(old)) + ":/usr/sbin:/sbin:";
    for (size_t at = 0; at < path.size();) {
        const size_t colon = path.find(':', at);
        const std::string folder = path.substr(at, colon - at);
        if (!folder.empty() && access((folder + "/" + name).c_str(), X_OK) == 0) {
            return true;
        }
        at = colon + 1;
    }
    return false;
}

}  // namespace

std::vector<Lack> doctor_look(const std::string& programs) {
    std::vector<Lack> lacks;
    if (!on_path("ip")) {
        lacks.push_back({"the command `ip` is missing", "install iproute2"});
    }
    if (!on_path("openssl")) {
        lacks.push_back({"the command `openssl` is missing",
                         "install openssl; without it no node message can be sent"});
    }
    for (const char* name : {"lab_tool", "lab_sh", "liblab_clock.so"}) {
        if (access((programs + "/" + name).c_str(), R_OK) != 0) {
            lacks.push_back({programs + "/" + name + " is missing", "build lab_programs"});
        }
    }
    if (!lacks.empty()) {
        return lacks;
    }
    SandboxOptions options;
    options.programs = programs;
    options.network.radios = {"ath0"};
    std::string error;
    const pid_t init = sandbox_start(options, error);
    if (init < 0) {
        lacks.push_back({error, "run as root, outside containers that forbid mounts"});
        return lacks;
    }
    kill(init, SIGKILL);
    waitpid(init, nullptr, 0);
    return lacks;
}

}  // namespace lab
