// The life of an extender.

#include "tests/fuzz/lives/life_fuzz.h"

// The name is the fuzzer engine's.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    lives::life_live({data, size}, false);
    return 0;
}
