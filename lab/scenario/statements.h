// The statements of a scenario file that make the mesh, one reader each. For scenario_parse only.
//
// A reader gets the words behind the statement's name and changes the scenario only when they are
// good. False with `error` empty means that the usage says enough.
#pragma once

#include <span>
#include <string>

#include "lab/scenario/scenario.h"

namespace lab {

using StatementReader = bool (*)(std::span<const std::string> words, Scenario* scenario,
                                 std::string& error);

// The mesh as a whole.
bool title_read(std::span<const std::string> words, Scenario* scenario, std::string& error);
bool mesh_read(std::span<const std::string> words, Scenario* scenario, std::string& error);
bool seed_read(std::span<const std::string> words, Scenario* scenario, std::string& error);
bool association_read(std::span<const std::string> words, Scenario* scenario, std::string& error);
bool boot_read(std::span<const std::string> words, Scenario* scenario, std::string& error);
bool island_read(std::span<const std::string> words, Scenario* scenario, std::string& error);
bool channels_read(std::span<const std::string> words, Scenario* scenario, std::string& error);
bool node_read(std::span<const std::string> words, Scenario* scenario, std::string& error);
bool line_read(std::span<const std::string> words, Scenario* scenario, std::string& error);
bool star_read(std::span<const std::string> words, Scenario* scenario, std::string& error);
bool tree_read(std::span<const std::string> words, Scenario* scenario, std::string& error);
bool grid_read(std::span<const std::string> words, Scenario* scenario, std::string& error);
bool group_read(std::span<const std::string> words, Scenario* scenario, std::string& error);
bool hears_read(std::span<const std::string> words, Scenario* scenario, std::string& error);
bool cable_read(std::span<const std::string> words, Scenario* scenario, std::string& error);
// Only says why not: whoever reads files includes them (scenario_parse).
bool include_read(std::span<const std::string> words, Scenario* scenario, std::string& error);

// One node, which the first word names.
bool options_read(std::span<const std::string> words, Scenario* scenario, std::string& error);
bool interface_read(std::span<const std::string> words, Scenario* scenario, std::string& error);
bool without_read(std::span<const std::string> words, Scenario* scenario, std::string& error);
bool unconfigured_read(std::span<const std::string> words, Scenario* scenario, std::string& error);
bool unapproved_read(std::span<const std::string> words, Scenario* scenario, std::string& error);
bool uci_read(std::span<const std::string> words, Scenario* scenario, std::string& error);

}  // namespace lab
