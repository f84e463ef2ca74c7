#include "lab/air/air_prober.h"

#include <algorithm>

#include "lab/air/air_paths.h"

namespace lab {
namespace {

constexpr char FIRST_MAC[] = "/tmp/FirstMAC";
constexpr char ASSOC_5G[] = "/tmp/assoc_list.5g";
constexpr char ASSOC_24G[] = "/tmp/assoc_list.24g";
constexpr char APPROVAL_LIST[] = "/tmp/ApplicationData/Approvelist";
constexpr char DATABASE[] = "database";

// A live link has a status below 10.
constexpr char LINK_LIVE[] = "0";
constexpr char LINK_DEAD[] = "99";

int node_count(const Air& air) {
    return static_cast<int>(air.nodes.size());
}

// True when the text differs from what was last sent.
bool is_news(AirNode* node, const std::string& path, const std::string& text) {
    const auto [entry, is_new] = node->sent.try_emplace(path, text);
    const bool changed = is_new || entry->second != text;
    entry->second = text;
    return changed;
}

void file_send(Air* air, int node, const std::string& path, const std::string& text,
               Effects* effects) {
    AirNode& owner = air->nodes[air_index(node)];
    if (owner.powered && is_news(&owner, path, text)) {
        effects->push_back(effect_file(node, path, text));
    }
}

void association_lists_send(Air* air, int node, Effects* effects) {
    file_send(air, node, ASSOC_5G, association_list_text(*air, node, false), effects);
    file_send(air, node, ASSOC_24G, association_list_text(*air, node, true), effects);
}

void database_send(Air* air, int node, Effects* effects) {
    AirNode& owner = air->nodes[air_index(node)];
    std::string text = database_text(*air, node);
    if (owner.powered && is_news(&owner, DATABASE, text)) {
        Effect effect = effect_on(EffectKind::database, node);
        effect.text = std::move(text);
        effects->push_back(effect);
    }
}

// What the node learns about all devices with one probe.
void probe(Air* air, const AirPaths& paths, int node) {
    AirNode& viewer = air->nodes[air_index(node)];
    const std::vector<int> reached = air_reachable(*air, node);
    for (int device = 0; device < node_count(*air); ++device) {
        if (std::binary_search(reached.begin(), reached.end(), device)) {
            viewer.missed[device] = 0;
            viewer.parent_seen[device] = paths.via[air_index(device)] == VIA_CABLE
                                             ? NOBODY
                                             : paths.parent[air_index(device)];
        } else if (viewer.missed.count(device) != 0) {
            ++viewer.missed[device];
            viewer.parent_seen[device] = NOBODY;
        }
    }
}

std::string quoted(const std::string& text) {
    return "'" + text + "'";
}

std::string device_row(const AirNode& device, int missed) {
    return "INSERT INTO Device VALUES (" + quoted(device.almac) + "," + (missed == 0 ? "1" : "0") +
           "," + std::to_string(missed) + "," + (device.is_root ? "'Root'" : "'L2Device'") + "," +
           quoted(device.name) + "," + quoted(device.ip) + ");\n";
}

std::string link_rows(const Air& air, const AirNode& device, int parent) {
    const std::string above = parent == NOBODY ? "" : air.nodes[air_index(parent)].almac;
    std::string text;
    for (const AirAp& ap : device.aps) {
        if (ap.is_backhaul) {
            text += "INSERT INTO ExtenderWiFiLink VALUES (" + quoted(ap.bssid) + "," +
                    quoted(device.almac) + "," + quoted(above) + "," +
                    (parent == NOBODY ? LINK_DEAD : LINK_LIVE) + ");\n";
        }
    }
    return text;
}

}  // namespace

std::string association_list_text(const Air& air, int node, bool at_2_4_ghz) {
    std::string text;
    for (const AirNode& other : air.nodes) {
        for (const AirStation& station : other.stations) {
            if (station.ap_node != node) {
                continue;
            }
            const AirAp& ap = air.nodes[air_index(node)].aps[air_index(station.ap)];
            if ((ap.band == AirBand::two) == at_2_4_ghz) {
                text += station.mac + " 1 " + std::to_string(ap.channel) + " " + ap.interface +
                        " 866M -55\n";
            }
        }
    }
    return text;
}

std::string approval_list_text(const Air& air) {
    std::string text;
    for (const AirNode& node : air.nodes) {
        if (!node.is_root) {
            text += node.almac + (node.approved ? " 1" : " 0") + " LAB\n";
        }
    }
    return text;
}

std::string database_text(const Air& air, int node) {
    const AirNode& viewer = air.nodes[air_index(node)];
    std::string text =
        "BEGIN;\n"
        "CREATE TABLE IF NOT EXISTS Device (ALMac TEXT, Alive INTEGER, nNotAlive INTEGER, "
        "DevType TEXT, DevName TEXT, IP TEXT);\n"
        "CREATE TABLE IF NOT EXISTS ExtenderWiFiLink (Mac TEXT, ALMac TEXT, AP_ALMac TEXT, "
        "Status INTEGER);\n"
        "DELETE FROM Device;\n"
        "DELETE FROM ExtenderWiFiLink;\n";
    for (const auto& [device, missed] : viewer.missed) {
        text += device_row(air.nodes[air_index(device)], missed);
    }
    for (const auto& [device, parent] : viewer.parent_seen) {
        text += link_rows(air, air.nodes[air_index(device)], parent);
    }
    return text + "COMMIT;\n";
}

void air_association_lists(Air* air, Effects* effects) {
    for (int node = 0; node < node_count(*air); ++node) {
        association_lists_send(air, node, effects);
    }
}

void air_approval_lists(Air* air, Effects* effects) {
    const std::string text = approval_list_text(*air);
    for (int node = 0; node < node_count(*air); ++node) {
        file_send(air, node, APPROVAL_LIST, text, effects);
    }
}

void air_node_files(Air* air, int node, Effects* effects) {
    AirNode& owner = air->nodes[air_index(node)];
    owner.sent.clear();
    file_send(air, node, FIRST_MAC, owner.almac + "\n", effects);
    file_send(air, node, APPROVAL_LIST, approval_list_text(*air), effects);
    association_lists_send(air, node, effects);
    database_send(air, node, effects);
}

void air_probe(Air* air, Effects* effects) {
    const AirPaths paths = air_paths(*air);
    for (int node = 0; node < node_count(*air); ++node) {
        if (air->nodes[air_index(node)].powered) {
            probe(air, paths, node);
            database_send(air, node, effects);
        }
    }
}

}  // namespace lab
