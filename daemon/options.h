#pragma once

// The command line "mb:p:x:r:d" and the one-shot start hint.
//
// Called by the entry point only, single-threaded, before the first fork; results go to the
// runtime block. Numbers are taken with atoi modulo 256; unknown options and missing arguments
// are reported by getopt itself and otherwise ignored.

#include "runtime/runtime_block.h"

inline constexpr char OPTION_STRING[] = "mb:p:x:r:d";
inline constexpr char START_HINT_PATH[] = "/tmp/backhaul_init_conf";
inline constexpr char START_HINT_SKIP_WORD[] = "intf_init_skip";

/// Sets `max_disconnect` 3, `loop_disconnect` 10, `ready_decay` 5 and `intf_init`.
void options_default_set(runtime_block& block);

/// Value of a numeric option: atoi, kept in one byte (300 gives 44, text gives 0, -1 gives 255).
uint8_t option_number(const char* text);

/// Parses all options of `argv` into `block`; stops only when getopt reports the end.
void options_parse(int argc, char** argv, runtime_block& block);

/// Reads and removes the start hint file; clears `runtime.intf_init` when one of its words is
/// "intf_init_skip". A word that ends the file without white space after it does not count: the
/// tool that writes the hint always ends it with a line end. Does nothing when the file cannot be
/// opened.
void intf_init_skip();
