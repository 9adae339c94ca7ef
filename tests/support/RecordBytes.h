// The record and the object around it as hosts read them: by offset, one for each width.
#pragma once

#include "vst/AEffect.h"

#include <cstring>
#include <doctest/doctest.h>

constexpr bool kWide = sizeof(void*) == 8;

// What stands so many bytes into a block of memory.
template <typename Value> Value at(const void* block, int offset32, int offset64) {
  Value value;
  std::memcpy(&value, static_cast<const char*>(block) + (kWide ? offset64 : offset32), sizeof value);
  return value;
}

struct RecordNumbers {
  int32_t programs, parameters, inputs, outputs, flags, uniqueID;
};

// Checks every field of a new effect's record but the six entries' addresses (the words behind `magic` and in
// front of `futureBytes`) and the object's.
inline void checkNewRecord(const AEffect* record, const RecordNumbers& expected) {
  CHECK(std::memcmp(record, "PtsV", 4) == 0); // 'VstP' from its low byte on
  CHECK(at<int32_t>(record, 20, 40) == expected.programs);
  CHECK(at<int32_t>(record, 24, 44) == expected.parameters);
  CHECK(at<int32_t>(record, 28, 48) == expected.inputs);
  CHECK(at<int32_t>(record, 32, 52) == expected.outputs);
  CHECK(at<int32_t>(record, 36, 56) == expected.flags);
  CHECK(at<intptr_t>(record, 40, 64) == 0); // reserved
  CHECK(at<intptr_t>(record, 44, 72) == 0);
  CHECK(at<int32_t>(record, 48, 80) == 0); // delay, qualities
  CHECK(at<int32_t>(record, 52, 84) == 0);
  CHECK(at<int32_t>(record, 56, 88) == 0);
  CHECK(at<float>(record, 60, 92) == 1.0f);
  CHECK(at<void*>(record, 68, 104) == nullptr); // the host's own
  CHECK(at<int32_t>(record, 72, 112) == expected.uniqueID);
  CHECK(at<int32_t>(record, 76, 116) == 1);
  for (int byte = 0; byte < 56; ++byte)
    CHECK(at<uint8_t>(record, 88 + byte, 136 + byte) == 0);
}

struct ObjectFields {
  HostCallback host;
  int32_t programs, parameters;
};

// Checks every field of a new effect's object in front of its record, the table's address excepted.
inline void checkNewObject(const void* object, const AEffect* record, const ObjectFields& expected) {
  CHECK(at<void*>(object, 4, 8) == reinterpret_cast<void*>(expected.host));
  CHECK(at<void*>(object, 8, 16) == nullptr);   // editor
  CHECK(at<float>(object, 12, 24) == 44100.0f); // rate
  CHECK(at<int32_t>(object, 16, 28) == 1024);   // block size
  CHECK(at<int32_t>(object, 20, 32) == expected.programs);
  CHECK(at<int32_t>(object, 24, 36) == expected.parameters);
  CHECK(at<int32_t>(object, 28, 40) == 0); // current program
  CHECK(reinterpret_cast<const char*>(record) - static_cast<const char*>(object) == (kWide ? 48 : 32));
}
