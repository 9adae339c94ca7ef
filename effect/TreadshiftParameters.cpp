// Parameters, programs and their texts. [any thread]
#include "effect/Treadshift.h"

#include "effect/SharedField.h"
#include "engine/PedalNumbers.h"

#include <cstdio>
#include <cstring>

namespace {

constexpr const char* kParameterNames[kParameterCount] = {"On/Off", "Mode", "Tone", "Color", "PedalPos"};
constexpr char kEffectName[] = "NEW Treadshift";
constexpr char kVendor[] = "QUON Corporation";
// The model, for whoever looks into the file. No operation answers it, so an attribute has to keep it there.
[[gnu::used]] constexpr char kModel[] = "QUON X3p H6.4p";

constexpr int kDisplayCharacters = 8; // hosts give a display 9 bytes
constexpr float kKnobScale = 10.0f;   // continuous parameters show 0..10
constexpr float kKnobStep = 0.01f;
constexpr std::size_t kNumberedNameBytes = 36; // a name, a blank, any int, the terminator
constexpr int kVendorVersion = 1000;
constexpr int kCategoryEffect = 1;

bool isParameter(int index) { return index >= 0 && index < kParameterCount; }

bool copyText(char* text, const char* source) {
  if (!text) return false;
  std::strcpy(text, source);
  return true;
}

void copyDisplay(char* text, const char* source) {
  std::strncpy(text, source, kDisplayCharacters);
  text[kDisplayCharacters] = '\0';
}

// A switch is on at exactly 1, not above one half; NaN, which is neither above nor below 1, counts as on.
bool showsAsOn(float value) { return !(value < 1.0f) && !(value > 1.0f); }

// NaN, which sounds as row 7, shows as row 0.
char colorDigit(float value) { return static_cast<char>('0' + (value != value ? 0 : colorOf(value))); }

} // namespace

// Null for an index that is no parameter's.
float* Treadshift::liveField(int index) {
  switch (index) {
  case kOnOff:
    return &onOff;
  case kMode:
    return &mode;
  case kTone:
    return &tone;
  case kColor:
    return &color;
  case kPedalPos:
    return &pedalPos;
  default:
    return nullptr;
  }
}

TreadshiftProgram* Treadshift::programAt(int number) const {
  return number >= 0 && number < programCount ? &programs[number] : nullptr;
}

// Null while the host has stored a number that is no program's.
TreadshiftProgram* Treadshift::liveProgram() { return programAt(loadShared(currentProgram)); }

void Treadshift::setParameter(int index, float value) {
  float* field = liveField(index);
  if (!field) return;
  if (TreadshiftProgram* program = liveProgram()) storeShared(program->values[index], value);
  storeShared(*field, value);
}

float Treadshift::getParameter(int index) {
  float* field = liveField(index);
  return field ? loadShared(*field) : 0.0f;
}

void Treadshift::setProgram(long program) {
  if (program < 0 || program >= programCount) return;
  const CriticalSectionHolder holder(lock);
  storeShared(currentProgram, static_cast<int32_t>(program));
  for (int index = 0; index < kParameterCount; ++index)
    setParameter(index, loadShared(programs[program].values[index]));
}

void Treadshift::setProgramName(char* text) {
  TreadshiftProgram* program = liveProgram();
  if (program && text) program->setName(text);
}

void Treadshift::getProgramName(char* text) {
  if (!text) return;
  const int number = loadShared(currentProgram);
  const TreadshiftProgram* program = programAt(number);
  if (!program)
    copyText(text, "");
  else if (program->isUnnamed())
    std::snprintf(text, kNumberedNameBytes, "%s %d", program->name, number + 1);
  else
    copyText(text, program->name);
}

// No lower bound on purpose: a negative index is answered, with the empty name.
bool Treadshift::getProgramNameIndexed(int, int index, char* text) {
  if (index >= programCount) return false;
  const TreadshiftProgram* program = programAt(index);
  return copyText(text, program ? program->name : "");
}

void Treadshift::getParameterName(int index, char* text) {
  if (isParameter(index)) copyText(text, kParameterNames[index]);
}

void Treadshift::getParameterLabel(int index, char* text) {
  if (isParameter(index)) copyText(text, "");
}

void Treadshift::getParameterDisplay(int index, char* text) {
  if (float* field = liveField(index)) getParameterDisplayOf(index, loadShared(*field), text);
}

void Treadshift::getParameterDisplayOf(int index, float value, char* text) {
  if (!text) return;
  switch (index) {
  case kOnOff:
    copyDisplay(text, showsAsOn(value) ? "on" : "off");
    break;
  case kMode:
    copyDisplay(text, showsAsOn(value) ? "Bass" : "Guitar");
    break;
  case kColor: {
    const char digit[] = {colorDigit(value), '\0'};
    copyDisplay(text, digit);
    break;
  }
  case kTone:
  case kPedalPos:
    float2string(value * kKnobScale, text, kDisplayCharacters);
    text[kDisplayCharacters] = '\0'; // also when the number was too large to show
    break;
  default:
    break;
  }
}

bool Treadshift::getParameterProperties(int index, VstParameterProperties* properties) {
  if (!properties || !isParameter(index)) return false;
  auto* bytes = reinterpret_cast<unsigned char*>(properties);
  std::memset(bytes, 0, kParameterPropertiesBytes);
  switch (index) {
  case kOnOff:
  case kMode:
    properties->flags = kParameterIsSwitch;
    break;
  case kColor:
    properties->flags = kParameterUsesIntegerRange;
    properties->integerMaximum = 7;
    properties->integerStep = 1;
    break;
  default:
    properties->flags = kParameterUsesFloatStep;
    properties->floatStep = kKnobStep;
  }
  getParameterLabel(index, properties->label);
  bytes[kParameterPropertiesExtraByte] = 1;
  return true;
}

// The product is the effect's name on purpose.
bool Treadshift::getEffectName(char* text) { return copyText(text, kEffectName); }
bool Treadshift::getProductString(char* text) { return copyText(text, kEffectName); }
bool Treadshift::getVendorString(char* text) { return copyText(text, kVendor); }
int Treadshift::getVendorVersion() { return kVendorVersion; }
int Treadshift::getPlugCategory() { return kCategoryEffect; }

int Treadshift::getNumOfInJacks() { return 1; }
int Treadshift::getNumOfOutJacks() { return 1; }
int Treadshift::getNumOfInSig(int) { return 1; }
int Treadshift::getNumOfOutSig(int) { return 1; }
int Treadshift::getStartNumInSig(int) { return 0; }
int Treadshift::getStartNumOutSig(int) { return 0; }
int Treadshift::getDryInSigNum() { return -1; }
