// The calling thread's arithmetic is the host's: whatever it has set, each call hands back.
#include "tests/support/ControlWord.h"
#include "engine/PedalNumbers.h"
#include "tests/property/Duo.h"
#include "tests/record/Module.h"
#include "tests/support/TestSound.h"
#include "vst/Opcodes.h"

#include <string>
#include <x86intrin.h>

namespace {

constexpr unsigned kWhole = ~0u;                // of the vector unit's word: all of it, ...
constexpr unsigned kControl = ~0x3Fu;           // ... or all but the marks of exceptions met so far
constexpr unsigned short kDefaultX87 = 0x37F;   // the same, with extended precision
constexpr unsigned short kX87Empty = 0xFFFF;    // tags of eight empty registers
constexpr unsigned long kDirectionDown = 0x400; // flag of the string instructions

struct Arithmetic {
  unsigned word; // control and status of the vector unit
  unsigned short x87Control;
  unsigned short x87Tags;
  unsigned long direction;
};

Arithmetic current() {
  struct {
    unsigned short control, gap1, status, gap2, tags, gap3;
    unsigned rest[4];
  } x87;
  asm volatile("fnstenv %0\n\tfldenv %0" : "=m"(x87));
  return {word::read(), x87.control, x87.tags, static_cast<unsigned long>(__readeflags()) & kDirectionDown};
}

// Every rounding mode, with flushing of results and of operands on and off; the x87 unit rounds alike, in
// each of its three precisions.
std::vector<Arithmetic> everyArithmetic() {
  std::vector<Arithmetic> all;
  for (unsigned rounding = 0; rounding < 4; ++rounding)
    for (unsigned flush : {0u, word::kFlush})
      for (unsigned denormals : {0u, word::kTinyOperandsAreZero})
        for (unsigned precision : {0u, 2u, 3u}) {
          const unsigned x87 = (kDefaultX87 & ~0xF00u) | rounding << 10 | precision << 8;
          all.push_back({word::kDefault | rounding << 13 | flush | denormals,
                         static_cast<unsigned short>(x87), kX87Empty, 0});
        }
  return all;
}

void install(const Arithmetic& arithmetic) {
  word::write(arithmetic.word);
  asm volatile("fldcw %0" : : "m"(arithmetic.x87Control));
}

// Makes a call under a host's arithmetic. What the host finds afterwards is compared under the usual one.
class Host {
public:
  explicit Host(const Arithmetic& arithmetic) : own(arithmetic) {}

  // An entry of the record's, which hands back even the marks of exceptions.
  template <typename Call> void enter(const std::string& what, Call entry) const {
    check(what, kWhole, entry);
  }
  // What a host calls beside them may leave some, as any function may.
  template <typename Call> void call(const std::string& what, Call function) const {
    check(what, kControl, function);
  }

private:
  template <typename Call> void check(const std::string& what, unsigned unchanged, Call entry) const {
    const Arithmetic usual = current();
    install(own);
    entry();
    const Arithmetic after = current();
    install(usual);
    CAPTURE(what);
    CAPTURE(own.word);
    CAPTURE(own.x87Control);
    CHECK((after.word & unchanged) == (own.word & unchanged));
    CHECK(after.x87Control == own.x87Control);
    CHECK(after.x87Tags == own.x87Tags);
    CHECK(after.direction == 0u);
  }

