// The entry of a fuzz target, as the fuzzing engine and the replay know it.
#pragma once

#include <cstddef>
#include <cstdint>

// Runs one input. Result: 0. A finding ends the program.
extern "C" __attribute__((visibility("default"))) int LLVMFuzzerTestOneInput(const std::uint8_t* data,
                                                                             std::size_t size);
