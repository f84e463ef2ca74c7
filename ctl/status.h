#pragma once

// How a node is, from its log and its files: collected once, then told as text or JSON. What
// neither holds is empty or LOG_TIME_NONE, and is told to be unknown.

#include "ctl/daemon_process.h"
#include "ctl/json.h"
#include "ctl/story.h"

inline constexpr size_t STATUS_WORD_SIZE = 64;
using status_word = std::array<char, STATUS_WORD_SIZE>;

enum class neighbour_state : uint8_t { unknown, answers, silent };

struct status_view {
    const story* told = nullptr;
    int64_t now = LOG_TIME_NONE;
    bool now_is_log_end = false;  ///< `now` is that of the log's last entry
    daemon_processes daemons;
    status_word status{};    ///< of the status file
    status_word type{};      ///< "wifi", "ethernet"
    status_word distance{};  ///< hops
    status_word root_ip{};
    int64_t root_ip_since = LOG_TIME_NONE;  ///< when its file was written
    neighbour_state root_neighbour = neighbour_state::unknown;
    int32_t extenders = -1;  ///< on the root's list; -1: no list
    /// Interfaces of the profile that have a link state.
    std::array<intf_name, STORY_LINKS_MAX> interfaces{};
    size_t interface_count = 0;
    std::array<bool, STORY_LINKS_MAX> stations{};  ///< which of these are stations
    size_t error = 0;                              ///< row of LOG_TEXTS
    bool has_error = false;                        ///< an error repeats, or did last
};

/// Reads the files below `root`.
void status_files_read(const char* root, status_view& view);
/// Finds the error that repeated last.
void status_error_find(status_view& view);
/// What is wrong, or that nothing is, in one line.
void status_headline(const status_view& view, std::span<char> out);
/// What the interface waits for, and until when.
void status_waits(const story_link& link, int64_t now, std::span<char> out);

void status_text_print(const status_view& view, FILE* out);
void status_json_print(const status_view& view, json_writer& json);

/// The interface that carries the uplink, or is to; null without one.
const story_link* status_uplink(const story& told);
