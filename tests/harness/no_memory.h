// Memory that is refused: link `test_no_memory`, and for as long as a NoMemory lives its thread
// gets none from malloc(), calloc() and new (std::nothrow). The ordinary `new` of the test itself
// and what shared libraries ask for stay granted.
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
