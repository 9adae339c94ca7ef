#include "render/sound/MpegDecoder.h"

#include <algorithm>
#include <optional>
#include <sndfile.h>

namespace {

int channelsOf(const mpg123_frameinfo& info) { return info.mode == MPG123_M_MONO ? 1 : 2; }

// Sound frames in one of the recording's, by layer and version.
int lengthOf(const mpg123_frameinfo& info) {
  if (info.layer == 1) return 384;
  return info.layer == 3 && info.version != MPG123_1_0 ? 576 : 1152;
}

int formatOf(int layer) {
  return SF_FORMAT_MPEG | (layer == 1   ? SF_FORMAT_MPEG_LAYER_I
                           : layer == 2 ? SF_FORMAT_MPEG_LAYER_II
                                        : SF_FORMAT_MPEG_LAYER_III);
}

std::int64_t bigEndian(const std::string& bytes, std::size_t place) {
  std::int64_t number = 0;
  for (std::size_t i = place; i < place + 4; ++i)
    number = number << 8 | static_cast<unsigned char>(bytes[i]);
  return number;
}

// What stands behind the side information of a silent first frame: a mark, flags, and if they say so the
// number of the frames that follow.
struct LengthFrame {
  std::optional<std::int64_t> frames;
};

std::optional<LengthFrame> lengthFrame(const SoundBytes& bytes, std::int64_t begin,
                                       const mpg123_frameinfo& info) {
  if (info.layer != 3) return {};
  const bool isMono = channelsOf(info) == 1;
  const std::size_t sideBytes = info.version == MPG123_1_0 ? (isMono ? 17 : 32) : (isMono ? 9 : 17);
  const std::string start = bytes.at(begin + 4 + static_cast<std::int64_t>(sideBytes), 12);
  if (start.size() < 12 || (!start.starts_with("Xing") && !start.starts_with("Info"))) return {};
  constexpr std::int64_t kTellsFrames = 1;
  if ((bigEndian(start, 4) & kTellsFrames) == 0) return LengthFrame{};
  return LengthFrame{bigEndian(start, 8)};
}

// Tags of joined recordings, and room that was left for them.
bool isTag(const SoundBytes& bytes, std::int64_t place) {
  for (const std::string_view mark : {"ID3", "TAG", "APETAGEX", "LYRICSBEGIN"})
    if (bytes.holds(place, mark)) return true;
  return bytes.holds(place, std::string_view("\0\0\0\0", 4));
}

bool isFrameStart(const std::string& bytes) {
  const bool begins = bytes.starts_with('\xff');
  return begins && (bytes.size() < 2 || (static_cast<unsigned char>(bytes[1]) & 0xe0) == 0xe0);
}

} // namespace

MpegDecoder::MpegDecoder(const std::string& name, const SoundBytes& recording)
    : SoundDecoder(name), bytes(recording) {
  countFrames();
  open();
}

void MpegDecoder::countFrames() {
  MpegFrames walk(bytes);
  if (!walk.next()) fail("not a sound file that can be read (no MPEG frame)", "give the whole file");
  takeFormat(walk.info());
  const auto lengthTold = lengthFrame(bytes, walk.begin(), walk.info());
  if (lengthTold) toldFrames = lengthTold->frames.value_or(-1);
  mpegFrames = lengthTold ? 0 : 1;
  std::int64_t end = walk.end();
  while (walk.next()) {
    if (walk.skippedBytes() > 0) refuseLost(end);
    const auto& info = walk.info();
    const std::int64_t done = mpegFrames * frameLength;
    if (info.rate != sound.rateHz || channelsOf(info) != sound.channels || lengthOf(info) != frameLength)
      failChanged(done);
    ++mpegFrames;
    end = walk.end();
  }
  const bool isCutFrame = isFrameStart(bytes.at(end, 2));
  if (isCutFrame || bytes.size() - end >= kMpegSearchBytes) refuseLost(end);
  if (mpegFrames < toldFrames) failCutShort(mpegFrames * frameLength);
}

void MpegDecoder::takeFormat(const mpg123_frameinfo& info) {
  sound.rateHz = static_cast<int>(info.rate);
  sound.channels = channelsOf(info);
  sound.format = formatOf(info.layer);
  frameLength = lengthOf(info);
}

void MpegDecoder::refuseLost(std::int64_t begin) const {
  if (!isTag(bytes, begin)) failDamaged(mpegFrames * frameLength);
}

void MpegDecoder::open() {
  const bool tellsAll = toldFrames == mpegFrames;
  handle = openMpeg(bytes, MPG123_FORCE_FLOAT);
  if (handle && !tellsAll) mpg123_param(handle.get(), MPG123_REMOVE_FLAGS, MPG123_GAPLESS, 0.0);
  long rate = 0;
  int channels = 0, encoding = 0;
  const bool opened = handle && mpg123_getformat(handle.get(), &rate, &channels, &encoding) == MPG123_OK &&
                      rate == sound.rateHz && channels == sound.channels && encoding == MPG123_ENC_FLOAT_32;
  if (!opened) fail("not a sound file that can be read (no MPEG frame)", "give the whole file");
  sound.frames = tellsAll ? mpg123_length(handle.get()) : mpegFrames * frameLength;
}

std::int64_t MpegDecoder::read(double* samples, std::int64_t frames) {
  const std::size_t wanted = static_cast<std::size_t>(frames * sound.channels);
  decoded.resize(std::max(decoded.size(), wanted));
  std::size_t done = 0;
  int state = MPG123_OK;
  while (done < wanted && state == MPG123_OK) {
    std::size_t got = 0; // bytes
    state = mpg123_read(handle.get(), decoded.data() + done, (wanted - done) * sizeof(float), &got);
    done += got / sizeof(float);
  }
  std::copy_n(decoded.begin(), done, samples);
  const std::int64_t count = static_cast<std::int64_t>(done) / sound.channels;
  framesRead += count;
  if (count < frames && (state != MPG123_DONE || bytes.error() != 0 || framesRead != sound.frames))
    failDamaged(framesRead);
  return count;
}
