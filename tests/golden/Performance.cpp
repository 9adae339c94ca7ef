#include "Performance.h"

#include "ScoreInput.h"

#include <bit>
#include <cmath>

namespace {

// One effect and the sound that goes through it.
class Performer {
public:
  explicit Performer(Pedal& pedal) : pedal(pedal) {}

  void play(const ScoreStep& step) {
    switch (step.kind) {
    case ScoreStep::kInput:
      input = ScoreInput(step);
      break;
    case ScoreStep::kRate:
      pedal.setSampleRate(static_cast<float>(step.from));
      break;
    case ScoreStep::kSet:
      pedal.setParameter(step.index, static_cast<float>(step.from));
      break;
    case ScoreStep::kGlide:
      glide(step);
      break;
    case ScoreStep::kBlocks:
      blocks(step.count, step.samples);
      break;
    case ScoreStep::kResume:
      pedal.resume();
      break;
    case ScoreStep::kLoad:
      pedal.loadProgram(step.index);
      break;
    case ScoreStep::kSelect:
      pedal.selectProgram(step.index);
      break;
    }
  }

  std::vector<double> output;

private:
  void glide(const ScoreStep& step) {
    for (int k = 0; k < step.count; ++k) {
      const double value = step.from + (step.to - step.from) * k / (step.count - 1);
      pedal.setParameter(step.index, static_cast<float>(value));
      blocks(1, step.samples);
    }
  }

  void blocks(int count, int samples) {
    std::vector<double> block(static_cast<std::size_t>(samples));
    for (int k = 0; k < count; ++k) {
      for (double& sample : block)
        sample = input.next();
      pedal.process(block.data(), block.data(), samples);
      output.insert(output.end(), block.begin(), block.end());
    }
  }

  Pedal& pedal;
  ScoreInput input;
};

} // namespace

std::vector<double> perform(const Score& score, Pedal& pedal) {
  Performer performer(pedal);
  for (const ScoreStep& step : score.steps)
    performer.play(step);
  return performer.output;
}

uint64_t checksum(const std::vector<double>& samples) {
  uint64_t sum = 0xcbf29ce484222325u;
  for (const double sample : samples) {
    const uint64_t bits = std::bit_cast<uint64_t>(sample);
    for (int shift = 0; shift < 64; shift += 8)
      sum = (sum ^ (bits >> shift & 0xff)) * 0x100000001b3u;
  }
  return sum;
}

uint64_t mathChecksum() {
  std::vector<double> values;
  for (int i = 1; i <= 4000; ++i) {
    const double x = i / 1300.0;
    const volatile float single = static_cast<float>(x);
    const volatile float singlePower = std::pow(single, 1.41421356f);
    const volatile float singleAngle = std::atan(single);
    values.insert(values.end(), {std::pow(2.0, x - 2.5), std::pow(10.0, -x), std::atan(x), std::tan(x / 2.0),
                                 std::cos(x), singlePower, singleAngle});
  }
  return checksum(values);
}

const char* thisWidth() {
#if defined(__i386__)
  return "i386";
#elif defined(__x86_64__)
  return "x86_64";
#else
  return "";
#endif
}
