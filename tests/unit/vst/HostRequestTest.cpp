// Requests to the host: number, arguments, and how its answer becomes the operation's.
#include "tests/support/ScriptedHost.h"
#include "tests/unit/vst/BareEffect.h"

#include <doctest/doctest.h>

#include <functional>
#include <string>

namespace {

constexpr intptr_t kAnswers[] = {0, 1, 2, -1, 2400, 16777217, INT32_MAX, INT32_MIN};

// An answer that uses every bit of a pointer of this width.
constexpr intptr_t kAddress =
    static_cast<intptr_t>(sizeof(void*) == 8 ? 0x8123456789ABCDEFull : 0x89ABCDEFull);

enum class Conversion { asIs, address, notZero, isOne, isZero, atLeastOne };

intptr_t converted(Conversion conversion, intptr_t answer) {
  switch (conversion) {
  case Conversion::notZero:
    return answer != 0;
  case Conversion::isOne:
    return answer == 1;
  case Conversion::isZero:
    return answer == 0;
  case Conversion::atLeastOne:
    return answer == 0 ? 1 : answer;
  default:
    return answer;
  }
}

// Makes the call on an effect with a host for every answer and checks the one request it sends; then on an
// effect without a host.
void checkRequest(HostCall expected, Conversion conversion,
                  const std::function<intptr_t(BareEffect&)>& call) {
  CAPTURE(expected.request);
  ScriptedHost host;
  BareEffect bare(ScriptedHost::callback);
  expected.record = bare.getAeffect();
  auto checkAnswer = [&](intptr_t answer) {
    host.calls.clear();
    host.answer(expected.request, answer);
    CHECK(call(bare) == converted(conversion, answer));
    REQUIRE(host.calls.size() == 1);
    CHECK(host.calls[0] == expected);
  };
  for (intptr_t answer : kAnswers)
    checkAnswer(answer);
  if (conversion == Conversion::address) checkAnswer(kAddress);

  BareEffect alone(nullptr);
  host.calls.clear();
  CHECK(call(alone) == converted(conversion, 0));
  CHECK(host.calls.empty());
}

template <typename Result, typename... Arguments>
std::function<intptr_t(BareEffect&)> slotCall(Slot slot, std::type_identity_t<Arguments>... arguments) {
  return [=](BareEffect& bare) {
    const Result result = bare.slot<Result, Arguments...>(slot, arguments...);
    if constexpr (std::is_pointer_v<Result>)
      return reinterpret_cast<intptr_t>(result);
    else
      return static_cast<intptr_t>(result);
  };
}

HostCall request(int32_t number, int32_t index = 0, intptr_t value = 0, const void* ptr = nullptr,
                 float opt = 0.0f) {
  return {nullptr, number, index, value, const_cast<void*>(ptr), opt};
}

// Asks for a number that the effect stores, at every answer and without a host, from a field of 100.
template <typename Number, typename Expected, typename Field>
void checkStoredAnswer(HostCall sent, Slot slot, Expected expected, Field field) {
  ScriptedHost host;
  BareEffect bare(ScriptedHost::callback), alone(nullptr);
  sent.record = bare.getAeffect();
  const auto check = [&](BareEffect& effect, intptr_t answer) {
    CAPTURE(answer);
    effect.*field = 100;
    CHECK(effect.slot<Number>(slot) == expected(answer));
    CHECK(effect.*field == expected(answer));
  };
  for (intptr_t answer : kAnswers) {
    host.answer(sent.request, answer);
    host.calls.clear();
    check(bare, answer);
    CHECK(host.calls == std::vector<HostCall>{sent});
  }
  check(alone, 0);
}

// An address that requests only pass on; never read.
template <typename Record> Record* anAddress() { return reinterpret_cast<Record*>(uintptr_t{0x12345678}); }

} // namespace

TEST_CASE("requests that hand the host's number on") {
  constexpr auto asIs = Conversion::asIs;
  checkRequest(request(2), asIs, slotCall<int>(Slot::getCurrentUniqueId));
  checkRequest(request(3), asIs, slotCall<int>(Slot::masterIdle));
  checkRequest(request(6, 0, 9), asIs, slotCall<int, int>(Slot::__wantEventsDeprecated, 9));
  checkRequest(request(10, 0, -5), asIs, slotCall<int, int>(Slot::__tempoAtDeprecated, -5));
  checkRequest(request(11), asIs, slotCall<int>(Slot::__getNumAutomatableParametersDeprecated));
  checkRequest(request(12), asIs, slotCall<int>(Slot::__getParameterQuantizationDeprecated));
  checkRequest(request(18), asIs, slotCall<int>(Slot::getInputLatency));
  checkRequest(request(19), asIs, slotCall<int>(Slot::getOutputLatency));
  checkRequest(request(22), asIs, slotCall<int>(Slot::__willProcessReplacingDeprecated));
  checkRequest(request(23), asIs, slotCall<int>(Slot::getCurrentProcessLevel));
  checkRequest(request(24), asIs, slotCall<int>(Slot::getAutomationState));
  checkRequest(request(30, 0, 0, nullptr, 48000.5f), asIs,
               slotCall<int, float>(Slot::__setOutputSamplerateDeprecated, 48000.5f));
  checkRequest(request(34), asIs, slotCall<int>(Slot::getHostVendorVersion));
  checkRequest(
      request(35, -3, -4, anAddress<void>(), 0.25f), asIs,
      slotCall<int, int, int, void*, float>(Slot::hostVendorSpecific, -3, -4, anAddress<void>(), 0.25f));
  checkRequest(request(38), asIs, slotCall<int>(Slot::getHostLanguage));
}

