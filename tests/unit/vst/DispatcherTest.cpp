// Opcodes: which operation each one calls, with what, and what the host is told.
#include "tests/support/OpcodeRows.h"
#include "tests/support/ScriptedHost.h"
#include "tests/unit/vst/BareEffect.h"
#include "vst/Opcodes.h"

#include <doctest/doctest.h>

#include <algorithm>
#include <array>

namespace {

// Opcodes that answer something else than 0 on an effect that overrides nothing.
intptr_t baseAnswer(int32_t opcode) {
  switch (opcode) {
  case 22:
    return 0x4E764566;
  case 26:
    return 1;
  case 58:
    return 2400;
  case 63:
    return -1;
  default:
    return 0;
  }
}

// What an editor was asked, through a table made here by slot number, not by the editor's declaration.
struct EditorCall {
  int slot;
  intptr_t argument;
};
std::vector<EditorCall> editorCalls;
std::vector<std::array<uint8_t, 6>> editorKeys;
bool editorAnswer = false;

template <int slot> bool onAsk(void*, intptr_t argument) {
  editorCalls.push_back({slot, argument});
  return editorAnswer;
}
template <int slot> void onTell(void*) { editorCalls.push_back({slot, 0}); }
template <int slot> bool onKey(void*, const uint8_t* key) {
  editorCalls.push_back({slot, 0});
  std::array<uint8_t, 6> bytes;
  std::copy_n(key, bytes.size(), bytes.begin());
  editorKeys.push_back(bytes);
  return editorAnswer;
}

// Lends the scripted table the two words in front of it, by which a checked build knows an editor.
struct TypedEditor : AEffEditor {
  bool getRectangle(void**) override { return false; }
  bool onOpen(void*) override { return false; }
  void onClose() override {}
  void onIdle() override {}
};

class ScriptedEditor {
public:
  ScriptedEditor() {
    editorCalls.clear();
    editorKeys.clear();
    std::copy_n(*reinterpret_cast<void***>(&typed) - kWordsInFront, kWordsInFront, table);
    fill(std::make_integer_sequence<int, kSlots>());
    slot(3) = reinterpret_cast<void*>(onAsk<3>);
    slot(4) = reinterpret_cast<void*>(onAsk<4>);
    slot(13) = reinterpret_cast<void*>(onKey<13>);
    slot(14) = reinterpret_cast<void*>(onKey<14>);
    slot(16) = reinterpret_cast<void*>(onKnob);
  }
  AEffEditor* editor() { return reinterpret_cast<AEffEditor*>(&tableAddress); }

private:
  static constexpr int kSlots = 24;
  static constexpr int kWordsInFront = 2; // distance to the whole object, type information

  static bool onKnob(void* self, int mode) { return onAsk<16>(self, mode); }
  void*& slot(int number) { return table[kWordsInFront + number]; }
  template <int... slots> void fill(std::integer_sequence<int, slots...>) {
    ((slot(slots) = reinterpret_cast<void*>(onTell<slots>)), ...);
  }

  void** tableAddress = table + kWordsInFront; // stands first, where an object's table address stands
  void* table[kWordsInFront + kSlots];
  TypedEditor typed;
};

std::array<uint8_t, 6> key(int32_t character, uint8_t virtualKey, uint8_t modifiers) {
  std::array<uint8_t, 6> bytes{};
  std::memcpy(bytes.data(), &character, sizeof character);
  bytes[4] = virtualKey;
  bytes[5] = modifiers;
  return bytes;
}

} // namespace

TEST_CASE("every opcode calls its operation with its arguments and converts the answer") {
  BareEffect bare;
  checkOpcodeRows(bare.getAeffect(), kAudioEffectXSlots);
}

TEST_CASE("every opcode gives its base answer on an effect that overrides nothing") {
  BareEffect bare;
  std::array<char, 256> buffer{};
  void* arrangement = &bare;
  for (int32_t opcode = -3; opcode < 90; ++opcode) {
    if (opcode == kOpClose) continue;
    CAPTURE(opcode);
    const bool pointerValue = opcode == kOpSetSpeakerArrangement || opcode == kOpGetSpeakerArrangement;
    const intptr_t value = pointerValue ? reinterpret_cast<intptr_t>(&arrangement) : 0;
    CHECK(bare.send(opcode, 0, value, buffer.data()) == baseAnswer(opcode));
  }
}

