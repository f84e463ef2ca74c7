// What the air asks for, done to real nodes.
#include <poll.h>
#include <sys/stat.h>

#include <csignal>

#include "lab/air/air_time.h"
#include "lab/air/air_tools.h"
#include "lab/mesh/mesh.h"
#include "lab/node/database.h"
#include "lab/tools/small_file.h"
#include "lab/tools/state_layout.h"

namespace lab {
namespace {

// A pid that no node reaches: what a supplicant that died leaves in its file.
constexpr unsigned DEAD_PID = 4000000;
constexpr std::size_t EFFECTS_KEPT = 5000;
constexpr std::int64_t WORKER_END_PATIENCE = 300;  // of who said that a worker will end

bool is_cut(const AirRequest& request) {
    return request.tool == "hyctl" && request.words.size() == 4 && request.words[0] == "setifbcast";
}

}  // namespace

bool Mesh::carry_out(const Effects& effects, std::string& error) {
    for (const Effect& effect : effects) {
        if (effect.kind != EffectKind::file && effect.kind != EffectKind::database) {
            effect_texts_.push_back(duration_text(passed()) + "  " + effect_text(air_, effect));
        }
        if (!carry_out_one(effect, error)) {
            return false;
        }
    }
    if (effect_texts_.size() > 2 * EFFECTS_KEPT) {
        effect_texts_.erase(effect_texts_.begin(), effect_texts_.end() - EFFECTS_KEPT);
    }
    return true;
}

bool Mesh::carry_out_one(const Effect& effect, std::string& error) {
    switch (effect.kind) {
        case EffectKind::link_up:
        case EffectKind::link_down:
        case EffectKind::messages_off:
        case EffectKind::messages_on:
            return link_effect(effect, error);
        case EffectKind::station_joined:
        case EffectKind::station_lost:
        case EffectKind::client_joined:
        case EffectKind::client_left:
        case EffectKind::channel:
        case EffectKind::ap_up:
        case EffectKind::ap_down:
            wireless_effect(effect);
            return true;
        case EffectKind::nol:
        case EffectKind::file:
        case EffectKind::database:
        case EffectKind::fifo:
        case EffectKind::uci:
            return state_effect(effect, error);
        case EffectKind::node_stop:
        case EffectKind::node_start:
        case EffectKind::worker_signal:
        case EffectKind::hyd_end:
        case EffectKind::supplicant_end:
            return process_effect(effect, error);
    }
    return true;
}

bool Mesh::link_effect(const Effect& effect, std::string& error) {
    if (effect.kind == EffectKind::link_up) {
        return network_.link_up(effect.node, effect.interface, effect.peer, error);
    }
    if (effect.kind == EffectKind::link_down) {
        return network_.link_down(effect.node, effect.interface, error);
    }
    return network_.messages_set(effect.node, effect.kind == EffectKind::messages_on, error);
}

// An event that nobody hears is lost, as on a router whose daemon does not run.
void Mesh::wireless_effect(const Effect& effect) {
    MeshNode& node = *nodes_[air_index(effect.node)];
    const std::string& root = node.node().root();
    std::string unheard;
    if (effect.kind == EffectKind::station_joined) {
        wifi_associated_set(root, effect.interface, effect.mac);
        driver_associated(&node.driver(), effect.interface, mac_from_text(effect.mac), unheard);
    } else if (effect.kind == EffectKind::station_lost) {
        wifi_not_associated_set(root, effect.interface);
        driver_disassociated(&node.driver(), effect.interface, unheard);
    } else if (effect.kind == EffectKind::client_joined) {
        driver_client_joined(&node.driver(), effect.interface, mac_from_text(effect.mac), unheard);
    } else if (effect.kind == EffectKind::client_left) {
        driver_client_left(&node.driver(), effect.interface, mac_from_text(effect.mac), unheard);
    } else if (effect.kind == EffectKind::channel) {
        driver_channel_changed(&node.driver(), effect.interface,
                               static_cast<std::uint8_t>(effect.number), unheard);
    } else {
        wifi_bss_up_set(root, effect.interface, effect.kind == EffectKind::ap_up);
    }
}

bool Mesh::state_effect(const Effect& effect, std::string& error) {
    const MeshNode& node = *nodes_[air_index(effect.node)];
    const std::string& root = node.node().root();
    std::string nobody;
    if (effect.kind == EffectKind::nol) {
        nol_set(root, {effect.numbers.begin(), effect.numbers.end()});
    } else if (effect.kind == EffectKind::file) {
        file_write(node.node().at(effect.path), effect.text);
    } else if (effect.kind == EffectKind::fifo) {
        // Nobody reads it while the daemon starts: the word is lost, as on a router.
        fifo_command(node.node(), effect.text + "\n", nobody);
    } else if (effect.kind == EffectKind::uci) {
        uci_store_set(root, effect.path, effect.text);
    } else if (!database_run(node.node(), "PRAGMA synchronous=OFF;" + effect.text, error)) {
        error = "the database of " + node.plan().name + ": " + error;
        return false;
    }
    return true;
}

bool Mesh::process_effect(const Effect& effect, std::string& error) {
    MeshNode& node = *nodes_[air_index(effect.node)];
    clock_.touch(effect.node);
    if (effect.kind == EffectKind::node_start) {
        return node_start(effect.node, error);
    }
    if (effect.kind == EffectKind::node_stop) {
        return node_stop(effect.node, error);
    }
    if (effect.kind == EffectKind::worker_signal) {
        const int worker = node.worker();
        if (worker > 0) {
            kill(worker, effect.number);
        }
    } else if (effect.kind == EffectKind::hyd_end) {
        hyd_running_set(node.node().root(), false);
    } else {
        supplicant_pid_file_set(node.node().root(), DEAD_PID);
    }
    return true;
}

// A signal may leave the worker alive: what ends it much later is something else.
void Mesh::worker_end_expect(int index) {
    worker_end_expected_[index] = passed() + WORKER_END_PATIENCE;
}

bool Mesh::node_start(int index, std::string& error) {
    MeshNode& node = *nodes_[air_index(index)];
    if (!node.furnish(error) || !carry_out(air_node_prepare(&air_, index, node.reader()), error)) {
        return false;
    }
    event_add(node.plan().name, "starts");
    return node.daemon_start(air_.nodes[air_index(index)].is_root, error);
}

bool Mesh::node_stop(int index, std::string& error) {
    MeshNode& node = *nodes_[air_index(index)];
    node.power_off();
    rebooted_.insert(index);
    worker_end_expect(index);
    event_add(node.plan().name, "loses its power");
    return network_.broadcast_reset(index, error);
}

AirReply Mesh::tool_call(int index, const AirRequest& request) {
    MeshNode& node = *nodes_[air_index(index)];
    std::string error;
    AirReply reply;
    Effects effects;
    if (is_cut(request)) {
        // The tool keeps the setting itself, too.
        if (!network_.broadcast_set(index, request.words[2], request.words[3] == "enable", error)) {
            failure_ = error;
        }
        return reply;
    }
    reply = air_tool_call(&air_, index, request, node.reader(), &effects);
    if (!carry_out(effects, error)) {
        failure_ = error;
    }
    return reply;
}

// Serves one tool of every node where one waits. The order of nodes, not of arrival, makes runs
// repeat. Returns those nodes.
std::vector<int> Mesh::air_serve() {
    std::vector<int> served;
    std::vector<pollfd> sockets;
    for (const auto& node : nodes_) {
        sockets.push_back({node->air_socket(), POLLIN, 0});
    }
    if (!failure_.empty() || poll(sockets.data(), sockets.size(), 0) <= 0) {
        return served;
    }
    for (int index = 0; index < node_count(); ++index) {
        if ((sockets[air_index(index)].revents & POLLIN) != 0) {
            air_serve_one(sockets[air_index(index)].fd, [this, index](const AirRequest& request) {
                return tool_call(index, request);
            });
            served.push_back(index);
        }
    }
    return served;
}

}  // namespace lab
