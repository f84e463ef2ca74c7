#pragma once

// Start-up of a worker. No thread is ever joined or stopped; the worker ends as a whole.

/// The daemon proper, on the main thread of the worker: role, event sources, database, interface
/// table, threads, role loop. Never returns. Ends the worker with status 1 when the message socket
/// cannot be made or bound, and with status 0 when there is no interface table.
[[noreturn]] void backhaul_monitor();
