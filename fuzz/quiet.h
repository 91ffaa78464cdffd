#pragma once

// Keeps the system's console lines out of a fuzzer's log. For the target's source alone.

#include "platform/foundation/Console.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    platform::console::setSink({});
    return 0;
}
