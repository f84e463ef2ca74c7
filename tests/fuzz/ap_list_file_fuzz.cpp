// The extenders' file of a root: its words against scanf, the lines that they bring about, and the
// file that is written from the list.

#include <array>
#include <cstring>
#include <vector>

#include "root/ap_list.h"
#include "root/event_log.h"
#include "runtime/runtime_block.h"
#include "tests/fuzz/bed/input.h"
#include "tests/fuzz/bed/place.h"
#include "tests/fuzz/bed/shell.h"

namespace {

using fuzz::require;
using Words = std::vector<std::string>;

/// Each address is a line of the system log and the file anew, when it comes and when it goes.
constexpr size_t BYTES_MAX = 400;
constexpr size_t ALMAC_LENGTH = ALMAC_SIZE - 1;

/// The file's words as a loop over scanf and feof gives them, each as a node holds it.
Words words_scan(const std::string& bytes) {
    const fuzz::ByteStream stream(bytes);
    Words words;
    std::array<char, 4096> word{};
    while (std::fscanf(stream.get(), "%4095s", word.data()) == 1 && std::feof(stream.get()) == 0) {
        words.push_back(std::string(word.data()).substr(0, ALMAC_LENGTH));
    }
    return words;
}

Words list_now() {
    Words words;
    for (const ap_node* node = runtime.ap_list_head; node != nullptr; node = node->next) {
        words.emplace_back(node->almac.data());
    }
    require(runtime.ap_count == static_cast<int32_t>(words.size()), "the count is the list's");
    return words;
}

/// Every address is told to the system log as itself, or its beginning where the line was cut.
void log_lines_check(size_t first, const Words& words, const char* kind) {
    const auto& lines = fuzz::shell().lines;
    size_t at = first;
    for (const std::string& word : words) {
        while (at < lines.size() && !lines[at].starts_with("vlog ")) {
            ++at;
        }
        const auto read = at < lines.size() ? fuzz::shell_read(lines[at]) : std::nullopt;
        require(read.has_value() && read->size() == 4,
                "there is a line of the system log for each");
        const std::string wanted = "(" + word + ") " + kind;
        // A file's word is longer than what the node keeps of it.
        const std::string start = "(" + word;
        require(read->back().text.starts_with(start) || wanted.starts_with(read->back().text),
                "it tells the address as it is");
        ++at;
    }
}

}  // namespace

// The name is the fuzzer engine's.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string bytes = fuzz::Input(data, std::min(size, BYTES_MAX)).rest();
    fuzz::shell_reset();
    fuzz::file_put(AP_LIST_PATH, bytes);
    backhaul_ap_list_init();
    const Words wanted = words_scan(bytes);
    require(list_now() == wanted, "the list is the file's words");
    log_lines_check(0, wanted, "join");
    fuzz::require_lines_are_words();

    backhaul_ap_list_update();
    Words kept = wanted;
    std::erase(kept, "");
    require(words_scan(fuzz::file_get(AP_LIST_PATH)) == kept, "the file is the list's words");

    const size_t lines = fuzz::shell().lines.size();
    for (const std::string& word : wanted) {
        backhaul_ap_node_del(word.c_str());
    }
    log_lines_check(lines, wanted, "leave");
    fuzz::require_lines_are_words();
    require(list_now().empty() && fuzz::file_get(AP_LIST_PATH).empty(), "all have left");
    require(runtime.event_log_num <= EVENT_LOG_ENTRIES_MAX, "the event log holds five");
    return 0;
}
