// The life of a root.

#include "tests/fuzz/lives/life_fuzz.h"

// The name is the fuzzer engine's.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    lives::life_live({data, size}, true);
    return 0;
}
