#include "daemon/options.h"

#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "runtime/file_io.h"

namespace {

/// Words of the start hint; a longer one cannot be the keyword.
constexpr size_t HINT_WORD_SIZE = 64;

}  // namespace

void options_default_set(runtime_block& block) {
    block.max_disconnect = 3;
    block.loop_disconnect = 10;
    block.ready_decay = 5;
    block.intf_init = true;
}

uint8_t option_number(const char* text) {
    // Text that is no number counts as 0.
    return static_cast<uint8_t>(std::atoi(text));
}

void options_parse(int argc, char** argv, runtime_block& block) {
    int option = 0;
    while ((option = getopt(argc, argv, OPTION_STRING)) != -1) {
        switch (option) {
            case 'm':
                block.master = true;
                break;
            case 'b':
                // The worker's thread keeps the pointer for ever; an earlier copy is not freed.
                block.b_arg = strdup(optarg);
                break;
            case 'd':
                block.backhaul_ap_enable = true;
                break;
            case 'p':
                block.max_disconnect = option_number(optarg);
                break;
            case 'x':
                block.loop_disconnect = option_number(optarg);
                break;
            case 'r':
                block.ready_decay = option_number(optarg);
                break;
            default:
                break;
        }
    }
}

void intf_init_skip() {
    {
        const File hint(START_HINT_PATH, "r");
        if (!hint) {
            return;
        }
        std::array<char, HINT_WORD_SIZE> word{};
        // A keyword that ends the file has no effect: the file must go on after it.
        while (file_next_word(hint.get(), word) == word_result::word) {
            if (std::strcmp(word.data(), START_HINT_SKIP_WORD) == 0) {
                runtime.intf_init = false;
            }
        }
    }
    std::remove(START_HINT_PATH);
}
