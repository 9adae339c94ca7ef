#include "render/sound/SoundWriter.h"

#include "render/file/Descriptor.h"
#include "render/sound/OggSerial.h"
#include "render/sound/OpeningLock.h"
#include "render/text/Fault.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// The Vorbis encoder keeps a whole call's frames on the stack.
constexpr std::int64_t kSliceFrames = 4096;

// The encoders of music fail on numbers far out of range: MP3's ends the program, Vorbis writes silence. What
// is more than 24 dB above full scale is held there.
constexpr double kLoudestForEncoders = 16.0;

// File operations for libsndfile that remember a failure: its encoders drop what a write answers.
WatchedFile& watched(void* file) { return *static_cast<WatchedFile*>(file); }

sf_count_t lengthOf(void* file) {
  struct stat status = {};
  return fstat(watched(file).descriptor, &status) == 0 ? status.st_size : -1;
}

sf_count_t seekIn(sf_count_t offset, int whence, void* file) {
  return lseek(watched(file).descriptor, offset, whence);
}

sf_count_t readFrom(void* bytes, sf_count_t count, void* file) {
  return ::read(watched(file).descriptor, bytes, static_cast<std::size_t>(count));
}

sf_count_t writeTo(const void* bytes, sf_count_t count, void* file) {
  const int error = writeAll(watched(file).descriptor, bytes, static_cast<std::size_t>(count));
  if (watched(file).error == 0) watched(file).error = error;
  return error == 0 ? count : 0;
}

sf_count_t positionIn(void* file) { return lseek(watched(file).descriptor, 0, SEEK_CUR); }

SF_VIRTUAL_IO kWatchedOperations = {lengthOf, seekIn, readFrom, writeTo, positionIn};

// "Error : this is wrong." without what a message has anyway.
std::string plainReason(std::string text) {
  for (const std::string_view prefix : {"Error : ", "System error : "})
    if (text.starts_with(prefix)) text.erase(0, prefix.size());
  if (text.ends_with('.')) text.pop_back();
  return text;
}

bool isOf(int format, int container) { return (format & SF_FORMAT_TYPEMASK) == container; }

double held(double number, double lowest, double highest) {
  return std::isnan(number) ? 0.0 : std::clamp(number, lowest, highest);
}

bool isEncodedMusic(int format) {
  const int codec = format & SF_FORMAT_SUBMASK;
  return wholeNumberBits(format) == 0 && codec != SF_FORMAT_FLOAT && codec != SF_FORMAT_DOUBLE;
}

} // namespace

SoundWriter::SoundWriter(Output& target, const SoundInfo& info, bool dither)
    : output(target), watchedFile{target.descriptor(), 0}, sound(info), bits(wholeNumberBits(info.format)),
      dithers(dither && bits != 0) {
  open();
  leaveOutPeaks();
  const std::size_t sliceSamples = static_cast<std::size_t>(kSliceFrames) * sound.channels;
  if (bits != 0) wholeNumbers.resize(sliceSamples);
  if (isEncodedMusic(sound.format)) limited.resize(sliceSamples);
}

// A pipe is known to libsndfile by its descriptor alone.
void SoundWriter::open() {
  SF_INFO info = {};
  info.samplerate = sound.rateHz;
  info.channels = sound.channels;
  info.format = sound.format;
  const auto hold = holdOpenings();
  file.reset(output.isStream() ? sf_open_fd(output.descriptor(), SFM_WRITE, &info, SF_FALSE)
                               : sf_open_virtual(&kWatchedOperations, SFM_WRITE, &info, &watchedFile));
  refuseIncomplete(file != nullptr);
}

// The chunk of peaks carries the time of writing: two renderings would differ. The header of an AIFF file has
// been written with it by now; what of that stands behind a very short sound would count as sound.
void SoundWriter::leaveOutPeaks() {
  sf_command(file.get(), SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
  if (isOf(sound.format, SF_FORMAT_AIFF) && ftruncate(output.descriptor(), 0) != 0) {
    watchedFile.error = errno;
    refuseIncomplete(false);
  }
}

void SoundWriter::carry(TagWriter& writer) {
  tags = &writer;
  tags->begin(file.get());
}

void SoundWriter::write(const double* samples, std::int64_t frames) {
  refuseTooLong(frames);
  for (std::int64_t done = 0; done < frames; done += kSliceFrames) {
    writeSlice(samples + done * sound.channels, std::min(kSliceFrames, frames - done));
  }
}

void SoundWriter::refuseTooLong(std::int64_t frames) {
  framesWritten += frames;
  if (framesWritten > mostFrames(sound.format, sound.channels)) {
    throw Fault(ExitStatus::couldNot, "output", output.name(), "the sound is too long for the type (4 GB)",
                "use .flac or .w64");
  }
}

void SoundWriter::writeSlice(const double* samples, std::int64_t frames) {
  std::int64_t written = 0;
  if (bits != 0) {
    quantize(samples, static_cast<std::size_t>(frames * sound.channels));
    written = sf_writef_int(file.get(), wholeNumbers.data(), frames);
  } else {
    if (!limited.empty()) samples = limit(samples, static_cast<std::size_t>(frames * sound.channels));
    written = sf_writef_double(file.get(), samples, frames);
  }
  refuseIncomplete(written == frames);
}

const double* SoundWriter::limit(const double* samples, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    limited[i] = held(samples[i], -kLoudestForEncoders, kLoudestForEncoders);
    if (limited[i] != samples[i]) ++clipped;
  }
  return limited.data();
}

// Done here because the library's conversion wraps, or clips without counting. Scaling by a power of two is
// exact, so a sample that came from this many bits becomes the same number again.
void SoundWriter::quantize(const double* samples, std::size_t count) {
  const double scale = std::ldexp(1.0, bits - 1);
  const double highest = scale - 1.0;
  const double upperBits = std::ldexp(1.0, 32 - bits); // the library takes 32-bit numbers
  for (std::size_t i = 0; i < count; ++i) {
    const double steps = samples[i] * scale;
    const double exact = std::nearbyint(dithers ? steps + noise() : steps);
    const double whole = held(exact, -scale, highest);
    if (whole != exact) ++clipped;
    wholeNumbers[i] = static_cast<int>(whole * upperBits);
  }
}

// In steps of the format, over -1 to 1.
double SoundWriter::noise() {
  constexpr double kStep = 0x1p-32;
  const double first = static_cast<double>(random()) * kStep;
  const double second = static_cast<double>(random()) * kStep;
  return first - second;
}

void SoundWriter::publish() {
  refuseIncomplete(sf_close(file.release()) == SF_ERR_NO_ERROR);
  if (tags) watchedFile.error = tags->finish(output.descriptor());
  refuseIncomplete(true);
  if (isOf(sound.format, SF_FORMAT_OGG) && !fixOggSerial(output.descriptor())) {
    watchedFile.error = errno;
    refuseIncomplete(false);
  }
  output.publish();
}

// The library's own reasons for a file are about what the type can hold, such as the sample rates of Opus.
void SoundWriter::refuseIncomplete(bool libraryIsContent) const {
  if (libraryIsContent && watchedFile.error == 0) return;
  const auto fail = [&](const std::string& reason, const std::string& right) {
    throw Fault(ExitStatus::couldNot, "output", output.name(), "cannot be written: " + reason, right);
  };
  if (watchedFile.error != 0) fail(std::strerror(watchedFile.error), "make room or choose another place");
  fail(plainReason(sf_strerror(file.get())), output.isStream() ? "" : "use another type, such as .wav");
}
