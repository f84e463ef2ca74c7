// The page of moved time as a program with the preloaded clock uses it: to lie down until the owner
// calls, and to keep the node's own account of what it did.
//
// Called by the preloaded functions on the caller's thread, also under sanitizers and between fork
// and exec: no allocation, no lock, no library call that a sanitizer may have replaced.
#pragma once

#include <cstdint>

#include "lab/clock/clock_page.h"

namespace lab {

// Names the page's file in the environment of a node's programs.
inline constexpr char OWN_PAGE_VARIABLE[] = "LAB_CLOCK";

// Maps the page; null where none is named, or what is named is none.
ClockPage* own_page_map();

// Waits while the word has this value, or for less. Returns what the system call does.
long own_futex_wait(const ClockWord& word, std::uint32_t value);

// Lies down until the owner calls. Ends the process when there are too many sleepers.
void own_call_await(SlotKind kind, std::uint32_t deadline);

// Whether the nodes share a processor on which the owner runs when nobody else does.
bool own_exact();

// For the node's account: something was started whose end nobody tells, or has ended; a shell line
// begins, and it has ended.
void own_handed_note();
void own_line_begin();
void own_line_end();

// Around a wait for what comes in.
void own_wait_begin();
void own_wait_end();

}  // namespace lab
