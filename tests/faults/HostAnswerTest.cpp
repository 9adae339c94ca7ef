// Hosts that answer everything with the same strange number.
#include "tests/property/PedalPair.h"
#include "tests/record/Module.h"
#include "tests/support/ScriptedHost.h"
#include "vst/Opcodes.h"

#include <doctest/doctest.h>

#include <algorithm>
#include <climits>
#include <cmath>

namespace {

constexpr intptr_t kAnswers[] = {-1, 0, 1, 2, INT_MIN, INT_MAX};

template <intptr_t answer> intptr_t stubbornHost(AEffect*, int32_t, int32_t, intptr_t, void*, float) {
  return answer;
}

std::vector<double> playWith(HostCallback host, const char* factory) {
  ModuleEffect effect(host, factory);
  effect.send(kOpOpen);
  effect.send(kOpSetSampleRate, 0, 0, nullptr, 44100.0f);
  effect.send(kOpSetBlockSize, 0, 128);
  effect.send(kOpResumeOrSuspend, 0, 1);
  std::vector<double> heard;
  for (int block = 0; block < 40; ++block) {
    effect.set(4, 0.025f * static_cast<float>(block));
    double samples[128];
    for (int i = 0; i < 128; ++i)
      samples[i] = std::sin(0.05 * (128 * block + i));
    double* channels[] = {samples};
    effect.record()->processDoubleReplacingEntry(effect.record(), channels, channels, 128);
    heard.insert(heard.end(), samples, samples + 128);
  }
  effect.send(kOpResumeOrSuspend, 0, 0);
  return heard;
}

bool sameBits(const std::vector<double>& one, const std::vector<double>& other) {
  return std::equal(one.begin(), one.end(), other.begin(), other.end(), sameSample);
}

// Asks for a number, by a slot of the module's table, at every answer.
template <typename Result, typename... Arguments>
void checkConversion(Slot slot, intptr_t (*expected)(intptr_t),
                     std::type_identity_t<Arguments>... arguments) {
  CAPTURE(nameOf(slot));
  ScriptedHost host;
  const ModuleEffect effect(ScriptedHost::callback);
  for (intptr_t answer : kAnswers) {
    CAPTURE(answer);
    for (int32_t request = 0; request < 60; ++request)
      host.answer(request, answer);
    host.calls.clear();
    CHECK(static_cast<intptr_t>(effect.slot<Result, Arguments...>(slot, arguments...)) == expected(answer));
    CHECK(host.calls.size() == 1);
  }
}

intptr_t asIs(intptr_t answer) { return answer; }
intptr_t notZero(intptr_t answer) { return answer != 0; }
intptr_t isZero(intptr_t answer) { return answer == 0; }

} // namespace

TEST_CASE("a host that answers everything with one number hears what any host hears") {
  for (const char* factory : kFactoryNames) {
    const std::vector<double> usual = playWith(plainHost, factory);
    CHECK(std::ranges::any_of(usual, [](double x) { return std::abs(x) > 0.1; }));
    for (HostCallback host :
         {stubbornHost<-1>, stubbornHost<1>, stubbornHost<2>, stubbornHost<INT_MIN>, stubbornHost<INT_MAX>})
      CHECK(sameBits(playWith(host, factory), usual));
    CHECK(moduleFactory(factory)(stubbornHost<0>) == nullptr);
  }
}

