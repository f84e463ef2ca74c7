// A daemon whose memory runs out, and what tells it when.
//
// The program scarce_memory is the product, linked so that whatever it gets from the heap goes
// through scarce_memory.cpp: its own memory, streams, pipes, threads and all that SQLite takes.
// While SCARCE_NOW exists in its router, each allocation is refused once: the first time that
// it is made from one place in the code, called by the same callers. SCARCE_REFUSED grows by a line
// for each refusal.
#pragma once

inline constexpr char SCARCE_NOW[] = "/run/lab/memory_is_scarce";
inline constexpr char SCARCE_REFUSED[] = "/run/lab/memory_refused";
