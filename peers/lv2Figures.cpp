// treadshift-lv2-figures URI ...
//
// What an instance of LV2 plug-ins costs a host that runs blocks of 1024 samples: memory of the heap, time
// until its first block can run (the least of many, since other work only adds to it), and seconds of sound
// per second.
#include "peers/Lv2Peer.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <malloc.h>
#include <stdexcept>
#include <vector>

namespace {

constexpr int32_t kBlock = 1024;  // samples
constexpr int kInstances = 50;    // of which the quickest counts
constexpr double kSeconds = 20.0; // of sound

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

std::unique_ptr<Lv2Peer> make(const char* uri, double rateHz) {
  auto peer = Lv2Peer::open(uri, rateHz, kBlock, {});
  if (!peer) throw std::runtime_error("is not installed");
  return peer;
}

std::size_t heapBytes() {
  const auto heap = mallinfo2();
  return heap.uordblks + heap.hblkhd;
}

double heapOf(const char* uri, double rateHz) {
  const std::size_t before = heapBytes();
  const auto peer = make(uri, rateHz);
  return static_cast<double>(heapBytes() - before);
}

double secondsToMake(const char* uri, double rateHz) {
  double least = 1e9;
  for (int k = 0; k < kInstances; ++k) {
    const auto start = Clock::now();
    const auto peer = make(uri, rateHz);
    least = std::min(least, secondsSince(start));
  }
  return least;
}

double timesRealTime(const char* uri, double rateHz) {
  const auto peer = make(uri, rateHz);
  std::vector<float> in(kBlock), out(kBlock);
  for (int i = 0; i < kBlock; ++i)
    in[i] = 0.5f * std::sin(0.05f * static_cast<float>(i));
  const auto start = Clock::now();
  for (double played = 0.0; played < kSeconds * rateHz; played += kBlock)
    peer->run(in.data(), out.data(), kBlock);
  return kSeconds / secondsSince(start);
}

} // namespace

int main(int count, char** words) try {
  std::printf("%-36s %8s %10s %10s %16s\n", "plug-in", "Hz", "memory/MB", "making/ms", "x real time");
  for (int k = 1; k < count; ++k) {
    for (const double rateHz : {48000.0, 192000.0}) {
      const char* const uri = words[k];
      make(uri, rateHz); // so that its code and the libraries' tables are there
      std::printf("%-36s %8.0f %10.2f %10.2f %16.0f\n", uri, rateHz, heapOf(uri, rateHz) * 1e-6,
                  secondsToMake(uri, rateHz) * 1e3, timesRealTime(uri, rateHz));
    }
  }
} catch (const std::exception& wrong) {
  std::fprintf(stderr, "treadshift-lv2-figures: %s\n", wrong.what());
  return EXIT_FAILURE;
}
