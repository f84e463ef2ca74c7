#pragma once

// A network reload announced by another node: the losses that it is going to cause are not counted.
// Socket thread, no lock.

/// Gives every station in state 7 or 4 one disconnect of credit (0 becomes -1 on purpose).
void backhaul_network_reload_handle();
