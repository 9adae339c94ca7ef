#include "render/sound/SoundDecoder.h"

#include "render/text/Fault.h"

#include <fmt/core.h>

namespace {

std::string seconds(std::int64_t frames, int rateHz) {
  return fmt::format("{:.3f} s", static_cast<double>(frames) / rateHz);
}

} // namespace

void SoundDecoder::fail(const std::string& wrong, const std::string& right) const {
  throw Fault(ExitStatus::couldNot, "input", path, wrong, right);
}

void SoundDecoder::failCutShort(std::int64_t endFrames) const {
  fail("cut short: it ends after " + seconds(endFrames, sound.rateHz) + ", its header promises more",
       "give the whole file");
}

void SoundDecoder::failDamaged(std::int64_t doneFrames) const {
  const std::string length = sound.frames > 0 ? " of " + seconds(sound.frames, sound.rateHz) : "";
  fail("damaged or cut short after " + seconds(doneFrames, sound.rateHz) + length, "give the whole file");
}

void SoundDecoder::failJoined() const {
  fail("another sound begins behind its end, which would be lost", "give the sounds one by one");
}

void SoundDecoder::failChanged(std::int64_t doneFrames) const {
  fail("several sounds joined: rate, channels or format change after " + seconds(doneFrames, sound.rateHz),
       "give the sounds one by one");
}
