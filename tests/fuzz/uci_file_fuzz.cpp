// Lines of a configuration file, as the check of an image reads them.

#include "ctl/uci_file.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

// The name is the fuzzer engine's.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto file = std::make_unique<uci_file>();
    while (!text.empty()) {
        const size_t end = text.find('\n');
        uci_line_read(text.substr(0, end), *file);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    for (size_t i = 0; i < file->option_count; ++i) {
        const uci_option& option = file->options[i];
        const char* const name = option.name.data();
        if (option.section >= file->section_count ||
            std::memchr(name, '\0', UCI_WORD_SIZE) == nullptr ||
            std::memchr(option.value.data(), '\0', UCI_WORD_SIZE) == nullptr) {
            std::abort();
        }
        const char* const section = file->sections[option.section].name.data();
        // A section of the same name that stands before it hides it.
        if (uci_section_find(*file, section) == option.section &&
            uci_option_find(*file, section, name) == nullptr) {
            std::abort();
        }
    }
    return 0;
}
