#include "lab/campaign/campaign.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>

#include "lab/campaign/campaign_file.h"
#include "lab/scenario/scenario_generate.h"
#include "lab/scenario/words.h"

namespace lab {
namespace {

constexpr double SECONDS_AN_HOUR = 3600;

// A name stands in ids: letters, digits, "-" and "_".
bool name_is_fit(std::string_view name) {
    return !name.empty() && name.find_first_not_of(
                                "abcdefghijklmnopqrstuvwxyz"
                                "ABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                "0123456789-_") == std::string_view::npos;
}

bool name_check(const std::string& name, std::string_view key, std::string& error) {
    if (!name_is_fit(name)) {
        error = "`" + std::string(key) + "`: the name `" + name +
                "` may have letters, digits, `-` and `_` only";
        return false;
    }
    return true;
}

bool daemons_read(const Json& value, const std::string& folder, Campaign& campaign,
                  std::string& error) {
    if (!value.is_object() || value.empty()) {
        error = "`daemons` needs an object like {\"before\": \"PATH\", \"after\": \"PATH\"}";
        return false;
    }
    for (const auto& [name, path] : value.items()) {
        if (!path.is_string() || path.get<std::string>().empty()) {
            error = "`daemons`: `" + name + "` needs a path";
            return false;
        }
        campaign.daemons.push_back(
            {name, (std::filesystem::path(folder) / path.get<std::string>()).lexically_normal()});
    }
    return true;
}

bool key_read(const std::string& key, const Json& value, const std::string& folder,
              Campaign& campaign, std::string& error) {
    if (key == "name") {
        campaign.name = value.is_string() ? value.get<std::string>() : "";
        return name_check(campaign.name, key, error);
    }
    if (key == "seeds") {
        return campaign_seeds_read(value, campaign, error);
    }
    if (key == "hours") {
        return campaign_hours_read(value, campaign, error);
    }
    if (key == "shapes") {
        return campaign_shapes_read(value, campaign, error);
    }
    if (key == "trouble") {
        return campaign_trouble_read(value, campaign, error);
    }
    if (key == "options") {
        return campaign_options_read(value, campaign, error);
    }
    if (key == "daemons") {
        return daemons_read(value, folder, campaign, error);
    }
    error = unknown_word(key, "key of a campaign",
                         std::array<std::string, 7>{"name", "seeds", "hours", "shapes", "trouble",
                                                    "options", "daemons"});
    return false;
}

bool campaign_check(const Campaign& campaign, std::string& error) {
    if (campaign.seeds.empty() || campaign.shapes.empty()) {
        error = campaign.seeds.empty() ? "`seeds` is missing" : "`shapes` is missing";
        return false;
    }
    for (const CampaignTrouble& trouble : campaign.troubles) {
        if (!name_check(trouble.name, "trouble", error)) {
            return false;
        }
    }
    for (const CampaignDaemon& daemon : campaign.daemons) {
        if (!name_check(daemon.name, "daemons", error)) {
            return false;
        }
    }
    const std::size_t count = campaign.seeds.size() * campaign.seconds.size() *
                              campaign.shapes.size() * campaign.troubles.size() *
                              campaign.options.size() *
                              std::max<std::size_t>(campaign.daemons.size(), 1);
    if (count > MOST_CASES) {
        error = "these are " + std::to_string(count) + " cases; a campaign has at most " +
                std::to_string(MOST_CASES);
        return false;
    }
    return true;
}

// "-p 2 -x 5" to "p2-x5".
std::string options_id(const std::string& options) {
    std::string id;
    for (const char letter : options) {
        if (letter == '-') {
            id += id.empty() ? "" : "-";
        } else if (letter != ' ') {
            id += letter;
        }
    }
    return id.empty() ? std::string(USUAL) : id;
}

std::string case_id(const CampaignCase& one) {
    std::array<char, 32> hours{};
    std::snprintf(hours.data(), hours.size(), "%gh", one.seconds / SECONDS_AN_HOUR);
    std::string shape = one.shape;
    std::ranges::replace(shape, ' ', '-');
    return "s" + std::to_string(one.seed) + "." + shape + "." + one.trouble.name + "." +
           hours.data() + "." + campaign_variant(one.options, one.daemon);
}

Json trouble_json(const CampaignTrouble& trouble) {
    Json json = Json::object();
    if (!trouble.weights.empty()) {
        json["weights"] = trouble.weights;
    }
    json["pause"] = trouble.pause;
    json["longest"] = trouble.longest;
    return json;
}

}  // namespace

bool campaign_parse(std::string_view text, const std::string& folder, Campaign& campaign,
                    std::string& error) {
    campaign = {};
    campaign.name = "campaign";
    campaign.seconds = {static_cast<int>(SECONDS_AN_HOUR)};
    campaign.troubles = {{std::string(USUAL)}};
    campaign.options = {""};
    Json json;
    try {
        // With comments: people want to say why.
        json = Json::parse(text, nullptr, true, true);
    } catch (const Json::parse_error& failure) {
        // What it says begins with a number of its own in brackets.
        const std::string said = failure.what();
        error = "no JSON: " + said.substr(std::min(said.find("] "), said.size() - 2) + 2);
        return false;
    }
    if (!json.is_object()) {
        error = "a campaign is a JSON object";
        return false;
    }
    for (const auto& [key, value] : json.items()) {
        if (!key_read(key, value, folder, campaign, error)) {
            return false;
        }
    }
    return campaign_check(campaign, error);
}

Json campaign_json(const Campaign& campaign) {
    Json json = {{"name", campaign.name},     {"seeds", campaign.seeds},
                 {"hours", Json::array()},    {"shapes", campaign.shapes},
                 {"trouble", Json::object()}, {"options", campaign.options}};
    for (const int seconds : campaign.seconds) {
        json["hours"].push_back(seconds / SECONDS_AN_HOUR);
    }
    for (const CampaignTrouble& trouble : campaign.troubles) {
        json["trouble"][trouble.name] = trouble_json(trouble);
    }
    for (const CampaignDaemon& daemon : campaign.daemons) {
        json["daemons"][daemon.name] = daemon.path;
    }
    return json;
}

std::string campaign_variant(const std::string& options, const CampaignDaemon& daemon) {
    return options_id(options) + (daemon.name.empty() ? "" : "." + daemon.name);
}

std::vector<CampaignCase> campaign_cases(const Campaign& campaign) {
    const std::vector<CampaignDaemon> own(1);
    std::vector<CampaignCase> cases;
    for (const std::uint32_t seed : campaign.seeds) {
        for (const int seconds : campaign.seconds) {
            for (const std::string& shape : campaign.shapes) {
                for (const CampaignTrouble& trouble : campaign.troubles) {
                    for (const std::string& options : campaign.options) {
                        for (const CampaignDaemon& daemon :
                             campaign.daemons.empty() ? own : campaign.daemons) {
                            cases.push_back({"", seed, seconds, shape, trouble, options, daemon});
                            cases.back().id = case_id(cases.back());
                        }
                    }
                }
            }
        }
    }
    return cases;
}

std::optional<CampaignCase> campaign_case_find(const Campaign& campaign, std::string_view id) {
    const std::vector<CampaignCase> cases = campaign_cases(campaign);
    const auto found = std::ranges::find(cases, id, &CampaignCase::id);
    return found == cases.end() ? std::nullopt : std::optional(*found);
}

Json campaign_case_json(const CampaignCase& one) {
    return {{"id", one.id},
            {"seed", one.seed},
            {"seconds", one.seconds},
            {"shape", one.shape},
            {"trouble_name", one.trouble.name},
            {"trouble", trouble_json(one.trouble)},
            {"options", one.options},
            {"daemon", one.daemon.name}};
}

bool campaign_case_read(const Json& json, CampaignCase& one) {
    try {
        const Json& trouble = json.at("trouble");
        one.id = json.at("id");
        one.seed = json.at("seed");
        one.seconds = json.at("seconds");
        one.shape = json.at("shape");
        one.trouble.name = json.at("trouble_name");
        one.trouble.weights = trouble.value("weights", ChaosWeights());
        one.trouble.pause = trouble.at("pause");
        one.trouble.longest = trouble.at("longest");
        one.options = json.at("options");
        one.daemon = {json.at("daemon"), ""};
        return true;
    } catch (const Json::exception&) {
        return false;
    }
}

bool campaign_case_scenario(const CampaignCase& one, Scenario& scenario, std::string& error) {
    std::vector<std::string> words;
    std::vector<std::string> options;
    Scenario mesh;
    if (!line_words(one.shape, &words, error) || !line_words(one.options, &options, error)) {
        return false;
    }
    const std::span<const std::string> numbers = words;
    if (!scenario_generate(words[0], numbers.subspan(1), &mesh, error)) {
        return false;
    }
    for (ScenarioNode& node : mesh.nodes) {
        if (node.role == NodeRole::extender) {
            node.options.insert(node.options.end(), options.begin(), options.end());
        }
    }
    ChaosOptions chaos;
    chaos.seed = one.seed;
    chaos.seconds = one.seconds;
    chaos.mean_pause = one.trouble.pause;
    chaos.longest_trouble = one.trouble.longest;
    chaos.weights = one.trouble.weights;
    scenario = scenario_chaos(mesh, chaos);
    scenario.title = one.id;
    return true;
}

}  // namespace lab
