// A host's life as a script tells it: effects made, driven and closed in any order.
#pragma once

#include "fuzz/ScriptBytes.h"
#include "fuzz/WatchedEffect.h"

#include <memory>
#include <vector>

// One at a time: the host's callback finds the script through it.
class HostScript {
public:
  explicit HostScript(ScriptBytes& bytes);
  ~HostScript();
  HostScript(const HostScript&) = delete;
  HostScript& operator=(const HostScript&) = delete;

  void play();

private:
  static std::intptr_t callback(AEffect* record, std::int32_t request, std::int32_t index,
                                std::intptr_t value, void* ptr, float opt);

  std::intptr_t answer(AEffect* record, std::int32_t request);
  void takeStep();
  void create();
  void close();
  WatchedEffect* chosen();
  void drive(WatchedEffect& effect, int choice);
  void call(WatchedEffect& effect, int choice);
  float rate();
  float affordable(float rateHz);

  static HostScript* current;

  ScriptBytes& script;
  std::vector<std::unique_ptr<WatchedEffect>> effects;
  int nesting = 0;         // factories called from the callback
  bool hasVersion = false; // what the callback has told the latest factory
  double hertzLeft;
  int samplesLeft;
};
