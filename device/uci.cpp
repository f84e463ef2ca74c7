#include "device/uci.h"

#include "runtime/command.h"
#include "runtime/file_io.h"

#include <array>
#include <cstdio>
#include <string_view>

void wireless_uci_get(const char* section, const char* option, std::span<char> out) {
    if (out.empty()) {
        return;
    }
    out[0] = '\0';
    command_line line{};
    if (!command_line_format(line, COMMAND_SIZE_SHORT, "uci get wireless.%s.%s", section, option)) {
        return;
    }
    const CommandPipe pipe(line.data());
    if (pipe.file() == nullptr) {
        std::printf("%s : can't open file\n", __func__);
        return;
    }
    // The first word only: a value with blanks ends at its first blank, which callers rely on.
    uci_value word{};
    file_first_word(pipe.file(), word);
    const std::string_view value = std::string_view(word.data()).substr(0, out.size() - 1);
    out[value.copy(out.data(), value.size())] = '\0';
}

void wireless_uci_set(const char* section, const char* option, const char* value) {
    if (command_format_run(COMMAND_SIZE_SHORT, "uci set wireless.%s.%s=%s", section, option,
                           own_value{value, section, option}) == 0) {
        command_run("uci commit wireless");
    }
}
