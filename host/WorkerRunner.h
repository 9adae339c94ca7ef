// Drives an effect that runs in a worker process, for modules of another pointer width than this program's.
#pragma once

#include "host/EffectDriver.h"

#include <chrono>
#include <memory>
#include <string>
#include <vector>

class WorkerProcess;
struct WorkerOrder;

// An effect in a process of its own. Parameters that are set travel with the next operation that waits for
// an answer. Every operation throws EffectError when the worker crashes, ends, hangs up, gives no answer in
// time or tells of a fault of the module, and from then on whenever it is called again. Several threads may
// use runners of their own.
class WorkerRunner : public EffectDriver {
public:
  static constexpr std::chrono::seconds kUsualPatience{60};

  // Starts the worker and lets it open the module's effect. workerPath: the worker program; modulePath: an
  // absolute path; patience: the longest wait for one answer, 1 s or more. Throws EffectError when the worker
  // cannot be started, or as above. [host] Allocates.
  WorkerRunner(const std::string& workerPath, const std::string& modulePath,
               std::chrono::seconds patience = kUsualPatience);

  // Lets the worker close the effect and ends it; whatever goes wrong with that stays unsaid. [host]
  ~WorkerRunner() override;

  EffectFacts facts() const override { return openedFacts; }
  std::int32_t request(std::int32_t opcode, std::int32_t index = 0, std::int32_t value = 0,
                       std::span<char> buffer = {}, float opt = 0.0f) const override;
  void setParameter(std::int32_t index, float value) const override;
  float parameter(std::int32_t index) const override;

  // Blocks are of kLargestWorkerBlock samples at most.
  void process(const double* input, double* output, std::int32_t samples) const override;
  void start(const BlockRun& run) const override;
  void finish() const override;

private:
  struct Answer {
    std::int32_t number;
    float real;
  };

  void open();
  void add(const WorkerOrder& order, std::span<const char> bytes = {}) const;
  void sendOrders(const std::string& activity) const;
  Answer receiveAnswer(std::span<char> bytes, const std::string& activity) const;
  Answer exchange(const WorkerOrder& order, std::span<const char> sent, std::span<char> received,
                  const std::string& activity) const;
  [[noreturn]] void lose(const std::string& reason) const;
  [[noreturn]] void failLost() const;
  [[noreturn]] void loseAfterHangUp(const std::string& activity) const;
  [[noreturn]] void loseAfterRefusal(std::uint32_t bytes, const std::string& activity) const;
  void receive(std::span<char> bytes, const std::string& activity) const;

  std::chrono::seconds patience;
  std::unique_ptr<WorkerProcess> worker;
  EffectFacts openedFacts{};
  mutable std::vector<char> orders; // not sent yet
  mutable BlockRun started{};       // its output is still to come
  mutable std::string loss;         // why the worker is of no use any more; empty: it is
  mutable bool isKilled = false;    // the loss was nobody's fault in the worker
};
