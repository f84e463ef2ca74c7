// What stands below the daemon: a program that does with the same driver events, lines and files
// only what cannot be left out. Started inside a node by the benchmarks.
//
//   bench_floor replay INTERFACE=FILE...  for each message of an interface, the steps of its file
//   bench_floor lines FILE                those steps once; prints how often it went to sleep
//   bench_floor supervisor                a child that is replaced a second after its end
//
// A step is a line of a file: "L line" is given to the shell, "E text" is added to the log in an
// open, a write and a close, "S text" becomes the status file under a second name that is renamed.

#include <fcntl.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr int BUFFER_SIZE = 8 * 1024 * 1024;

using Steps = std::vector<std::string>;

Steps steps_read(const char* path) {
    Steps steps;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        // What the shell gets ends here; what is written, with a line end.
        steps.push_back(line[0] == 'L' ? line : line + "\n");
    }
    return steps;
}

void add(const char* path, int flags, std::string_view text) {
    const int fd = open(path, O_WRONLY | O_CREAT | O_CLOEXEC | flags, 0644);
    [[maybe_unused]] const ssize_t written = write(fd, text.data(), text.size());
    close(fd);
}

void run(const Steps& steps) {
    for (const std::string& step : steps) {
        const char* const text = step.c_str() + 2;
        if (step[0] == 'L') {
            [[maybe_unused]] const int status = std::system(text);
        } else if (step[0] == 'E') {
            add("/var/log/backhaul_flow_log", O_APPEND, text);
        } else {
            add("/tmp/backhaul_status.new", O_TRUNC, text);
            std::rename("/tmp/backhaul_status.new", "/tmp/backhaul_status");
        }
    }
}

int replay(int count, char** words) {
    std::map<unsigned, Steps> steps;
    for (int at = 0; at < count; ++at) {
        char* const file = std::strchr(words[at], '=');
        *file = '\0';
        steps[if_nametoindex(words[at])] = steps_read(file + 1);
    }
    const int sock = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
    setsockopt(sock, SOL_SOCKET, SO_RCVBUFFORCE, &BUFFER_SIZE, sizeof BUFFER_SIZE);
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups = RTMGRP_LINK;
    if (bind(sock, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        return 1;
    }
    add("/tmp/floor_listens", 0, "");
    alignas(nlmsghdr) std::array<char, 8192> buffer{};
    while (recv(sock, buffer.data(), buffer.size(), 0) > 0) {
        const auto* const link =
            static_cast<const ifinfomsg*>(NLMSG_DATA(reinterpret_cast<nlmsghdr*>(buffer.data())));
        const auto found = steps.find(static_cast<unsigned>(link->ifi_index));
        if (found != steps.end()) {
            run(found->second);
        }
    }
    return 1;
}

int lines(const char* file) {
    const Steps steps = steps_read(file);
    rusage before{};
    rusage after{};
    getrusage(RUSAGE_SELF, &before);
    run(steps);
    getrusage(RUSAGE_SELF, &after);
    std::printf("%ld\n", after.ru_nvcsw - before.ru_nvcsw);
    return 0;
}

int supervisor() {
    for (;;) {
        const pid_t child = fork();
        if (child == 0) {
            add("/var/log/backhaul_flow_log", O_APPEND, "start\n");
            pause();
        }
        waitpid(child, nullptr, 0);
        sleep(1);
    }
}

}  // namespace

int main(int argc, char** argv) {
    const std::string_view mode = argc > 1 ? argv[1] : "";
    if (mode == "replay") {
        return replay(argc - 2, argv + 2);
    }
    if (mode == "lines" && argc == 3) {
        return lines(argv[2]);
    }
    return mode == "supervisor" ? supervisor() : 2;
}
