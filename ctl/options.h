#pragma once

// The tool's words: what the command line asked for, and how a command is entered.

#include <cstdio>
#include <span>

/// Exit codes, as the man page tells them.
inline constexpr int EXIT_GOOD = 0;
inline constexpr int EXIT_FOUND = 1;  ///< the command found what it looks for: a gap, a breach
inline constexpr int EXIT_USAGE = 2;
inline constexpr int EXIT_UNREADABLE =
    3;  ///< a file cannot be read or holds no entry, or nobody listens

struct ctl_options {
    bool json = false;
    bool watch = false;
    bool text = false;      ///< timeline: for a ticket, not a page
    bool no_ask = false;    ///< check: tools are looked for, not run
    const char* root = "";  ///< folder in the place of "/"
    const char* output = nullptr;
    const char* now = nullptr;  ///< the present, for a log from elsewhere
    int lines = 10;
    int interval = 2;
    std::span<char* const> words;  ///< what is no option
    FILE* out = stdout;
    bool quiet = false;  ///< what cannot be read has been said
};

int command_summary(const ctl_options& options);
int command_verify(const ctl_options& options);
int command_explain(const ctl_options& options);
int command_timeline(const ctl_options& options);
int command_status(const ctl_options& options);
int command_check(const ctl_options& options);
int command_send(const ctl_options& options);
int command_metrics(const ctl_options& options);
int command_export(const ctl_options& options);

/// All of the program but for its name: reads the words, runs the command, returns the exit code.
int ctl_run(int argc, char** argv);
