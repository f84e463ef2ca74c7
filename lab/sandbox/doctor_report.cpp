#include "lab/sandbox/doctor_report.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "lab/sandbox/limits.h"
#include "lab/sandbox/program.h"
#include "lab/sandbox/sandbox.h"

namespace lab {
namespace {

constexpr int NODES_A_CORE = 16;        // moved time then still passes much faster than real time
constexpr std::int64_t MB_A_NODE = 24;  // daemon, two more processes and their files in memory
constexpr std::int64_t MB_FOR_THE_REST = 128;
constexpr int OLDEST_KERNEL_MAJOR = 5;
constexpr int OLDEST_KERNEL_MINOR = 12;

DoctorRow good(const std::string& name, const std::string& found) {
    return {name, DoctorMark::good, found, "", ""};
}

/// First number in a small file of the kernel, or `otherwise`.
long number_in(const char* path, long otherwise) {
    FILE* const file = fopen(path, "re");
    long number = 0;
    const bool has_number = file != nullptr && fscanf(file, "%ld", &number) == 1;
    if (file != nullptr) {
        fclose(file);
    }
    return has_number ? number : otherwise;
}

DoctorRow rights_row() {
    const std::string name = "rights";
    if (geteuid() == 0) {
        return good(name, "root");
    }
    const bool off = number_in("/proc/sys/user/max_user_namespaces", 1) == 0 ||
                     number_in("/proc/sys/kernel/unprivileged_userns_clone", 1) == 0;
    const bool restricted =
        number_in("/proc/sys/kernel/apparmor_restrict_unprivileged_userns", 0) != 0;
    if (off || restricted) {
        return {name, DoctorMark::lacks, "an ordinary user without user namespaces",
                "no node can have a network and files of its own",
                restricted ? "run as root, or set kernel.apparmor_restrict_unprivileged_userns=0"
                           : "run as root, or set user.max_user_namespaces to 1000"};
    }
    return good(name, "an ordinary user with user namespaces");
}

struct NeededProgram {
    const char* name;
    DoctorMark without;
    const char* lost;
    const char* remedy;
};

constexpr std::array PROGRAMS = {
    NeededProgram{"ip", DoctorMark::lacks, "no node can have a network", "install iproute2"},
    NeededProgram{"openssl", DoctorMark::lacks, "no node can send or read a message",
                  "install openssl"},
    NeededProgram{"bash", DoctorMark::less, "`shell` has no history and a plain prompt",
                  "install bash"},
};

DoctorRow program_row(const NeededProgram& program) {
    const std::string name = std::string("command ") + program.name;
    const std::string place = place_on_path(program.name);
    if (!place.empty()) {
        return good(name, place);
    }
    return {name, program.without, "not there", program.lost, program.remedy};
}

DoctorRow built_row(const std::string& programs) {
    const std::string name = "programs of the lab";
    for (const char* file : {"lab_tool", "lab_sh", "liblab_clock.so", "../backhaul_monitor"}) {
        if (access((programs + "/" + file).c_str(), R_OK) != 0) {
            return {name, DoctorMark::lacks, programs + "/" + file + " is missing", "nothing runs",
                    "build the targets backhaul_monitor and lab_programs"};
        }
    }
    return good(name, programs);
}

DoctorRow kernel_row() {
    const std::string name = "kernel";
    utsname system{};
    uname(&system);
    int major = 0;
    int minor = 0;
    sscanf(system.release, "%d.%d", &major, &minor);
    const bool new_enough = major > OLDEST_KERNEL_MAJOR ||
                            (major == OLDEST_KERNEL_MAJOR && minor >= OLDEST_KERNEL_MINOR);
    if (new_enough) {
        return good(name, system.release);
    }
    return {name, DoctorMark::lacks, system.release,
            "the machine's files cannot be made read-only for nodes", "use Linux 5.12 or later"};
}

/// Runs `ip` with these words in the sandbox whose process 1 is `init`.
bool ip_works_inside(pid_t init, const std::vector<std::string>& words) {
    fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        const std::string process = "/proc/" + std::to_string(init) + "/ns/";
        const int user = open((process + "user").c_str(), O_RDONLY | O_CLOEXEC);
        const int net = open((process + "net").c_str(), O_RDONLY | O_CLOEXEC);
        if (geteuid() != 0 && setns(user, CLONE_NEWUSER) != 0) {
            _exit(1);
        }
        std::string error;
        _exit(setns(net, CLONE_NEWNET) == 0 && run_program(words, "", error) ? 0 : 1);
    }
    int status = 1;
    return child > 0 && waitpid(child, &status, 0) == child && status == 0;
}

DoctorRow veth_row(pid_t init) {
    const std::string name = "veth pairs";
    if (ip_works_inside(init,
                        {"ip", "link", "add", "lab-a", "type", "veth", "peer", "name", "lab-b"})) {
        return good(name, "can be made");
    }
    return {name, DoctorMark::lacks, "cannot be made", "nodes cannot be joined to a mesh",
            "load or build in the kernel's module veth"};
}

void sandbox_rows(const std::string& programs, std::vector<DoctorRow>* rows) {
    SandboxOptions options;
    options.programs = programs;
    options.network.radios = {"ath0"};
    std::string error;
    const pid_t init = sandbox_start(options, error);
    if (init < 0) {
        rows->push_back({"namespaces and bridges", DoctorMark::lacks, error, "no node can be made",
                         "run as root, outside containers that forbid mounts; the kernel needs "
                         "bridges and network namespaces"});
        return;
    }
    rows->push_back(good("namespaces and bridges", "a node was made and discarded"));
    rows->push_back(veth_row(init));
    kill(init, SIGKILL);
    waitpid(init, nullptr, 0);
}

/// A mesh raises its own limit up to this one.
std::int64_t most_descriptors() {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    return static_cast<std::int64_t>(
        std::min(limit.rlim_max, rlim_t{DESCRIPTORS_A_NODE} * MOST_NODES));
}

DoctorRow descriptors_row() {
    const std::string name = "open files";
    const std::int64_t most = most_descriptors();
    const std::int64_t nodes = most / DESCRIPTORS_A_NODE;
    const std::string found = "enough for " + std::to_string(nodes) + " nodes";
    if (nodes >= MOST_NODES) {
        return good(name, found);
    }
    return {name, DoctorMark::less, found, "a mesh of more nodes is refused",
            "raise `ulimit -Hn` to " + std::to_string(DESCRIPTORS_A_NODE * MOST_NODES)};
}

DoctorRow watch_row() {
    const std::string name = "quiet processes";
    // What the clock looks at before it lets the next second pass.
    const int fd = open("/proc/self/syscall", O_RDONLY | O_CLOEXEC);
    std::array<char, 64> text{};
    const bool readable = fd >= 0 && read(fd, text.data(), text.size()) > 0;
    close(fd);
    if (readable) {
        return good(name, "can be told from busy ones");
    }
    return {name, DoctorMark::less, "/proc/PID/syscall cannot be read",
            "a node that does not come to rest is told without the reason",
            "use a kernel with CONFIG_HAVE_ARCH_TRACEHOOK, outside restrictive containers"};
}

/// Whether the nodes of a mesh may share a processor on which they come first.
DoctorRow order_row() {
    const std::string name = "real-time order";
    sched_param first{};
    first.sched_priority = 2;
    const sched_param none{};
    const bool allowed = sched_setscheduler(0, SCHED_FIFO, &first) == 0;
    sched_setscheduler(0, SCHED_OTHER, &none);
    if (allowed) {
        return good(name, "meshes are moved exactly");
    }
    return {name, DoctorMark::less, "not allowed",
            "meshes are slower, and those of eight and more nodes not the same every time",
            "run as root, or raise `ulimit -Hr` to 2"};
}

std::int64_t free_megabytes() {
    FILE* const file = fopen("/proc/meminfo", "re");
    std::array<char, 256> line{};
    long kilobytes = 0;
    while (file != nullptr && fgets(line.data(), line.size(), file) != nullptr &&
           sscanf(line.data(), "MemAvailable: %ld", &kilobytes) != 1) {
    }
    if (file != nullptr) {
        fclose(file);
    }
    return kilobytes / 1024;
}

int cores_allowed() {
    cpu_set_t set;
    CPU_ZERO(&set);
    return sched_getaffinity(0, sizeof(set), &set) == 0 ? std::max(1, CPU_COUNT(&set)) : 1;
}

}  // namespace

