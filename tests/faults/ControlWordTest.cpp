// The calling thread's arithmetic is the host's: whatever it has set, each call hands back.
#include "tests/property/Duo.h"
#include "tests/record/Module.h"
#include "vst/Opcodes.h"

#include <string>
#include <x86intrin.h>

namespace {

constexpr unsigned kWhole = ~0u;                // of the vector unit's word: all of it, ...
constexpr unsigned kControl = ~0x3Fu;           // ... or all but the marks of exceptions met so far
constexpr unsigned kDefaultWord = 0x1F80;       // round to nearest, exceptions masked
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
  return {_mm_getcsr(), x87.control, x87.tags, static_cast<unsigned long>(__readeflags()) & kDirectionDown};
}

// Every rounding mode, with flushing of results and of operands on and off; the x87 unit rounds alike, in
// each of its three precisions.
std::vector<Arithmetic> everyArithmetic() {
  std::vector<Arithmetic> all;
  for (unsigned rounding = 0; rounding < 4; ++rounding)
    for (unsigned flush : {0u, 0x8000u})
      for (unsigned denormals : {0u, 0x40u})
        for (unsigned precision : {0u, 2u, 3u}) {
          const unsigned x87 = (kDefaultX87 & ~0xF00u) | rounding << 10 | precision << 8;
          all.push_back({kDefaultWord | rounding << 13 | flush | denormals, static_cast<unsigned short>(x87),
                         kX87Empty, 0});
        }
  return all;
}

void install(const Arithmetic& arithmetic) {
  _mm_setcsr(arithmetic.word);
  asm volatile("fldcw %0" : : "m"(arithmetic.x87Control));
}

// Makes a call under a host's arithmetic. What the host finds afterwards is compared under the usual one.
class Host {
public:
  explicit Host(const Arithmetic& arithmetic) : own(arithmetic) {}

