#include "render/sound/ChannelChoice.h"

#include "render/text/Fault.h"

#include <numeric>

namespace {

// For what people try in place of these words.
std::string otherWay(const std::string& text) {
  if (text == "stereo" || text == "2") return "; two channels from one: sox in.wav -c 2 out.wav";
  if (text == "mono" || text == "1") return "; mix makes one channel of all";
  return "";
}

} // namespace

ChannelChoice::ChannelChoice(const std::string& text) {
  if (text == "each")
    kind = Kind::each;
  else if (text == "left")
    kind = Kind::left;
  else if (text == "right")
    kind = Kind::right;
  else if (text == "mix")
    kind = Kind::mix;
  else
    throw Fault(ExitStatus::wrongCall, "--channels", text, "no such choice",
                "give each, left, right or mix" + otherWay(text));
}

int ChannelChoice::count(int channels, const std::string& path) const {
  if (kind == Kind::each) return channels;
  if (kind == Kind::right && channels < 2) {
    throw Fault(ExitStatus::couldNot, "input", path, "has one channel only, no right one",
                "leave out --channels");
  }
  return 1;
}

void ChannelChoice::apply(double* samples, std::int64_t frames, int channels) const {
  if (kind == Kind::each) return;
  for (std::int64_t i = 0; i < frames; ++i) {
    const double* const frame = samples + i * channels;
    samples[i] = kind == Kind::left    ? frame[0]
                 : kind == Kind::right ? frame[1]
                                       : std::accumulate(frame, frame + channels, 0.0) / channels;
  }
}
