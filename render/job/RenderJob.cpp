#include "render/job/RenderJob.h"

#include "render/file/OutputFile.h"
#include "render/file/ScratchFile.h"
#include "render/file/StandardOutput.h"
#include "render/job/BentSound.h"
#include "render/job/Progress.h"
#include "render/job/Renderer.h"
#include "render/look/PitchPicture.h"
#include "render/look/Player.h"
#include "render/sound/InputSound.h"
#include "render/sound/SoundWriter.h"
#include "render/sound/Tags.h"
#include "render/text/Fault.h"
#include "render/text/Text.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int kHighestRateHz = 1 << 24; // the interface tells rates in single precision, exact up to here
constexpr std::size_t kSamplesAtOnce = 4096;
constexpr double kAudibleTail = 0.001; // -60 dB: softer than any room, where a note ends

// The effect remembers two seconds of each channel; a header that lies about channels or rate must not bring
// the machine down.
double neededBytes(const SoundInfo& sound, int frames) {
  constexpr double kRememberedSeconds = 2.0;
  return sizeof(double) * sound.channels * (kRememberedSeconds * sound.rateHz + frames);
}

double machineBytes() {
  return static_cast<double>(sysconf(_SC_PHYS_PAGES)) * static_cast<double>(sysconf(_SC_PAGESIZE));
}

void refuseUnplayable(const RenderJob& job, const RenderSettings& settings, const SoundInfo& sound) {
  const auto fail = [&](const std::string& wrong) {
    throw Fault(ExitStatus::couldNot, "input", job.inputPath, wrong, "44100 or 48000 Hz work well");
  };
  const std::string rate = std::to_string(sound.rateHz) + " Hz";
  if (sound.rateHz > kHighestRateHz) fail("its sample rate of " + rate + " is too high for the effect");
  if (neededBytes(sound, settings.blockFrames) > machineBytes()) {
    fail(counted(sound.channels, "channel at ", "channels at ") + rate +
         (sound.channels == 1 ? " takes" : " take") + " more memory than there is");
  }
  if (!effectRunsAt(settings.modulePath, sound.rateHz)) {
    fail("the effect does not run at its sample rate of " + rate + ", the sound would stay as it is");
  }
}

bool standardOutputIs(const std::string& inputPath) {
  struct stat in = {}, out = {};
  const bool known = inputPath == "-" ? fstat(STDIN_FILENO, &in) == 0 : stat(inputPath.c_str(), &in) == 0;
  return known && fstat(STDOUT_FILENO, &out) == 0 && S_ISREG(in.st_mode) && in.st_dev == out.st_dev &&
         in.st_ino == out.st_ino;
}

void refuseSameFile(const RenderJob& job) {
  const bool isSame = job.outputPath == "-"
                          ? standardOutputIs(job.inputPath)
                          : isSameFile(job.inputPath == "-" ? "/dev/stdin" : job.inputPath, job.outputPath);
  if (isSame) {
    throw Fault(ExitStatus::couldNot, "output", job.outputPath, "the same file as the input",
                "give another name");
  }
}

bool isStream(int descriptor) {
  struct stat status = {};
  return fstat(descriptor, &status) == 0 && !S_ISREG(status.st_mode);
}

std::unique_ptr<Output> openOutput(const RenderJob& job, const RenderSettings& settings) {
  if (job.player) return job.player->stream(job.inputPath);
  if (job.outputPath != "-") return std::make_unique<OutputFile>(job.outputPath, settings.replacingRule);
  return std::make_unique<StandardOutput>(job.type->streams && isStream(STDOUT_FILENO));
}

RenderSettings settingsOf(const RenderJob& job, RenderSettings settings) {
  if (job.controls) settings.controls = *job.controls;
  return settings;
}

std::string milliseconds(double seconds) { return std::to_string(std::lround(1000.0 * seconds)) + " ms"; }

std::string decibels(double magnitude) { return std::to_string(std::lround(20.0 * std::log10(magnitude))); }

// Beside the output there is room for a sound of that size, most often more than in a usual /tmp.
std::string scratchDirectory(const RenderJob& job) {
  const char* const chosen = std::getenv("TMPDIR");
  return (chosen && *chosen) || job.outputPath == "-" ? temporaryDirectory() : directoryOf(job.outputPath);
}

