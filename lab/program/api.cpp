#include "lab/program/api.h"

#include <algorithm>
#include <cctype>

namespace lab {
namespace {

constexpr std::string_view NODE = "{node}";

constexpr bool api_is_whole() {
    for (std::size_t at = 0; at < API.size(); ++at) {
        if (API[at].action != static_cast<ApiAction>(at)) {
            return false;
        }
    }
    return API.size() == static_cast<std::size_t>(ApiAction::down) + 1;
}
static_assert(api_is_whole());

bool path_matches(std::string_view pattern, std::string_view path, std::string& node) {
    const std::size_t at = pattern.find(NODE);
    if (at == std::string_view::npos) {
        return pattern == path;
    }
    const std::string_view rest = pattern.substr(at + NODE.size());
    if (!path.starts_with(pattern.substr(0, at)) || !path.ends_with(rest) ||
        path.size() <= at + rest.size()) {
        return false;
    }
    node = path.substr(at, path.size() - at - rest.size());
    return node.find('/') == std::string::npos;
}

std::string url_escaped(std::string_view text) {
    constexpr std::string_view DIGITS = "0123456789ABCDEF";
    std::string escaped;
    for (const char letter : text) {
        const auto byte = static_cast<unsigned char>(letter);
        if (std::isalnum(byte) != 0 || letter == '-' || letter == '_' || letter == '.') {
            escaped += letter;
        } else {
            escaped += {'%', DIGITS[byte >> 4U], DIGITS[byte & 0xFU]};
        }
    }
    return escaped;
}

}  // namespace

Answer answer_say(HttpStatus status, const std::string& text) {
    return {status, {{"good", status == HttpStatus::good}, {"text", text}}};
}

std::string answer_text(const Answer& answer) {
    const auto text = answer.body.find("text");
    return text != answer.body.end() && text->is_string() ? text->get<std::string>() : "";
}

int answer_exit_code(const Answer& answer) {
    switch (answer.status) {
        case HttpStatus::good:
            return EXIT_GOOD;
        case HttpStatus::bad_request:
        case HttpStatus::forbidden:
        case HttpStatus::not_found:
        case HttpStatus::wrong_method:
        case HttpStatus::too_large:
            return EXIT_USAGE;
        case HttpStatus::none:
        case HttpStatus::differs:
        case HttpStatus::ended:
            break;
    }
    return EXIT_DIFFERS;
}

const ApiRow* api_find(std::string_view method, std::string_view path, std::string& node,
                       Answer& error) {
    std::string methods;
    for (const ApiRow& row : API) {
        if (!path_matches(row.path, path, node)) {
            continue;
        }
        if (row.method == method) {
            return &row;
        }
        methods += (methods.empty() ? "" : " and ") + std::string(row.method);
    }
    error = methods.empty() ? answer_say(HttpStatus::not_found,
                                         "there is no " + std::string(path) + ": GET / lists all")
                            : answer_say(HttpStatus::wrong_method,
                                         std::string(path) + " knows only " + methods);
    return nullptr;
}

std::string api_path(ApiAction action, std::string_view node) {
    std::string path(API[static_cast<std::size_t>(action)].path);
    const std::size_t at = path.find(NODE);
    return at == std::string::npos ? path : path.replace(at, NODE.size(), url_escaped(node));
}

Json api_json() {
    Json rows = Json::array();
    for (const ApiRow& row : API) {
        rows.push_back({{"method", row.method},
                        {"path", row.path},
                        {"takes", row.takes},
                        {"gives", row.gives},
                        {"errors", row.errors},
                        {"help", row.help}});
    }
    return {{"resources", rows}};
}

}  // namespace lab
