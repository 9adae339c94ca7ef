// Speaker arrangements: made, copied, matched, released, and what is left when memory is short.
#include "tests/support/Allocations.h"
#include "tests/unit/vst/BareEffect.h"

#include <doctest/doctest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <new>
#include <string>

namespace {

constexpr std::size_t kSane = 1u << 26; // bytes that a test may take

bool allZero(const void* block, std::size_t bytes) {
  const auto* byte = static_cast<const unsigned char*>(block);
  return std::all_of(byte, byte + bytes, [](unsigned char value) { return value == 0; });
}

VstSpeakerProperties speaker(int seed) {
  VstSpeakerProperties made{};
  for (int axis = 0; axis < 4; ++axis)
    made.position[axis] = static_cast<float>(seed) + 0.25f * static_cast<float>(axis);
  std::snprintf(made.name, sizeof made.name, "speaker %d", seed);
  made.type = 100 + seed;
  for (int byte = 0; byte < 28; ++byte)
    made.reserved[byte] = static_cast<uint8_t>(seed + byte);
  return made;
}

bool same(const VstSpeakerProperties& one, const VstSpeakerProperties& other) {
  return std::memcmp(&one, &other, sizeof one) == 0;
}

using Arrangement = VstSpeakerArrangement;

// The four operations through the table.
bool make(BareEffect& bare, Arrangement*& held, int channels) {
  return bare.slot<bool, Arrangement**, int>(Slot::allocateArrangement, &held, channels);
}
bool release(BareEffect& bare, Arrangement*& held) {
  return bare.slot<bool, Arrangement**>(Slot::deallocateArrangement, &held);
}
bool match(BareEffect& bare, Arrangement*& to, Arrangement* from) {
  return bare.slot<bool, Arrangement**, Arrangement*>(Slot::matchArrangement, &to, from);
}
bool copy(BareEffect& bare, VstSpeakerProperties* to, VstSpeakerProperties* from) {
  return bare.slot<bool, VstSpeakerProperties*, VstSpeakerProperties*>(Slot::copySpeaker, to, from);
}

// A record of `channels` speakers with their own marks.
Arrangement* filled(BareEffect& bare, int channels) {
  Arrangement* made = nullptr;
  REQUIRE(make(bare, made, channels));
  made->type = 7;
  for (int channel = 0; channel < channels; ++channel)
    made->speakers[channel] = speaker(channel);
  return made;
}

} // namespace

TEST_CASE("an arrangement is made zeroed with its channel count, and releases the one it is made over") {
  BareEffect bare;
  for (int channels : {0, 1, 2, 6, 100}) {
    CAPTURE(channels);
    const long before = allocations::live();
    Arrangement* made = nullptr;
    CHECK(make(bare, made, channels));
    REQUIRE(made);
    CHECK(allocations::live() == before + 1);
    CHECK(made->type == 0);
    CHECK(made->channelCount == channels);
    CHECK(allZero(reinterpret_cast<char*>(made) + 8, 112u * channels));
    std::memset(made->speakers, 0xA5, 112u * channels);
    CHECK(make(bare, made, channels + 3));
    CHECK(allocations::live() == before + 1);
    CHECK(made->channelCount == channels + 3);
    CHECK(allZero(made->speakers, 112u * (channels + 3)));
    for (int releases = 0; releases < 2; ++releases) { // releasing nothing is no failure
      CHECK(release(bare, made));
      CHECK(made == nullptr);
      CHECK(allocations::live() == before);
    }
  }
}

TEST_CASE("an arrangement takes 8 and 112 bytes per channel, no more") {
  BareEffect bare;
  Arrangement* made = nullptr;
  {
    allocations::RefuseLargerThan exactly(8 + 112 * 3);
    CHECK(make(bare, made, 3));
  }
  release(bare, made);
  allocations::RefuseLargerThan oneLess(8 + 112 * 3 - 1);
  CHECK_FALSE(make(bare, made, 3));
}

// A match that fails holds nothing.
TEST_CASE("when memory is short the old record is gone and the pointer stays stale") {
  BareEffect bare;
  const long before = allocations::live();
  Arrangement* held = filled(bare, 2);
  Arrangement* from = filled(bare, 2);
  Arrangement* to = filled(bare, 1);
  const auto stale = reinterpret_cast<uintptr_t>(held);
  bool made = true, matched = true;
  {
    allocations::FailNth next(1);
    made = make(bare, held, 1);
  }
  {
    allocations::FailNth next(1);
    matched = match(bare, to, from);
  }
  CHECK_FALSE(made);
  CHECK(reinterpret_cast<uintptr_t>(held) == stale);
  CHECK_FALSE(matched);
  CHECK(to == nullptr);
  release(bare, from);
  CHECK(allocations::live() == before);
}

TEST_CASE("channel counts that no record can have are refused") {
  BareEffect bare;
  allocations::RefuseLargerThan sane(kSane);
  const long before = allocations::live(); // no CAPTURE from here on: it keeps memory
  for (int channels : {-1, -2, -38347923, INT_MIN, INT_MAX, INT_MAX / 112, INT_MAX / 112 + 1}) {
    Arrangement* held = nullptr;
    CHECK_FALSE(make(bare, held, channels));
    CHECK(held == nullptr);
  }
  Arrangement* held = filled(bare, 1);
  const auto stale = reinterpret_cast<uintptr_t>(held);
  CHECK_FALSE(make(bare, held, -5));
  CHECK(reinterpret_cast<uintptr_t>(held) == stale);
  CHECK(allocations::live() == before);
  Arrangement from{};
  from.channelCount = -3;
  Arrangement* to = nullptr;
  CHECK_FALSE(match(bare, to, &from));
  CHECK(to == nullptr);
}

