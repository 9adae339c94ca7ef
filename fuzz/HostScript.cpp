#include "fuzz/HostScript.h"

#include "framework/Factory.h"
#include "fuzz/Check.h"
#include "fuzz/HostEnvironment.h"
#include "vst/Opcodes.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace {

constexpr int kMostSteps = 48;
constexpr std::size_t kMostEffects = 3;
constexpr int kDeepestNesting = 2;
constexpr int kMostSamples = 130000; // of all blocks

// Building for a rate clears memory in proportion to it, and as much as for kHertzPerBuilding whatever the
// rate. Most scripts may take a few builds at usual rates, some may take much.
constexpr double kHertzPerBuilding = 5e4;
constexpr double kUsualHertz = 2.5e5;
constexpr double kMostHertz = 1.3e6;
constexpr float kHighestRate = 1e6f; // Hz, of those that can be run
constexpr float kCheapRate = 1000.0f;

constexpr float kRates[] = {1000.0f, 8000.0f,  62.5f,   44100.0f, 62.499996f, 125.0f,   100.0f,
                            1000.0f, 48000.0f, 63.0f,   44100.5f, 22050.0f,   2000.0f,  96000.0f,
                            0.0f,    -0.0f,    -1.0f,   1.0f,     -44100.0f,  0.5f,     10.0f,
                            15.0f,   1e6f,     0x1p30f, 1e20f,    3e9f,       INFINITY, NAN};

constexpr std::uint32_t kWords[] = {0x1F80, 0x1F80, 0x9F80, 0x1FC0, 0x9FC0, 0x3F80, 0x5F80, 0x7F80};

} // namespace

HostScript* HostScript::current = nullptr;

HostScript::HostScript(ScriptBytes& bytes)
    : script(bytes), hertzLeft(script.byte() % 16 == 0 ? kMostHertz : kUsualHertz),
      samplesLeft(kMostSamples) {
  current = this;
}

HostScript::~HostScript() { current = nullptr; }

void HostScript::play() {
  create();
  for (int step = 0; step < kMostSteps && !script.isEmpty(); ++step)
    takeStep();
}

std::intptr_t HostScript::callback(AEffect* record, std::int32_t request, std::int32_t, std::intptr_t, void*,
                                   float) {
  return current->answer(record, request);
}

// The effect asks for nothing but the version.
std::intptr_t HostScript::answer(AEffect* record, std::int32_t request) {
  expect(!record && request == kHostVersion, "the effect asks the host for something");
  hasVersion = false;
  const int choice = script.byte();
  if ((choice & 0x10) != 0 && nesting < kDeepestNesting) {
    ++nesting;
    takeStep();
    --nesting;
    hasVersion = false;
  }
  if ((choice & 0x0F) == 0x0F) throw std::runtime_error("a host fails");
  constexpr std::intptr_t kAnswers[] = {2400, 2400, 1, 2, -1, INT32_MIN, INT32_MAX, 0};
  const std::intptr_t told = kAnswers[choice & 7];
  hasVersion = told != 0;
  return told;
}

void HostScript::create() {
  if (effects.size() >= kMostEffects) return;
  const int choice = script.byte();
  const bool isHost = (choice & 0xF0) != 0xF0;
  auto* const factory = (choice & 1) != 0 ? getinterface : QTypeIF;
  hasVersion = false;
  Q_TypeIF* const handle = factory(isHost ? callback : nullptr);
  expect((handle != nullptr) == hasVersion, "a factory makes an effect for the wrong host");
  if (!handle) return;
  effects.push_back(std::make_unique<WatchedEffect>(handle));
  if ((choice & 2) != 0) effects.back()->dropHandle();
  if ((choice & 4) == 0) effects.back()->setSampleRate(affordable(kRates[choice >> 4 & 7]));
}

void HostScript::close() {
  if (effects.empty()) return;
  effects.erase(effects.begin() + script.below(static_cast<int>(effects.size())));
}

WatchedEffect* HostScript::chosen() {
  if (effects.empty()) return nullptr;
  return effects.size() == 1 ? effects[0].get() : effects[script.byte() % effects.size()].get();
}

void HostScript::takeStep() {
  const int choice = script.byte() % 32;
  if (choice == 0) return create();
  if (choice == 1) return close();
  if (WatchedEffect* const effect = chosen()) drive(*effect, choice);
}

void HostScript::drive(WatchedEffect& effect, int choice) {
  constexpr int kPedal = 4, kColor = 3, kTone = 2, kOnOff = 0;
  switch (choice) {
  case 2:
  case 3:
    return effect.setSampleRate(rate());
  case 4:
  case 5:
    return effect.setParameter(kPedal, script.float32());
  case 6:
    return effect.setParameter(kColor, script.float32());
  case 7:
    return effect.setParameter(kTone, script.float32());
  case 8:
    return effect.setParameter(kOnOff, script.float32());
  case 9: {
    const std::int32_t index = script.int32();
    return effect.setParameter(index, script.float32());
  }
  default:
    break;
  }
  if (choice < 20)
    call(effect, choice);
  else
    samplesLeft -= effect.process(script, samplesLeft);
}

void HostScript::call(WatchedEffect& effect, int choice) {
  switch (choice) {
  case 10:
    return effect.selectProgram(static_cast<std::intptr_t>(script.int64()));
  case 11:
    return effect.loadProgram(static_cast<long>(script.int64()));
  case 12: {
    const std::string name = script.text();
    return effect.setName(name, script.flag());
  }
  case 13:
    return effect.checkTexts(script.int32());
  case 14:
    return effect.setBlockSize(script.flag() ? script.int32() : script.below(512));
  case 15:
    return effect.resumeOrSuspend(static_cast<std::intptr_t>(script.int64()));
  case 16:
    return effect.callSlotOperation(script);
  case 17:
    return effect.processSingle(script);
  case 18:
    return effect.setWord(kWords[script.byte() % std::size(kWords)]);
  default:
    return effect.dispatchAny(script);
  }
}

float HostScript::rate() {
  const int choice = script.byte();
  return affordable(choice < 0xE0 ? kRates[choice % std::size(kRates)] : script.float32());
}

// A rate that can be run is kept within what an execution may take.
float HostScript::affordable(float rateHz) {
  if (!(rateHz >= 62.5f) || rateHz >= 0x1p30f) return rateHz;
  const float kept = rateHz > kHighestRate ? std::fmod(rateHz, kHighestRate) : rateHz;
  const float taken = hertzLeft < kept + kHertzPerBuilding ? kCheapRate : kept;
  hertzLeft -= taken + kHertzPerBuilding;
  return taken;
}