  Arithmetic own;
};

void callEveryOpcode(const Host& host, AEffect* record) {
  for (int32_t opcode = -1; opcode < 81; ++opcode) {
    if (opcode == kOpClose) continue;
    for (int32_t index = 0; index < kParameterCount; ++index) { // every parameter has a text of its own
      char buffer[256] = "text";
      void* const place = buffer;
      const bool takesAddress = opcode == kOpGetSpeakerArrangement;
      const intptr_t value = takesAddress ? reinterpret_cast<intptr_t>(&place) : index;
      const float opt = opcode == kOpSetSampleRate ? 8000.0f + static_cast<float>(index) : 0.5f;
      host.enter("opcode " + std::to_string(opcode),
                 [&] { record->dispatchEntry(record, opcode, index, value, buffer, opt); });
    }
  }
}

void callEveryProcessEntry(const Host& host, AEffect* record) {
  std::vector<double> sound = testSound(64);
  for (int i = 0; i < 64; i += 8)
    sound[i] = 1e-310;
  double* inputs[] = {sound.data()};
  double output[64];
  double* outputs[] = {output};
  float single[64] = {};
  float* singles[] = {single};
  for (int samples : {64, 1, 0, -1, 64}) {
    host.enter("double block",
               [&] { record->processDoubleReplacingEntry(record, inputs, outputs, samples); });
    host.enter("single block", [&] { record->processReplacingEntry(record, singles, singles, samples); });
    host.enter("old block", [&] { record->processAccumulatingEntry(record, singles, singles, samples); });
  }
  host.enter("no block", [&] { record->processDoubleReplacingEntry(record, nullptr, nullptr, 64); });
}

void callParameterEntries(const Host& host, AEffect* record) {
  for (int32_t index = -1; index < 6; ++index) {
    host.enter("set a parameter", [&] { record->setParameterEntry(record, index, 0.7f); });
    host.enter("get a parameter", [&] { record->getParameterEntry(record, index); });
  }
}

void callSlots(const Host& host, void* object) {
  char text[64] = {};
  for (int index = 0; index < kParameterCount; ++index)
    host.call("display of a value", [&] {
      callSlot<void, int, float, char*>(object, Slot::getParameterDisplayOf, index, 0.123f, text);
    });
  for (Slot slot : {Slot::dB2string, Slot::ms2string, Slot::Hz2string})
    host.call(nameOf(slot), [&] { callSlot<void, float, char*, int>(object, slot, 0.3f, text, 8); });
  host.call("host's rate", [&] { callSlot<float>(object, Slot::updateSampleRate); });
  host.call("automation", [&] { callSlot<void, int, float>(object, Slot::setParameterAutomated, 4, 0.25f); });
  host.call("program", [&] { callSlot<void, long>(object, Slot::setProgramLong, 3); });
}

void liveUnder(const Arithmetic& arithmetic, const char* factoryName) {
  const Host host(arithmetic);
  const ModuleFactory factory = moduleFactory(factoryName);
  PlainHandle* handle = nullptr;
  host.call("factory without a host", [&] { handle = factory(nullptr); });
  CHECK(handle == nullptr);
  host.call(factoryName, [&] { handle = factory(plainHost); });
  REQUIRE(handle);
  AEffect* record = handle->effect;
  callEveryProcessEntry(host, record); // no rate yet: it passes through
  callEveryOpcode(host, record);
  for (float rate : {0.0f, 62.5f, 44100.0f, 1e20f, 48000.0f}) // some pass through, some run
    host.enter("rate", [&] { record->dispatchEntry(record, kOpSetSampleRate, 0, 0, nullptr, rate); });
  callParameterEntries(host, record);
  callEveryProcessEntry(host, record);
  callSlots(host, record->objectRef);
  callEveryProcessEntry(host, record);
  host.enter("close", [&] { closeEffect(record); });
  host.call("delete the handle", [&] { deleteHandle(handle); });
}

} // namespace

TEST_CASE("every call hands the host's arithmetic back") {
  for (const char* factory : kFactoryNames)
    for (const Arithmetic& arithmetic : everyArithmetic())
      liveUnder(arithmetic, factory);
}

TEST_CASE("the comparison of arithmetic trips") {
  const Arithmetic usual = current();
  Arithmetic other = usual;
  other.word ^= 0x2000;
  other.x87Control ^= 0x400;
  install(other);
  const Arithmetic seen = current();
  install(usual);
  CHECK(seen.word == other.word);
  CHECK(seen.x87Control == other.x87Control);
  asm volatile("fld1");
  const Arithmetic loaded = current();
  asm volatile("fstp %st(0)");
  CHECK(loaded.x87Tags != kX87Empty);
  CHECK(current().x87Tags == kX87Empty);
  asm volatile("std");
  const unsigned long down = __readeflags() & kDirectionDown;
  asm volatile("cld");
  CHECK(down == kDirectionDown);
}

