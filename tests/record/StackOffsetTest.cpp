// Hosts of the 32-bit interface keep the stack aligned to 4 bytes at most. Every door of the module is
// called here with the stack 0, 4, 8 and 12 bytes off a multiple of 16, and must work and give the same bits.
#include "engine/PedalNumbers.h"
#include "tests/record/Module.h"
#include "tests/support/Bits.h"
#include "tests/support/TestSound.h"
#include "vst/Opcodes.h"

#include <doctest/doctest.h>

#include <array>
#include <vector>

// Copies `count` argument words to a stack that is `offset` bytes below a multiple of 16, calls the function
// there, and hands its result on, wherever the result is (a register or the floating-point stack).
asm(R"(
.text
.type callWithStackOffset, @function
callWithStackOffset:
  push %ebp
  mov %esp, %ebp
  push %esi
  push %edi
  push %ebx
  mov 12(%ebp), %esi
  mov 16(%ebp), %ecx
  lea (,%ecx,4), %eax
  sub %eax, %esp
  and $-16, %esp
  sub 20(%ebp), %esp
  mov %esp, %edi
  cld
  rep movsl
  call *8(%ebp)
  lea -12(%ebp), %esp
  pop %ebx
  pop %edi
  pop %esi
  pop %ebp
  ret
.size callWithStackOffset, . - callWithStackOffset

.type stackOffsetAtEntry, @function
stackOffsetAtEntry:
  lea 4(%esp), %eax
  neg %eax
  and $15, %eax
  ret
.size stackOffsetAtEntry, . - stackOffsetAtEntry
)");

using Words = std::vector<uint32_t>;

extern "C" {
uint32_t callWithStackOffset(void* function, const uint32_t* words, uint32_t count, uint32_t offset);
float callFloatWithStackOffset(void* function, const uint32_t* words, uint32_t count,
                               uint32_t offset) asm("callWithStackOffset");
uint32_t stackOffsetAtEntry();
}

namespace {

constexpr uint32_t kOffsets[] = {0, 4, 8, 12};

template <typename Value> uint32_t word(Value value) {
  static_assert(sizeof(Value) == 4);
  return std::bit_cast<uint32_t>(value);
}
template <typename Result, typename... Arguments> void* code(Result (*function)(Arguments...)) {
  return reinterpret_cast<void*>(function);
}

// Calls with every argument a word, at one stack offset.
struct OddHost {
  uint32_t offset;

