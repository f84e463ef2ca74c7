#include "bench/bed.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>

#include "lab/node/standard.h"
#include "lab/node/udp_peer.h"
#include "lab/tools/small_file.h"
#include "lab/tools/state_layout.h"

namespace bench {
namespace {

constexpr int PATIENCE_MS = 10'000;
constexpr int POLL_US = 300;
constexpr std::array RESULTS = {"/tmp/vl1905/APautooutput_5G", "/tmp/vl1905/vl1905WIFIState_5G",
                                "/tmp/vl1905/APautooutput_G1_24G",
                                "/tmp/vl1905/vl1905WIFIState_G1_24G"};

bool answer(const lab::Node& node, const std::string& words, const std::string& text) {
    return lab::state_set(node.root(), "answers/" + words, text + "\n");
}

bool answers_set(const lab::Node& node) {
    bool done = answer(node, "ps", "  7 root 0:00 hyd") &&
                answer(node, "uci get hyd.config.Enable", "1") &&
                answer(node, "iwpriv ath0 get_whc_dist", "ath0 get_whc_dist:1");
    for (const char* section : {"ath0", "ath1", "ath10", "ath11", "ath20", "ath22", "ath23"}) {
        const std::string key = std::string("uci get wireless.") + section + ".";
        done = done && answer(node, key + "ssid", lab::MESH_NAME) &&
               answer(node, key + "auth", "WPA2PSK") &&
               answer(node, key + "WPAPSKkey", lab::MESH_KEY) &&
               answer(node, key + "disabled", "0");
    }
    return done;
}

bool says(const std::string& tool, const char* words) {
    return tool.find(words) != std::string::npos;
}

}  // namespace

std::int64_t now_ns() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::int64_t>(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
}

long number_behind(const std::string& path, const std::string& key) {
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(key)) {
            return std::stol(line.substr(key.size()));
        }
    }
    return 0;
}

std::unique_ptr<Bed> Bed::make(const BedOptions& options, std::string& error) {
    lab::NodeOptions wanted;
    wanted.name = options.name;
    wanted.programs = std::string(BACKHAUL_BUILD_DIR "/bench/") +
                      (options.records_lines ? "recorded" : "programs");
    wanted.daemon = BACKHAUL_BUILD_DIR "/backhaul_monitor";
    wanted.address = options.address;
    wanted.real_time = true;
    // What a root announces is nobody else's wake-up.
    wanted.on_switch = !options.is_root;
    std::unique_ptr<Bed> bed(new Bed);
    bed->is_root_ = options.is_root;
    bed->node_ = lab::Node::make(wanted, error);
    if (bed->node_ == nullptr || !bed->furnish(options)) {
        error = bed->node_ == nullptr ? error : bed->error_;
        return nullptr;
    }
    return bed;
}

