#include "lab/tools/tool_openssl.h"

namespace lab {

std::optional<std::string> openssl_seal(std::string_view /*message*/,
                                        std::string_view /*pass_phrase*/,
                                        std::string_view /*salt*/) {
    return std::nullopt;
}

std::optional<Sealed> openssl_open(std::string_view /*sealed*/, std::string_view /*pass_phrase*/) {
    return std::nullopt;
}

}  // namespace lab
