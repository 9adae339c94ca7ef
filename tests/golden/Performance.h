// Plays scores to an effect, and tells performances apart.
#pragma once

#include "Score.h"
#include "tests/property/Pedal.h"

#include <cstdint>
#include <vector>

// Plays `score` to `pedal`, which must be new. Result: every output sample.
std::vector<double> perform(const Score& score, Pedal& pedal);

// FNV-1a, 64 bits (G. Fowler, L. C. Noll, K.-P. Vo), over the samples' bytes, each sample's lowest byte
// first.
uint64_t checksum(const std::vector<double>& samples);

// The same checksum over what the run-time's pow, atan, tan and cos answer at a few thousand places, pow and
// atan in single precision too. Implementations differ in last places, and so do performances built on them.
uint64_t mathChecksum();

// The instruction set whose checksums are kept: "i386" or "x86_64"; "" for any other.
const char* thisWidth();
