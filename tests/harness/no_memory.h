// Memory that is refused: link `test_no_memory`, and for as long as a NoMemory lives its thread
// gets none from calloc(), which heap_make() and nothing else of the daemon calls.
#pragma once

namespace harness {

class NoMemory {
public:
    NoMemory();
    ~NoMemory();
    NoMemory(const NoMemory&) = delete;
    NoMemory& operator=(const NoMemory&) = delete;
};

}  // namespace harness
