/* Records that host and effect hand each other beside AEffect. Plain C. */
#ifndef TREADSHIFT_VST_HOST_RECORDS_H
#define TREADSHIFT_VST_HOST_RECORDS_H

#include "vst/AEffect.h"

/* One loudspeaker, 112 bytes. */
typedef struct VstSpeakerProperties {
  float position[4]; /* azimuth, elevation, radius, reserved: copied as one group */
  char name[64];     /* zero-terminated */
  int32_t type;
  uint8_t reserved[28];
} VstSpeakerProperties;

/* A loudspeaker arrangement of variable length: a record for n channels is 8 + 112 * n bytes, so only the
 * first `channelCount` entries of `speakers` exist. */
typedef struct VstSpeakerArrangement {
  int32_t type;
  int32_t channelCount;
  VstSpeakerProperties speakers[1];
} VstSpeakerArrangement;

enum { kSpeakerArrangementHeaderBytes = 8 };

/* What a parameter is, told to the host. The published record has 152 bytes; this effect clears 154 and
 * sets the byte at offset 152, so a host's buffer must hold kParameterPropertiesBytes. */
typedef struct VstParameterProperties {
  float floatStep; /* parameter units (0..1) */
  float smallFloatStep;
  float largeFloatStep;
  char label[64];
  int32_t flags; /* ParameterFlag bits */
  int32_t integerMinimum;
  int32_t integerMaximum;
  int32_t integerStep;
  uint8_t furtherFields[60];
} VstParameterProperties;

enum { kParameterPropertiesBytes = 154, kParameterPropertiesExtraByte = 152 };

enum ParameterFlag { kParameterIsSwitch = 1, kParameterUsesIntegerRange = 2, kParameterUsesFloatStep = 4 };

/* A key press handed to an editor. */
typedef struct EditorKey {
  int32_t character;
  uint8_t virtualKey;
  uint8_t modifiers; /* bits */
} EditorKey;

TREADSHIFT_STATIC_ASSERT(sizeof(VstSpeakerProperties) == 112);
TREADSHIFT_STATIC_ASSERT(offsetof(VstSpeakerProperties, name) == 16);
TREADSHIFT_STATIC_ASSERT(offsetof(VstSpeakerProperties, type) == 80);
TREADSHIFT_STATIC_ASSERT(offsetof(VstSpeakerProperties, reserved) == 84);
TREADSHIFT_STATIC_ASSERT(offsetof(VstSpeakerArrangement, speakers) == kSpeakerArrangementHeaderBytes);
TREADSHIFT_STATIC_ASSERT(sizeof(VstParameterProperties) == kParameterPropertiesExtraByte);
TREADSHIFT_STATIC_ASSERT(offsetof(VstParameterProperties, label) == 12);
TREADSHIFT_STATIC_ASSERT(offsetof(VstParameterProperties, flags) == 76);
TREADSHIFT_STATIC_ASSERT(offsetof(VstParameterProperties, integerMinimum) == 80);
TREADSHIFT_STATIC_ASSERT(offsetof(VstParameterProperties, integerMaximum) == 84);
TREADSHIFT_STATIC_ASSERT(offsetof(VstParameterProperties, integerStep) == 88);
TREADSHIFT_STATIC_ASSERT(offsetof(EditorKey, virtualKey) == 4);
TREADSHIFT_STATIC_ASSERT(offsetof(EditorKey, modifiers) == 5);

#endif