TEST_CASE("copying a speaker copies all of it, its name cut to 63 characters and ended") {
  BareEffect bare;
  VstSpeakerProperties from = speaker(3), to = speaker(9);
  CHECK(copy(bare, &to, &from));
  CHECK(same(to, from));
  CHECK_FALSE(copy(bare, &to, nullptr));
  CHECK_FALSE(copy(bare, nullptr, &from));
  CHECK_FALSE(copy(bare, nullptr, nullptr));
  CHECK(same(to, speaker(3)));
  std::memset(from.name, 'n', sizeof from.name);
  CHECK(copy(bare, &to, &from));
  CHECK(std::string(to.name, sizeof to.name) == std::string(63, 'n') + '\0');
}

TEST_CASE("matching replaces the record held by a copy") {
  BareEffect bare;
  const long before = allocations::live();
  for (int channels : {0, 1, 4}) {
    Arrangement* from = filled(bare, channels);
    for (int heldChannels : {-1, 0, 6}) {
      Arrangement* to = heldChannels < 0 ? nullptr : filled(bare, heldChannels);
      CHECK(match(bare, to, from));
      REQUIRE(to);
      CHECK(to != from);
      CHECK(to->type == 7);
      CHECK(to->channelCount == channels);
      for (int channel = 0; channel < channels; ++channel)
        CHECK(same(to->speakers[channel], from->speakers[channel]));
      release(bare, to);
    }
    release(bare, from);
  }
  CHECK(allocations::live() == before);
}

TEST_CASE("a record matched to nothing or to itself, and a speaker copied to itself, stay as they are") {
  BareEffect bare;
  Arrangement* held = filled(bare, 3);
  Arrangement* const kept = held;
  CHECK_FALSE(match(bare, held, nullptr));
  CHECK(match(bare, held, held));
  CHECK(copy(bare, &held->speakers[1], &held->speakers[1]));
  REQUIRE(held == kept);
  CHECK(held->type == 7);
  CHECK(held->channelCount == 3);
  for (int channel = 0; channel < 3; ++channel)
    CHECK(same(held->speakers[channel], speaker(channel)));
  release(bare, held);
}

TEST_CASE("matching goes through the table: release, make, copy each speaker") {
  BareEffect bare;
  Arrangement* from = filled(bare, 3);
  Arrangement* to = nullptr;
  SlotExchange exchange(&bare, kAudioEffectXSlots);
  static Arrangement* prepared;
  prepared = filled(bare, 2);
  Arrangement* const made = prepared;

  exchange.record(Slot::deallocateArrangement);
  slotAnswer = 0;
  CHECK_FALSE(match(bare, to, from));
  REQUIRE(slotCalls.size() == 1);
  CHECK(slotCalls[0].arguments == argumentsText(&to));

  exchange.replace(
      Slot::deallocateArrangement, +[](void*, Arrangement**) { return true; });
  exchange.replace(
      Slot::allocateArrangement, +[](void*, Arrangement** place, int channels) {
        *place = prepared;
        return channels == 3;
      });
  exchange.record(Slot::copySpeaker);

  // The new record's own channel count, 2, is what bounds the copying.
  slotCalls.clear();
  slotAnswer = 1;
  CHECK(match(bare, to, from));
  CHECK(to == made);
  CHECK(to->type == 7);
  CHECK(slotCalls == std::vector<SlotCall>{
                         {Slot::copySpeaker, &bare, argumentsText(to->speakers + 0, from->speakers + 0)},
                         {Slot::copySpeaker, &bare, argumentsText(to->speakers + 1, from->speakers + 1)}});

  // A speaker that cannot be copied ends it at once, with the partly filled record kept.
  slotCalls.clear();
  slotAnswer = 0;
  CHECK_FALSE(match(bare, to, from));
  CHECK(slotCalls.size() == 1);
  CHECK(to == made);

  bare.AudioEffectX::deallocateArrangement(&to);
  bare.AudioEffectX::deallocateArrangement(&from);
}

TEST_CASE("the allocation counter sees allocations, and fails the one it is told to") {
  // Called by name, since the compiler may drop a new with its delete; the checks, which allocate, come last.
  const long live = allocations::live();
  const long taken = allocations::taken();
  void* blocks[2];
  void* third;
  {
    allocations::FailNth second(2);
    blocks[0] = ::operator new[](3, std::nothrow);
    blocks[1] = ::operator new[](3, std::nothrow);
    third = ::operator new(4);
  }
  const long liveThen = allocations::live();
  const long takenThen = allocations::taken();
  const bool made[] = {blocks[0] != nullptr, blocks[1] != nullptr};
  ::operator delete[](blocks[0]);
  ::operator delete(third);
  const long liveAfter = allocations::live();
  CHECK(made[0]);
  CHECK_FALSE(made[1]);
  CHECK(liveThen == live + 2);
  CHECK(takenThen == taken + 2);
  CHECK(liveAfter == live);
}
