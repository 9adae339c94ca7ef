#include "render/RenderJob.h"

#include "render/Fault.h"
#include "render/ModulePath.h"
#include "render/Progress.h"
#include "render/Renderer.h"
#include "render/SoundFile.h"

#include <cstdio>
#include <unistd.h>

namespace {

constexpr int kHighestRateHz = 1 << 24; // the interface tells rates in single precision, exact up to here

// The effect remembers two seconds of each channel; a header that lies about channels or rate must not bring
// the machine down.
double neededBytes(const SoundInfo& sound, int blockFrames) {
  constexpr double kRememberedSeconds = 2.0;
  return sizeof(double) * sound.channels * (kRememberedSeconds * sound.rateHz + blockFrames);
}

double machineBytes() {
  return static_cast<double>(sysconf(_SC_PHYS_PAGES)) * static_cast<double>(sysconf(_SC_PAGESIZE));
}

void refuseUnplayable(const RenderJob& job, const std::string& modulePath, const SoundInfo& sound) {
  const auto fail = [&](const std::string& wrong) {
    throw Fault(ExitStatus::couldNot, "input", job.inputPath, wrong, "44100 or 48000 Hz work well");
  };
  const std::string rate = std::to_string(sound.rateHz) + " Hz";
  if (sound.rateHz > kHighestRateHz) fail("its sample rate of " + rate + " is too high for the effect");
  if (neededBytes(sound, job.blockFrames) > machineBytes()) {
    fail(std::to_string(sound.channels) + " channels at " + rate + " take more memory than there is");
  }
  if (!effectRunsAt(modulePath, sound.rateHz)) {
    fail("the effect does not run at its sample rate of " + rate + ", the sound would stay as it is");
  }
}

void refuseSameFile(const RenderJob& job) {
  if (isSameFile(job.inputPath, job.outputPath)) {
    throw Fault(ExitStatus::couldNot, "output", job.outputPath, "the same file as the input",
                "give another name");
  }
}

void notify(const RenderJob& job, const std::string& text) {
  if (!job.quiet && !text.empty()) printMessage(messageLine("output", job.outputPath, text));
}

void renderBlocks(const RenderJob& job, SoundReader& reader, Renderer& renderer, SoundWriter& writer) {
  const SoundInfo& sound = reader.info();
  std::vector<double> samples(static_cast<std::size_t>(job.blockFrames) * sound.channels);
  Progress progress(!job.quiet, sound.frames, sound.rateHz);
  for (std::int64_t done = 0;;) {
    const auto frames = static_cast<int>(reader.read(samples.data(), job.blockFrames));
    if (frames == 0) return;
    renderer.process(samples.data(), frames);
    writer.write(samples.data(), frames);
    progress.show(done += frames);
  }
}

std::string clippingNotice(std::int64_t samples) {
  if (samples == 0) return "";
  return std::to_string(samples) + (samples == 1 ? " sample was" : " samples were") +
         " beyond full scale and clipped; a floating-point file would hold them";
}

} // namespace

void printMessage(const std::string& line) { std::fprintf(stderr, "treadshift-render: %s\n", line.c_str()); }

void runRenderJob(const RenderJob& job) {
  const int container = containerFor(job.outputPath);
  refuseSameFile(job);
  SoundReader reader(job.inputPath);
  SoundInfo outputInfo = reader.info();
  const OutputFormat format = outputFormatFor(job.outputPath, container, reader.info());
  outputInfo.format = format.format;
  const std::string modulePath = findModule(job.modulePath);
  refuseUnplayable(job, modulePath, reader.info());
  Renderer renderer(modulePath, job.controls, outputInfo.rateHz, outputInfo.channels, job.blockFrames);
  OutputFile output(job.outputPath);
  SoundWriter writer(output, outputInfo);
  renderBlocks(job, reader, renderer, writer);
  writer.publish();
  notify(job, format.notice);
  notify(job, clippingNotice(writer.clippedSamples()));
}
