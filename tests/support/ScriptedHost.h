// A host for tests: answers requests as told, remembers them, and throws on demand.
#pragma once

#include "vst/AEffect.h"

#include <cstdint>
#include <iosfwd>
#include <map>
#include <set>
#include <stdexcept>
#include <vector>

// One request as it arrived.
struct HostCall {
  AEffect* record;
  int32_t request;
  int32_t index;
  intptr_t value;
  void* ptr;
  float opt;

  bool operator==(const HostCall&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const HostCall& call);

// What a scripted host throws.
struct HostFailure : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// The interface's callback carries nothing to find a host by, so the youngest ScriptedHost alive is the one
// that answers. One thread at a time. Unless told otherwise it answers 2400 to request 1, 0 to the rest.
class ScriptedHost {
public:
  ScriptedHost();
  ~ScriptedHost();
  ScriptedHost(const ScriptedHost&) = delete;
  ScriptedHost& operator=(const ScriptedHost&) = delete;

  // To be handed to a factory or a constructor. Throws HostFailure where throwOn says so; every call is
  // remembered first.
  static intptr_t callback(AEffect* record, int32_t request, int32_t index, intptr_t value, void* ptr,
                           float opt);

  void answer(int32_t request, intptr_t result) { answers[request] = result; }
  void throwOn(int32_t request) { throwing.insert(request); }

  std::vector<HostCall> calls; // in the order of arrival; clear it at will

private:
  intptr_t take(const HostCall& call);

  static ScriptedHost* current;
  ScriptedHost* before;
  std::map<int32_t, intptr_t> answers;
  std::set<int32_t> throwing;
};
