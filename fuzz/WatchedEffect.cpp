#include "fuzz/WatchedEffect.h"

#include "fuzz/Check.h"
#include "fuzz/ExactBuffer.h"
#include "fuzz/HostEnvironment.h"
#include "fuzz/SoundScript.h"
#include "tests/support/EffectSlots.h"
#include "vst/HostRecords.h"
#include "vst/Opcodes.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

namespace {

constexpr std::uint32_t kUsualWord = 0x1F80;
constexpr std::uint32_t kRoundingBits = 0x6000;

constexpr double kTwinSteps = 1.5e5;     // oscillator steps that the plain pedal may take in a life
constexpr double kTwinHighestRate = 1e5; // Hz
constexpr double kLoudestInput = 1e6;    // beyond, sums of samples could leave the range of doubles
constexpr std::size_t kNameBytes = 24, kNumberedNameBytes = 32, kDisplayBytes = 9, kStringBytes = 32;

// What one sample of input can become: the pitch shifter at most doubles it and the shift filter passes it,
// the tone filter's high branch has a gain of (1 + 0.968) / (1 - 0.968) = 61.5 and weighs up to 6 in a
// difference of two, the low one stays below 2, and the dry sound adds 1. Together below 2 * 61.5 * 6 + 3.
constexpr double kLargestGain = 750.0;

// Opcodes that read or write what `ptr` points to, or `value` as an address.
bool takesMemory(std::int32_t opcode) {
  return (opcode >= kOpSetProgramName && opcode <= kOpGetParameterName) ||
         opcode == kOpGetProgramNameIndexed || opcode == kOpGetEffectName || opcode == kOpGetVendorString ||
         opcode == kOpGetProductString || opcode == kOpGetParameterProperties ||
         opcode == kOpGetSpeakerArrangement;
}

std::size_t bytesFor(std::int32_t opcode) {
  if (opcode == kOpGetParameterProperties) return kParameterPropertiesBytes;
  if (opcode == kOpGetSpeakerArrangement) return sizeof(void*);
  return kStringBytes;
}

bool isUsable(double rateHz) { return rateHz >= 62.5 && rateHz < 0x1p30; }

} // namespace

WatchedEffect::WatchedEffect(Q_TypeIF* made)
    : handle(made), record(made->effect), word(kUsualWord), twin(std::make_unique<PlainPedal>()),
      twinStepsLeft(kTwinSteps) {
  checkRecord();
}

WatchedEffect::~WatchedEffect() {
  expect(dispatch(kOpClose, 0, 0, nullptr, 0.0f) == 1, "the close request is not answered with 1");
  dropHandle();
}

void WatchedEffect::dropHandle() {
  delete handle;
  handle = nullptr;
}

void WatchedEffect::checkRecord() const {
  const AEffect& effect = *record;
  expect(effect.magic == kEffectMagic && effect.programCount == ProgramModel::kPrograms &&
             effect.parameterCount == ProgramModel::kParameters && effect.inputCount == 1 &&
             effect.outputCount == 1 && effect.flags == (kFlagCanReplacing | kFlagCanDoubleReplacing),
         "a new effect's record is another one");
}

void WatchedEffect::setWord(std::uint32_t hostWord) {
  word = hostWord;
  if ((word & kRoundingBits) != 0) twin.reset(); // its steps are the same in number, not in order
}

std::intptr_t WatchedEffect::dispatch(std::int32_t opcode, std::int32_t index, std::intptr_t value, void* ptr,
                                      float opt) {
  const HostEnvironment environment(word, false);
  return record->dispatchEntry(record, opcode, index, value, ptr, opt);
}

void WatchedEffect::setSampleRate(float rate) {
  const double x = rate;
  expect(dispatch(kOpSetSampleRate, 0, 0, nullptr, rate) == 0, "a rate is answered");
  if (twin && isUsable(x) && x > kTwinHighestRate) twin.reset();
  if (twin) twin->setSampleRate(rate);
  if (x == rateHz) return;
  rateHz = x;
  runs = isUsable(x);
  isSane = model.isInRange();
  peak = 0.0;
}

void WatchedEffect::setBlockSize(std::int32_t samples) {
  expect(dispatch(kOpSetBlockSize, 0, samples, nullptr, 0.0f) == 0, "a block size is answered");
}

