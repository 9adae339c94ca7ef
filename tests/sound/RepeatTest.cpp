// The same again gives the same bits, in whatever blocks.
#include "Player.h"

#include <cstring>
#include <doctest/doctest.h>

namespace {

constexpr float kRate = 8000.0f;

bool sameBits(const std::vector<double>& a, const std::vector<double>& b) {
  return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(double)) == 0;
}

// 3 s: the smoother's pole of 0.996 to that power is far below the last place of a double.
void settle(Player& player) { player.play(sine(300.0, kRate, 24000), 500); }

std::vector<double> inSizes(Player& player, const std::vector<double>& input, const std::vector<int>& sizes) {
  std::vector<double> output;
  for (std::size_t from = 0, turn = 0; from < input.size(); ++turn) {
    const std::size_t size = std::min<std::size_t>(sizes[turn % sizes.size()], input.size() - from);
    const std::vector<double> played =
        player.play({input.begin() + from, input.begin() + from + size}, 1 << 20);
    output.insert(output.end(), played.begin(), played.end());
    from += size;
  }
  return output;
}

} // namespace

TEST_CASE("a settled pedal gives the same bits in any blocks") {
  const std::vector<double> input = sine(441.0, kRate, 6000);
  const std::vector<std::vector<int>> splits = {{1}, {7, 256, 1, 64}, {512}, {2, 3}, {1000, 1}};
  for (int color = 0; color < kColorCount; ++color) {
    for (float pedal : {kHeel, 0.37f, kToe}) {
      Player whole(kRate, color, pedal);
      settle(whole);
      const std::vector<double> expected = inSizes(whole, input, {6000});
      for (const std::vector<int>& sizes : splits) {
        CAPTURE(color);
        CAPTURE(pedal);
        CAPTURE(sizes[0]);
        Player split(kRate, color, pedal);
        settle(split);
        CHECK(sameBits(inSizes(split, input, sizes), expected));
      }
    }
  }
}

TEST_CASE("the same sound twice through new effects gives the same bits") {
  const std::vector<double> input = sine(441.0, kRate, 8000);
  const auto once = [&] {
    Player player(kRate, 7, kHeel);
    std::vector<double> all;
    for (int block = 0; block < 80; ++block) {
      player.set(kPedalPos, static_cast<float>(block % 20) / 19.0f);
      if (block % 30 == 10) player.setColor(block % kColorCount);
      if (block % 25 == 20) player.set(kOnOff, block % 2 == 0 ? 1.0f : 0.0f);
      player.set(kTone, static_cast<float>(block % 11) / 10.0f);
      const std::vector<double> out =
          player.play({input.begin() + 100 * block, input.begin() + 100 * (block + 1)});
      all.insert(all.end(), out.begin(), out.end());
    }
    return all;
  };
  CHECK(sameBits(once(), once()));
}

TEST_CASE("two effects at once do not hear each other") {
  const std::vector<double> input = sine(441.0, kRate, 4000), other = sine(97.0, kRate, 4000);
  Player alone(kRate, 5, kMiddle), beside(kRate, 5, kMiddle), neighbour(kRate, 2, kToe);
  std::vector<double> a, b;
  for (int from = 0; from < 4000; from += 100) {
    const auto piece = [&](const std::vector<double>& sound) {
      return std::vector<double>(sound.begin() + from, sound.begin() + from + 100);
    };
    const std::vector<double> first = alone.play(piece(input));
    const std::vector<double> second = beside.play(piece(input));
    neighbour.play(piece(other));
    a.insert(a.end(), first.begin(), first.end());
    b.insert(b.end(), second.begin(), second.end());
  }
  CHECK(sameBits(a, b));
}
