#include "lab/campaign/case_result.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <sstream>

#include "lab/tools/small_file.h"

namespace lab {
namespace {

constexpr int UNHEARD = -88;  // less than any station joins with

// "fade e1 root -120 5h", "fade e1 root none".
std::string fade_cause(const std::string& text) {
    std::istringstream stream(text);
    std::string word;
    for (int at = 0; at < 4; ++at) {
        stream >> word;
    }
    return word == "none" || std::atoi(word.c_str()) < UNHEARD ? "link-cut" : "link-back";
}

Json outages_json(const std::vector<CaseOutage>& outages) {
    Json list = Json::array();
    for (const CaseOutage& outage : outages) {
        list.push_back({{"node", outage.node},
                        {"from", outage.from},
                        {"seconds", outage.seconds},
                        {"over", outage.is_over},
                        {"cause", outage.cause}});
    }
    return list;
}

}  // namespace

std::string outage_cause(std::span<const CaseVerb> verbs, std::int64_t from) {
    std::string cause = "none";
    for (const CaseVerb& verb : verbs) {
        if (verb.time > from) {
            break;
        }
        cause = verb.text.substr(0, verb.text.find(' '));
        cause = cause == "fade" ? fade_cause(verb.text) : cause;
    }
    return cause;
}

std::string file_mark(const std::string& path, std::string& error) {
    // FNV-1a of 64 bits: against a mistake, not against an attack.
    constexpr std::uint64_t BEGIN = 14695981039346656037U;
    constexpr std::uint64_t PRIME = 1099511628211U;
    std::string bytes;
    if (!file_read(path, &bytes) || bytes.empty()) {
        error = "cannot read " + path;
        return {};
    }
    std::uint64_t mark = BEGIN;
    for (const char byte : bytes) {
        mark = (mark ^ static_cast<unsigned char>(byte)) * PRIME;
    }
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%016llx", static_cast<unsigned long long>(mark));
    return text.data();
}

Json case_result_json(const CaseResult& result) {
    return json_versioned({{"case", campaign_case_json(result.of)},
                           {"daemon_mark", result.daemon_mark},
                           {"host", result.host},
                           {"seconds", result.seconds},
                           {"real_ms", result.real_ms},
                           {"observed_seconds", result.observed_seconds},
                           {"parked_seconds", result.parked_seconds},
                           {"outages", outages_json(result.outages)},
                           {"switches", result.switches},
                           {"islands",
                            {{"count", result.islands},
                             {"seconds", result.island_seconds},
                             {"longest", result.island_longest}}},
                           {"loops", result.loops},
                           {"causes", result.causes},
                           {"breaches", result.breaches},
                           {"rule", result.rule},
                           {"evidence", result.evidence},
                           {"scenario", result.scenario},
                           {"shrunk", result.shrunk},
                           {"whole", true}});
}

bool case_result_read(const Json& json, CaseResult& result) {
    try {
        if (json.at("version") != JSON_VERSION || json.at("whole") != true ||
            !campaign_case_read(json.at("case"), result.of)) {
            return false;
        }
        result.daemon_mark = json.at("daemon_mark");
        result.host = json.at("host");
        result.seconds = json.at("seconds");
        result.real_ms = json.at("real_ms");
        result.observed_seconds = json.at("observed_seconds");
        result.parked_seconds = json.at("parked_seconds");
        for (const Json& outage : json.at("outages")) {
            result.outages.push_back({outage.at("node"), outage.at("from"), outage.at("seconds"),
                                      outage.at("over"), outage.at("cause")});
        }
        result.switches = json.at("switches");
        const Json& islands = json.at("islands");
        result.islands = islands.at("count");
        result.island_seconds = islands.at("seconds");
        result.island_longest = islands.at("longest");
        result.loops = json.at("loops").get<std::map<std::string, int>>();
        result.causes = json.at("causes").get<std::map<std::string, int>>();
        result.breaches = json.at("breaches").get<std::vector<std::string>>();
        result.rule = json.at("rule");
        result.evidence = json.at("evidence");
        result.scenario = json.at("scenario");
        result.shrunk = json.at("shrunk");
        return true;
    } catch (const Json::exception&) {
        return false;
    }
}

bool case_result_load(const std::string& folder, const CampaignCase& one,
                      const std::string& daemon_mark, CaseResult& result) {
    std::string text;
    if (!file_read(folder + "/" + one.id + ".json", &text)) {
        return false;
    }
    const Json json = Json::parse(text, nullptr, false);
    result = {};
    return !json.is_discarded() && case_result_read(json, result) &&
           campaign_case_json(result.of) == campaign_case_json(one) &&
           result.daemon_mark == daemon_mark;
}

bool case_result_save(const std::string& folder, const CaseResult& result, std::string& error) {
    const std::string name = folder + "/" + result.of.id;
    const bool good = (result.scenario.empty() || file_write(name + ".scn", result.scenario)) &&
                      (result.shrunk.empty() || file_write(name + ".short.scn", result.shrunk)) &&
                      file_write(name + ".json", json_text(case_result_json(result)) + "\n");
    if (!good) {
        error = "cannot write to " + folder;
    }
    return good;
}

}  // namespace lab
