#pragma once

// The role file "/tmp/backhaul_mode_change": carries a role change to the next worker.
//
// Written by the control FIFO just before it ends the worker (socket thread), read at every
// worker start (main thread), never removed.

#include <array>
#include <cstddef>

inline constexpr char MODE_FILE_PATH[] = "/tmp/backhaul_mode_change";
inline constexpr char MODE_MASTER[] = "master";
inline constexpr char MODE_SLAVE[] = "slave";
inline constexpr size_t MODE_WORD_SIZE = 32;

/// Whether the node is a root after reading `word`: "master" says so, "slave" denies it, anything
/// else leaves `current`.
bool mode_role(const char* word, bool current);

/// Fills `word` with the file's first word (empty when the file is). False when the file
/// does not exist or cannot be opened. A last word without a line end counts.
bool mode_file_read(std::array<char, MODE_WORD_SIZE>& word);

/// Writes `word` and a line end; skipped silently when the file cannot be opened.
void mode_file_write(const char* word);
