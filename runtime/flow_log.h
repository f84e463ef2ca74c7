#pragma once

// The flow log, "/var/log/backhaul_flow_log": the daemon's running diary.
//
// Called from every thread and by the supervisor, takes no lock: each entry opens the file,
// appends with one write and closes it, so entries of different threads stay whole. After 300
// calls the file becomes ".1" (one older generation). The log never writes to the console and
// never fails visibly: an entry that cannot be written is lost.

inline constexpr char FLOW_LOG_PATH[] = "/var/log/backhaul_flow_log";
inline constexpr char FLOW_LOG_OLD_PATH[] = "/var/log/backhaul_flow_log.1";
inline constexpr char FLOW_LOG_CRASH_PATH[] = "/var/log/backhaul_flow_log.crash";
/// Calls after which the next one rotates.
inline constexpr int FLOW_LOG_CALLS_MAX = 300;

/// Appends one entry: 24 characters of ctime, " : ", then the formatted text. The text brings its
/// own line end; the few that lack one run on into the next entry.
void flow_log(const char* format, ...) __attribute__((format(printf, 1, 2)));
