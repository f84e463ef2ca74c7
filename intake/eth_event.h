#pragma once

// Events of the Ethernet agent: the cable towards the mesh has come or gone. Socket thread.

#include "intake/fifo_command.h"

/// Handles `eth_detect` or `eth_lost`; any other command is logged only. The reply to the agent
/// precedes the work.
void backhaul_eth_event_handle(fifo_command event);

/// Writes the reply word to the agent's FIFO through the shell; blocks while nobody reads it.
void eth_backhaul_reply(const char* reply);
