#include "lab/replay/replay_log.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <map>
#include <set>

#include "ctl/log_file.h"
#include "lab/scenario/scenario_defaults.h"

namespace lab {
namespace {

constexpr char LOG_NAME[] = "backhaul_flow_log";
constexpr std::string_view DEFAULT_ROOT = "192.168.1.1";
constexpr std::string_view OWN_ADDRESS = "192.168.1.";
constexpr int FIRST_OWN = 20;
constexpr int LAST_OWN = 250;
constexpr std::string_view OPTION_LOSSES = "-p";
constexpr std::string_view OPTION_FORGIVE = "-r";
constexpr int USUAL_LOSSES = 3;
constexpr int USUAL_FORGIVE = 5;
constexpr int PENDING_STATE = 6;

constexpr std::array GAPS = {
    GapRow{"when power went away", "the moment after the last line before a start"},
    GapRow{"interfaces that never did anything", "that there are none"},
    GapRow{"types, bands and priorities", "those of the usual profile, by the names"},
    GapRow{"options of the daemon", "as far as losses and access points show them, else the usual"},
    GapRow{"keys, and names of networks that were not set", "those of the lab"},
    GapRow{"addresses of the node and of a root that admitted nobody", "free ones of the lab"},
    GapRow{"how long tools took", "no time"},
    GapRow{"what the topology database and other files held", "what the lines of a second need"},
};

constexpr std::array MISSING = {
    MissingRow{"netlink_recv : driver events lost", "the events that were lost"},
    MissingRow{"netlink_msg_process : ifname is emplty", "the interface that was gone"},
    MissingRow{"backhaul_send_msg : sendto error", "why the network refused the datagram"},
    MissingRow{"backhaul_send_msg : get broadcast address fail", "when the bridge had no address"},
    MissingRow{"device_wifi_config_check : reload", "when the interface's settings were changed"},
    MissingRow{"backhaul_db_wifi_loop_check : should not happend",
               "the broken row of the database"},
    MissingRow{"loop_slave_handle : Can not get ethernet interface", "the profile without eth"},
    MissingRow{"can't open /tmp/backhaul_status", "why the file could not be opened"},
};

// Collects what the log reader tells, node by node.
class Collector : public log_visitor {
public:
    explicit Collector(std::vector<ReplayLog>& logs) : logs_(logs) {}

    void node_begin(const log_source& first) override {
        logs_.emplace_back();
        logs_.back().node = first.node.data();
    }
    void file_begin(const log_source& /*source*/, bool follows_on) override {
        logs_.back().gaps += follows_on || logs_.back().lines.empty() ? 0 : 1;
    }
    void entry(const log_entry& entry, const log_event& event) override {
        ReplayLog& log = logs_.back();
        if (log.lines.empty() && event.kind != log_kind::worker_start) {
            ++log.skipped;
            return;
        }
        log.lines.push_back({entry.time, std::string(entry.text), {}});
    }
    void garbage(std::string_view /*line*/) override {
        ++logs_.back().garbage;
    }

private:
    std::vector<ReplayLog>& logs_;
};

// Interfaces that the log names, in the order of the usual profile, others behind them.
class Interfaces {
public:
    explicit Interfaces(const ReplayLog& log) {
        bool before_start = true;
        for (const ReplayLine& line : log.lines) {
            const log_event event = log_event_read(line.text);
            if (event.kind == log_kind::dispatched) {
                before_start = false;
            } else if (event.kind == log_kind::worker_start) {
                before_start = true;
            }
            look(line.text, event, before_start);
        }
    }

    std::vector<ScenarioInterface> profile() const {
        std::vector<ScenarioInterface> found;
        for (const ScenarioInterface& usual : default_interfaces()) {
            if (types_.contains(usual.name) || usual.type == "ETHERNET" ||
                usual.type == "AP_TIMER_INTF") {
                found.push_back(usual);
            }
        }
        int priority = 0;
        for (const std::string& name : order_) {
            const auto& type = types_.at(name);
            const auto usual = default_interfaces();
            if (std::ranges::find(usual, name, &ScenarioInterface::name) == usual.end()) {
                found.push_back({name, type, "5h", type == "BACKHAUL_STA" ? --priority + 10 : 0});
            }
        }
        return found;
    }

private:
    void add(std::string_view name, std::string_view type) {
        if (!name.empty() && types_.emplace(name, type).second) {
            order_.emplace_back(name);
        }
    }

