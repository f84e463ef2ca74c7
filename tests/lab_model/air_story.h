// A mesh of model nodes for tests: the air, a configuration store and files for each node, and the
// tool calls with which a daemon turns interfaces on and off.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "lab/air/air_paths.h"
#include "lab/air/air_scenario.h"
#include "lab/air/air_time.h"
#include "lab/air/air_tools.h"
#include "lab/air/air_verbs.h"
#include "lab/scenario/scenario_defaults.h"
#include "lab/scenario/scenario_parse.h"
#include "lab/scenario/words.h"

namespace lab {

class AirStory : public ::testing::Test {
protected:
    using Texts = std::vector<std::string>;

    // Reads the scenario and boots every node at second 0. What happens then is not kept.
    void begin(const std::string& text) {
        std::vector<ScenarioError> errors;
        ASSERT_TRUE(scenario_parse(text, &scenario, &errors)) << scenario_errors_text("", errors);
        air = air_from_scenario(scenario, 0);
        store.resize(scenario.nodes.size());
        files.resize(scenario.nodes.size());
        for (std::size_t node = 0; node < scenario.nodes.size(); ++node) {
            for (const auto& [key, value] : scenario_uci(scenario, scenario.nodes[node])) {
                store[node][key] = value;
            }
        }
        advance(0);
        take();
    }

    // Lets seconds pass one by one.
    void advance(int seconds) {
        const std::int64_t end = air.now + seconds;
        carry_out(air_advance(&air, air.now));
        while (air.now < end) {
            carry_out(air_advance(&air, air.now + 1));
        }
    }

    // Does "deauth e1 ath0" and returns the note.
    std::string verb(const std::string& line) {
        std::vector<std::string> words;
        std::string note;
        Verb verb;
        EXPECT_TRUE(line_words(line, &words, note) && verb_parse(words, &verb, note)) << note;
        carry_out(air_verb(&air, verb, &note));
        return note;
    }

    // Calls "wpa_cli -i ath0 ..." on a node. Returns standard output, or "local".
    std::string tool(const std::string& node, const std::string& line) {
        AirRequest request;
        std::string error;
        EXPECT_TRUE(line_words(line, &request.words, error)) << error;
        request.tool = request.words.front();
        request.words.erase(request.words.begin());
        Effects effects;
        const AirReply reply = air_tool_call(&air, at(node), request, reader(at(node)), &effects);
        carry_out(effects);
        return reply.local ? "local" : reply.answer.out;
    }

    // Turns an interface on or off through the store and the wireless service.
    void apply(const std::string& node, const std::string& interface, bool on) {
        const ScenarioInterface* const found =
            scenario_interface_find(*scenario_node_find(scenario, node), interface);
        ASSERT_NE(found, nullptr);
        std::map<std::string, std::string>& of_node = files[index(node)];
        store[index(node)]["wireless." + interface + ".disabled"] = on ? "0" : "1";
        of_node["/tmp/WirelessDev"] = found->band == "2"    ? "wifi0"
                                      : found->band == "5h" ? "wifi2"
                                                            : "wifi1";
        of_node[found->band == "2"    ? "/tmp/wifi24G_Apply"
                : found->band == "5h" ? "/tmp/wifi5G_2_Apply"
                                      : "/tmp/wifi5G_Apply"] = interface;
        EXPECT_EQ(tool(node, "wireless restart"), "");
    }

    // Turns a station on as the daemon does. Returns the supplicant's answer.
    std::string station_on(const std::string& node, const std::string& interface) {
        apply(node, interface, true);
        const std::string path = "/tmp/wpa_supplicant-" + interface + ".conf";
        const auto& entries = store[index(node)];
        const std::string section = "wireless." + interface + ".";
        files[index(node)][path] = "network={\n\tscan_ssid=1\n\tssid=\"" +
                                   value_of(entries, section + "ssid") +
                                   "\"\n\tproto=RSN\n\tkey_mgmt=WPA-PSK\n\tpsk=\"" +
                                   value_of(entries, section + "WPAPSKkey") + "\"\n}\n";
        return tool(node, "wpa_cli -g /var/run/wpa_supplicantglobal interface_add " + interface +
                              " " + path + " athr /var/run/wpa_supplicant-" + interface +
                              " \"\" br-lan");
    }

    std::string station_off(const std::string& node, const std::string& interface) {
        std::string out =
            tool(node, "wpa_cli -g /var/run/wpa_supplicantglobal interface_remove " + interface);
        apply(node, interface, false);
        return out;
    }

    // A node joins with its preferred station and serves others, as after auto-configuration.
    void bring_up(const std::string& node) {
        EXPECT_EQ(station_on(node, "ath0"), "OK\n");
        advance(2);
        apply(node, "ath20", true);
        take();
    }

    // What happened since the last call, one text an effect, files and databases left out.
    Texts take() {
        Texts texts;
        for (const Effect& effect : happened) {
            if (effect.kind != EffectKind::file && effect.kind != EffectKind::database) {
                texts.push_back(effect_text(air, effect));
            }
        }
        happened.clear();
        return texts;
    }

    std::string parent_of(const std::string& node) {
        const int parent = air_paths(air).parent[index(node)];
        return parent == NOBODY ? "none" : air.nodes[static_cast<std::size_t>(parent)].name;
    }

    int hops_of(const std::string& node) {
        return air_paths(air).hops[index(node)];
    }

    int at(const std::string& node) const {
        return air_node_find(air, node);
    }
    std::size_t index(const std::string& node) const {
        return static_cast<std::size_t>(at(node));
    }

    NodeReader reader(int node) {
        const auto place = static_cast<std::size_t>(node);
        return {[this, place](const std::string& path) { return value_of(files[place], path); },
                [this, place](const std::string& key) {
                    return value_of(store[place], key);
                }};
    }

    static std::string value_of(const std::map<std::string, std::string>& entries,
                                const std::string& key) {
        const auto found = entries.find(key);
        return found == entries.end() ? std::string() : found->second;
    }

    Scenario scenario;
    Air air;
    std::vector<std::map<std::string, std::string>> store;
    std::vector<std::map<std::string, std::string>> files;
    std::vector<std::string> databases;
    Effects happened;

private:
    // What the lab would do with effects on real nodes.
    void carry_out(const Effects& effects) {
        databases.resize(store.size());
        for (const Effect& effect : effects) {
            const auto node = static_cast<std::size_t>(effect.node);
            happened.push_back(effect);
            if (effect.kind == EffectKind::file) {
                files[node][effect.path] = effect.text;
            } else if (effect.kind == EffectKind::database) {
                databases[node] = effect.text;
            } else if (effect.kind == EffectKind::uci) {
                store[node][effect.path] = effect.text;
            } else if (effect.kind == EffectKind::node_stop) {
                files[node].clear();
                databases[node].clear();
            } else if (effect.kind == EffectKind::node_start) {
                carry_out(air_node_prepare(&air, effect.node, reader(effect.node)));
            }
        }
    }
};

}  // namespace lab