void WatchedEffect::resumeOrSuspend(std::intptr_t value) {
  expect(dispatch(kOpResumeOrSuspend, 0, value, nullptr, 0.0f) == 0, "resume or suspend is answered");
  if (twin && value != 0) twin->resume();
}

void WatchedEffect::setParameter(std::int32_t index, float value) {
  {
    const HostEnvironment environment(word, false);
    record->setParameterEntry(record, index, value);
  }
  model.setParameter(index, value);
  if (twin) twin->setParameter(index, value);
  noteParameters();
}

void WatchedEffect::selectProgram(std::intptr_t number) {
  expect(dispatch(kOpSetProgram, 0, number, nullptr, 0.0f) == 0, "a program change is answered");
  model.selectProgram(number);
  if (twin) twin->selectProgram(model.currentProgram());
}

void WatchedEffect::loadProgram(long number) {
  {
    const HostEnvironment environment(word, false);
    callSlot<void, long>(record->objectRef, Slot::setProgramLong, number);
  }
  model.loadProgram(number);
  if (twin && number >= 0 && number < ProgramModel::kPrograms) twin->loadProgram(static_cast<int>(number));
  noteParameters();
}

void WatchedEffect::setName(const std::string& text, bool terminated) {
  std::string held = text.substr(0, text.find('\0'));
  if (!terminated) held.resize(kNameBytes, 'x');
  ExactBuffer<char> buffer(held.size() + (terminated ? 1 : 0));
  std::copy(held.begin(), held.end(), buffer.data());
  if (terminated) buffer[held.size()] = '\0';
  expect(dispatch(kOpSetProgramName, 0, 0, buffer.data(), 0.0f) == 0, "a program name is answered");
  model.setName(held);
}

std::string WatchedEffect::textOf(std::int32_t opcode, std::int32_t index, std::size_t bytes) {
  ExactBuffer<char> buffer(bytes);
  buffer[0] = '\0';
  dispatch(opcode, index, 0, buffer.data(), 0.0f);
  expect(std::memchr(buffer.data(), '\0', bytes) != nullptr, "a text is not terminated");
  return buffer.data();
}

void WatchedEffect::checkTexts(std::int32_t index) {
  expect(dispatch(kOpGetProgram, 0, 0, nullptr, 0.0f) == model.currentProgram(),
         "the program is another one");
  expect(textOf(kOpGetProgramName, 0, kNumberedNameBytes) == model.currentName(),
         "the program's name is another");
  if (index < ProgramModel::kPrograms)
    expect(textOf(kOpGetProgramNameIndexed, index, kNameBytes) == model.storedName(index),
           "a stored name is another");
  const bool isParameter = index >= 0 && index < ProgramModel::kParameters;
  const char* const names[] = {"On/Off", "Mode", "Tone", "Color", "PedalPos"};
  expect(textOf(kOpGetParameterName, index, kDisplayBytes) == (isParameter ? names[index] : ""),
         "a parameter's name");
  expect(textOf(kOpGetParameterLabel, index, kDisplayBytes).empty(), "a parameter has a label");
  const std::string shown = textOf(kOpGetParameterDisplay, index, kDisplayBytes);
  if (!isParameter || index == 0 || index == 1 || index == 3)
    expect(shown == model.display(index), "a parameter's display is another one");
  const HostEnvironment environment(word, false);
  expect(sameNumber(record->getParameterEntry(record, index), model.parameter(index)),
         "a parameter is another one");
}

std::intptr_t WatchedEffect::expectedAnswer(std::int32_t opcode, std::int32_t index, std::intptr_t value,
                                            void* ptr) const {
  switch (opcode) {
  case kOpGetProgram:
    return model.currentProgram();
  case kOpIdentify:
    return kIdentifyAnswer;
  case kOpCanParameterBeAutomated:
  case kOpGetPlugCategory:
    return 1;
  case kOpGetProgramNameIndexed:
    return index < ProgramModel::kPrograms && ptr;
  case kOpGetEffectName:
  case kOpGetVendorString:
  case kOpGetProductString:
    return ptr != nullptr;
  case kOpGetVendorVersion:
    return 1000;
  case kOpGetParameterProperties:
    return ptr && index >= 0 && index < ProgramModel::kParameters;
  case kOpGetVstVersion:
    return kHostVersionAnswer;
  case kOpGetCurrentMidiProgram:
    return -1;
  case kOpSetTotalSampleToProcess:
    return static_cast<int>(value);
  default:
    return 0;
  }
}