    void look(const std::string& text, const log_event& event, bool before_start) {
        if (text.starts_with("device_sta_intf_ssid_set : iwconfig ")) {
            constexpr std::size_t FROM =
                std::string_view("device_sta_intf_ssid_set : iwconfig ").size();
            add(std::string_view(text).substr(FROM, text.find(' ', FROM) - FROM), "BACKHAUL_STA");
        } else if (event.kind == log_kind::dispatched && event.interface != "eth") {
            add(event.interface, "BACKHAUL_STA");
        } else if (text.starts_with("device_reload_ap_settings : reload ")) {
            add(event.interface, "MAIN_SERVICE_AP");
        } else if (text.starts_with("dev_intf_enable_set : enable ") ||
                   text.starts_with("dev_intf_enable_set : disable ") ||
                   text.starts_with("ap_alive_chk(not alive) : ")) {
            named(event.interface, before_start);
        }
    }

    // By its name where that is a usual one; what is switched off before anything starts serves
    // clients.
    void named(std::string_view name, bool before_start) {
        const auto usual = default_interfaces();
        const auto row = std::ranges::find(usual, name, &ScenarioInterface::name);
        if (row != usual.end()) {
            add(name, row->type);
        } else if (before_start) {
            add(name, "MAIN_SERVICE_AP");
        }
    }

