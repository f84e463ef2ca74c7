#include "lab/node/node.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <utility>

#include "lab/clock/clock_control.h"
#include "lab/clock/processor_place.h"
#include "lab/node/spawn.h"
#include "lab/sandbox/layout.h"
#include "lab/sandbox/program.h"
#include "lab/tools/small_file.h"

namespace lab {
namespace {

// The last is no namespace: entering a mount namespace forgets a changed root.
constexpr std::array<const char*, 5> NAMESPACES = {"ns/pid", "ns/mnt", "ns/net", "ns/ipc", "root"};

// Numbers of cables are per test process, which has "lab-switch" to itself.
unsigned next_cable() {
    static unsigned count = 0;
    return ++count;
}

// Link numbers of cables begin behind every number inside a node. With the same number on both ends
// the kernel takes an end for no pair, and takes up to a second to open the switch's port.
constexpr unsigned FIRST_CABLE_INDEX = 1000;

// States of a bridge's port, and how long one may take to get there.
constexpr char PORT_FORWARDS = '3';
constexpr char PORT_DISABLED = '0';
constexpr std::chrono::seconds PORT_PATIENCE{10};

char first_byte(const std::string& path) {
    std::string text;
    return file_read(path, &text) && !text.empty() ? text[0] : '?';
}

SandboxOptions sandbox_options(const NodeOptions& options) {
    SandboxOptions sandbox;
    sandbox.programs = options.programs;
    sandbox.daemon = options.daemon;
    sandbox.network.address = options.address;
    sandbox.network.gateway = options.gateway;
    sandbox.network.radios = options.radios;
    return sandbox;
}

}  // namespace

Node::Node(NodeOptions options) : options_(std::move(options)) {}

std::unique_ptr<Node> Node::make(const NodeOptions& options, std::string& error) {
    std::unique_ptr<Node> node(new Node(options));
    {
        const NodePriority first;
        node->init_ = sandbox_start(sandbox_options(options), error);
    }
    if (node->init_ < 0) {
        return nullptr;
    }
    node->root_ = "/proc/" + std::to_string(node->init_) + "/root";
    const ClockMode mode = options.real_time ? CLOCK_REAL : CLOCK_HELD;
    if (!node->open_namespaces(error) ||
        !clock_page_create(node->at(LAB_CLOCK), mode, options.start_time, error)) {
        return nullptr;
    }
    if (options.on_switch && !node->attach_to_switch(error)) {
        return nullptr;
    }
    return node;
}

Node::~Node() {
    if (init_ > 0) {
        kill(init_, SIGKILL);
        waitpid(init_, nullptr, 0);
    }
    for (const int fd : namespaces_) {
        if (fd >= 0) {
            close(fd);
        }
    }
    if (own_pid_namespace_ >= 0) {
        close(own_pid_namespace_);
    }
}

bool Node::open_namespaces(std::string& error) {
    own_pid_namespace_ = open("/proc/self/ns/pid", O_RDONLY | O_CLOEXEC);
    for (size_t at = 0; at < NAMESPACES.size(); ++at) {
        const std::string path = "/proc/" + std::to_string(init_) + "/" + NAMESPACES[at];
        namespaces_[at] = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        if (namespaces_[at] < 0) {
            error = "cannot open " + path + ": " + strerror(errno);
            return false;
        }
    }
    return true;
}

bool Node::attach_to_switch(std::string& error) {
    const unsigned number = next_cable();
    cable_ = "lab" + std::to_string(number);
    const std::string outside =
        "link add " + cable_ + " index " + std::to_string(FIRST_CABLE_INDEX + number) +
        " type veth peer name lan0 netns " + std::to_string(init_) + "\nlink set " + cable_ +
        " master " + options_.switch_name + "\nlink set " + cable_ + " up\n";
    if (!run_program({"ip", "-batch", "-"}, outside, error)) {
        return false;
    }
    SpawnPlan inside;
    inside.words = {"ip", "link", "set", "lan0", "master", "br-lan", "up"};
    inside.moved_clock = false;
    const int code = run(inside, error);
    if (code != 0) {
        error = "cannot plug the node's end of its cable (" + std::to_string(code) + ") " + error;
        return false;
    }
    return await_ports(PORT_FORWARDS, error);
}

bool Node::cable(bool plugged, std::string& error) const {
    if (!run_program({"ip", "link", "set", cable_, plugged ? "up" : "down"}, "", error)) {
        return false;
    }
    return await_ports(plugged ? PORT_FORWARDS : PORT_DISABLED, error);
}

// The kernel opens and shuts the ports at both ends some time after the links have changed.
bool Node::await_ports(char state, std::string& error) const {
    const std::string outside = "/sys/class/net/" + cable_ + "/brport/state";
    const std::string inside = at("/sys/class/net/lan0/brport/state");
    const std::string bridge = at("/sys/class/net/br-lan/operstate");
    const auto end = std::chrono::steady_clock::now() + PORT_PATIENCE;
    while (first_byte(outside) != state || first_byte(inside) != state ||
           (state == PORT_FORWARDS && first_byte(bridge) != 'u')) {
        if (std::chrono::steady_clock::now() > end) {
            error = std::string("the cable's ports are in the states ") + first_byte(outside) +
                    " and " + first_byte(inside) + ", not " + state;
            return false;
        }
        usleep(200);
    }
    return true;
}

std::string Node::at(const std::string& path) const {
    // /var/run is an absolute link to /run, which from outside would lead to the caller's own.
    return root_ + (path.rfind("/var/run/", 0) == 0 ? path.substr(4) : path);
}

std::string Node::ip() const {
    return options_.address.substr(0, options_.address.find('/'));
}

pid_t Node::spawn(const SpawnPlan& plan, std::string& error) const {
    return spawn_inside(plan, namespaces_, own_pid_namespace_, error);
}

int Node::run(const SpawnPlan& plan, std::string& error) const {
    const pid_t child = spawn(plan, error);
    if (child < 0) {
        return -1;
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace lab
