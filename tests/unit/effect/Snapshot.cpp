#include "Snapshot.h"

#include "tests/unit/dsp/Bits.h"

#include <cstring>

namespace {

template <typename Value> uint64_t fieldBits(const Value& value) {
  static_assert(sizeof(Value) <= sizeof(uint64_t));
  uint64_t bits = 0;
  std::memcpy(&bits, &value, sizeof value);
  return bits;
}

template <typename Value> std::vector<uint64_t> arrayBits(const Value* values, int count) {
  std::vector<uint64_t> bits;
  for (int i = 0; values && i < count; ++i)
    bits.push_back(fieldBits(values[i]));
  return bits;
}

void addFilter(Snapshot& shot, const std::string& name, const IIRFilter* filter) {
  shot[name] = {fieldBits(filter)};
  if (!filter) return;
  shot[name + " state"] = {fieldBits(filter->state1), fieldBits(filter->state2)};
  shot[name + " design"] = {fieldBits(filter->ff0), fieldBits(filter->ff1), fieldBits(filter->ff2),
                            fieldBits(filter->fb1), fieldBits(filter->fb2)};
}

void addSweep(Snapshot& shot, const lfoTriangle* lfo) {
  shot["sweepLfo"] = {fieldBits(lfo)};
  if (!lfo) return;
  shot["sweepLfo phase"] = {fieldBits(lfo->phase)};
  shot["sweepLfo falling"] = {fieldBits(lfo->falling)};
  shot["sweepLfo lastRate"] = {fieldBits(lfo->lastRate)};
  shot["sweepLfo firstCall"] = {fieldBits(lfo->firstCall)};
  shot["sweepLfo value"] = {fieldBits(lfo->value), fieldBits(lfo->step)};
}

void addSwitch(Snapshot& shot, const std::string& name, const ParamSwitch* fade) {
  shot[name] = {fieldBits(fade)};
  if (!fade) return;
  shot[name + " walk"] = {fieldBits(fade->position), fieldBits(fade->state)};
  shot[name + " lastValue"] = {fieldBits(fade->lastValue)};
  shot[name + " lastBlockSize"] = {fieldBits(fade->lastBlockSize)};
  shot[name + " tables"] = {fieldBits(fade->fadeInTable), fieldBits(fade->fadeOutTable),
                            fieldBits(fade->length)};
}

void addParameters(Snapshot& shot, const ExposedTreadshift& e) {
  shot["onOff"] = {fieldBits(e.onOff)};
  shot["mode"] = {fieldBits(e.mode)};
  shot["tone"] = {fieldBits(e.tone)};
  shot["color"] = {fieldBits(e.color)};
  shot["pedalPos"] = {fieldBits(e.pedalPos)};
  shot["currentProgram"] = {fieldBits(e.currentProgram)};
  for (int program = 0; program < 16; ++program)
    shot["program " + std::to_string(program)] = arrayBits(e.programs[program].values, kParameterCount);
}

void addRate(Snapshot& shot, const ExposedTreadshift& e) {
  shot["rate"] = {fieldBits(e.rateHz),         fieldBits(e.rateHzInt),      fieldBits(e.delayLength),
                  fieldBits(e.minDelay),       fieldBits(e.sweepLength),    fieldBits(e.sweepLengthInv),
                  fieldBits(e.toneCurveSeed1), fieldBits(e.toneCurveSeed2), fieldBits(e.toneCurveSeed3),
                  fieldBits(e.toneCurveSeed4)};
  shot["curves"] = arrayBits(e.toneCurves, 4);
}

void addControl(Snapshot& shot, const ExposedTreadshift& e) {
  shot["range"] = {fieldBits(e.centsAtHeel), fieldBits(e.centsAtToe), fieldBits(e.mixMode)};
  shot["pitch"] = {fieldBits(e.cents), fieldBits(e.pitchRatio), fieldBits(e.sweepRate)};
  shot["lastCents"] = {fieldBits(e.lastCents)};
  shot["gains"] = {fieldBits(e.dryGain), fieldBits(e.wetGain)};
  shot["toneCoef"] = arrayBits(e.toneCoef, 4);
  shot["prevToneCoef"] = arrayBits(e.prevToneCoef, 4);
  shot["firstBlock"] = {fieldBits(e.firstBlock)};
  shot["lastTone"] = {fieldBits(e.lastTone)};
  shot["lastPedal"] = {fieldBits(e.lastPedal)};
  shot["lastSmoothedPedal"] = {fieldBits(e.lastSmoothedPedal)};
}

void addSound(Snapshot& shot, const ExposedTreadshift& e) {
  shot["delayLine"] = arrayBits(e.delayLine, e.delayLine ? e.delayLength : 0);
  shot["delayLine place"] = {fieldBits(e.delayLine)};
  shot["writeIndex"] = {fieldBits(e.writeIndex)};
  shot["taps"] = {fieldBits(e.tapPos1), fieldBits(e.tapPos2)};
  shot["toneStates"] = {fieldBits(e.toneLowState), fieldBits(e.toneHighState)};
  shot["lastBlockSize"] = {fieldBits(e.lastBlockSize)};
  shot["block buffers"] = {fieldBits(e.sweepBuffer), fieldBits(e.onOffGain), fieldBits(e.colorGain)};
  shot["constants"] = {fieldBits(e.centsToOctaves), fieldBits(e.halfPi), fieldBits(e.spareTime),
                       fieldBits(e.spareLevel), fieldBits(e.spareZero)};
}

} // namespace

Snapshot snapshotOf(const ExposedTreadshift& effect) {
  Snapshot shot;
  addParameters(shot, effect);
  addRate(shot, effect);
  addControl(shot, effect);
  addSound(shot, effect);
  addFilter(shot, "pedalSmoother", effect.pedalSmoother);
  addFilter(shot, "shiftFilter", effect.shiftFilter);
  addSweep(shot, effect.sweepLfo);
  addSwitch(shot, "onOffSwitch", effect.onOffSwitch);
  addSwitch(shot, "colorSwitch", effect.colorSwitch);
  return shot;
}

std::set<std::string> changedFields(const Snapshot& before, const Snapshot& after) {
  std::set<std::string> changed;
  for (const auto& [name, bits] : after) {
    const auto found = before.find(name);
    if (found == before.end() || found->second != bits) changed.insert(name);
  }
  for (const auto& [name, bits] : before)
    if (!after.contains(name)) changed.insert(name);
  return changed;
}
