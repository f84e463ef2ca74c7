#pragma once

// What the process has to be before it does anything, whoever started it.
//
// Called by the entry point only, single-threaded, before anything is opened or forked; workers
// inherit the result. Nothing fails: what cannot be had stays as it was found.

/// Opens descriptors 0 to 2 on "/dev/null" where they are closed, unblocks all signals, takes the
/// ends of children and the quiet restart request as by default, and survives a write to a reader
/// that is gone. What is started from here finds every one of these signals at its default.
void process_start();