void WatchedEffect::dispatchAny(ScriptBytes& script) {
  std::int32_t opcode = script.byte();
  if (opcode >= 0x80) opcode = script.int32();
  const std::int32_t index = script.int32();
  auto value = static_cast<std::intptr_t>(script.int64());
  const float opt = script.float32();
  const int memory = script.byte();
  switch (opcode) {
  case kOpClose:
  case kOpSetProgram:
  case kOpSetProgramName:
  case kOpSetSampleRate:
  case kOpSetBlockSize:
  case kOpResumeOrSuspend:
    return;
  default:
    break;
  }
  ExactBuffer<char> buffer(bytesFor(opcode));
  ExactBuffer<void*> place(1);
  void* ptr = (memory & 1) != 0 ? buffer.data() : nullptr;
  if ((memory & 2) != 0 && !takesMemory(opcode))
    ptr = reinterpret_cast<void*>(static_cast<std::uintptr_t>(memory));
  if (opcode == kOpGetSpeakerArrangement)
    value = (memory & 2) != 0 ? reinterpret_cast<std::intptr_t>(place.data()) : 0;
  const std::intptr_t answer = dispatch(opcode, index, value, ptr, opt);
  expect(answer == expectedAnswer(opcode, index, value, ptr), "an opcode's answer is another one");
}

void WatchedEffect::callSlotOperation(ScriptBytes& script) {
  if (script.flag())
    formatNumber(script);
  else
    arrangeSpeakers(script);
}

// Nothing may be written behind maxLen + 1 bytes, and what is written ends there.
void WatchedEffect::formatNumber(ScriptBytes& script) {
  constexpr Slot kOperations[] = {Slot::float2string, Slot::ms2string, Slot::Hz2string, Slot::dB2string};
  const int choice = script.byte();
  const int maxLen = script.byte() % 40;
  const float number = script.float32();
  const std::int32_t whole = script.int32();
  ExactBuffer<char> text(static_cast<std::size_t>(maxLen) + 1);
  text[maxLen] = '\0';
  const HostEnvironment environment(word, false);
  if (choice % 5 == 4)
    callSlot<void, int, char*, int>(record->objectRef, Slot::int2string, whole, text.data(), maxLen);
  else
    callSlot<void, float, char*, int>(record->objectRef, kOperations[choice % 5], number, text.data(),
                                      maxLen);
  expect(text[maxLen] == '\0', "a number's text does not end");
}

void WatchedEffect::arrangeSpeakers(ScriptBytes& script) {
  constexpr int kMostChannels = 300;
  const int channels = script.flag() ? script.below(kMostChannels) : -1 - script.below(kMostChannels);
  void* const object = record->objectRef;
  VstSpeakerArrangement *first = nullptr, *second = nullptr;
  const bool made =
      callSlot<bool, VstSpeakerArrangement**, int>(object, Slot::allocateArrangement, &first, channels);
  expect(made == (channels >= 0), "an arrangement is made of a wrong number of channels");
  if (made) {
    expect(first->channelCount == channels, "an arrangement has another number of channels");
    for (int i = 0; i < channels; ++i)
      std::memset(first->speakers[i].name, 'n', sizeof first->speakers[i].name); // not terminated
    const bool matched = callSlot<bool, VstSpeakerArrangement**, VstSpeakerArrangement*>(
        object, Slot::matchArrangement, &second, first);
    expect(matched && second->channelCount == channels, "an arrangement is not matched");
    if (channels > 0)
      expect(second->speakers[channels - 1].name[63] == '\0', "a loudspeaker's name does not end");
  }
  callSlot<bool, VstSpeakerArrangement**>(object, Slot::deallocateArrangement, &first);
  callSlot<bool, VstSpeakerArrangement**>(object, Slot::deallocateArrangement, &second);
  expect(!first && !second, "an arrangement is not given up");
}

void WatchedEffect::noteParameters() {
  isSane = isSane && model.isInRange();
  pedalStaysAtHeel = pedalStaysAtHeel && model.parameter(4) == 0.0f;
}

void WatchedEffect::notePeak(const double* samples, int count) {
  for (int i = 0; i < count; ++i) {
    if (!(std::abs(samples[i]) <= kLoudestInput)) isSane = false;
    peak = std::max(peak, std::abs(samples[i]));
  }
}

