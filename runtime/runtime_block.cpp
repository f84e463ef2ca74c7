#include "runtime/runtime_block.h"

constinit runtime_block runtime;
