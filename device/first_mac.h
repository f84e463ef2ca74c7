#pragma once

// This node's own AL MAC address. Dispatcher.

#include "runtime/mac_text.h"

/// This node's first MAC address as text; empty when its file is missing.
mac_text device_first_mac_get();