  // `unchanged`: the bits of the word that must be as before.
  template <typename Call> auto call(const std::string& what, unsigned unchanged, Call entry) const {
    const Arithmetic usual = current();
    install(own);
    if constexpr (std::is_void_v<decltype(entry())>) {
      entry();
      compare(what, unchanged, usual);
    } else {
      const auto answer = entry();
      compare(what, unchanged, usual);
      return answer;
    }
  }
  template <typename Call> auto call(const std::string& what, Call entry) const {
    return call(what, kWhole, entry);
  }

private:
  void compare(const std::string& what, unsigned unchanged, const Arithmetic& usual) const {
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

std::string opcodeName(int32_t opcode) { return "opcode " + std::to_string(opcode); }

void callEveryOpcode(const Host& host, AEffect* record) {
  for (int32_t opcode = -1; opcode < 81; ++opcode) {
    if (opcode == kOpClose) continue;
    for (int32_t index = 0; index < 5; ++index) { // every parameter has a text of its own
      char buffer[256] = "text";
      void* const place = buffer;
      const bool takesAddress = opcode == kOpGetSpeakerArrangement;
      const intptr_t value = takesAddress ? reinterpret_cast<intptr_t>(&place) : index;
      const float opt = opcode == kOpSetSampleRate ? 8000.0f + static_cast<float>(index) : 0.5f;
      host.call(opcodeName(opcode),
                [&] { return record->dispatchEntry(record, opcode, index, value, buffer, opt); });
    }
  }
}

void callEveryProcessEntry(const Host& host, AEffect* record) {
  double input[64], output[64];
  for (int i = 0; i < 64; ++i)
    input[i] = i % 8 == 0 ? 1e-310 : std::sin(0.3 * i);
  double* inputs[] = {input};
  double* outputs[] = {output};
  float single[64] = {};
  float* singles[] = {single};
  for (int samples : {64, 1, 0, -1, 64}) {
    host.call("double block", [&] { record->processDoubleReplacingEntry(record, inputs, outputs, samples); });
    host.call("single block", [&] { record->processReplacingEntry(record, singles, singles, samples); });
    host.call("accumulating block",
              [&] { record->processAccumulatingEntry(record, singles, singles, samples); });
  }
  host.call("no block", [&] { record->processDoubleReplacingEntry(record, nullptr, nullptr, 64); });
}

void callParameterEntries(const Host& host, AEffect* record) {
  for (int32_t index = -1; index < 6; ++index) {
    host.call("set a parameter", [&] { record->setParameterEntry(record, index, 0.7f); });
    host.call("get a parameter", [&] { return record->getParameterEntry(record, index); });
  }
}

// The record's entries hand back even the marks of exceptions; what a host calls without them may leave some,
// as any function may.
void callSlots(const Host& host, void* object) {
  char text[64] = {};
  for (int index = 0; index < 5; ++index)
    host.call("display of a value", kControl, [&] {
      callSlot<void, int, float, char*>(object, Slot::getParameterDisplayOf, index, 0.123f, text);
    });
  host.call("decibels", kControl,
            [&] { callSlot<void, float, char*, int>(object, Slot::dB2string, 0.3f, text, 8); });
  host.call("milliseconds", kControl,
            [&] { callSlot<void, float, char*, int>(object, Slot::ms2string, 77.0f, text, 8); });
  host.call("hertz", kControl,
            [&] { callSlot<void, float, char*, int>(object, Slot::Hz2string, 77.0f, text, 8); });
  host.call("host's rate", kControl, [&] { return callSlot<float>(object, Slot::updateSampleRate); });
  host.call("automation", kControl,
            [&] { callSlot<void, int, float>(object, Slot::setParameterAutomated, 4, 0.25f); });
  host.call("program", kControl, [&] { callSlot<void, long>(object, Slot::setProgramLong, 3); });
}

void liveUnder(const Arithmetic& arithmetic, const char* factoryName) {
  const Host host(arithmetic);
  const ModuleFactory factory = moduleFactory(factoryName);
  CHECK(host.call("factory without a host", kControl, [&] { return factory(nullptr); }) == nullptr);
  PlainHandle* handle = host.call(factoryName, kControl, [&] { return factory(plainHost); });
  REQUIRE(handle);
  AEffect* record = handle->effect;
  callEveryProcessEntry(host, record); // no rate yet: it passes through
  callEveryOpcode(host, record);
  for (float rate : {0.0f, 62.5f, 44100.0f, 1e20f, 48000.0f}) // some pass through, some run
    host.call("rate", [&] { return record->dispatchEntry(record, kOpSetSampleRate, 0, 0, nullptr, rate); });
  callParameterEntries(host, record);
  callEveryProcessEntry(host, record);
  callSlots(host, record->objectRef);
  callEveryProcessEntry(host, record);
  host.call("close", [&] { return record->dispatchEntry(record, kOpClose, 0, 0, nullptr, 0.0f); });
  host.call("delete the handle", kControl, [&] { deleteHandle(handle); });
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
  explicit Word(unsigned word) : usual(_mm_getcsr()) { _mm_setcsr(word); }
  ~Word() { _mm_setcsr(usual); }
  Word(const Word&) = delete;
  Word& operator=(const Word&) = delete;

private:
  unsigned usual;
};

constexpr unsigned kFlushes[] = {0u, 0x8000u, 0x40u, 0x8040u}; // results, operands

// All rows with a pedal that moves and rests. side: takes the parameters. block: plays that many samples.
template <typename Side, typename Block> void playEveryRow(Side& side, Block block) {
  for (int row = 0; row < 8; ++row) {
    side.setParameter(3, 0.125f * static_cast<float>(row));
    side.setParameter(4, 0.1f * static_cast<float>(row));
    side.setParameter(2, 1.0f - 0.1f * static_cast<float>(row));
    side.setParameter(0, row == 5 ? 0.0f : 1.0f);
    for (int samples : {150, 150, 1, 150, 3000})
      block(samples);
  }
}

std::vector<double> heardUnder(unsigned word) {
  const Word hosts(word);
  ModulePedal module;
  module.setSampleRate(8000.0f);
  std::vector<double> heard;
  playEveryRow(module, [&](int samples) {
    std::vector<double> sound(samples);
    for (double& sample : sound) {
      sample = std::fmod(0.618034 * static_cast<double>(heard.size() + 1), 1.0) - 0.5;
      heard.push_back(0.0);
    }
    module.process(sound.data(), heard.data() + heard.size() - samples, samples);
  });
  return heard;
}

} // namespace

TEST_CASE("the sound is the plain pedal's whatever the host flushes") {
  for (unsigned flush : kFlushes) {
    CAPTURE(flush);
    const Word hosts(kDefaultWord | flush);
    Duo duo(8000.0f);
    playEveryRow(*duo.operator->(), [&](int samples) {
      duo.block(samples);
      duo.blockOf(std::vector<double>(samples, -1e-310), samples);
    });
  }
}

// Which numbers count as zero may differ between setting up and blocks, and then one float means two pedals.
TEST_CASE("a denormal pedal is what the host's arithmetic takes it for while blocks run") {
  for (unsigned inSetUp : kFlushes) {
    for (unsigned inBlocks : kFlushes) {
      CAPTURE(inSetUp);
      CAPTURE(inBlocks);
      Duo duo;
      for (int round = 0; round < 32; ++round) {
        {
          const Word hosts(kDefaultWord | inSetUp);
          constexpr float kPedals[] = {-4.2e-45f, 4.2e-45f, -1e-40f, 1e-40f};
          duo->setParameter(3, 0.125f * static_cast<float>(round / 4));
          duo->setParameter(4, kPedals[round % 4]);
          duo->setSampleRate(round % 2 == 0 ? 8000.0f : 11025.0f);
        }
        const Word hosts(kDefaultWord | inBlocks);
        duo.blocks(4, 50);
      }
    }
  }
}

// Rounded another way, samples differ in their last bits, and a tap may jump a sample sooner or later, where
// it is nearly silent.
TEST_CASE("the sound is the same to the ear however the host rounds") {
  const std::vector<double> usual = heardUnder(kDefaultWord);
  for (unsigned rounding = 1; rounding < 4; ++rounding) {
    for (unsigned flush : kFlushes) {
      CAPTURE(rounding);
      CAPTURE(flush);
      const std::vector<double> heard = heardUnder(kDefaultWord | rounding << 13 | flush);
      double largest = 0.0;
      for (std::size_t i = 0; i < usual.size(); ++i)
        largest = std::max(largest, std::abs(heard[i] - usual[i]));
      CHECK(largest > 0.0);
      CHECK(largest < 1e-3); // -60 dB
    }
  }
}