TEST_CASE("opcodes 1 and 12 choose their operation, and answer 0 in the dispatcher itself") {
  struct Row {
    int32_t opcode;
    intptr_t value;
    Slot slot;
  };
  BareEffect bare;
  SlotExchange exchange(&bare, kAudioEffectXSlots);
  exchange.recordOperations();
  for (const Row& row : {Row{1, 3, Slot::close}, Row{12, 0, Slot::suspend}, Row{12, 1, Slot::resume},
                         Row{12, 5, Slot::resume}, Row{12, -1, Slot::resume}}) {
    CAPTURE(row.opcode);
    CAPTURE(row.value);
    slotCalls.clear();
    CHECK(bare.slot<intptr_t, int, int, intptr_t, void*, float>(Slot::dispatcher, row.opcode, 2, row.value,
                                                                &bare, 4.0f) == 0);
    REQUIRE(slotCalls.size() == 1);
    CHECK(slotCalls[0].slot == row.slot);
  }
}

TEST_CASE("an address carried in the value keeps all of its bits") {
  const auto address = static_cast<intptr_t>(sizeof(void*) == 8 ? 0x8123456789ABCDEFull : 0x89ABCDEFull);
  BareEffect bare;
  SlotExchange exchange(&bare, kAudioEffectXSlots);
  exchange.recordOperations();
  for (int32_t opcode : {42, 69}) {
    slotCalls.clear();
    bare.send(opcode, 0, address, &bare);
    REQUIRE(slotCalls.size() == 1);
    CHECK(slotCalls[0].arguments ==
          argumentsText(reinterpret_cast<void*>(address), static_cast<void*>(&bare)));
  }
}

TEST_CASE("opcode 73 answers its value") {
  BareEffect bare;
  for (int samples : {0, 1, -1, 48000, INT32_MAX, INT32_MIN})
    CHECK(bare.send(73, 9, samples) == samples);
}

TEST_CASE("opcode 35 answers 2 for a synth and 0 for anything else") {
  BareEffect bare;
  bare.effect.flags = ~0x100;
  CHECK(bare.send(35) == 0);
  bare.isSynth(true);
  CHECK(bare.send(35) == 2);
  bare.isSynth(false);
  CHECK(bare.send(35) == 0);
}

TEST_CASE("with an editor, opcodes reach it by slot number") {
  BareEffect bare;
  ScriptedEditor scripted;
  bare.editor = scripted.editor();
  void* window = &bare;

  struct Row {
    int32_t opcode;
    int slot;
    intptr_t argument;
    bool answers;
  };
  const Row rows[] = {{13, 3, reinterpret_cast<intptr_t>(window), true},
                      {14, 4, reinterpret_cast<intptr_t>(window), true},
                      {15, 5, 0, false},
                      {19, 7, 0, false},
                      {59, 13, 0, true},
                      {60, 14, 0, true},
                      {61, 16, 9, true}};
  for (const Row& row : rows) {
    for (bool answer : {false, true}) {
      CAPTURE(row.opcode);
      editorCalls.clear();
      editorAnswer = answer;
      CHECK(bare.send(row.opcode, 65, 9, window, 1.0f) == (row.answers && answer ? 1 : 0));
      REQUIRE(editorCalls.size() == 1);
      CHECK(editorCalls[0].slot == row.slot);
      CHECK(editorCalls[0].argument == row.argument);
    }
  }
  bare.editor = nullptr;
}

TEST_CASE("key records hold the character, the low byte of the value and of the truncated modifiers") {
  BareEffect bare;
  ScriptedEditor scripted;
  bare.editor = scripted.editor();
  for (int32_t opcode : {59, 60}) {
    editorKeys.clear();
    bare.send(opcode, 'A', 0x1234, nullptr, 3.9f);
    bare.send(opcode, -2, -1, nullptr, 258.7f); // 258 = 0x102
    bare.send(opcode, 0, 0, nullptr, -1.5f);    // -1 = 0xFF
    bare.send(opcode, 0x12345678, 0x100, nullptr, 0.99f);
    REQUIRE(editorKeys.size() == 4);
    CHECK(editorKeys[0] == key('A', 0x34, 3));
    CHECK(editorKeys[1] == key(-2, 0xFF, 2));
    CHECK(editorKeys[2] == key(0, 0, 0xFF));
    CHECK(editorKeys[3] == key(0x12345678, 0, 0));
  }
  bare.editor = nullptr;
}

TEST_CASE("setEditor keeps the pointer and its flag in step and leaves the other flags") {
  BareEffect bare;
  ScriptedEditor scripted;
  bare.setEditor(scripted.editor());
  CHECK(bare.getEditor() == scripted.editor());
  CHECK(bare.effect.flags == 0x11);
  bare.setEditor(nullptr);
  CHECK(bare.getEditor() == nullptr);
  CHECK(bare.effect.flags == 0x10);
  CHECK(editorCalls.empty());
  // Its owner's destruction destroys an editor through the deleting destructor, once.
  BareEffect().setEditor(scripted.editor());
  REQUIRE(editorCalls.size() == 1);
  CHECK(editorCalls[0].slot == 1);
}
