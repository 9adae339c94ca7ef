#include "render/sound/SoundKind.h"

#include "render/sound/MpegFrames.h"
#include "render/sound/SndfileDecoder.h"
#include "render/text/Fault.h"

#include <algorithm>

namespace {

// One frame alone may be chance; a second one right behind it, or the end, is not.
bool isMpeg(const SoundBytes& bytes) {
  const SoundBytes start = bytes.part(0, std::min(bytes.size(), kTellingBytes));
  MpegFrames frames(start);
  if (!frames.next()) return false;
  return frames.next() ? frames.skippedBytes() == 0 : frames.end() >= start.size();
}

bool beginsWithFrame(const SoundBytes& bytes) {
  const std::string start = bytes.at(0, 2);
  return start.size() == 2 && start[0] == '\xff' && (start[1] & 0xe0) == 0xe0;
}

} // namespace

// Behind their names FLAC and Ogg begin in one way only: with the head of the description, with a first page.
// libsndfile takes two bytes for MPEG and then looks through the whole file, so it is not asked about those.
// Frames that stand farther on may also be chance in a type that it knows.
SoundKind kindOf(const SoundBytes& bytes) {
  if (bytes.holds(0, "fLaC"))
    return bytes.holds(5, std::string_view("\0\0\x22", 3)) ? SoundKind::flac : SoundKind::none;
  if (bytes.holds(0, "OggS"))
    return bytes.holds(4, std::string_view("\0\2", 2)) ? SoundKind::ogg : SoundKind::none;
  if (!beginsWithFrame(bytes) && sndfileKnows(bytes)) return SoundKind::other;
  return isMpeg(bytes) ? SoundKind::mpeg : SoundKind::none;
}

void refuseForeign(const std::string& path, bool isEmpty) {
  const char* const reason =
      isEmpty ? "it is empty" : "it begins like no type of sound that the program knows";
  throw Fault(ExitStatus::couldNot, "input", path,
              std::string("not a sound file that can be read (") + reason + ")",
              "give a sound file, such as WAV, FLAC, OGG, MP3 or AIFF");
}
