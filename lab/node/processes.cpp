#include "lab/node/processes.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "lab/clock/proc_entries.h"
#include "lab/tools/small_file.h"

namespace lab {
namespace {

std::vector<pid_t> numbers_in(const std::string& path) {
    std::vector<pid_t> numbers = proc_entries(path);
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

std::string link_target(const std::string& path) {
    std::array<char, PATH_MAX> target{};
    const ssize_t length = readlink(path.c_str(), target.data(), target.size() - 1);
    return length < 0 ? std::string() : std::string(target.data(), static_cast<size_t>(length));
}

// The text behind "KEY:" in a status file, up to the line end.
std::string value_of(const std::string& status, const std::string& key) {
    const size_t at = status.find("\n" + key + ":");
    if (at == std::string::npos) {
        return {};
    }
    const size_t from = status.find_first_not_of(" \t", at + key.size() + 2);
    return from == std::string::npos ? std::string()
                                     : status.substr(from, status.find('\n', from) - from);
}

long last_number(const std::string& text) {
    const size_t at = text.find_last_of(" \t");
    return strtol(text.c_str() + (at == std::string::npos ? 0 : at + 1), nullptr, 10);
}

long number_of(const std::string& status, const std::string& key) {
    return strtol(value_of(status, key).c_str(), nullptr, 10);
}

ProcessInfo info_from(const std::string& status, pid_t pid) {
    ProcessInfo info;
    info.pid = pid;
    info.inner = static_cast<pid_t>(last_number(value_of(status, "NSpid")));
    info.parent = static_cast<pid_t>(number_of(status, "PPid"));
    info.state = (value_of(status, "State") + "?")[0];
    info.name = value_of(status, "Name");
    info.threads = static_cast<int>(number_of(status, "Threads"));
    info.resident_kb = number_of(status, "VmRSS");
    return info;
}

}  // namespace

std::vector<ProcessInfo> node_processes(const Node& node) {
    const std::string inside = link_target("/proc/" + std::to_string(node.init()) + "/ns/pid");
    std::vector<ProcessInfo> found;
    std::vector<ProcessInfo> zombies;
    for (const pid_t pid : numbers_in("/proc")) {
        const std::string folder = "/proc/" + std::to_string(pid);
        std::string status;
        if (!file_read(folder + "/status", &status) || status.empty()) {
            continue;
        }
        const ProcessInfo info = info_from("\n" + status, pid);
        if (info.state == 'Z') {
            zombies.push_back(info);
        } else if (link_target(folder + "/ns/pid") == inside) {
            found.push_back(info);
        }
    }
    // A zombie has no namespaces left to look at: it belongs where its parent does.
    const std::vector<ProcessInfo> living = found;
    for (const ProcessInfo& zombie : zombies) {
        for (const ProcessInfo& parent : living) {
            if (parent.pid == zombie.parent) {
                found.push_back(zombie);
            }
        }
    }
    std::sort(found.begin(), found.end(),
              [](const ProcessInfo& one, const ProcessInfo& other) { return one.pid < other.pid; });
    return found;
}

std::vector<pid_t> child_pids_of(const Node& node, pid_t parent) {
    std::vector<pid_t> pids;
    const std::string task = std::to_string(parent) + "/task/" + std::to_string(parent);
    std::string text;
    const std::string path = "/proc/" + task + "/children";
    if (path_exists(path)) {
        file_read(path, &text);
        for (const char* at = text.c_str(); *at != '\0';) {
            char* end = nullptr;
            const long pid = strtol(at, &end, 10);
            if (end == at) {
                break;
            }
            pids.push_back(static_cast<pid_t>(pid));
            at = end + strspn(end, " ");
        }
        return pids;
    }
    // Not every kernel has that file.
    for (const ProcessInfo& child : children_of(node, parent)) {
        pids.push_back(child.pid);
    }
    return pids;
}

std::vector<ProcessInfo> children_of(const Node& node, pid_t parent) {
    std::vector<ProcessInfo> all = node_processes(node);
    std::erase_if(all, [parent](const ProcessInfo& one) { return one.parent != parent; });
    return all;
}

std::vector<std::string> descriptors_of(pid_t pid) {
    const std::string folder = "/proc/" + std::to_string(pid) + "/fd";
    const char* const counters = getenv("GCOV_PREFIX");
    const std::string of_the_build = counters == nullptr ? "" : link_target(counters);
    std::vector<std::string> found;
    for (const pid_t number : numbers_in(folder)) {
        const std::string target = link_target(folder + "/" + std::to_string(number));
        if (target.empty() || target != of_the_build) {
            found.push_back(std::to_string(number) + "=" + target);
        }
    }
    return found;
}

std::vector<std::string> threads_of(pid_t pid) {
    const std::string folder = "/proc/" + std::to_string(pid) + "/task";
    std::vector<std::string> found;
    for (const pid_t tid : numbers_in(folder)) {
        std::string name;
        file_read(folder + "/" + std::to_string(tid) + "/comm", &name);
        found.push_back(std::to_string(tid) + " " + name.substr(0, name.find('\n')));
    }
    return found;
}

}  // namespace lab
