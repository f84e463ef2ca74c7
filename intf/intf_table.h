#pragma once

// The interface table: one record per line of "/tmp/wifi_if_profile", in file order.
//
// Loaded once per worker on the main thread while the socket thread already runs; until then a
// walk finds no record. Nothing of that changes afterwards; there is no reload: a changed profile
// takes effect at the next worker. The accessors take no lock.

#include "intf/intf_record.h"

#include <span>

inline constexpr char INTF_PROFILE_PATH[] = "/tmp/wifi_if_profile";

/// Reads the profile into the runtime block. Returns the number of records (0 for an empty file),
/// or -1 when the file cannot be opened or the memory is not to be had.
int intf_table_load();

/// First record, null before loading.
intf_record* intf_table_get();

/// Number of records, 0 before loading.
int intf_table_count();

/// All records, for walking in table order; empty before loading.
std::span<intf_record> intf_table_walk();

/// First record whose name equals `name` exactly, or null.
intf_record* intf_find_by_name(const char* name);