  template <typename... Arguments> uint32_t call(void* function, Arguments... arguments) const {
    const Words words = {word(arguments)...};
    return callWithStackOffset(function, words.data(), static_cast<uint32_t>(words.size()), offset);
  }
  template <typename... Arguments> float callFloat(void* function, Arguments... arguments) const {
    const Words words = {word(arguments)...};
    return callFloatWithStackOffset(function, words.data(), static_cast<uint32_t>(words.size()), offset);
  }
  template <typename... Arguments> uint32_t slot(AEffect* record, Slot number, Arguments... arguments) const {
    void* function = slotFunction<void*>(record->objectRef, number);
    return call(function, record->objectRef, arguments...);
  }
  void send(AEffect* record, int32_t opcode, int32_t index, intptr_t value, void* ptr, float opt) const {
    call(code(record->dispatchEntry), record, opcode, index, value, ptr, opt);
  }
};

// A whole session of a host with its stack off: what it hears and what it reads.
struct Heard {
  std::vector<double> audio;
  std::vector<float> values;
  std::string texts;
};

Heard playThrough(const OddHost& host, const char* factoryName) {
  Heard heard;
  auto* handle = reinterpret_cast<PlainHandle*>(host.call(code(moduleFactory(factoryName)), code(plainHost)));
  REQUIRE(handle);
  AEffect* record = handle->effect;
  host.send(record, kOpOpen, 0, 0, nullptr, 0.0f);
  host.send(record, kOpSetSampleRate, 0, 0, nullptr, 44100.0f);
  host.send(record, kOpSetBlockSize, 0, 256, nullptr, 0.0f);
  host.send(record, kOpResumeOrSuspend, 0, 1, nullptr, 0.0f);

  for (int block = 0; block < 24; ++block) {
    const auto set = [&](int32_t index, float value) {
      host.call(code(record->setParameterEntry), record, index, value);
    };
    set(kPedalPos, static_cast<float>(block % 7) / 6.0f);
    set(kColor, static_cast<float>(block / 6) / 4.0f);
    set(kTone, static_cast<float>(block % 5) / 4.0f);
    std::vector<double> sound = testSound(256, 256 * block);
    double* channels[] = {sound.data()};
    host.call(code(record->processDoubleReplacingEntry), record, static_cast<double**>(channels),
              static_cast<double**>(channels), int32_t{256});
    heard.audio.insert(heard.audio.end(), sound.begin(), sound.end());
  }
  float* none[] = {nullptr};
  host.call(code(record->processReplacingEntry), record, static_cast<float**>(none),
            static_cast<float**>(none), int32_t{0});
  host.call(code(record->processAccumulatingEntry), record, static_cast<float**>(none),
            static_cast<float**>(none), int32_t{0});

  for (int32_t index = 0; index < 5; ++index) {
    heard.values.push_back(host.callFloat(code(record->getParameterEntry), record, index));
    char text[16] = {};
    host.send(record, kOpGetParameterDisplay, index, 0, text, 0.0f);
    heard.texts += std::string(text) + '|';
    host.slot(record, Slot::getParameterDisplayOf, index, 0.3f, static_cast<char*>(text));
    heard.texts += std::string(text) + '|';
  }
  char text[32] = {};
  host.slot(record, Slot::dB2string, 0.3f, static_cast<char*>(text), int32_t{20});
  heard.texts += std::string(text) + '|';
  host.slot(record, Slot::ms2string, 100.0f, static_cast<char*>(text), int32_t{20});
  heard.texts += std::string(text) + '|';
  heard.texts += std::to_string(host.slot(record, Slot::getNumOfInSig, int32_t{3}));
  heard.texts += std::to_string(host.slot(record, Slot::getVendorVersion));
  host.slot(record, Slot::setProgramLong, long{2});
  heard.values.push_back(host.callFloat(code(record->getParameterEntry), record, int32_t{4}));

  CHECK(host.call(code(record->dispatchEntry), record, int32_t{kOpClose}, int32_t{0}, intptr_t{0}, nullptr,
                  0.0f) == 1);
  host.call(handle->table[1], handle);
  return heard;
}

} // namespace

TEST_CASE("the trampoline puts the stack off by as much as it says") {
  for (uint32_t offset : kOffsets)
    CHECK(OddHost{offset}.call(code(stackOffsetAtEntry)) == offset);
}

TEST_CASE("a host with its stack off hears and reads the same") {
  for (const char* factory : kFactoryNames) {
    const Heard aligned = playThrough(OddHost{0}, factory);
    CHECK(*std::ranges::max_element(aligned.audio) > 0.01);
    CHECK(aligned.texts.find(" 3.00|") != std::string::npos);
    for (uint32_t offset : kOffsets) {
      CAPTURE(offset);
      const Heard heard = playThrough(OddHost{offset}, factory);
      CHECK(sameBits(heard.audio, aligned.audio));
      CHECK(heard.values == aligned.values);
      CHECK(heard.texts == aligned.texts);
    }
  }
}

TEST_CASE("a throwing host with its stack off is contained") {
  const HostCallback throwing =
      +[](AEffect*, int32_t, int32_t, intptr_t, void*, float) -> intptr_t { throw 1; };
  for (const char* factory : kFactoryNames) {
    for (uint32_t offset : kOffsets)
      CHECK(OddHost{offset}.call(code(moduleFactory(factory)), code(throwing)) == 0);
  }
}
