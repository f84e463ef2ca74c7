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
    LINK_UP,         // frames pass between node/interface (below) and peer/peer_interface (above)
    LINK_DOWN,       // and no longer
    STATION_JOINED,  // driver event on `interface`: associated with `mac`; iwconfig shows it
    STATION_LOST,    // driver event: no AP any more
    CLIENT_JOINED,   // driver event on the AP `interface`: client `mac`
    CLIENT_LEFT,     // driver event on the AP `interface`: client `mac`
    CHANNEL,         // driver event on the AP `interface`: now on channel `number`
    AP_UP,           // iwconfig shows the AP's address
    AP_DOWN,         // iwconfig shows Not-Associated
    NOL,             // non-occupancy list of the upper radio: `numbers` in MHz
    FILE,            // file `path` on the node holds `text`
    DATABASE,        // SQL `text` on the node's topology database
    FIFO,            // word `text` into the daemon's control FIFO
    UCI,             // entry `path` of the configuration store holds `text`, committed
    NODE_STOP,       // power off: every process ends, files in memory are gone
    NODE_START,      // make the node's files, call air_node_prepare, then start its daemon
    WORKER_SIGNAL,   // send signal `number` to the daemon's worker
    HYD_END,         // the hybrid-networking daemon is gone
    SUPPLICANT_END,  // the global supplicant is gone
    MESSAGES_OFF,    // UDP messages from and to the node are lost
    MESSAGES_ON,     // and no longer
};

struct Effect {
    EffectKind kind = EffectKind::LINK_UP;
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
std::vector<std::string> effect_texts(const Air& air, const Effects& effects);

// Makers of the effects that have more than a node.
Effect effect_on(EffectKind kind, int node);
Effect effect_file(int node, std::string path, std::string text);
Effect effect_fifo(int node, std::string word);
Effect effect_uci(int node, std::string key, std::string value);

}  // namespace lab
