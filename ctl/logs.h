#pragma once

// The logs that a command was given, or the own node's.

#include "ctl/log_file.h"
#include "ctl/options.h"

/// Adds the files that the words from `first` on name; without any the own node's (below
/// `options.root`). Says on stderr what cannot be read, and returns false.
bool logs_open(const ctl_options& options, size_t first, log_set& logs);

/// `root` and `path` as one, cut to fit.
std::array<char, LOG_PATH_SIZE> path_below(const char* root, const char* path);

/// Flushes; EXIT_UNREADABLE with a sentence when not everything could be written, else `code`.
int output_end(const ctl_options& options, int code);
