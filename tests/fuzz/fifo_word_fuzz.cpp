// Reads of the control FIFO and the word of the role file, against a table of what they mean.

#include "intake/fifo_command.h"

#include <cstring>

#include "runtime/mode_file.h"
#include "tests/fuzz/bed/input.h"

namespace {

using fuzz::require;

struct meaning {
    std::string_view word;
    bool for_extender;
    bool for_root;
    fifo_command command;
};
constexpr std::array MEANINGS = {
    meaning{"master", true, false, fifo_command::master},
    meaning{"slave", false, true, fifo_command::slave},
    meaning{"approval_list_changed", false, true, fifo_command::approval_list_changed},
    meaning{"uplink_scan", true, true, fifo_command::uplink_scan},
    meaning{"network_reload", true, true, fifo_command::network_reload},
    meaning{"eth_detect", true, true, fifo_command::eth_detect},
    meaning{"eth_lost", true, true, fifo_command::eth_lost},
};

/// The last byte of a read goes, whatever it is; the rest is one text that ends at its first zero.
fifo_command wanted_command(const std::string& read, bool master) {
    const std::string_view text =
        read.empty() ? "" : std::string_view(read).substr(0, read.size() - 1);
    const std::string_view word = text.substr(0, text.find('\0'));
    for (const meaning& one : MEANINGS) {
        if (!read.empty() && word == one.word && (master ? one.for_root : one.for_extender)) {
            return one.command;
        }
    }
    return fifo_command::none;
}

void read_check(const std::string& bytes, long count, bool master) {
    std::array<char, FIFO_READ_SIZE> buffer{};
    buffer.fill('x');  // what an earlier read left is no part of the word
    std::memcpy(buffer.data(), bytes.data(), bytes.size());
    const bool is_read = count == static_cast<long>(bytes.size());
    const fifo_command command = fifo_command_parse(buffer, count, master);
    require(command == (is_read ? wanted_command(bytes, master) : fifo_command::none),
            "a read means what the table says");
    const char* const text = fifo_command_text(command);
    require((text == nullptr) == (command == fifo_command::none), "each command has its text");
    require(text == nullptr || std::strcmp(text, buffer.data()) == 0, "the text is the word");
}

}  // namespace

// The name is the fuzzer engine's.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::Input input(data, size);
    const std::uint8_t choice = input.byte();
    const bool master = (choice & 1U) != 0;
    // Short reads as well: the pipe may hold less than a whole word.
    const size_t most = (choice & 2U) != 0 ? FIFO_READ_SIZE : 1 + choice / 4 % FIFO_READ_SIZE;
    while (!input.is_empty()) {
        const std::string bytes = input.text(most);
        read_check(bytes, static_cast<long>(bytes.size()), master);
        read_check(bytes, 0, master);
        read_check(bytes, -1, master);
        read_check(bytes, FIFO_READ_SIZE + 1, master);
        const std::string word = bytes.c_str();
        require(
            mode_role(word.c_str(), master) == (word == "master" || (master && word != "slave")),
            "the role is what the word says, or stays");
    }
    return 0;
}
