/* A host in plain C: bends a second of a tone up by an octave. Usage: host FILE (a treadshift.so). */
#include "vst/AEffect.h"
#include "vst/Opcodes.h"

#include <dlfcn.h>
#include <math.h>
#include <stdio.h>
#include <string.h>

enum { kRate = 48000, kBlock = 64, kSamples = kRate };
enum { kOnOff = 0, kMode = 1, kTone = 2, kColor = 3, kPedalPos = 4 }; /* parameters */
static const double kHz = 213.67; /* taps jump by seven periods of this tone, so that they join them */

typedef struct Handle {
  void (**table)(struct Handle*); /* 0 ends the handle, 1 ends it and frees its memory */
  AEffect* effect;
} Handle;

static intptr_t answer(AEffect* effect, int32_t request, int32_t index, intptr_t value, void* ptr,
                       float opt) {
  (void)effect, (void)index, (void)value, (void)ptr, (void)opt;
  return request == kHostVersion ? kHostVersionAnswer : 0; /* 0 to the version: no effect */
}

static void send(AEffect* effect, int32_t opcode, intptr_t value, float opt) {
  effect->dispatchEntry(effect, opcode, 0, value, NULL, opt);
}

int main(int count, char** words) {
  static double sound[kSamples];
  void* module = count == 2 ? dlopen(words[1], RTLD_NOW | RTLD_LOCAL) : NULL;
  void* address = module ? dlsym(module, "getinterface") : NULL;
  Handle* (*factory)(HostCallback) = NULL;
  memcpy(&factory, &address, sizeof address); /* C casts no object's address to a function's */
  Handle* handle = factory ? factory(answer) : NULL;
  if (!handle) return fprintf(stderr, "host: give a treadshift.so of this program's width\n"), 1;

  AEffect* effect = handle->effect;
  send(effect, kOpOpen, 0, 0.0f);
  send(effect, kOpSetBlockSize, kBlock, 0.0f); /* the largest block: such blocks take no memory */
  send(effect, kOpSetSampleRate, 0, (float)kRate);
  send(effect, kOpResumeOrSuspend, 1, 0.0f);
  effect->setParameterEntry(effect, kColor, 2.5f / 8.0f); /* the middle of colour 2 */
  effect->setParameterEntry(effect, kPedalPos, 1.0f);     /* the toe */
  for (int first = 0; first < kSamples; first += kBlock) {
    double* channel = sound + first; /* input and output may be one array */
    for (int i = 0; i < kBlock; ++i)
      channel[i] = 0.5 * sin(6.283185307179586 * kHz * (first + i) / kRate);
    effect->processDoubleReplacingEntry(effect, &channel, &channel, kBlock);
  }
  send(effect, kOpResumeOrSuspend, 0, 0.0f);
  send(effect, kOpClose, 0, 0.0f); /* destroys the effect, but not the handle */
  handle->table[1](handle);

  int rises = 0;
  for (int i = kSamples / 2; i < kSamples; ++i)
    rises += sound[i - 1] < 0.0 && sound[i] >= 0.0;
  printf("%.0f Hz became %d Hz\n", kHz, 2 * rises);
  return dlclose(module);
}