// While the pedal moves, the plain pedal runs the rest of the block anew for every sample.
bool WatchedEffect::twinCanFollow(int frames) {
  if (!twin) return false;
  const double length = std::max(frames, 0);
  twinStepsLeft -= pedalStaysAtHeel ? 8.0 * length : length * (0.5 * length + 8.0);
  if (twinStepsLeft < 0.0) twin.reset();
  return twin != nullptr;
}

int WatchedEffect::process(ScriptBytes& script, int most) {
  static constexpr int kSizes[] = {0,   1,   2,    3,    7,    16,   64,    255,   256,   257,
                                   511, 882, 1024, 4096, 8192, 9000, 17000, 46000, 48001, 60000};
  const int size = script.byte();
  const int kind = script.byte();
  int frames = size < 20 ? kSizes[size] : (size - 20) / 2;
  if (size == 0xFF) frames = std::min(script.int32(), -1);
  frames = std::min(frames, most);
  const std::size_t length = std::max(frames, 0);
  const bool isInPlace = (kind & 1) != 0;
  ExactBuffer<double> input(length, alignof(double) * (kind >> 1 & 3));
  ExactBuffer<double> output(isInPlace ? 0 : length, alignof(double) * (kind >> 3 & 3));
  fillSound(script, input.data(), static_cast<int>(length));

  double* inputs[] = {(kind & 0xE0) == 0x20 ? nullptr : input.data()};
  double* outputs[] = {(kind & 0xE0) == 0x40 ? nullptr : isInPlace ? input.data() : output.data()};
  double** const inputList = (kind & 0xE0) == 0x60 ? nullptr : inputs;
  double** const outputList = (kind & 0xE0) == 0x80 ? nullptr : outputs;
  const std::vector<double> before(input.data(), input.data() + length);
  if (inputList && outputList && inputs[0] && outputs[0]) {
    runBlock(inputs[0], outputs[0], frames);
  } else { // nothing happens
    const HostEnvironment environment(word, true);
    record->processDoubleReplacingEntry(record, inputList, outputList, frames);
  }
  if (outputs[0] != inputs[0] || !inputList || !outputList)
    expect(length == 0 || std::memcmp(before.data(), input.data(), length * sizeof(double)) == 0,
           "a block changes its input");
  return static_cast<int>(length);
}

void WatchedEffect::runBlock(const double* input, double* output, int frames) {
  const int length = std::max(frames, 0);
  const std::vector<double> heard(input, input + length);
  notePeak(input, length);
  {
    double* inputs[] = {const_cast<double*>(input)};
    double* outputs[] = {output};
    const HostEnvironment environment(word, true);
    record->processDoubleReplacingEntry(record, inputs, outputs, frames);
  }
  if (twinCanFollow(frames)) {
    std::vector<double> wanted(length);
    const HostEnvironment environment(word, false);
    twin->process(heard.data(), wanted.data(), frames);
    for (int i = 0; i < length; ++i)
      expect(sameNumber(output[i], wanted[i]), "a block's sound differs from the plain pedal's");
  }
  if (runs)
    checkOutput(output, length);
  else
    expect(length == 0 || std::memcmp(heard.data(), output, length * sizeof(double)) == 0,
           "a block at an unusable rate is not passed through");
}

void WatchedEffect::checkOutput(const double* output, int frames) const {
  if (!isSane) return;
  const double bound = kLargestGain * peak;
  for (int i = 0; i < frames; ++i)
    expect(std::abs(output[i]) <= bound, "a block's sound is beyond its bound");
}

void WatchedEffect::processSingle(ScriptBytes& script) {
  const int frames = script.flag() ? script.int32() : script.below(64);
  const std::size_t length = std::clamp(frames, 0, 64);
  ExactBuffer<float> input(length), output(length);
  std::fill_n(input.data(), length, 0.5f);
  std::fill_n(output.data(), length, -7.25f);
  float* inputs[] = {input.data()};
  float* outputs[] = {output.data()};
  const bool hasLists = script.flag();
  const ProcessEntry entry = script.flag() ? record->processReplacingEntry : record->processAccumulatingEntry;
  {
    const HostEnvironment environment(word, true);
    entry(record, hasLists ? inputs : nullptr, hasLists ? outputs : nullptr, frames);
  }
  for (std::size_t i = 0; i < length; ++i)
    expect(output[i] == -7.25f, "single-precision processing writes");
}
