// SPDX-License-Identifier: MIT
// Runs the target in the program's own name, fuzz_TARGET, with libFuzzer.
#include "tests/fuzz/target.h"

static Target chosen;

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** argv) {
    chosen = target_of((*argv)[0]);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    chosen({{data, size}});
    return 0;
}