namespace {

// Puts the vector unit's word back at the end of a scope, however it ends.
class Word {
public:
  explicit Word(unsigned bits) { word::write(bits); }
  ~Word() { word::write(usual); }
  Word(const Word&) = delete;
  Word& operator=(const Word&) = delete;

private:
  unsigned usual = word::read();
};

constexpr unsigned kFlushes[] = {0u, word::kFlush, word::kTinyOperandsAreZero,
                                 word::kFlush | word::kTinyOperandsAreZero};

// All colours with a pedal that moves and rests. side: takes the parameters. block: plays that many samples.
template <typename Side, typename Block> void playEveryColor(Side& side, Block block) {
  for (int color = 0; color < kColorCount; ++color) {
    side.setParameter(kColor, colorParameter(color));
    side.setParameter(kPedalPos, 0.1f * static_cast<float>(color));
    side.setParameter(kTone, 1.0f - 0.1f * static_cast<float>(color));
    side.setParameter(kOnOff, color == 5 ? 0.0f : 1.0f);
    for (int samples : {150, 150, 1, 150, 600})
      block(samples);
  }
}

std::vector<double> heardUnder(unsigned bits) {
  const Word hosts(bits);
  ModulePedal module;
  module.setSampleRate(8000.0f);
  std::vector<double> heard;
  playEveryColor(module, [&](int samples) {
    std::vector<double> sound = testSound(samples, static_cast<int>(heard.size()));
    module.process(sound.data(), sound.data(), samples);
    heard.insert(heard.end(), sound.begin(), sound.end());
  });
  return heard;
}

} // namespace

TEST_CASE("the sound is the plain pedal's whatever the host flushes") {
  for (unsigned flush : kFlushes) {
    CAPTURE(flush);
    const Word hosts(word::kDefault | flush);
    Duo duo(8000.0f);
    playEveryColor(*duo.operator->(), [&](int samples) {
      duo.block(samples);
      duo.blockOf(std::vector<double>(samples, -1e-310), samples);
    });
  }
}

// Which numbers count as zero may differ between setting up and blocks, and then one float means two pedals.
TEST_CASE("a denormal pedal is what the host's arithmetic takes it for while blocks run") {
  constexpr float kPedals[] = {-4.2e-45f, 4.2e-45f, -1e-40f, 1e-40f};
  for (unsigned inSetUp : kFlushes) {
    for (unsigned inBlocks : kFlushes) {
      CAPTURE(inSetUp);
      CAPTURE(inBlocks);
      Duo duo;
      for (int round = 0; round < 32; ++round) {
        {
          const Word hosts(word::kDefault | inSetUp);
          duo->setParameter(kColor, colorParameter(round / 4));
          duo->setParameter(kPedalPos, kPedals[round % 4]);
          duo->setSampleRate(round % 2 == 0 ? 8000.0f : 11025.0f);
        }
        const Word hosts(word::kDefault | inBlocks);
        duo.blocks(4, 50);
      }
    }
  }
}

// Rounded another way, samples differ in their last bits, and a tap may jump a sample sooner or later, where
// it is nearly silent.
TEST_CASE("the sound is the same to the ear however the host rounds") {
  const std::vector<double> usual = heardUnder(word::kDefault);
  for (unsigned rounding : {0x2000u, 0x4000u, 0x6000u}) {
    for (unsigned flush : kFlushes) {
      CAPTURE(rounding);
      CAPTURE(flush);
      const std::vector<double> heard = heardUnder(word::kDefault | rounding | flush);
      double largest = 0.0;
      for (std::size_t i = 0; i < usual.size(); ++i)
        largest = std::max(largest, std::abs(heard[i] - usual[i]));
      CHECK(largest > 0.0);
      CHECK(largest < 1e-3); // -60 dB
    }
  }
}
