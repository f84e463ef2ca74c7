#pragma once

// The logs that a command was given, or the own node's.

#include "ctl/log_file.h"
#include "ctl/options.h"
#include "ctl/story.h"

/// Adds the files that the words from `first` on name; without any the own node's (below
/// `options.root`). Says on stderr what cannot be read (unless `options.quiet`), and returns false.
bool logs_open(const ctl_options& options, size_t first, log_set& logs);

/// Whether every node that was read had an entry: what has none is most likely no log at all.
class entries_check {
public:
    /// A node is over, whose last file is `last`; says on stderr when its files hold no entry.
    void node_over(const story& told, const log_source& last);
    /// EXIT_UNREADABLE once a node had no entry, else EXIT_GOOD.
    int code() const {
        return all_ ? EXIT_GOOD : EXIT_UNREADABLE;
    }

private:
    bool all_ = true;
};

/// `root` and `path` as one, cut to fit.
std::array<char, LOG_PATH_SIZE> path_below(const char* root, const char* path);

/// Flushes; EXIT_UNREADABLE with a sentence when not everything could be written, else `code`.
int output_end(const ctl_options& options, int code);