TEST_CASE("a number that the host answers comes through as it is") {
  checkConversion<int>(Slot::getCurrentUniqueId, asIs);
  checkConversion<int>(Slot::masterIdle, asIs);
  checkConversion<int, int>(Slot::__wantEventsDeprecated, asIs, 1);
  checkConversion<int, int>(Slot::__tempoAtDeprecated, asIs, 0);
  checkConversion<int>(Slot::__getNumAutomatableParametersDeprecated, asIs);
  checkConversion<int>(Slot::__getParameterQuantizationDeprecated, asIs);
  checkConversion<int>(Slot::getInputLatency, asIs);
  checkConversion<int>(Slot::getOutputLatency, asIs);
  checkConversion<intptr_t, int>(Slot::__getPreviousPlugDeprecated, asIs, 0);
  checkConversion<intptr_t, int>(Slot::__getNextPlugDeprecated, asIs, 0);
  checkConversion<int>(Slot::__willProcessReplacingDeprecated, asIs);
  checkConversion<int>(Slot::getCurrentProcessLevel, asIs);
  checkConversion<int>(Slot::getAutomationState, asIs);
  checkConversion<int, float>(Slot::__setOutputSamplerateDeprecated, asIs, 48000.0f);
  checkConversion<int>(Slot::getHostVendorVersion, asIs);
  checkConversion<int, int, int, void*, float>(Slot::hostVendorSpecific, asIs, 0, 0, nullptr, 0.0f);
  checkConversion<int>(Slot::getHostLanguage, asIs);
}

TEST_CASE("a host that answers anything but 0 is taken to say yes") {
  checkConversion<bool>(Slot::ioChanged, notZero);
  checkConversion<bool>(Slot::__needIdleDeprecated, notZero);
  checkConversion<bool, int, int>(Slot::sizeWindow, notZero, INT_MAX, INT_MIN);
  checkConversion<bool, VstAudioFile*, int, int>(Slot::offlineStart, notZero, nullptr, INT_MIN, INT_MAX);
  checkConversion<bool>(Slot::offlineGetCurrentPass, notZero);
  checkConversion<bool>(Slot::offlineGetCurrentMetaPass, notZero);
  checkConversion<bool, char*>(Slot::getHostVendorString, notZero, nullptr);
  checkConversion<bool, char*>(Slot::getHostProductString, notZero, nullptr);
  checkConversion<bool, char*>(Slot::canHostDo, notZero, nullptr);
  checkConversion<bool>(Slot::updateDisplay, notZero);
  checkConversion<bool, int>(Slot::beginEdit, notZero, INT_MIN);
  checkConversion<bool, int>(Slot::endEdit, notZero, INT_MAX);
  checkConversion<bool, VstFileSelect*>(Slot::openFileSelector, notZero, nullptr);
  checkConversion<bool, VstFileSelect*>(Slot::closeFileSelector, notZero, nullptr);
  checkConversion<bool, void*>(Slot::__getChunkFileDeprecated, notZero, nullptr);
}

TEST_CASE("answers with a meaning of their own") {
  checkConversion<bool, int>(Slot::isInputConnected, isZero, INT_MIN);
  checkConversion<bool, int>(Slot::isOutputConnected, isZero, INT_MAX);
  checkConversion<int>(
      Slot::getMasterVersion, +[](intptr_t answer) { return answer == 0 ? intptr_t{1} : answer; });
}

TEST_CASE("a rate or a block size from the host is taken when it can be one, and then survived") {
  for (intptr_t answer : kAnswers) {
    CAPTURE(answer);
    ScriptedHost host;
    ModuleEffect effect(ScriptedHost::callback);
    host.answer(kHostGetSampleRate, answer);
    host.answer(kHostGetBlockSize, answer);
    const float rate = effect.slot<float>(Slot::updateSampleRate);
    CHECK(rate == (answer > 0 ? static_cast<float>(answer) : 44100.0f));
    CHECK(effect.slot<int>(Slot::updateBlockSize) == (answer >= 1 ? answer : 1024));
    effect.send(kOpSetSampleRate, 0, 0, nullptr, 8000.0f); // reserves what was announced, if it can be meant
    double samples[300] = {0.5, 0.25};
    double* channels[] = {samples};
    effect.record()->processDoubleReplacingEntry(effect.record(), channels, channels, 300);
    CHECK(std::isfinite(samples[299]));
    CHECK(samples[0] == 0.5); // row 4 has the dry sound in full, and the shifted one comes later
  }
}
