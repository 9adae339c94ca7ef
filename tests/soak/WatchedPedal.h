// A pedal whose output and whose memory are watched while it plays.
#pragma once

#include "tests/property/Pedal.h"

#include <cstdint>
#include <string>

// What was done to a pedal.
struct CallCounts {
  std::int64_t samples = 0, blocks = 0, parameters = 0, programs = 0, resumes = 0, rates = 0;
};

// One at a time, in one thread: the count of the heap is the process's.
class WatchedPedal : public Pedal {
public:
  // watched: must outlive this. bound: the largest magnitude that an output sample may have.
  WatchedPedal(Pedal& watched, double bound);

  void setSampleRate(float rateHz) override;
  void setBlockSize(int samples) override;
  void resume() override;
  void suspend() override;
  void setParameter(int index, float value) override;
  void selectProgram(int number) override;
  void loadProgram(int number) override;
  void process(const double* input, double* output, int n) override;

  // What was wrong first; empty: nothing.
  const std::string& fault() const { return firstFault; }
  // The largest magnitude of an output sample since the last call of this.
  double takePeak();
  // Bytes that the watched pedal took in these calls and has not given back.
  std::int64_t heldBytes() const { return held; }
  const CallCounts& counts() const { return done; }

private:
  template <typename Call> void watch(Call call);

  Pedal& pedal;
  double bound;
  double peak = 0.0;
  std::int64_t held = 0;
  CallCounts done;
  std::string firstFault;
};
