// treadshift-soak: hours of random playing on the module and on the plain pedal side by side.
#include "tests/soak/Soak.h"

#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <exception>

namespace {

constexpr std::int64_t kMostHours = 100000;
constexpr double kSecondsPerHour = 3600.0;

// Hz. A second at a high rate is a long one to play, so those come less often.
const std::vector<float> kRates = {8000.0f,  8000.0f,  8000.0f,  8000.0f,  8000.0f,  8000.0f,
                                   8000.0f,  8000.0f,  22050.0f, 22050.0f, 22050.0f, 22050.0f,
                                   22050.0f, 22050.0f, 44100.0f, 44100.0f, 44100.0f, 44100.0f,
                                   48000.0f, 48000.0f, 48000.0f, 48000.0f, 96000.0f, 192000.0f};

constexpr char kHelp[] =
    "usage: treadshift-soak HOURS [SEED [FIRST STEP]]\n"
    "Plays HOURS hours of audio (whole ones, 0 and up) to the module and to the plain pedal and compares "
    "them\n"
    "bit for bit. SEED: 1 unless given; an hour is the same for the same seed and number. With FIRST and "
    "STEP\n"
    "it plays hour FIRST, FIRST + STEP and so on, those below HOURS, so that several processes share them.\n"
    "Prints a line for each hour. Exit status: 0 all is well, 1 something is not, 2 wrong call.\n";

struct Order {
  std::int64_t hours = 0, seed = 1, first = 0, step = 1;
};

bool readNumber(const char* text, std::int64_t least, std::int64_t most, std::int64_t& number) {
  const char* end = text + std::strlen(text);
  const auto [rest, error] = std::from_chars(text, end, number);
  return error == std::errc() && rest == end && number >= least && number <= most;
}

bool readOrder(int argc, char** argv, Order& order) {
  if (argc != 2 && argc != 3 && argc != 5) return false;
  return readNumber(argv[1], 0, kMostHours, order.hours) &&
         (argc < 3 || readNumber(argv[2], 0, INT64_MAX, order.seed)) &&
         (argc < 5 || (readNumber(argv[3], 0, kMostHours, order.first) &&
                       readNumber(argv[4], 1, kMostHours, order.step)));
}

// Odd numbers far apart, so that neighbouring seeds and hours share nothing.
std::uint64_t seedOf(const Order& order, std::int64_t hour) {
  return static_cast<std::uint64_t>(order.seed) * 0x9E3779B97F4A7C15u +
         static_cast<std::uint64_t>(hour) * 0xD1B54A32D192ED03u;
}

// Answers whether all is well.
bool playHour(Soak& soak, const Order& order, std::int64_t hour) {
  using Clock = std::chrono::steady_clock;
  const auto start = Clock::now();
  const SoakReport r = soak.play(seedOf(order, hour), kRates, kSecondsPerHour);
  const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
  std::printf(
      "hour %lld seed %lld: %lld samples in %lld blocks, %lld parameters, %lld programs, %lld resumes, "
      "%lld rates; peak %.3f; module holds %lld bytes, process %lld kB; %.0f s; %s\n",
      static_cast<long long>(hour), static_cast<long long>(order.seed),
      static_cast<long long>(r.counts.samples), static_cast<long long>(r.counts.blocks),
      static_cast<long long>(r.counts.parameters), static_cast<long long>(r.counts.programs),
      static_cast<long long>(r.counts.resumes), static_cast<long long>(r.counts.rates), r.peak,
      static_cast<long long>(r.heldBytes), static_cast<long long>(r.residentKb), seconds,
      r.fault.empty() ? "equal" : r.fault.c_str());
  std::fflush(stdout);
  return r.fault.empty();
}

} // namespace

int main(int argc, char** argv) {
  if (argc == 2 && std::strcmp(argv[1], "--help") == 0) {
    std::fputs(kHelp, stdout);
    return 0;
  }
  Order order;
  if (!readOrder(argc, argv, order)) {
    std::fputs(
        "treadshift-soak: takes a number of hours, a seed, and which of the hours to play; --help says "
        "more\n",
        stderr);
    return 2;
  }
  try {
    Soak soak;
    for (std::int64_t hour = order.first; hour < order.hours; hour += order.step) {
      if (!playHour(soak, order, hour)) return 1;
    }
  } catch (const std::exception& error) {
    std::fprintf(stderr, "treadshift-soak: %s: %s\n", TREADSHIFT_MODULE, error.what());
    return 1;
  }
  return 0;
}
