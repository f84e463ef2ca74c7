// What has to happen on real nodes because the air changed.
//
// Effects are carried out in the order in which they come. Those that a driver or a tool would
// cause by itself are named for what happens on the router. Plain values; `node` and `peer` are
// indices of Air::nodes.
#pragma once

#include <string>
#include <vector>

#include "lab/air/air_model.h"

namespace lab {

enum class EffectKind {
    link_up,         // frames pass between node/interface (below) and peer/peer_interface (above)
    link_down,       // and no longer
    station_joined,  // driver event on `interface`: associated with `mac`; iwconfig shows it
    station_lost,    // driver event: no AP any more
    client_joined,   // driver event on the AP `interface`: client `mac`
    client_left,     // driver event on the AP `interface`: client `mac`
    channel,         // driver event on the AP `interface`: now on channel `number`
    ap_up,           // iwconfig shows the AP's address
    ap_down,         // iwconfig shows Not-Associated
    nol,             // non-occupancy list of the upper radio: `numbers` in MHz
    file,            // file `path` on the node holds `text`
    database,        // SQL `text` on the node's topology database
    fifo,            // word `text` into the daemon's control FIFO
    uci,             // entry `path` of the configuration store holds `text`, committed
    node_stop,       // power off: every process ends, files in memory are gone
    node_start,      // make the node's files, call air_node_prepare, then start its daemon
    worker_signal,   // send signal `number` to the daemon's worker
    hyd_end,         // the hybrid-networking daemon is gone
    supplicant_end,  // the global supplicant is gone
    messages_off,    // UDP messages from and to the node are lost
    messages_on,     // and no longer
};

struct Effect {
    EffectKind kind = EffectKind::link_up;
    int node = NOBODY;
    std::string interface;
    int peer = NOBODY;
    std::string peer_interface;
    std::string mac;
    std::string path;
    std::string text;
    int number = 0;
    std::vector<int> numbers;

    bool operator==(const Effect&) const = default;
};

using Effects = std::vector<Effect>;

// "e1 ath0 joined 02:..", for people and journals; files and SQL are named, not shown.
std::string effect_text(const Air& air, const Effect& effect);

// Makers of the effects that have more than a node.
Effect effect_on(EffectKind kind, int node);
Effect effect_file(int node, std::string path, std::string text);
Effect effect_fifo(int node, std::string word);
Effect effect_uci(int node, std::string key, std::string value);

}  // namespace lab