int doctor_nodes(int cores, std::int64_t free_mb, std::int64_t descriptors) {
    const std::int64_t by_memory = std::max<std::int64_t>(0, free_mb - MB_FOR_THE_REST) / MB_A_NODE;
    return static_cast<int>(std::min<std::int64_t>({by_memory, std::int64_t{cores} * NODES_A_CORE,
                                                    descriptors / DESCRIPTORS_A_NODE, MOST_NODES}));
}

DoctorReport doctor_report(const std::string& programs) {
    DoctorReport report;
    report.rows = {rights_row(), kernel_row(), built_row(programs)};
    for (const NeededProgram& program : PROGRAMS) {
        report.rows.push_back(program_row(program));
    }
    if (doctor_is_good(report)) {
        sandbox_rows(programs, &report.rows);
    }
    report.rows.push_back(descriptors_row());
    report.rows.push_back(watch_row());
    report.rows.push_back(order_row());
    const int cores = cores_allowed();
    const std::int64_t free_mb = free_megabytes();
    report.nodes = doctor_nodes(cores, free_mb, most_descriptors());
    const std::string found = std::to_string(cores) + " cores, " + std::to_string(free_mb) +
                              " MB free: about " + std::to_string(report.nodes) + " nodes";
    report.rows.push_back(report.nodes >= NODES_A_CORE
                              ? good("room", found)
                              : DoctorRow{"room", DoctorMark::less, found,
                                          "larger meshes are slow or do not fit",
                                          "free some memory, or use a larger machine"});
    return report;
}

bool doctor_is_good(const DoctorReport& report) {
    return std::ranges::none_of(report.rows,
                                [](const DoctorRow& row) { return row.mark == DoctorMark::lacks; });
}

}  // namespace lab
