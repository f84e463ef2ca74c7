// Texts of others in the lines of the daemon: whatever they hold, a shell reads them back as they
// were, and as nothing else. The node's own configuration stands as it is written.

#include "runtime/shell_text.h"

#include <array>

#include "runtime/command.h"
#include "tests/fuzz/bed/input.h"
#include "tests/fuzz/bed/shell.h"

namespace {

using fuzz::require;

/// Values in all the ways in which lines of the daemon hold them, and in some that none has yet.
constexpr std::array FORMATS = {"iwpriv %s kickmac %s",
                                "vlog 0 0 \"%s\"",
                                "echo -n '%s' | openssl aes-128-cbc -e -k \"%s\" > /tmp/out",
                                "iwconfig %s | grep Not-Associated > /tmp/%s",
                                "wpa_cli -p /var/run/wpa-%s set \"a %s\"",
                                "a'%s'b\"%s\"c",
                                "'x\"'%s\"y'\"%s"};
constexpr size_t VALUES = 2;
/// Stands for a value where the words of a line are asked for.
constexpr std::array MARKS = {"@0@", "@1@"};

using Values = std::array<std::string, VALUES>;

command_line built(const char* format, const Values& values, size_t size, command_excess excess,
                   bool& whole) {
    const std::array<command_value, VALUES> list = {command_value(values[0].c_str()),
                                                    command_value(values[1].c_str())};
    command_line line{};
    whole = command_build(line, size, excess, format, list);
    require(line[size - 1] == '\0', "a line ends within its size");
    return line;
}

/// The words of the format, before its values are put in.
std::vector<fuzz::ShellWord> words_wanted(const char* format) {
    bool whole = false;
    const auto line =
        built(format, {MARKS[0], MARKS[1]}, COMMAND_SIZE_LONG, command_excess::refused, whole);
    auto words = fuzz::shell_read(line.data());
    require(words.has_value(), "a line of the daemon's is words");
    return *words;
}

/// A word may hold both marks, the first one before the second.
void values_put(std::string& text, const Values& values) {
    size_t from = 0;
    for (size_t at = 0; at < VALUES; ++at) {
        const size_t mark = text.find(MARKS[at], from);
        if (mark != std::string::npos) {
            text.replace(mark, std::string_view(MARKS[at]).size(), values[at]);
            from = mark + values[at].size();
        }
    }
}

void whole_line_check(const char* format, const Values& values, const command_line& line) {
    const auto found = fuzz::shell_read(line.data());
    require(found.has_value(), "a line holds nothing but words for the shell");
    auto wanted = words_wanted(format);
    for (auto& word : wanted) {
        values_put(word.text, values);
    }
    // An empty text outside of quotes is no word.
    std::erase_if(wanted, [](const auto& word) { return word.text.empty(); });
    auto read = *found;
    std::erase_if(read, [](const auto& word) { return word.text.empty(); });
    require(fuzz::shell_texts(read) == fuzz::shell_texts(wanted), "the tool gets each text whole");
}

/// What is cut is read as words as well, and is a beginning of what was to be said.
void cut_line_check(const Values& values) {
    bool whole = false;
    const auto line =
        built("vlog 0 0 \"%s\"", values, COMMAND_SIZE_MEDIUM, command_excess::cut, whole);
    const auto found = fuzz::shell_read(line.data());
    require(found.has_value() && found->size() == 4, "a line that is cut has its words");
    require(whole ? found->back().text == values[0] : values[0].starts_with(found->back().text),
            "a line that is cut tells the beginning");
}

/// One text by itself: no more room than stated, and nothing for the shell to read.
void text_check(const std::string& value, shell_place place, size_t room) {
    std::array<char, 64> out{};
    out.fill('\x7f');
    const shell_written written = shell_text(value, place, std::span(out).first(room));
    require(written.length <= room, "a text stays in its room");
    for (size_t at = written.length; at < out.size(); ++at) {
        require(out[at] == '\x7f', "nothing is written behind a text");
    }
    require(shell_reads(value, place) || !written.whole ||
                std::string_view(out.data(), written.length) == value,
            "a harmless text stands as it is");
}

void own_value_check(const Values& values) {
    const own_value own{values[0].c_str(), "ath20", "ssid"};
    command_line line{};
    const bool fits = command_line_format(line, COMMAND_SIZE_LONG, "openssl -k \"%s\" -d", own);
    const std::string wanted = "openssl -k \"" + values[0] + "\" -d";
    require(fits == (wanted.size() < COMMAND_SIZE_LONG) && (!fits || wanted == line.data()),
            "an own value stands as it is");
}

}  // namespace

// The name is the fuzzer engine's.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::Input input(data, size);
    const char* const format = FORMATS[input.byte() % FORMATS.size()];
    const auto place = static_cast<shell_place>(input.byte() % 3);
    const size_t room = input.byte() % 64;
    const Values values = {input.text_until('\0'), input.text_until('\0')};
    bool whole = false;
    const size_t line_size = room < 32 ? COMMAND_SIZE_LONG : COMMAND_SIZE_SHORT + room;
    const auto line = built(format, values, line_size, command_excess::refused, whole);
    if (whole) {
        whole_line_check(format, values, line);
    }
    cut_line_check(values);
    text_check(values[1], place, room);
    own_value_check(values);
    return 0;
}