TEST_CASE("requests that hand an address on keep all of its bits") {
  constexpr auto address = Conversion::address;
  checkRequest(request(7, 0, -6), address, slotCall<VstTimeInfo*, int>(Slot::getTimeInfo, -6));
  checkRequest(request(31), address,
               slotCall<VstSpeakerArrangement*>(Slot::__getOutputSpeakerArrangementDeprecated));
  checkRequest(request(39, 0, 0, anAddress<void>()), address,
               slotCall<void*, __VstWindowDeprecated*>(Slot::__openWindowDeprecated,
                                                       anAddress<__VstWindowDeprecated>()));
  checkRequest(request(41), address, slotCall<void*>(Slot::getDirectory));
  checkRequest(request(49), address,
               slotCall<VstSpeakerArrangement*>(Slot::__getInputSpeakerArrangementDeprecated));
}

TEST_CASE("the neighbours' requests send no argument, on purpose") {
  checkRequest(request(20), Conversion::address,
               slotCall<intptr_t, int>(Slot::__getPreviousPlugDeprecated, 7));
  checkRequest(request(21), Conversion::address, slotCall<intptr_t, int>(Slot::__getNextPlugDeprecated, 7));
}

TEST_CASE("requests that take anything but 0 for yes") {
  constexpr auto notZero = Conversion::notZero;
  char text[] = "text";
  checkRequest(request(13), notZero, slotCall<bool>(Slot::ioChanged));
  checkRequest(request(14), notZero, slotCall<bool>(Slot::__needIdleDeprecated));
  checkRequest(request(15, 640, 480), notZero, slotCall<bool, int, int>(Slot::sizeWindow, 640, 480));
  checkRequest(request(25, 3, 2, anAddress<void>()), notZero,
               slotCall<bool, VstAudioFile*, int, int>(Slot::offlineStart, anAddress<VstAudioFile>(), 2, 3));
  for (bool readSource : {false, true}) {
    checkRequest(request(26, readSource, 5, anAddress<void>()), notZero,
                 slotCall<bool, VstOfflineTask*, VstOfflineOption, bool>(
                     Slot::offlineRead, anAddress<VstOfflineTask>(), 5, readSource));
  }
  checkRequest(
      request(27, 0, 5, anAddress<void>()), notZero,
      slotCall<bool, VstOfflineTask*, VstOfflineOption>(Slot::offlineWrite, anAddress<VstOfflineTask>(), 5));
  checkRequest(request(28), notZero, slotCall<bool>(Slot::offlineGetCurrentPass));
  checkRequest(request(29), notZero, slotCall<bool>(Slot::offlineGetCurrentMetaPass));
  checkRequest(request(32, 0, 0, text), notZero, slotCall<bool, char*>(Slot::getHostVendorString, text));
  checkRequest(request(33, 0, 0, text), notZero, slotCall<bool, char*>(Slot::getHostProductString, text));
  checkRequest(request(37, 0, 0, text), notZero, slotCall<bool, char*>(Slot::canHostDo, text));
  checkRequest(request(40, 0, 0, anAddress<void>()), notZero,
               slotCall<bool, __VstWindowDeprecated*>(Slot::__closeWindowDeprecated,
                                                      anAddress<__VstWindowDeprecated>()));
  checkRequest(request(42), notZero, slotCall<bool>(Slot::updateDisplay));
  checkRequest(request(43, 4), notZero, slotCall<bool, int>(Slot::beginEdit, 4));
  checkRequest(request(44, -4), notZero, slotCall<bool, int>(Slot::endEdit, -4));
  checkRequest(request(45, 0, 0, anAddress<void>()), notZero,
               slotCall<bool, VstFileSelect*>(Slot::openFileSelector, anAddress<VstFileSelect>()));
  checkRequest(request(46, 0, 0, anAddress<void>()), notZero,
               slotCall<bool, VstFileSelect*>(Slot::closeFileSelector, anAddress<VstFileSelect>()));
  checkRequest(request(48, 0, 0, anAddress<void>()), notZero,
               slotCall<bool, void*>(Slot::__getChunkFileDeprecated, anAddress<void>()));
}

