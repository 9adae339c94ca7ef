#include "quality/Shifter.h"

#include <algorithm>

Sound Shifter::play(const Sound& input, int blockSamples) { return play(input, blockSamples, {}); }

Sound Shifter::play(const Sound& input, int blockSamples, const PedalCourse& course) {
  Sound output(input.size());
  const int samples = static_cast<int>(input.size());
  for (int from = 0; from < samples; from += blockSamples) {
    if (course) setPedal(course(from / kRateHz));
    process(input.data() + from, output.data() + from, std::min(blockSamples, samples - from));
  }
  return output;
}
