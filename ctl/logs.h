#pragma once

// The logs that a command was given, or the own node's.

#include "ctl/log_file.h"
#include "ctl/options.h"
#include "ctl/story.h"

/// Adds the files that the words from `first` on name; without any the own node's (below
/// `options.root`). Says on stderr what cannot be read (unless `options.quiet`), and returns false.
bool logs_open(const ctl_options& options, size_t first, log_set& logs);

/// Whether a node's files hold an entry; says on stderr when they do not.
bool log_has_entries(const story& told, const log_source& source);

/// `root` and `path` as one, cut to fit.
std::array<char, LOG_PATH_SIZE> path_below(const char* root, const char* path);

/// Flushes; EXIT_UNREADABLE with a sentence when not everything could be written, else `code`.
int output_end(const ctl_options& options, int code);
