#pragma once

// The control FIFO "/tmp/backhaul_fifo": one-word commands of other programs on the node.
//
// Created by start-up (main thread); read on the socket thread only, one command per readiness.
// Commands are not acknowledged and unknown ones are dropped without a word.

inline constexpr char CONTROL_FIFO_PATH[] = "/tmp/backhaul_fifo";

/// Removes a stale pipe, creates the FIFO and opens it read-write into `runtime.fifo_fd`, which
/// stays -1 after a failure (printed; the daemon then runs without commands).
void control_fifo_create();

/// Reads one command and carries it out. A role change writes the role file and ends the worker.
void backhaul_fifo_recv();

/// Root only: switches the secondary service APs by the number of approved nodes.
void service_ap_approval_apply();