TEST_CASE("sending events succeeds on an answer of exactly 1") {
  auto* events = anAddress<VstEvents>();
  checkRequest(request(8, 0, 0, events), Conversion::isOne,
               [&](BareEffect& bare) { return static_cast<intptr_t>(bare.sendVstEventsToHost(events)); });
}

TEST_CASE("the host's version: its answer, and 1 where there is none") {
  checkRequest(request(1), Conversion::atLeastOne, slotCall<int>(Slot::getMasterVersion));
}

TEST_CASE("a pin is connected when the host answers 0, and without a host") {
  checkRequest(request(4, 3, 0), Conversion::isZero, slotCall<bool, int>(Slot::isInputConnected, 3));
  checkRequest(request(4, -2, 1), Conversion::isZero, slotCall<bool, int>(Slot::isOutputConnected, -2));
}

TEST_CASE("updateSampleRate takes positive answers and otherwise falls back to 44100") {
  const auto rate = [](intptr_t answer) { return answer > 0 ? static_cast<float>(answer) : 44100.0f; };
  checkStoredAnswer<float>(request(16), Slot::updateSampleRate, rate, &BareEffect::sampleRate);
}

TEST_CASE("updateBlockSize takes answers of at least 1 and otherwise keeps the size") {
  const auto size = [](intptr_t answer) { return answer >= 1 ? static_cast<int32_t>(answer) : 100; };
  checkStoredAnswer<int>(request(17), Slot::updateBlockSize, size, &BareEffect::blockSize);
}

TEST_CASE("an automated parameter is set through the table first, then told to the host") {
  ScriptedHost host;
  BareEffect bare(ScriptedHost::callback);
  SlotExchange exchange(&bare, kAudioEffectXSlots);
  static ScriptedHost* asked;
  static std::size_t requestsBefore;
  asked = &host;
  exchange.replace(
      Slot::setParameter, +[](void* object, int index, float value) {
        requestsBefore = asked->calls.size();
        recordSlotCall<Slot::setParameter, void>(object, index, value);
      });
  bare.slot<void, int, float>(Slot::setParameterAutomated, 3, 0.625f);
  REQUIRE(slotCalls.size() == 1);
  CHECK(slotCalls[0].arguments == argumentsText(3, 0.625f));
  CHECK(requestsBefore == 0);
  CHECK(host.calls == std::vector<HostCall>{{bare.getAeffect(), 0, 3, 0, nullptr, 0.625f}});
  slotCalls.clear();
  bare.setParameter(1, 0.5f); // the host's own change is not echoed
  CHECK(host.calls.size() == 1);

  BareEffect alone(nullptr);
  SlotExchange other(&alone, kAudioEffectXSlots);
  other.record(Slot::setParameter);
  alone.setParameterAutomated(1, 0.5f);
  CHECK(slotCalls.size() == 1);
}

TEST_CASE("updateSampleRate resets the rate before it asks") {
  static float rateWhenAsked;
  BareEffect bare(+[](AEffect* record, int32_t, int32_t, intptr_t, void*, float) -> intptr_t {
    rateWhenAsked = static_cast<AudioEffect*>(record->objectRef)->getSampleRate();
    return 0;
  });
  bare.sampleRate = 96000.0f;
  bare.updateSampleRate();
  CHECK(rateWhenAsked == 44100.0f);
}

TEST_CASE("resume wants events of a synth, and of an effect that says exactly 1 to receiving MIDI") {
  ScriptedHost host;
  BareEffect bare(ScriptedHost::callback);
  SlotExchange exchange(&bare, kAudioEffectXSlots);
  static std::string question;
  exchange.replace(
      Slot::canDo, +[](void*, char* capability) -> int {
        question = capability;
        return static_cast<int>(slotAnswer);
      });
  exchange.record(Slot::__wantEventsDeprecated);

  for (intptr_t claims : {0, -1, 2}) {
    slotAnswer = claims;
    bare.slot<void>(Slot::resume);
    CHECK(question == "receiveVstMidiEvent");
    CHECK(slotCalls.empty());
  }
  slotAnswer = 1;
  bare.slot<void>(Slot::resume);
  REQUIRE(slotCalls.size() == 1);
  CHECK(slotCalls[0].arguments == argumentsText(1));

  question.clear();
  slotAnswer = 0;
  bare.isSynth(true);
  bare.slot<void>(Slot::resume);
  CHECK(slotCalls.size() == 2);
  CHECK(question.empty()); // a synth is not asked
  CHECK(host.calls.empty());
}
