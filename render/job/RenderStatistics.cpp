#include "render/job/RenderStatistics.h"

#include <cmath>
#include <fmt/core.h>
#include <nlohmann/json.hpp>

namespace {

using Json = nlohmann::ordered_json;

double speed(const RenderStatistics& statistics) {
  return statistics.elapsedSeconds > 0.0 ? statistics.seconds() / statistics.elapsedSeconds : 0.0;
}

std::string peakText(double peak) {
  if (peak == 0.0) return "silent";
  const double hundredths = std::round(2000.0 * std::log10(peak));
  return fmt::format("peak {:.2f} dB", hundredths == 0.0 ? 0.0 : hundredths / 100.0);
}

std::string latencyText(const std::optional<Latency>& latency) {
  if (!latency) return "no bent sound to measure the delay of";
  return fmt::format("bent sound {:.0f} to {:.0f} ms behind the dry sound, {:.0f} ms on average",
                     1000.0 * latency->shortest, 1000.0 * latency->longest, 1000.0 * latency->average);
}

// File names need not be UTF-8, JSON must be.
std::string line(const Json& object) { return object.dump(-1, ' ', false, Json::error_handler_t::replace); }

} // namespace

std::string statisticsText(const RenderStatistics& statistics) {
  const SoundInfo& output = statistics.output;
  return fmt::format("{:.3f} s, {} channel{} at {} Hz, ", statistics.seconds(), output.channels,
                     output.channels == 1 ? "" : "s", output.rateHz) +
         formatText(output.format) +
         fmt::format("; rendered in {:.2f} s, {:.0f} x real time; ", statistics.elapsedSeconds,
                     speed(statistics)) +
         peakText(statistics.peak) + fmt::format(", {} clipped; ", statistics.clippedSamples) +
         latencyText(statistics.latency);
}

std::string statisticsJson(const RenderStatistics& statistics) {
  const SoundInfo& output = statistics.output;
  Json object = {
      {"input", statistics.inputPath},
      {"output", statistics.outputPath},
      {"format", formatText(output.format)},
      {"sample_rate_hz", output.rateHz},
      {"channels", output.channels},
      {"frames", output.frames},
      {"seconds", statistics.seconds()},
      {"elapsed_seconds", statistics.elapsedSeconds},
      {"times_real_time", speed(statistics)},
      {"peak", statistics.peak},
      {"peak_db", nullptr},
      {"gain_db", statistics.gainDb},
      {"clipped_samples", statistics.clippedSamples},
      {"unusable_input_samples", statistics.unusableSamples},
      {"latency", nullptr},
  };
  if (statistics.peak > 0.0) object["peak_db"] = 20.0 * std::log10(statistics.peak);
  if (statistics.outputPath.empty()) object["output"] = nullptr;
  if (const auto& latency = statistics.latency) {
    object["latency"] = {{"shortest_seconds", latency->shortest},
                         {"average_seconds", latency->average},
                         {"longest_seconds", latency->longest},
                         {"reported_samples", latency->reportedSamples}};
  }
  return line(object);
}

std::string failureJson(const std::string& inputPath, const std::string& outputPath,
                        const std::string& reason) {
  return line({{"input", inputPath}, {"output", outputPath}, {"error", reason}});
}