// One rendering from opening to the finished output.
class Rendering {
public:
  Rendering(const RenderJob& what, const RenderSettings& how, PitchPicture* watching)
      : job(what), settings(settingsOf(what, how)), picture(watching),
        input(job.inputPath, settings.channels, settings.tailSeconds) {}

  RenderStatistics run(Progress& progress) {
    open();
    try {
      finish(progress);
    } catch (const Fault&) {
      output->explainFailure();
      throw;
    }
    return statistics();
  }

private:
  void open();
  void measureDelay() { latency = measureLatency(settings.modulePath, settings.controls, outputInfo.rateHz); }
  std::int64_t lateFrames() const;
  std::int64_t lastFrames() const;
  Tags carriedTags() const;
  void finish(Progress& progress);
  void renderAll(Progress& progress);
  void deliver(double* samples, int frames);
  void deliverNormalized();
  double fullScale() const;
  RenderStatistics statistics() const;
  void addNotices(RenderStatistics& result) const;

  const RenderJob& job;
  const RenderSettings settings;
  PitchPicture* picture; // may be null
  const std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
  InputSound input;
  SoundInfo outputInfo;
  std::string formatNotice;
  double gain = 1.0;
  double peak = 0.0; // of what was rendered, before the gain
  std::optional<Latency> latency;
  std::unique_ptr<BentSound> sound;
  std::unique_ptr<Output> output;
  SettingsNote note;
  std::unique_ptr<TagWriter> tags; // null: the output carries none
  std::unique_ptr<SoundWriter> writer;
  std::unique_ptr<ScratchFile> rendered; // doubles that wait for their peak to be known; null: none need to
  std::optional<CutTail> cutTail;
};

void Rendering::open() {
  refuseSameFile(job);
  outputInfo = input.info();
  const OutputFormat format = outputFormatFor(job.outputPath, *job.type, settings.sampleFormat, outputInfo);
  outputInfo.format = format.format;
  formatNotice = format.notice;
  refuseUnplayable(job, settings, outputInfo);
  if (settings.aligns) measureDelay();
  sound = std::make_unique<BentSound>(settings, input, lateFrames(), picture != nullptr);
  output = openOutput(job, settings);
  writer = std::make_unique<SoundWriter>(*output, outputInfo, settings.dithers);
  if (settings.keepsTags) {
    note = settingsNote(settings.version, settings.controls, settings.noted);
    tags = std::make_unique<TagWriter>(carriedTags(), note.line, outputInfo.format, lastFrames());
    writer->carry(*tags);
  }
  if (settings.normalizes) rendered = std::make_unique<ScratchFile>(scratchDirectory(job));
  gain = std::pow(10.0, settings.gainDb / 20.0);
  if (picture)
    picture->begin(job.inputPath, outputInfo, settings.controls, settings.modulePath, settings.fromSeconds);
}

// In a part from the middle the positions would be others.
Tags Rendering::carriedTags() const {
  Tags carried = readTags(job.inputPath);
  if (settings.fromSeconds > 0.0) carried.dropChunks();
  return carried;
}

// Of the output, as far as they are known before it is rendered.
std::int64_t Rendering::lastFrames() const {
  if (!settings.toSeconds) return outputInfo.frames;
  const std::int64_t asked = std::llround((*settings.toSeconds - settings.fromSeconds) * outputInfo.rateHz);
  return outputInfo.frames < 0 ? asked : std::min(asked, outputInfo.frames);
}

std::int64_t Rendering::lateFrames() const {
  return settings.aligns && latency ? std::llround(latency->average * outputInfo.rateHz) : 0;
}

void Rendering::finish(Progress& progress) {
  renderAll(progress);
  if (outputInfo.frames == 0) {
    throw Fault(ExitStatus::couldNot, "--from", shortest(settings.fromSeconds),
                "'" + job.inputPath + "' has no sound there", "give an earlier time, or a later --to");
  }
  if (rendered) deliverNormalized();
  if (settings.tellsCutTail) cutTail = sound->cutTail(kAudibleTail / gain);
  if (settings.measuresLatency && !settings.aligns) measureDelay();
  writer->publish(); // the last step that can fail
}

