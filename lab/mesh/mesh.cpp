#include "lab/mesh/mesh.h"
#include "lab/air/air_scenario.h"

#include <sys/resource.h>

#include <algorithm>
#include <chrono>

#include "lab/air/air_time.h"
#include "lab/air/air_verbs.h"

namespace lab {
namespace {

// All networks of a machine share one lock: where others make and end many, who asks the kernel for
// an address may wait for longer than the clock would let it.
constexpr std::chrono::milliseconds KERNEL_PATIENCE{60000};

// Of a message that all nodes read at once the last one is through after that much longer.
constexpr int NODES_A_PATIENCE = 16;

// The limits of a mesh, told before anything of it is made. A user's limit of open files is raised
// where it may be.
bool limits_allow(int nodes, std::string& error) {
    if (nodes > MOST_NODES) {
        error = "a mesh has at most " + std::to_string(MOST_NODES) + " nodes, not " +
                std::to_string(nodes);
        return false;
    }
    const rlim_t needed = static_cast<rlim_t>(DESCRIPTORS_A_NODE) * static_cast<rlim_t>(nodes);
    rlimit files{};
    getrlimit(RLIMIT_NOFILE, &files);
    if (files.rlim_cur >= needed) {
        return true;
    }
    files.rlim_cur = std::min(needed, files.rlim_max);
    if (files.rlim_max >= needed && setrlimit(RLIMIT_NOFILE, &files) == 0) {
        return true;
    }
    error = "a mesh of " + std::to_string(nodes) + " nodes needs " + std::to_string(needed) +
            " open files, and this machine allows " + std::to_string(files.rlim_max) +
            " (`ulimit -Hn`)";
    return false;
}

bool ends_worker(const Verb& verb) {
    return verb.kind == VerbKind::kill_worker || verb.kind == VerbKind::role ||
           (verb.kind == VerbKind::command && (verb.word == "master" || verb.word == "slave"));
}

// What nodes run that is a file of the machine.
void keep_in_memory(const MeshOptions& options, ResidentFiles* files) {
    for (const char* program : {"/lab_sh", "/lab_tool", "/liblab_clock.so"}) {
        files->keep(options.programs + program);
    }
    for (const std::string& program : {options.daemon, std::string("sh"), std::string("grep"),
                                       std::string("cat"), std::string("ip")}) {
        files->keep_program(program);
    }
    for (const char* file : {"/etc/ld.so.cache", "/etc/localtime"}) {
        files->keep(file);
    }
}

}  // namespace

Mesh::Mesh(Scenario scenario, MeshOptions options)
    : scenario_(std::move(scenario)),
      options_(std::move(options)),
      air_(air_from_scenario(scenario_, NODE_START_TIME)),
      started_(NODE_START_TIME) {
    rules_.islands.patience = scenario_.island_seconds;
}

std::unique_ptr<Mesh> Mesh::make(const Scenario& scenario, const MeshOptions& options,
                                 std::string& error) {
    if (!limits_allow(static_cast<int>(scenario.nodes.size()), error)) {
        return nullptr;
    }
    std::unique_ptr<Mesh> mesh(new Mesh(scenario, options));
    return mesh->nodes_make(error) ? std::move(mesh) : nullptr;
}

bool Mesh::nodes_make(std::string& error) {
    place_ = ProcessorPlace::take();
    clock_.be_exact(place_.get());
    if (place_ != nullptr) {
        keep_in_memory(options_, &resident_);
    }
    for (int index = 0; index < static_cast<int>(scenario_.nodes.size()); ++index) {
        if (!network_.switch_make(index, error)) {
            return false;
        }
        std::unique_ptr<MeshNode> node =
            MeshNode::make(scenario_, index, options_, static_cast<std::uint32_t>(started_), error);
        if (node == nullptr || !clock_.add_node(node->node().root(), error) ||
            !probe_.node_add(node->node().init(), error)) {
            return false;
        }
        network_.node_port_set(index, node->node().switch_port());
        nodes_.push_back(std::move(node));
    }
    places_.resize(nodes_.size());
    starts_seen_.resize(nodes_.size());
    clock_.patience = KERNEL_PATIENCE * (1 + node_count() / NODES_A_PATIENCE);
    clock_.nodes_together = options_.together && place_ == nullptr;
    clock_.at_rest = [this] {
        return air_serve();
    };
    return true;
}

bool Mesh::second(std::string& error) {
    if (!clock_.advance(1, error) || !failure_.empty()) {
        error = failure_.empty() ? error : failure_;
        return false;
    }
    if (!carry_out(air_advance(&air_, clock_.now()), error) || !rest(error)) {
        return false;
    }
    return look(error);
}

Mesh::Moment Mesh::moment() const {
    Moment moment{started_ + passed(), violations_.size(), {}};
    for (const auto& node : nodes_) {
        moment.places.push_back({node->log_end(), node->shell_end()});
    }
    return moment;
}

bool Mesh::verb(const Verb& verb, std::string* note, std::string& error) {
    std::vector<std::string> notes;
    const bool good = verbs({&verb, 1}, &notes, error);
    *note = notes[0];
    return good;
}

bool Mesh::verbs(std::span<const Verb> verbs, std::vector<std::string>* notes, std::string& error) {
    places_ = moment().places;
    Effects effects;
    notes->assign(verbs.size(), "");
    for (std::size_t at = 0; at < verbs.size(); ++at) {
        const Verb& verb = verbs[at];
        std::string& note = (*notes)[at];
        const std::size_t event = events_.size();
        event_add(verb.node, verb_print(verb));
        events_[event].is_verb = true;
        troubled_at_[verb.node] = troubled_at_[verb.peer] = started_ + passed();
        if (ends_worker(verb)) {
            worker_end_expect(air_node_find(air_, verb.node));
        }
        const Effects of_verb = air_verb(&air_, verb, &note);
        effects.insert(effects.end(), of_verb.begin(), of_verb.end());
        if (!note.empty()) {
            events_[event].text += ": nothing changed, " + note;
        }
    }
    return carry_out(effects, error) && rest(error) && look(error);
}

void Mesh::event_add(const std::string& node, const std::string& text) {
    events_.push_back({passed(), node, text, false});
}

bool Mesh::rest(std::string& error) {
    if (!clock_.settle(error)) {
        return false;
    }
    error = failure_;
    return failure_.empty();
}

}  // namespace lab