    std::map<std::string, std::string, std::less<>> types_;
    std::vector<std::string> order_;
};

// Losses after which a station was parked, and periods after which one was forgiven.
struct Limits {
    int losses = 0;
    int forgive = 0;
};

Limits limits_seen(const ReplayLog& log) {
    Limits limits;
    int most_tried = 0;
    int losses = 0;
    int before = 0;
    for (const ReplayLine& line : log.lines) {
        const log_event event = log_event_read(line.text);
        if (event.kind == log_kind::losses) {
            losses = event.numbers[0];
        } else if (losses != 0 && event.kind == log_kind::state_change) {
            if (event.numbers[1] == PENDING_STATE) {
                limits.losses = limits.losses == 0 ? losses : std::min(limits.losses, losses);
            } else {
                most_tried = std::max(most_tried, losses);
            }
            losses = 0;
        } else if (event.kind == log_kind::losses_left && line.text.starts_with("interface")) {
            if (event.numbers[1] == 0) {
                limits.forgive = before + 1;
            }
            before = event.numbers[1];
        }
    }
    limits.losses = limits.losses == 0 ? std::max(USUAL_LOSSES, most_tried + 1) : limits.losses;
    return limits;
}

// An access point is switched off before the first event of a node that does not extend further.
bool extends_further(const ReplayLog& log) {
    for (const ReplayLine& line : log.lines) {
        const log_event event = log_event_read(line.text);
        if (event.kind == log_kind::dispatched) {
            return true;
        }
        const auto usual = default_interfaces();
        const auto row = std::ranges::find(usual, event.interface, &ScenarioInterface::name);
        if (line.text.starts_with("dev_intf_enable_set : disable ") && row != usual.end() &&
            type_is_backhaul_ap(row->type)) {
            return false;
        }
    }
    return true;
}

std::vector<std::string> options_seen(const ReplayLog& log) {
    std::vector<std::string> options;
    if (extends_further(log)) {
        options.emplace_back("-d");
    }
    const Limits limits = limits_seen(log);
    if (limits.losses != USUAL_LOSSES) {
        options.insert(options.end(), {std::string(OPTION_LOSSES), std::to_string(limits.losses)});
    }
    if (limits.forgive > 0 && limits.forgive != USUAL_FORGIVE) {
        options.insert(options.end(),
                       {std::string(OPTION_FORGIVE), std::to_string(limits.forgive)});
    }
    return options;
}

std::string ssid_seen(const ReplayLog& log) {
    for (const ReplayLine& line : log.lines) {
        constexpr std::string_view WORD = " essid ";
        const std::size_t at = line.text.find(WORD);
        if (line.text.starts_with("device_sta_intf_ssid_set : ") && at != std::string::npos) {
            return line.text.substr(at + WORD.size());
        }
    }
    return Scenario().ssid;
}

// The address that nobody whom the log names has.
std::string free_address(const std::set<std::string>& taken) {
    for (int last = FIRST_OWN; last < LAST_OWN; ++last) {
        const std::string address = std::string(OWN_ADDRESS) + std::to_string(last);
        if (!taken.contains(address)) {
            return address;
        }
    }
    return {};
}

// A folder that holds no log of its own stands for those in it.
std::vector<std::string> folders_expand(std::span<const std::string> words) {
    namespace fs = std::filesystem;
    std::vector<std::string> all;
    for (const std::string& word : words) {
        std::error_code failure;
        std::vector<std::string> nodes;
        for (const auto& entry : fs::directory_iterator(word, failure)) {
            if (fs::exists(entry.path() / LOG_NAME, failure)) {
                nodes.push_back(entry.path());
            }
        }
        std::ranges::sort(nodes);
        if (nodes.empty()) {
            nodes.push_back(word);
        }
        all.insert(all.end(), nodes.begin(), nodes.end());
    }
    return all;
}

}  // namespace

bool replay_logs_read(std::span<const std::string> words, std::vector<ReplayLog>& logs,
                      std::string& error) {
    log_set set;
    std::array<char, LOG_PATH_SIZE + 128> sentence{};
    for (const std::string& word : folders_expand(words)) {
        if (!set.add(word.c_str(), sentence)) {
            error = sentence.data();
            return false;
        }
    }
    set.sort();
    Collector collector(logs);
    set.read(collector);
    for (ReplayLog& log : logs) {
        replay_inputs_find(log);
    }
    return true;
}

ReplaySetup replay_setup(const ReplayLog& log) {
    ReplaySetup setup;
    setup.node = default_node(
        log.node, replay_is_extender(log.lines, 0) ? NodeRole::extender : NodeRole::root);
    setup.node.interfaces = Interfaces(log).profile();
    setup.node.options = options_seen(log);
    setup.ssid = ssid_seen(log);
    setup.root_address = DEFAULT_ROOT;
    std::set<std::string> taken;
    for (const ReplayLine& line : log.lines) {
        if (line.input.kind == InputKind::message) {
            taken.insert(line.input.text);
            if (line.input.word == "CHECK_VALID_REPLY") {
                setup.root_address = line.input.text;
            }
        }
    }
    setup.own_address = free_address(taken);
    return setup;
}

std::span<const GapRow> replay_gap_table() {
    return GAPS;
}

std::span<const MissingRow> replay_missing_table() {
    return MISSING;
}

const MissingRow* replay_missing_find(std::string_view text) {
    const auto* const found = std::ranges::find_if(
        MISSING, [text](const MissingRow& row) { return text.starts_with(row.text); });
    return found == MISSING.end() ? nullptr : found;
}

std::vector<std::string> replay_gaps(const ReplayLog& log) {
    std::vector<std::string> texts;
    if (log.skipped > 0) {
        texts.push_back("what came before the first start: " + std::to_string(log.skipped) +
                        " lines are left out");
    }
    if (log.gaps > 0) {
        texts.push_back("what stood between files that do not follow on: " +
                        std::to_string(log.gaps) + " gaps");
    }
    if (log.garbage > 0) {
        texts.push_back(std::to_string(log.garbage) + " lines that are no entries are left out");
    }
    for (const GapRow& row : GAPS) {
        texts.push_back(std::string(row.what) + "; taken: " + std::string(row.taken));
    }
    std::set<std::string_view> told;
    for (const ReplayLine& line : log.lines) {
        const MissingRow* const row = replay_missing_find(line.text);
        if (row != nullptr && told.insert(row->text).second) {
            texts.push_back(std::string(row->input) + ", which \"" + line.text + "\" would need");
        }
    }
    return texts;
}

}  // namespace lab