void Rendering::renderAll(Progress& whole) {
  FileProgress progress(whole, sound->length(), outputInfo.rateHz);
  outputInfo.frames = 0;
  for (; sound->advance(); progress.show(sound->position())) {
    const int frames = sound->frames();
    if (picture) picture->addBefore(sound->recording(), frames);
    if (picture) picture->addAfter(sound->output(), frames);
    deliver(sound->output(), frames);
    outputInfo.frames += frames;
  }
}

void Rendering::deliver(double* samples, int frames) {
  const std::size_t count = static_cast<std::size_t>(frames) * outputInfo.channels;
  for (std::size_t i = 0; i < count; ++i)
    peak = std::max(peak, std::abs(samples[i]));
  if (rendered) {
    rendered->write(samples, count * sizeof(double));
    return;
  }
  for (std::size_t i = 0; i < count; ++i)
    samples[i] *= gain;
  writer->write(samples, frames);
}

// Whole numbers reach one step less above than below zero, and dither may add a step.
double Rendering::fullScale() const {
  const int bits = wholeNumberBits(outputInfo.format);
  if (bits == 0) return 1.0;
  return 1.0 - std::ldexp(settings.dithers ? 2.0 : 1.0, 1 - bits);
}

void Rendering::deliverNormalized() {
  if (peak > 0.0) gain *= fullScale() / peak;
  rendered->rewind();
  const std::size_t frameBytes = sizeof(double) * outputInfo.channels;
  std::vector<double> samples(kSamplesAtOnce * outputInfo.channels);
  while (const std::size_t bytes = rendered->read(samples.data(), samples.size() * sizeof(double))) {
    for (std::size_t i = 0; i < bytes / sizeof(double); ++i)
      samples[i] *= gain;
    writer->write(samples.data(), static_cast<std::int64_t>(bytes / frameBytes));
  }
}

RenderStatistics Rendering::statistics() const {
  RenderStatistics result;
  result.inputPath = job.inputPath;
  result.outputPath = job.namedOutputPath;
  result.output = outputInfo;
  result.elapsedSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  result.peak = peak * gain;
  result.gainDb = 20.0 * std::log10(gain);
  result.clippedSamples = writer->clippedSamples();
  result.unusableSamples = input.unusableSamples();
  result.latency = latency;
  addNotices(result);
  return result;
}

void Rendering::addNotices(RenderStatistics& result) const {
  auto& notices = result.notices;
  result.details = note.details;
  if (!formatNotice.empty()) notices.push_back(formatNotice);
  if (result.clippedSamples > 0) {
    notices.push_back(counted(result.clippedSamples, "sample was", "samples were") +
                      " beyond full scale and clipped; --gain -3 or --normalize avoids that, a "
                      "floating-point file would hold them");
  }
  if (result.unusableSamples > 0) {
    notices.push_back(counted(result.unusableSamples,
                              "sample of the recording, not a finite number, was taken as silence",
                              "samples of the recording, not finite numbers, were taken as silence"));
  }
  if (tags && !tags->lost().empty()) {
    std::string names;
    for (const std::string& name : tags->lost())
      names += (names.empty() ? "" : ", ") + name;
    result.details.push_back("not kept of what the recording carries: " + names);
  }
  if (settings.aligns) {
    notices.push_back(latency ? "shifted " + milliseconds(latency->average) +
                                    " towards its start, the delay of the bent sound on average"
                              : "not shifted: no bent sound to measure the delay of");
  }
  if (cutTail && cutTail->seconds > 0.0) {
    notices.push_back(milliseconds(cutTail->seconds) + " of bent sound up to " +
                      decibels(cutTail->peak * gain) +
                      " dB are cut off at the recording's end; --tail 0.1 keeps them");
  }
  if (settings.dithers && wholeNumberBits(outputInfo.format) == 0)
    notices.emplace_back("not dithered: it does not hold whole numbers");
}

} // namespace

RenderStatistics runRenderJob(const RenderJob& job, const RenderSettings& settings, Progress& progress,
                              PitchPicture* picture) {
  return Rendering(job, settings, picture).run(progress);
}
