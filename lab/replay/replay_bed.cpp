#include "lab/replay/replay_bed.h"

#include <unistd.h>

#include <csignal>

#include "device/autoconfig_table.h"
#include "lab/node/database.h"
#include "lab/sandbox/layout.h"
#include "lab/sandbox/outside.h"
#include "lab/sandbox/sandbox.h"
#include "lab/scenario/scenario_defaults.h"
#include "lab/tools/air_protocol.h"
#include "lab/tools/folder_wipe.h"
#include "lab/tools/small_file.h"
#include "lab/tools/state_layout.h"

namespace lab {
namespace {

constexpr char FLOW_LOG[] = "/var/log/backhaul_flow_log";
constexpr char APPROVAL_LIST[] = "/tmp/ApplicationData/Approvelist";
constexpr std::string_view OWN_AL_MAC = "02:00:00:00:02:00";
constexpr std::string_view ABOVE_AL_MAC = "02:00:00:00:01:00";
constexpr std::string_view PREFIX_LENGTH = "/24";
constexpr std::uint16_t MESSAGE_PORT = 36003;
constexpr std::uint16_t ANNOUNCE_PORT = 36002;
constexpr unsigned DEAD_PID = 4000000;
constexpr char CHANNELS[] = "5500 5580";
const std::vector<std::uint16_t> ALL_CHANNELS = {5500, 5580};

// What the agent leaves when it is done: its files, and service access points that may be used.
void agent_done(const Node& node, const ScenarioNode& plan) {
    for (const char* const path : AUTOCONFIG_FILES) {
        file_write(node.at(path), "configured\n");
    }
    for (const ScenarioInterface& interface : plan.interfaces) {
        if (type_is_service_ap(interface.type)) {
            uci_store_set(node.root(), "wireless." + interface.name + ".disabled", "0");
        }
    }
}

std::vector<std::string> radios_of(const ScenarioNode& node) {
    std::vector<std::string> names;
    for (const ScenarioInterface& interface : node.interfaces) {
        if (interface.band != "-") {
            names.push_back(interface.name);
        }
    }
    return names;
}

}  // namespace

bool replay_sandbox_enter(const ReplayPrograms& programs, const std::string& keep,
                          std::string& error) {
    SandboxOptions options;
    options.programs = programs.programs;
    options.keep = {keep};
    options.tools = false;
    options.network.switch_bridge = true;
    options.network.address = "192.168.1.1/24";
    options.network.gateway = "";
    return counters_open(error) && sandbox_enter(options, error);
}

ReplayBed::ReplayBed(ReplaySetup setup, std::unique_ptr<Node> node)
    : setup_(std::move(setup)), node_(std::move(node)), daemon_(std::make_unique<Daemon>(*node_)) {}

ReplayBed::~ReplayBed() {
    if (air_ >= 0) {
        close(air_);
    }
    driver_close(&driver_);
}

std::unique_ptr<ReplayBed> ReplayBed::make(const ReplaySetup& setup, const ReplayPrograms& programs,
                                           std::uint32_t now, std::string& error) {
    NodeOptions options;
    options.name = setup.node.name;
    options.programs = programs.programs;
    options.daemon = programs.daemon;
    options.address = setup.own_address + std::string(PREFIX_LENGTH);
    options.radios = radios_of(setup.node);
    options.start_time = now;
    std::unique_ptr<Node> node = Node::make(options, error);
    if (node == nullptr) {
        return nullptr;
    }
    std::unique_ptr<ReplayBed> bed(new ReplayBed(setup, std::move(node)));
    Scenario scenario;
    scenario.ssid = setup.ssid;
    for (const auto& [key, value] : scenario_uci(scenario, setup.node)) {
        uci_store_set(bed->node_->root(), key, value);
    }
    // What messages between nodes are enciphered with.
    uci_store_set(bed->node_->root(), "wireless.ath20.ssid", setup.ssid);
    bed->air_ = air_listen(bed->node_->root());
    if (bed->air_ < 0 || !driver_open(&bed->driver_, bed->node_->init(), error)) {
        error = "cannot play the node's driver: " + error;
        return nullptr;
    }
    return bed;
}

bool ReplayBed::furnish(std::string& error) {
    const std::string& root = node_->root();
    hyd_running_set(root, true);
    supplicant_pid_file_set(root, 1);
    agent_mode_set(root, AgentMode::never);
    agent_reload_value_set(root, "0");
    if (!file_write(node_->at("/tmp/wifi_if_profile"), scenario_profile_text(setup_.node)) ||
        !file_write(node_->at("/tmp/FirstMAC"), std::string(OWN_AL_MAC) + "\n") ||
        !file_write(node_->at(LAB_CHANNELS), CHANNELS)) {
        error = "cannot write the node's files";
        return false;
    }
    extender_listed_ = false;
    facts_ = {};
    return database_run(*node_, std::string("PRAGMA synchronous=OFF;") + DATABASE_SCHEMA, error);
}

bool ReplayBed::power_on(bool as_root, std::string& error) {
    if (!furnish(error)) {
        return false;
    }
    ScenarioNode plan = setup_.node;
    plan.role = as_root ? NodeRole::root : NodeRole::extender;
    DaemonOptions options;
    options.arguments = scenario_daemon_options(plan);
    options.environment = environment_for_crashes();
    log_ = std::make_unique<FlowLogReader>(node_->at(FLOW_LOG));
    return daemon_->start(options, error);
}

void ReplayBed::power_off() {
    daemon_->stop();
    log_.reset();
    aps_.clear();
    folder_wipe(node_->root(), "/tmp");
    folder_wipe(node_->root(), "/var/log");
    folder_wipe(node_->root(), LAB_STATE, {"uci", "air.sock"});
}

bool ReplayBed::topology_set(const SecondFacts& facts, std::string& error) {
    const bool listed = facts.extender_listed.value_or(extender_listed_);
    if (listed == extender_listed_ && facts.access_points.empty()) {
        return true;
    }
    extender_listed_ = listed;
    std::string sql = "PRAGMA synchronous=OFF;DELETE FROM Device;DELETE FROM ExtenderWiFiLink;";
    // One that is gone stays in the table.
    sql += std::string("INSERT INTO Device VALUES ('02:00:00:00:09:00',") +
           (extender_listed_ ? "1,0" : "0,9") + ",'L2Device','Extender','');";
    // Every access point that a line names belongs to the same node above.
    for (const std::string& ap : facts.topology == Topology::unknown_ap ? std::vector<std::string>{}
                                                                        : facts.access_points) {
        sql += "INSERT INTO ExtenderWiFiLink VALUES ('" + ap + "','" + std::string(ABOVE_AL_MAC) +
               "','" + (facts.topology == Topology::loop ? std::string(OWN_AL_MAC) : "") + "'," +
               (facts.topology == Topology::loop ? "0" : "99") + ");";
    }
    return database_run(*node_, sql, error);
}

bool ReplayBed::facts_set(const SecondFacts& facts, std::string& error) {
    const std::string& root = node_->root();
    if (facts == SecondFacts{} && facts_ == facts) {
        return true;
    }
    facts_ = facts;
    if (facts.agent_done) {
        agent_done(*node_, setup_.node);
    }
    if (facts.hyd_gone) {
        hyd_running_set(root, false);
    }
    if (facts.supplicant_gone) {
        supplicant_pid_file_set(root, DEAD_PID);
    }
    nol_set(root, facts.channels_taken ? ALL_CHANNELS : std::vector<std::uint16_t>{});
    if (facts.visitor_feature) {
        wifisys_feature_set(root, 1, 2, *facts.visitor_feature);
    }
    for (const std::string& station : facts.unconfigured) {
        uci_store_unset(root, "wireless." + station + ".ssid");
    }
    for (const std::string& station : facts.configured) {
        uci_store_set(root, "wireless." + station + ".ssid", setup_.ssid);
    }
    for (const std::string& ap : facts.enabled) {
        uci_store_set(root, "wireless." + ap + ".disabled", "0");
    }
    if (facts.approval_list) {
        file_write(node_->at(APPROVAL_LIST), *facts.approval_list);
    }
    file_write(node_->at("/tmp/assoc_list.5g"), facts.clients_high);
    file_write(node_->at("/tmp/assoc_list.24g"), facts.clients_low);
    return topology_set(facts, error);
}

bool ReplayBed::say(const std::string& word, const std::string& from, std::uint16_t port,
                    std::string& error) {
    std::unique_ptr<UdpPeer>& peer = peers_[from];
    if (peer == nullptr) {
        std::string there;  // it has the address already
        switch_address_add(from + std::string(PREFIX_LENGTH), there);
        peer = std::make_unique<UdpPeer>(0, from);
    }
    if (!peer->ok() || !peer->send(node_->ip(), port, message_seal(word, setup_.ssid))) {
        error = "cannot speak as " + from;
        return false;
    }
    return true;
}

bool ReplayBed::announce_root(std::string& error) {
    return say("ImRootAP", setup_.root_address, ANNOUNCE_PORT, error);
}

bool ReplayBed::give(const ReplayInput& input, std::string& error) {
    const std::string& root = node_->root();
    std::string unheard;
    switch (input.kind) {
        case InputKind::station_joined:
            aps_[input.interface] = input.text;
            wifi_associated_set(root, input.interface, input.text);
            return driver_associated(&driver_, input.interface, mac_from_text(input.text), error);
        case InputKind::station_lost:
            aps_.erase(input.interface);
            wifi_not_associated_set(root, input.interface);
            return driver_disassociated(&driver_, input.interface, error);
        case InputKind::client_joined:
            return driver_client_joined(&driver_, input.interface, mac_from_text(input.text),
                                        error);
        case InputKind::client_left:
            return driver_client_left(&driver_, input.interface, mac_from_text(input.text), error);
        case InputKind::client_reason:
            return driver_leave_reason(
                &driver_, radios_of(setup_.node).front(), static_cast<std::uint16_t>(input.flags),
                mac_from_text(input.text), static_cast<std::uint32_t>(input.number), error);
        case InputKind::channel:
            return driver_channel_changed(&driver_, input.interface,
                                          static_cast<std::uint8_t>(input.number), error);
        case InputKind::message:
            return say(input.word, input.text.empty() ? setup_.root_address : input.text,
                       MESSAGE_PORT, error);
        case InputKind::command:
            return fifo_command(*node_, input.word + "\n", error);
        case InputKind::worker_killed:
            // Ended by itself meanwhile: then the line is there as well.
            kill(daemon_->worker(), input.number);
            return true;
        case InputKind::none:
        case InputKind::power:
            return true;
    }
    return true;
}

AirReply ReplayBed::reply(const PendingLines& lines, const AirRequest& request) {
    if (request.tool == "iwconfig" && !request.words.empty()) {
        const std::string& interface = request.words[0];
        const std::string& root = node_->root();
        std::string mac;
        const Seen seen = interface_seen(lines, interface, mac);
        if (seen == Seen::associated) {
            aps_[interface] = mac;
        } else if (seen == Seen::not_associated) {
            aps_.erase(interface);
        }
        seen == Seen::missing ? wifi_missing_set(root, interface, "wifi0")
                              : wifi_present_set(root, interface);
        wifi_bss_up_set(root, interface, seen != Seen::not_associated);
        aps_.contains(interface) ? wifi_associated_set(root, interface, aps_[interface])
                                 : wifi_not_associated_set(root, interface);
        return {};
    }
    return tool_reply(lines, request);
}

bool ReplayBed::tool_serve(const PendingLines& lines) {
    if (!air_is_pending(air_)) {
        return false;
    }
    air_serve_one(air_, [&](const AirRequest& request) { return reply(lines, request); });
    return true;
}

std::vector<LogLine> ReplayBed::log_new() {
    return log_ == nullptr ? std::vector<LogLine>{} : log_->read_new();
}

}  // namespace lab
