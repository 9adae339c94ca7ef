// The built module against the performances that are kept.
#include "Performance.h"
#include "ScoreInput.h"
#include "tests/property/PedalPair.h"

#include <doctest/doctest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <fstream>
#include <map>
#include <sstream>

namespace {

const std::string kFolder = TREADSHIFT_GOLDEN;
constexpr std::size_t kKeptEvery = 9; // samples

// The kept checksums of this width by name; empty on a width that has none.
std::map<std::string, uint64_t> keptChecksums() {
  std::ifstream file(kFolder + "/results/checksums.txt");
  REQUIRE(file);
  std::map<std::string, uint64_t> kept;
  for (std::string line; std::getline(file, line);) {
    std::istringstream words(line);
    std::string width, name;
    uint64_t sum = 0;
    if (words >> width >> name >> std::hex >> sum && width == thisWidth()) kept[name] = sum;
  }
  return kept;
}

// Every ninth sample of a performance, and nothing of another one.
std::vector<double> keptSamples(const std::string& name) {
  std::ifstream file(kFolder + "/results/" + name + ".samples");
  REQUIRE(file);
  std::vector<double> samples;
  std::size_t place = 0;
  for (double sample; file >> place >> sample; samples.push_back(sample))
    REQUIRE(place == samples.size() * kKeptEvery);
  REQUIRE(file.eof());
  return samples;
}

std::vector<double> moduleOn(const Score& score) {
  ModulePedal module;
  return perform(score, module);
}

ScoreStep inputStep(const char* word, uint64_t seed, int period = 0) {
  ScoreStep step{};
  step.word = word;
  step.seed = seed;
  step.samples = period;
  return step;
}

} // namespace

TEST_CASE("the scores' performances have the kept checksums") {
  const auto kept = keptChecksums();
  // Another run-time's mathematics rounds a few results elsewhere: then the samples alone can be compared.
  if (kept.count("math") == 0 || kept.at("math") != mathChecksum()) {
    MESSAGE("no checksums are kept for this width and mathematics library");
    return;
  }
  for (const Score& score : readScores(kFolder + "/scores")) {
    CAPTURE(score.name);
    REQUIRE(kept.count(score.name) == 1);
    CHECK(kept.at(score.name) == checksum(moduleOn(score)));
  }
}

TEST_CASE("the plain pedal plays the scores with the same bits") {
  for (const Score& score : readScores(kFolder + "/scores")) {
    CAPTURE(score.name);
    PlainSide plain;
    const std::vector<double> expected = perform(score, plain);
    const std::vector<double> played = moduleOn(score);
    REQUIRE(played.size() == expected.size());
    const auto [first, other] = std::ranges::mismatch(played, expected, sameSample);
    CHECK(first - played.begin() == static_cast<std::ptrdiff_t>(played.size()));
  }
}

// Measured between the widths: 5e-17 at most. The rest is room for other mathematics libraries.
TEST_CASE("the kept samples are played within 1e-9") {
  int compared = 0;
  for (const Score& score : readScores(kFolder + "/scores")) {
    if (!score.keepSamples) continue;
    CAPTURE(score.name);
    const std::vector<double> kept = keptSamples(score.name);
    const std::vector<double> played = moduleOn(score);
    REQUIRE(kept.size() == (played.size() + kKeptEvery - 1) / kKeptEvery);
    double worst = 0.0;
    for (std::size_t i = 0; i < kept.size(); ++i)
      worst = std::max(worst, std::fabs(played[i * kKeptEvery] - kept[i]));
    MESSAGE(score.name << ": differs by " << worst);
    CHECK(worst <= 1e-9);
    ++compared;
  }
  CHECK(compared == 3);
}

TEST_CASE("the checksum is FNV-1a over each sample's bytes from the lowest") {
  CHECK(checksum({}) == 0xcbf29ce484222325u);
  // The bytes "foobar" and two more, as the double whose lowest byte is 'f'; "foobar" alone gives
  // 85944171f73967e8, and two steps with byte 0 are two multiplications by the prime.
  const uint64_t prime = 0x100000001b3u;
  const uint64_t foobar = 0x85944171f73967e8u;
  const double sample = std::bit_cast<double>(uint64_t{0x00007261626f6f66u});
  CHECK(checksum({sample}) == foobar * prime * prime);
}

// By hand: state = seed * 6364136223846793005 + 1442695040888963407 modulo 2^64 with seed 0 is the addend,
// whose upper 53 bits are 704440937934064 (1442695040888963407 / 2048, rounded down).
TEST_CASE("the scores' noise is the upper 53 bits of the generator, less a half") {
  ScoreInput noise(inputStep("noise", 0));
  CHECK(noise.next() == 704440937934064.0 / 9007199254740992.0 - 0.5);
}

TEST_CASE("the scores' string averages its neighbours, once a period") {
  ScoreInput noise(inputStep("noise", 9));
  const double first = noise.next(), second = noise.next(), third = noise.next();
  ScoreInput pluck(inputStep("pluck", 9, 3));
  CHECK(pluck.next() == first);
  CHECK(pluck.next() == second);
  CHECK(pluck.next() == third);
  const double firstAgain = 0.4995 * (first + second);
  CHECK(pluck.next() == firstAgain);
  CHECK(pluck.next() == 0.4995 * (second + third));
  CHECK(pluck.next() == 0.4995 * (third + firstAgain));
}

TEST_CASE("a score that cannot be played is refused with its line") {
  const std::string file = TREADSHIFT_SCRATCH "/broken.txt";
  for (const char* line :
       {"sett Color 0", "set Colour 0", "set Color", "set Color 0 1", "input drum 1", "input noise",
        "input pluck 1 0", "glide Tone 0 1 1 64", "blocks 3", "rate fast"}) {
    CAPTURE(line);
    std::ofstream(file) << "# first line\n" << line << "\n";
    const std::string expected = file + ":2: cannot play '" + line + "'";
    CHECK_THROWS_WITH(readScore(file), expected.c_str());
  }
}
