#include "render/SoundFile.h"

#include "render/Fault.h"
#include "render/OggSerial.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// The Vorbis encoder keeps a whole call's frames on the stack.
constexpr std::int64_t kSliceFrames = 4096;

constexpr char kSoundFileHint[] = "give a WAV, FLAC, OGG or AIFF file";

// Programs that write into a pipe do not know the length and put about the largest number in its place.
constexpr unsigned long kUnknownLengthBytes = 0x7fff0000;

std::string seconds(std::int64_t frames, int rateHz) {
  char text[40];
  std::snprintf(text, sizeof text, "%.3f s", static_cast<double>(frames) / rateHz);
  return text;
}

// Whether a WAV or AIFF header promises more bytes of sound than follow. libsndfile corrects the length
// silently and tells only its log.
bool promisesMore(SNDFILE* file) {
  char log[16384] = "";
  sf_command(file, SFC_GET_LOG_INFO, log, sizeof log);
  for (const char* chunk : {"\ndata : ", "\n SSND : "}) {
    const char* line = std::strstr(log, chunk);
    unsigned long promised = 0, present = 0;
    if (line && std::sscanf(line + std::strlen(chunk), "%lu (should be %lu)", &promised, &present) == 2) {
      return promised > present && promised < kUnknownLengthBytes;
    }
  }
  return false;
}

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
  sf_count_t done = 0;
  while (done < count) {
    const char* rest = static_cast<const char*>(bytes) + done;
    const ssize_t written = ::write(watched(file).descriptor, rest, static_cast<std::size_t>(count - done));
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) {
      if (watched(file).error == 0) watched(file).error = written < 0 ? errno : ENOSPC;
      break;
    }
    done += written;
  }
  return done;
}

sf_count_t positionIn(void* file) { return lseek(watched(file).descriptor, 0, SEEK_CUR); }

SF_VIRTUAL_IO kWatchedOperations = {lengthOf, seekIn, readFrom, writeTo, positionIn};

} // namespace

SoundReader::SoundReader(const std::string& name) : path(name) {
  SF_INFO info = {};
  file.reset(sf_open_fd(openDescriptor(), SFM_READ, &info, SF_TRUE));
  if (!file)
    fail(std::string("not a sound file that can be read (") + sf_strerror(nullptr) + ")", kSoundFileHint);
  sound = {info.samplerate, info.channels, info.seekable ? info.frames : -1, info.format};
  if (sound.rateHz < 1 || sound.channels < 1)
    fail("the header gives no sample rate or channels", kSoundFileHint);
  if (sound.frames == 0) fail("holds no sound", "give a recording");
  refuseCutShort();
}

int SoundReader::openDescriptor() const {
  const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) fail(std::strerror(errno), kSoundFileHint);
  struct stat status = {};
  if (fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode)) {
    close(descriptor);
    fail("a directory", kSoundFileHint);
  }
  return descriptor;
}

void SoundReader::refuseCutShort() const {
  if (sound.frames > 0 && promisesMore(file.get())) {
    fail("cut short: it ends after " + seconds(sound.frames, sound.rateHz) + ", its header promises more",
         "give the whole file");
  }
}

std::int64_t SoundReader::read(double* samples, std::int64_t frames) {
  const std::int64_t count = sf_readf_double(file.get(), samples, frames);
  framesRead += count;
  if (count == frames) return count;
  const bool endsEarly = sound.frames > 0 && framesRead < sound.frames;
  if (sf_error(file.get()) != SF_ERR_NO_ERROR || endsEarly) failDamaged();
  return count;
}

void SoundReader::failDamaged() const {
  const std::string length = sound.frames > 0 ? " of " + seconds(sound.frames, sound.rateHz) : "";
  fail("damaged or cut short after " + seconds(framesRead, sound.rateHz) + length, "give the whole file");
}

void SoundReader::fail(const std::string& wrong, const std::string& right) const {
  throw Fault(ExitStatus::couldNot, "input", path, wrong, right);
}

SoundWriter::SoundWriter(OutputFile& target, const SoundInfo& info)
    : output(target), watchedFile{target.descriptor(), 0}, sound(info), bits(wholeNumberBits(info.format)) {
  SF_INFO fileInfo = {};
  fileInfo.samplerate = info.rateHz;
  fileInfo.channels = info.channels;
  fileInfo.format = info.format;
  file.reset(sf_open_virtual(&kWatchedOperations, SFM_WRITE, &fileInfo, &watchedFile));
  refuseIncomplete(file != nullptr);
  // The chunk of peaks carries the time of writing: two renderings would differ.
  sf_command(file.get(), SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
  if (bits != 0) wholeNumbers.resize(static_cast<std::size_t>(kSliceFrames) * sound.channels);
}

void SoundWriter::write(const double* samples, std::int64_t frames) {
  for (std::int64_t done = 0; done < frames; done += kSliceFrames) {
    writeSlice(samples + done * sound.channels, std::min(kSliceFrames, frames - done));
  }
}

void SoundWriter::writeSlice(const double* samples, std::int64_t frames) {
  std::int64_t written = 0;
  if (bits != 0) {
    quantize(samples, static_cast<std::size_t>(frames * sound.channels));
    written = sf_writef_int(file.get(), wholeNumbers.data(), frames);
  } else {
    written = sf_writef_double(file.get(), samples, frames);
  }
  refuseIncomplete(written == frames);
}

// Done here because the library's conversion wraps, or clips without counting. Scaling by a power of two is
// exact, so a sample that came from this many bits becomes the same number again.
void SoundWriter::quantize(const double* samples, std::size_t count) {
  const double scale = std::ldexp(1.0, bits - 1);
  const double highest = scale - 1.0;
  for (std::size_t i = 0; i < count; ++i) {
    const double exact = std::nearbyint(samples[i] * scale);
    const double held = std::isnan(exact) ? 0.0 : std::clamp(exact, -scale, highest);
    if (held != exact) ++clipped;
    wholeNumbers[i] = static_cast<int>(std::ldexp(held, 32 - bits));
  }
}

void SoundWriter::publish() {
  refuseIncomplete(sf_close(file.release()) == SF_ERR_NO_ERROR);
  if ((sound.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_OGG && !fixOggSerial(output.descriptor())) {
    watchedFile.error = errno;
    refuseIncomplete(false);
  }
  output.publish();
}

void SoundWriter::refuseIncomplete(bool libraryIsContent) const {
  if (libraryIsContent && watchedFile.error == 0) return;
  const char* reason = watchedFile.error != 0 ? std::strerror(watchedFile.error) : sf_strerror(file.get());
  throw Fault(ExitStatus::couldNot, "output", output.name(), std::string("cannot be written: ") + reason,
              "make room or choose another place");
}
