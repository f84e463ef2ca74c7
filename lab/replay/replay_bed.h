// The stand-in router that a log is run again on: one node with the real daemon, around it nothing
// but what the log tells. Inputs go in as a driver, a neighbour or a person would give them.
//
// Used on one thread, in a sandbox that has "lab-switch" (replay_sandbox_enter). A function that
// answers false has put one sentence into `error`.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "lab/driver/netlink_sender.h"
#include "lab/node/daemon.h"
#include "lab/node/flow_log_reader.h"
#include "lab/node/node.h"
#include "lab/node/udp_peer.h"
#include "lab/replay/replay_log.h"
#include "lab/replay/replay_world.h"

namespace lab {

struct ReplayPrograms {
    std::string programs;  // folder of the stand-in tools
    std::string daemon;
};

class ReplayBed {
public:
    static std::unique_ptr<ReplayBed> make(const ReplaySetup& setup, const ReplayPrograms& programs,
                                           std::uint32_t now, std::string& error);
    ~ReplayBed();
    ReplayBed(const ReplayBed&) = delete;
    ReplayBed& operator=(const ReplayBed&) = delete;

    const Node& node() const {
        return *node_;
    }

    // Starts the daemon on a router whose memory is empty; ends what ran.
    bool power_on(bool as_root, std::string& error);
    void power_off();

    // Makes the files and tables as a second needs them. Only differences are written.
    bool facts_set(const SecondFacts& facts, std::string& error);

    // The root is heard: from now on messages to it can be sent.
    bool announce_root(std::string& error);

    bool give(const ReplayInput& input, std::string& error);

    // Answers one tool that waits; false when none does.
    bool tool_serve(const PendingLines& lines);

    // What the daemon wrote since the last call.
    std::vector<LogLine> log_new();

private:
    ReplayBed(ReplaySetup setup, std::unique_ptr<Node> node);
    bool furnish(std::string& error);
    bool topology_set(const SecondFacts& facts, std::string& error);
    bool say(const std::string& word, const std::string& from, std::uint16_t port,
             std::string& error);
    AirReply reply(const PendingLines& lines, const AirRequest& request);

    ReplaySetup setup_;
    std::unique_ptr<Node> node_;
    std::unique_ptr<Daemon> daemon_;
    DriverSender driver_;
    std::unique_ptr<FlowLogReader> log_;
    int air_ = -1;
    std::map<std::string, std::string> aps_;  // of associated stations
    std::map<std::string, std::unique_ptr<UdpPeer>> peers_;
    SecondFacts facts_;  // as last set
    bool extender_listed_ = false;
};

// Enters the sandbox in which such a router can be made; `keep` stays visible.
bool replay_sandbox_enter(const ReplayPrograms& programs, const std::string& keep,
                          std::string& error);

}  // namespace lab
