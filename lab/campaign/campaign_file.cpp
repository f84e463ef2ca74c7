#include "lab/campaign/campaign_file.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <sstream>

#include "lab/scenario/scenario_generate.h"
#include "lab/scenario/words.h"

namespace lab {
namespace {

constexpr int SECONDS_AN_HOUR = 3600;
constexpr double LEAST_HOURS = 0.1;
constexpr double MOST_HOURS = 10000;
constexpr std::int64_t MOST_PAUSE = 86400;
constexpr std::int64_t MOST_WEIGHT = 1000;
constexpr int MOST_OPTION = 255;  // the daemon keeps them in one byte
constexpr std::array<std::string_view, 3> OPTIONS = {"-p", "-x", "-r"};

std::string ticked(const std::string& key) {
    return "`" + key + "`";
}

bool whole_read(const Json& value, const std::string& key, std::int64_t least, std::int64_t most,
                std::int64_t& number, std::string& error) {
    if (!value.is_number_integer() ||
        (value.is_number_unsigned() && value.get<std::uint64_t>() > std::uint64_t{UINT32_MAX}) ||
        value.get<std::int64_t>() < least || value.get<std::int64_t>() > most) {
        error = ticked(key) + " takes whole numbers from " + std::to_string(least) + " to " +
                std::to_string(most) + ", not " + json_text(value);
        return false;
    }
    number = value.get<std::int64_t>();
    return true;
}

// The words of a command line, each option with its number: "-p 2  -x 5" to "-p 2 -x 5".
bool options_normal(const std::string& text, std::string& normal, std::string& error) {
    std::istringstream stream(text);
    std::string option;
    normal.clear();
    while (stream >> option) {
        const std::vector<std::string> known(OPTIONS.begin(), OPTIONS.end());
        if (std::ranges::find(known, option) == known.end()) {
            error = "`options`: " + unknown_word(option, "option that can vary", known);
            return false;
        }
        if (normal.find(option + " ") != std::string::npos) {
            error = "`options`: " + ticked(option) + " stands twice in " + ticked(text);
            return false;
        }
        std::string word;
        stream >> word;
        int number = 0;
        if (!number_read(word, "number of " + option, 0, MOST_OPTION, &number, error)) {
            error = "`options`: " + error;
            return false;
        }
        normal += (normal.empty() ? "" : " ") + option + " " + std::to_string(number);
    }
    return true;
}

// {"-p": [2, 3], "-x": [10]}: every value of one with every value of the others.
bool options_product(const Json& value, std::vector<std::string>& texts, std::string& error) {
    texts = {""};
    for (const auto& [option, numbers] : value.items()) {
        std::vector<std::string> longer;
        if (!numbers.is_array() || numbers.empty()) {
            error = "`options`: " + ticked(option) + " needs a list of numbers";
            return false;
        }
        for (const std::string& text : texts) {
            for (const Json& number : numbers) {
                std::int64_t read = 0;
                if (!whole_read(number, option, 0, MOST_OPTION, read, error)) {
                    return false;
                }
                longer.push_back(text + " " + option + " " + std::to_string(read));
            }
        }
        texts = longer;
    }
    return true;
}

bool weights_read(const Json& value, const std::string& where, ChaosWeights& weights,
                  std::string& error) {
    std::vector<std::string> known;
    for (const auto& [name, weight] : chaos_weights_usual()) {
        known.emplace_back(name);
    }
    std::int64_t sum = 0;
    for (const auto& [name, weight] : value.items()) {
        std::int64_t number = 0;
        if (std::ranges::find(known, name) == known.end()) {
            error = where + ": " + unknown_word(name, "kind of trouble", known);
            return false;
        }
        if (!whole_read(weight, name, 0, MOST_WEIGHT, number, error)) {
            return false;
        }
        weights[name] = static_cast<int>(number);
        sum += number;
    }
    if (!value.is_object() || sum == 0) {
        error = where + ": `weights` needs an object with a weight above 0, like {\"deauth\": 20}";
        return false;
    }
    return true;
}

bool one_trouble_read(const Json& value, CampaignTrouble& trouble, std::string& error) {
    const std::string where = "`trouble` " + ticked(trouble.name);
    if (!value.is_object()) {
        error = where + " needs an object, {} for the usual trouble";
        return false;
    }
    for (const auto& [key, one] : value.items()) {
        std::int64_t number = 0;
        if (key == "weights") {
            if (!weights_read(one, where, trouble.weights, error)) {
                return false;
            }
        } else if (key == "pause" || key == "longest") {
            if (!whole_read(one, key, 1, MOST_PAUSE, number, error)) {
                return false;
            }
            (key == "pause" ? trouble.pause : trouble.longest) = static_cast<int>(number);
        } else {
            error =
                where + ": " +
                unknown_word(key, "key", std::array<std::string, 3>{"weights", "pause", "longest"});
            return false;
        }
    }
    return true;
}

template <typename Value>
bool values_differ(const std::vector<Value>& values, const std::string& key, std::string& error) {
    for (std::size_t at = 0; at < values.size(); ++at) {
        if (std::find(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(at),
                      values[at]) != values.begin() + static_cast<std::ptrdiff_t>(at)) {
            error = ticked(key) + " names the same thing twice";
            return false;
        }
    }
    return true;
}

}  // namespace

bool campaign_seeds_read(const Json& value, Campaign& campaign, std::string& error) {
    std::int64_t number = 0;
    campaign.seeds.clear();
    if (value.is_object() && value.size() == 2 && value.contains("from") &&
        value.contains("count")) {
        std::int64_t count = 0;
        if (!whole_read(value["from"], "from", 0, UINT32_MAX - std::int64_t{MOST_CASES}, number,
                        error) ||
            !whole_read(value["count"], "count", 1, MOST_CASES, count, error)) {
            return false;
        }
        for (std::int64_t at = 0; at < count; ++at) {
            campaign.seeds.push_back(static_cast<std::uint32_t>(number + at));
        }
        return true;
    }
    if (!value.is_array() || value.empty()) {
        error = "`seeds` needs a list of numbers, or {\"from\": 1, \"count\": 40}";
        return false;
    }
    for (const Json& one : value) {
        if (!whole_read(one, "seeds", 0, UINT32_MAX, number, error)) {
            return false;
        }
        campaign.seeds.push_back(static_cast<std::uint32_t>(number));
    }
    return values_differ(campaign.seeds, "seeds", error);
}

bool campaign_hours_read(const Json& value, Campaign& campaign, std::string& error) {
    campaign.seconds.clear();
    for (const Json& one : value.is_array() ? value : Json::array({value})) {
        if (!one.is_number() || one.get<double>() < LEAST_HOURS || one.get<double>() > MOST_HOURS) {
            error = "`hours` takes numbers from 0.1 to 10000, not " + json_text(one);
            return false;
        }
        campaign.seconds.push_back(
            static_cast<int>(std::lround(one.get<double>() * SECONDS_AN_HOUR)));
    }
    if (campaign.seconds.empty()) {
        error = "`hours` is an empty list";
        return false;
    }
    return values_differ(campaign.seconds, "hours", error);
}

bool campaign_shapes_read(const Json& value, Campaign& campaign, std::string& error) {
    campaign.shapes.clear();
    if (!value.is_array() || value.empty()) {
        error = "`shapes` needs a list like [\"line 4\", \"tree 2 1\"]";
        return false;
    }
    for (const Json& one : value) {
        std::vector<std::string> words;
        Scenario scenario;
        if (!one.is_string() || !line_words(one.get<std::string>(), &words, error) ||
            words.empty()) {
            error = "`shapes` takes texts like \"line 4\", not " + json_text(one);
            return false;
        }
        const std::span<const std::string> numbers = words;
        if (!scenario_generate(words[0], numbers.subspan(1), &scenario, error)) {
            error = "`shapes`: " + error;
            return false;
        }
        if (scenario.nodes.size() < 2) {
            error = "`shapes`: " + ticked(words_joined(words)) + " has no extender";
            return false;
        }
        campaign.shapes.push_back(words_joined(words));
    }
    return values_differ(campaign.shapes, "shapes", error);
}

bool campaign_trouble_read(const Json& value, Campaign& campaign, std::string& error) {
    campaign.troubles.clear();
    if (!value.is_object() || value.empty()) {
        error = "`trouble` needs an object like {\"flapping\": {\"weights\": {\"deauth\": 20}}}";
        return false;
    }
    for (const auto& [name, one] : value.items()) {
        campaign.troubles.push_back({name});
        if (!one_trouble_read(one, campaign.troubles.back(), error)) {
            return false;
        }
    }
    return true;
}

bool campaign_options_read(const Json& value, Campaign& campaign, std::string& error) {
    std::vector<std::string> texts;
    if (value.is_object() && !value.empty()) {
        if (!options_product(value, texts, error)) {
            return false;
        }
    } else if (value.is_array() && !value.empty() &&
               std::ranges::all_of(value, [](const Json& one) { return one.is_string(); })) {
        texts = value.get<std::vector<std::string>>();
    } else {
        error = "`options` needs an object like {\"-p\": [2, 3]}, or a list like [\"\", \"-p 2\"]";
        return false;
    }
    campaign.options.clear();
    for (const std::string& text : texts) {
        campaign.options.emplace_back();
        if (!options_normal(text, campaign.options.back(), error)) {
            return false;
        }
    }
    return values_differ(campaign.options, "options", error);
}

}  // namespace lab