bool Bed::furnish(const BedOptions& options) {
    const std::string fifo = node_->at("/run/lab/starts");
    error_ = "cannot furnish a node";
    if (!(options.is_root ? lab::standard_root : lab::standard_extender)(*node_, error_) ||
        !answers_set(*node_) || mkfifo(fifo.c_str(), 0600) != 0 ||
        !lab::file_write(node_->at("/tmp/vl1905.json"), "AP-autoconfig_WiFiReload 0\n")) {
        return false;
    }
    if (!options.profile.empty() &&
        !lab::file_write(node_->at("/tmp/wifi_if_profile"), options.profile)) {
        return false;
    }
    mkdir(node_->at("/tmp/vl1905").c_str(), 0755);
    starts_ = open(fifo.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    files_ = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    daemon_ = std::make_unique<lab::Daemon>(*node_);
    return inotify_add_watch(files_, node_->at("/var/log").c_str(), IN_MODIFY) >= 0 &&
           inotify_add_watch(files_, node_->at("/tmp").c_str(), IN_MOVED_TO) >= 0 &&
           lab::driver_open(&driver_, node_->init(), error_);
}

Bed::~Bed() {
    for (const pid_t child : children_) {
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    }
    close(starts_);
    close(files_);
}

bool Bed::start_daemon() {
    lab::DaemonOptions options;
    // No station is parked, however often it is lost.
    options.arguments =
        is_root_ ? std::vector<std::string>{"-m"} : std::vector<std::string>{"-p", "200"};
    return daemon_->start(options, error_);
}

bool Bed::take_files(std::int64_t start, Reaction& seen) {
    alignas(inotify_event) std::array<char, 4096> buffer{};
    const double passed = static_cast<double>(now_ns() - start) / 1000;
    bool changed = false;
    for (ssize_t count = 0; (count = read(files_, buffer.data(), buffer.size())) > 0;) {
        for (ssize_t at = 0; at < count;) {
            const auto* const event = reinterpret_cast<const inotify_event*>(buffer.data() + at);
            at += static_cast<ssize_t>(sizeof *event + event->len);
            if (std::strcmp(event->name, "backhaul_flow_log") == 0 && seen.first_entry < 0) {
                seen.first_entry = passed;
                changed = true;
            }
            if (std::strcmp(event->name, "backhaul_status") == 0) {
                seen.status = passed;
                changed = true;
            }
        }
    }
    return changed;
}

bool Bed::watch(const std::function<bool()>& event, Reaction& seen,
                const std::function<bool(const Reaction&, const std::string&)>& done) {
    std::array<char, 4096> buffer{};
    while (read(starts_, buffer.data(), buffer.size()) > 0 ||
           read(files_, buffer.data(), buffer.size()) > 0) {
    }
    unread_.clear();
    seen = {};
    const std::int64_t start = now_ns();
    error_ = "an event could not be made";
    if (!event()) {
        return false;
    }
    std::array<pollfd, 2> watched = {pollfd{starts_, POLLIN, 0}, pollfd{files_, POLLIN, 0}};
    while (poll(watched.data(), watched.size(), PATIENCE_MS) > 0) {
        const bool files_changed = take_files(start, seen);
        bool is_done = files_changed && done(seen, "");
        for (ssize_t count = 0; (count = read(starts_, buffer.data(), buffer.size())) > 0;) {
            unread_.append(buffer.data(), static_cast<std::size_t>(count));
        }
        for (std::size_t end = 0; (end = unread_.find('\n')) != std::string::npos;) {
            const std::string tool = unread_.substr(0, end);
            unread_.erase(0, end + 1);
            seen.last_tool = static_cast<double>(std::atoll(tool.c_str()) - start) / 1000;
            seen.first_tool = seen.first_tool < 0 ? seen.last_tool : seen.first_tool;
            ++seen.tools;
            is_done = is_done || done(seen, tool);
        }
        if (is_done) {
            return true;
        }
    }
    error_ = "nothing more happened after " + std::to_string(seen.tools) + " tools";
    return false;
}

bool Bed::lose(Reaction& seen) {
    return watch([this] { return lab::driver_disassociated(&driver_, STA, error_); }, seen,
                 [](const Reaction&, const std::string& tool) {
                     return says(tool, "BackhaulDisConnect");
                 }) &&
           await_log("/sbin/velmor_led_ctrl BackhaulDisConnect");
}

bool Bed::connect(Reaction& seen) {
    const auto event = [this] {
        return lab::driver_associated(&driver_, STA, lab::mac_from_text(lab::ap_address(1)),
                                      error_);
    };
    return watch(event, seen,
                 [](const Reaction&, const std::string& tool) {
                     return says(tool, "BackhaulConnect");
                 }) &&
           await_log("/sbin/velmor_led_ctrl BackhaulConnect");
}

bool Bed::configure(Reaction& seen) {
    const auto event = [this] {
        return std::all_of(RESULTS.begin(), RESULTS.end(), [this](const char* path) {
            return lab::file_write(node_->at(path), "1\n");
        });
    };
    return watch(event, seen,
                 [](const Reaction& so_far, const std::string&) { return so_far.status >= 0; }) &&
           await_log("from 4 to 7");
}

bool Bed::make_ready() {
    Reaction ignored;
    lab::UdpPeer peer(36003);
    // It begins with a pause of ten seconds.
    if (!await_log(std::string("essid ") + lab::MESH_NAME, 20)) {
        return false;
    }
    peer.send("192.168.1.255", 36002, lab::message_seal("ImRootAP", lab::MESH_NAME));
    peer.send(node_->ip(), 36003, lab::message_seal("CHECK_VALID_REPLY", lab::MESH_NAME));
    return await_log("recv CHECK_VALID_REPLY from 192.168.1.1") && connect(ignored) &&
           configure(ignored);
}

bool Bed::await_log(const std::string& text, int seconds) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    std::string log;
    do {
        lab::file_read(node_->at(LOG), &log);
        if (log.ends_with(text + "\n")) {
            return true;
        }
        usleep(POLL_US);
    } while (std::chrono::steady_clock::now() < end);
    error_ = "the log does not end with '" + text + "' but with " +
             log.substr(log.size() > 200 ? log.size() - 200 : 0);
    return false;
}

pid_t Bed::spawn(const std::vector<std::string>& words, const std::string& out) {
    lab::SpawnPlan plan;
    plan.words = words;
    plan.out = out;
    plan.moved_clock = false;
    const pid_t child = node_->spawn(plan, error_);
    if (child > 0) {
        children_.push_back(child);
    }
    return child;
}

bool Bed::run(const std::vector<std::string>& words, std::string& printed) {
    constexpr char OUT[] = "/tmp/printed";
    lab::SpawnPlan plan;
    plan.words = words;
    plan.out = OUT;
    plan.moved_clock = false;
    unlink(node_->at(OUT).c_str());
    const bool done = node_->run(plan, error_) == 0;
    lab::file_read(node_->at(OUT), &printed);
    if (!done) {
        error_ = words[0] + " failed: " + error_ + printed;
    }
    return done;
}

}  // namespace bench
