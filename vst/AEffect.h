/* The binary record through which a host drives the effect, and the host's callback. Plain C.
 *
 * Layout is the contract: a host compiled elsewhere reads these bytes. The reference is the 32-bit record
 * (144 bytes); a 64-bit build widens pointers, `reservedA`, `reservedB`, and the `value` and result of the
 * dispatcher and of the callback to pointer size, and keeps every other width (192 bytes).
 * Tags in brackets name the thread of a call; docs/threads.md defines them, Opcodes.h has those of the
 * opcodes. Every entry takes the record of a living effect; another address, null included, is not checked.
 */
#ifndef TREADSHIFT_VST_AEFFECT_H
#define TREADSHIFT_VST_AEFFECT_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct AEffect AEffect;

/* The host's service function. Requests are listed in Opcodes.h.
 * record: the calling effect's record (null while the factory asks for the host's version).
 * index, value, ptr, opt: arguments of the request, 0 or null when unused.
 * Result: the host's answer; requests that answer a pointer carry it in the result.
 * The effect calls it on whatever thread it was itself called on, never from the processing entries. */
typedef intptr_t (*HostCallback)(AEffect* record, int32_t request, int32_t index, intptr_t value, void* ptr,
                                 float opt);

/* Opcode entry: answers 0 for opcodes it does not know. Opcode 1 destroys the effect, record included.
 * [as the opcode demands] */
typedef intptr_t (*DispatchEntry)(AEffect* record, int32_t opcode, int32_t index, intptr_t value, void* ptr,
                                  float opt);

/* Process entries: `frames` samples per channel; channel lists hold inputCount and outputCount pointers. Here
 * null lists or channels do nothing, fewer than 1 frame counts as 0, input and output may be one array, and
 * only a block larger than announced by kOpSetBlockSize allocates. [audio] */
typedef void (*ProcessEntry)(AEffect* record, float** inputs, float** outputs, int32_t frames);
typedef void (*ProcessDoubleEntry)(AEffect* record, double** inputs, double** outputs, int32_t frames);

/* Parameter entries: values run from 0 to 1 and are stored unchecked; an index outside 0..parameterCount-1 is
 * ignored or answers 0. Allocates nothing, waits for nothing. [any thread] */
typedef void (*SetParameterEntry)(AEffect* record, int32_t index, float value);
typedef float (*GetParameterEntry)(AEffect* record, int32_t index);

struct AEffect {
  int32_t magic;                         /* kEffectMagic */
  DispatchEntry dispatchEntry;           /* every opcode */
  ProcessEntry processAccumulatingEntry; /* old accumulating process; does nothing here */
  SetParameterEntry setParameterEntry;
  GetParameterEntry getParameterEntry;
  int32_t programCount;
  int32_t parameterCount;
  int32_t inputCount;        /* audio channels in */
  int32_t outputCount;       /* audio channels out */
  int32_t flags;             /* EffectFlag bits */
  intptr_t reservedA;        /* 0 */
  intptr_t reservedB;        /* 0 */
  int32_t initialDelay;      /* latency in samples */
  int32_t realtimeQualities; /* deprecated */
  int32_t offlineQualities;  /* deprecated */
  float inOutRatio;          /* output rate / input rate: 1 */
  void* objectRef;           /* the effect object */
  void* userData;            /* free for the host */
  int32_t uniqueID;          /* four characters, first one in the top byte */
  int32_t version;
  ProcessEntry processReplacingEntry;             /* single precision; writes nothing here */
  ProcessDoubleEntry processDoubleReplacingEntry; /* double precision: the audio path */
  uint8_t futureBytes[56];                        /* 0 */
};

enum {
  kEffectMagic = 0x56737450, /* 'VstP' */
  kNoUniqueID = 0x4E6F4566,  /* 'NoEf': an effect that has not named itself */
  kHostVersionAnswer = 2400  /* interface version 2.4, as both sides tell it */
};

/* Bits of AEffect::flags. */
enum EffectFlag {
  kFlagHasEditor = 0x1,
  kFlagHasClip = 0x2,            /* deprecated */
  kFlagHasVu = 0x4,              /* deprecated */
  kFlagCanMono = 0x8,            /* deprecated */
  kFlagCanReplacing = 0x10,      /* single-precision replacing process */
  kFlagProgramsAreChunks = 0x20, /* state exchanged as opaque chunks */
  kFlagIsSynth = 0x100,
  kFlagNoTail = 0x200,             /* silence in gives silence out at once */
  kFlagAsyncOperation = 0x400,     /* deprecated */
  kFlagExternalBuffer = 0x800,     /* deprecated */
  kFlagCanDoubleReplacing = 0x1000 /* double-precision replacing process */
};

#ifdef __cplusplus
}
#define TREADSHIFT_STATIC_ASSERT(condition) static_assert(condition, #condition)
#elif defined(__STDC_VERSION__) && __STDC_VERSION__ >= 201112L
#define TREADSHIFT_STATIC_ASSERT(condition) _Static_assert(condition, #condition)
#else
/* Older C: an array of size -1 is no type; the same declaration may stand there any number of times. */
#define TREADSHIFT_STATIC_ASSERT(condition) extern char treadshiftAsserted[(condition) ? 1 : -1]
#endif

#if UINTPTR_MAX == UINT32_MAX
#define TREADSHIFT_AT(field, offset32, offset64)                                                             \
  TREADSHIFT_STATIC_ASSERT(offsetof(AEffect, field) == (offset32))
TREADSHIFT_STATIC_ASSERT(sizeof(AEffect) == 144);
#else
#define TREADSHIFT_AT(field, offset32, offset64)                                                             \
  TREADSHIFT_STATIC_ASSERT(offsetof(AEffect, field) == (offset64))
TREADSHIFT_STATIC_ASSERT(sizeof(AEffect) == 192);
#endif
TREADSHIFT_AT(magic, 0, 0);
TREADSHIFT_AT(dispatchEntry, 4, 8);
TREADSHIFT_AT(processAccumulatingEntry, 8, 16);
TREADSHIFT_AT(setParameterEntry, 12, 24);
TREADSHIFT_AT(getParameterEntry, 16, 32);
TREADSHIFT_AT(programCount, 20, 40);
TREADSHIFT_AT(parameterCount, 24, 44);
TREADSHIFT_AT(inputCount, 28, 48);
TREADSHIFT_AT(outputCount, 32, 52);
TREADSHIFT_AT(flags, 36, 56);
TREADSHIFT_AT(reservedA, 40, 64);
TREADSHIFT_AT(reservedB, 44, 72);
TREADSHIFT_AT(initialDelay, 48, 80);
TREADSHIFT_AT(realtimeQualities, 52, 84);
TREADSHIFT_AT(offlineQualities, 56, 88);
TREADSHIFT_AT(inOutRatio, 60, 92);
TREADSHIFT_AT(objectRef, 64, 96);
TREADSHIFT_AT(userData, 68, 104);
TREADSHIFT_AT(uniqueID, 72, 112);
TREADSHIFT_AT(version, 76, 116);
TREADSHIFT_AT(processReplacingEntry, 80, 120);
TREADSHIFT_AT(processDoubleReplacingEntry, 84, 128);
TREADSHIFT_AT(futureBytes, 88, 136);
#undef TREADSHIFT_AT

#endif
