#pragma once

// What a port of the bridge does. Any thread.

/// Bridge port state of member `name` of br-lan, 0 when unknown.
int bridge_port_state_get(const char* name);
