// A target as a program of its own.
#include "tests/fuzz/targets.h"

extern "C" BLOCKS_API int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return fuzz::BLOCKS_FUZZ_TARGET::one_input(data, size);
}
