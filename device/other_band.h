#pragma once

// The AP on the other band that a ready station could move to. No driver names one today, so the
// way to it is never taken; a program that brings a selector of its own replaces this one. Timer
// thread, no lock.

#include <cstddef>
#include <cstdint>

/// Selector of an AP on the other band for station `name`: always yields the all-zero address.
void device_other_band_bssid_get(const char* name, uint8_t* out, size_t length);
