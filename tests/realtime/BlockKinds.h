// The kinds of block that cost or do something different, to be played under a watch.
#pragma once

#include "tests/record/Module.h"

#include <array>
#include <functional>
#include <span>
#include <string>
#include <vector>

inline constexpr int kAnnounced = 4096; // samples: the largest block that is announced

// What one effect hears and writes.
class Stage {
public:
  // rateHz: 0 for none.
  explicit Stage(float rateHz = 48000.0f);

  void block(int samples);

  ModuleEffect effect;
  int played = 0; // blocks

  // The first samples of the last block.
  std::span<const double> heard(std::size_t samples) const { return {output.data(), samples}; }

private:
  std::vector<double> input, output;
};

struct BlockKind {
  std::string name;
  std::function<void(Stage&)> prepare; // not watched
  std::function<void(Stage&)> between; // before each block; neither does this touch anything
  std::function<int(int)> size;        // samples of the block with this number
};

std::vector<BlockKind> blockKinds();
