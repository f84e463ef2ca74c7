#include "msg/msg_word.h"

#include "runtime/table_check.h"

#include <algorithm>
#include <array>

namespace {

struct word_row {
    msg_word word;
    const char* text;
};

constexpr std::array<word_row, 6> WORDS{{
    {msg_word::flush_forwarding, "FLUSHFORWARDING"},
    {msg_word::uplink_scan, "UPLINKSCAN"},
    {msg_word::network_reload, "NETWORKRELOAD"},
    {msg_word::check_valid, "CHECK_VALID"},
    {msg_word::check_valid_reply, "CHECK_VALID_REPLY"},
    {msg_word::root_announcement, "ImRootAP"},
}};
static_assert(WORDS.size() == static_cast<size_t>(msg_word::unknown) &&
              table_keys_count_up(WORDS, [](const word_row& row) { return row.word; }));

}  // namespace

const char* msg_word_text(msg_word word) {
    return word == msg_word::unknown ? nullptr : WORDS[static_cast<size_t>(word)].text;
}

msg_word msg_word_find(std::string_view text) {
    const auto* const row = std::ranges::find(WORDS, text, &word_row::text);
    return row != WORDS.end() ? row->word : msg_word::unknown;
}
