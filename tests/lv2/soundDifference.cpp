// soundDifference RESULT REFERENCE LIMIT [started]
//
// Compares a host's recording with what it should be, sample by sample, for script/hosts.
// LIMIT is the largest difference allowed, in dB of full scale, or "none" when every bit counts. "started"
// lets the result begin at any time: its first sample that is not 0 is the reference's first, and silence or
// more may follow. Says in words how they compare; ends with 0 when the result is good, 1 when not, 2 for a
// wrong call.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sndfile.h>
#include <vector>

namespace {

struct Sound {
  std::size_t channels;
  std::vector<double> samples; // interleaved
};

Sound read(const char* path) {
  SF_INFO info = {};
  SNDFILE* const file = sf_open(path, SFM_READ, &info);
  if (!file) {
    std::fprintf(stderr, "soundDifference: %s: %s\n", path, sf_strerror(nullptr));
    std::exit(2);
  }
  const auto channels = static_cast<std::size_t>(info.channels);
  Sound sound = {channels, std::vector<double>(static_cast<std::size_t>(info.frames) * channels)};
  const auto frames = static_cast<std::size_t>(sf_readf_double(file, sound.samples.data(), info.frames));
  sound.samples.resize(frames * channels);
  sf_close(file);
  return sound;
}

constexpr double kAudible = 1e-5; // -100 dB of full scale: what hosts that record whole numbers keep

// Answers how many frames it dropped.
std::size_t dropSilentStart(Sound& sound) {
  const auto isAudible = [](double sample) { return std::abs(sample) > kAudible; };
  const auto start = std::ranges::find_if(sound.samples, isAudible) - sound.samples.begin();
  const std::size_t frames = start / sound.channels;
  sound.samples.erase(sound.samples.begin(), sound.samples.begin() + frames * sound.channels);
  return frames;
}

int judge(const Sound& played, const Sound& expected, double limit, std::size_t start) {
  const std::vector<double>&result = played.samples, &reference = expected.samples;
  if (played.channels != expected.channels || result.size() != reference.size()) {
    std::printf("has %zu samples in %zu channels, not %zu in %zu\n", result.size(), played.channels,
                reference.size(), expected.channels);
    return 1;
  }
  double largest = 0.0;
  std::size_t firstBeyond = reference.size();
  for (std::size_t i = 0; i < reference.size(); ++i) {
    const double difference = std::abs(result[i] - reference[i]);
    largest = std::max(largest, difference);
    if (difference > limit) firstBeyond = std::min(firstBeyond, i);
  }
  if (largest == 0.0) {
    std::puts("bit for bit");
    return 0;
  }
  const double largestDb = 20.0 * std::log10(largest);
  if (firstBeyond == reference.size()) {
    std::printf("within %.0f dB\n", largestDb);
    return 0;
  }
  std::printf("differs from sample %zu on, by up to %.1f dB\n", start + firstBeyond / expected.channels,
              largestDb);
  return 1;
}

} // namespace

int main(int count, char** words) {
  const bool started = count == 5 && std::strcmp(words[4], "started") == 0;
  if (count != 4 && !started) {
    std::fputs("usage: soundDifference RESULT REFERENCE LIMIT|none [started]\n", stderr);
    return 2;
  }
  const bool exact = std::strcmp(words[3], "none") == 0;
  char* end = nullptr;
  const double limit = exact ? 0.0 : std::pow(10.0, std::strtod(words[3], &end) / 20.0);
  if (!exact && (end == words[3] || *end != '\0' || !(limit < 1.0))) {
    std::fprintf(stderr, "soundDifference: limit '%s'; it would be negative dB or none\n", words[3]);
    return 2;
  }
  Sound result = read(words[1]), reference = read(words[2]);
  std::size_t start = 0; // in the reference, in frames
  if (started) {
    dropSilentStart(result);
    start = dropSilentStart(reference);
    result.samples.resize(std::min(result.samples.size(), reference.samples.size()));
  }
  return judge(result, reference, limit, start);
}
