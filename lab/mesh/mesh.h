// A whole mesh on one machine: real daemons on stand-in routers, the model of the air between
// them, one moved time, and the rules held against all of it.
//
// Whoever has a scenario makes a Mesh inside an outer sandbox (lab/sandbox), lets seconds pass and
// does verbs; player.h plays the scenario's steps, mesh_conditions.h answers questions. All of it
// on one thread. Where one answers false, the machine failed, not the mesh: the run is
// over, and `error` holds a sentence.
//
// A second of the mesh: the clock wakes who is due; while nodes wait for the air, their tools are
// served one by one; then the air moves on and what follows is carried out; when all is quiet
// again, every node is looked at. So it is after a verb.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "lab/air/air_effect.h"
#include "lab/air/air_model.h"
#include "lab/clock/clock_control.h"
#include "lab/clock/resident_files.h"
#include "lab/mesh/broadcast_probe.h"
#include "lab/mesh/mesh_network.h"
#include "lab/mesh/mesh_node.h"
#include "lab/mesh/mesh_reach.h"
#include "lab/report/outage.h"
#include "lab/rules/rules.h"
#include "lab/tools/air_protocol.h"

namespace lab {

// Something that happened, for the table at the end of a run.
struct MeshEvent {
    std::int64_t time = 0;  // seconds since the mesh's start
    std::string node;
    std::string text;
    bool is_verb = false;  // somebody did it; else it followed

    bool operator==(const MeshEvent&) const = default;
};

class Mesh {
public:
    // Makes all nodes of the scenario, without power; they boot with the first second.
    static std::unique_ptr<Mesh> make(const Scenario& scenario, const MeshOptions& options,
                                      std::string& error);

    // Lets one second pass.
    bool second(std::string& error);

    // Does verbs whose names have been checked, all of them before any node takes notice. A note
    // says why its verb changed nothing, or is empty.
    bool verbs(std::span<const Verb> verbs, std::vector<std::string>* notes, std::string& error);
    // The same for one.
    bool verb(const Verb& verb, std::string* note, std::string& error);

    // Answers tools that somebody called by hand while no time passes. True when there was one;
    // what they change is looked at with the next second.
    bool tools_serve() {
        return !air_serve().empty();
    }

    const Scenario& scenario() const {
        return scenario_;
    }
    const Air& air() const {
        return air_;
    }
    int node_count() const {
        return static_cast<int>(nodes_.size());
    }
    const MeshNode& node(int index) const {
        return *nodes_[air_index(index)];
    }

    // Seconds since the mesh's start, and the nodes' time at its start.
    std::int64_t passed() const {
        return static_cast<std::int64_t>(clock_.now()) - started_;
    }
    std::int64_t started() const {
        return started_;
    }

    // How every node was at the end of the last second.
    const Observation& observation() const {
        return observation_;
    }
    const LinkTracker* tracker(const std::string& node) const {
        return rules_tracker(rules_, node);
    }

    // What was found and noted so far. Times of violations and outages are the nodes'.
    const std::vector<Violation>& violations() const {
        return violations_;
    }
    const CauseHistories& causes() const {
        return rules_.causes;
    }
    IslandSummary islands() const {
        return islands_summary(rules_.islands, observation_.time);
    }
    const OutageBook& outages() const {
        return outages_;
    }
    const std::vector<MeshEvent>& events() const {
        return events_;
    }
    void event_add(const std::string& node, const std::string& text);

    // Where the records of a node stood when the last verb was done.
    struct Place {
        std::uint64_t log = 0;
        std::uint64_t shell = 0;
    };
    const Place& place_of_last_verb(int index) const {
        return places_[air_index(index)];
    }

    // A moment to look back to: the nodes' time, and how much there was of everything.
    struct Moment {
        std::int64_t time = 0;
        std::size_t violations = 0;
        std::vector<Place> places;  // by node
    };
    Moment moment() const;

    // Moments that a scenario has named; null when there is none of that name yet.
    void mark_set(const std::string& name) {
        marks_[name] = moment();
    }
    const Moment* mark_find(const std::string& name) const {
        const auto found = marks_.find(name);
        return found == marks_.end() ? nullptr : &found->second;
    }

    // Interfaces of the node over which frames pass upwards.
    std::vector<std::string> uplinks(int index) const;

    // Effects carried out so far, newest last; bounded.
    const std::vector<std::string>& effects() const {
        return effect_texts_;
    }

private:
    Mesh(Scenario scenario, MeshOptions options);
    bool nodes_make(std::string& error);

    // mesh_effects.cpp
    bool carry_out(const Effects& effects, std::string& error);
    bool carry_out_one(const Effect& effect, std::string& error);
    bool link_effect(const Effect& effect, std::string& error);
    void wireless_effect(const Effect& effect);
    bool state_effect(const Effect& effect, std::string& error);
    bool process_effect(const Effect& effect, std::string& error);
    void worker_end_expect(int index);
    bool node_start(int index, std::string& error);
    bool node_stop(int index, std::string& error);
    std::vector<int> air_serve();
    AirReply tool_call(int index, const AirRequest& request);
    bool rest(std::string& error);

    // mesh_watch.cpp
    bool look(std::string& error);
    bool has_started(int index);
    NodeObservation look_at(int index, const MeshReach& reach);
    void ethernet_answers_take();
    bool broadcast_look(std::string& error);
    bool loop_look(std::string& error);
    void marks_note(const std::vector<int>& counts);
    void changes_note(const NodeObservation& now);
    void outages_note();

    Scenario scenario_;
    MeshOptions options_;
    Air air_;
    std::unique_ptr<ProcessorPlace> place_;  // null: the machine does not allow it
    ResidentFiles resident_;
    MovedClock clock_;
    MeshNetwork network_;
    BroadcastProbe probe_;
    std::vector<std::unique_ptr<MeshNode>> nodes_;
    std::int64_t started_ = 0;
    std::vector<std::uint32_t> starts_seen_;  // of each node at the last look
    std::string failure_;                     // of the machine, while a tool was served
    std::vector<std::string> effect_texts_;

    RulesMemory rules_;
    Observation observation_;
    std::vector<Violation> violations_;
    OutageBook outages_;
    std::vector<MeshEvent> events_;
    std::vector<Place> places_;
    std::map<std::string, Moment> marks_;
    std::set<int> rebooted_;                           // since the last look
    std::map<int, std::int64_t> worker_end_expected_;  // until when; over when the worker changed
    std::map<std::string, NodeObservation> before_;
    std::map<std::string, std::int64_t> troubled_at_;  // by node, in the nodes' time
    std::uint32_t mark_ = 0;                           // of the broadcast on its way, 0: none
    int mark_sender_ = 0;
    std::int64_t mark_at_ = 0;
    int mark_changes_ = -1;  // network changes when it was sent
};

}  // namespace lab
