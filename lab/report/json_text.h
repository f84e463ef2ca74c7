// How the lab says JSON: objects keep the order in which they were made, and whatever a node wrote
// into its files, the text is always valid.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace lab {

using Json = nlohmann::ordered_json;

// Of every object that the program or its API says, as "version". It grows when a field goes away
// or changes its meaning; a new field does not change it.
inline constexpr int JSON_VERSION = 1;

// One line without its end. Bytes that are no UTF-8 become U+FFFD.
inline std::string json_text(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

// The object with the version before its own fields.
inline Json json_versioned(const Json& object) {
    Json whole = {{"version", JSON_VERSION}};
    whole.update(object);
    return whole;
}

}  // namespace lab
