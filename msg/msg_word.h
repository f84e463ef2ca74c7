#pragma once

// The words that nodes send each other: a table of words and texts, and its look-ups. Functions of
// values.

#include <string_view>

enum class msg_word {
    flush_forwarding,
    uplink_scan,
    network_reload,
    check_valid,
    check_valid_reply,
    root_announcement,
    unknown,
};

/// Text of a word; null for `unknown`.
const char* msg_word_text(msg_word word);

/// The word whose text is exactly `text`, or `unknown`.
msg_word msg_word_find(std::string_view text);
