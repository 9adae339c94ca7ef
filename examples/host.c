/* A host in plain C: bends a second of a tone up by an octave. Usage: host FILE (a treadshift.so). */
#include "vst/AEffect.h"
#include "vst/Opcodes.h"
#include <dlfcn.h>
#include <math.h>
#include <stdio.h>
#include <string.h>

enum { kColor = 3, kPedalPos = 4, kRate = 48000, kBlock = 64 }; /* two parameters; Hz; samples */

typedef struct Handle {
  void (**table)(struct Handle*); /* 0 ends the handle, 1 ends it and frees its memory */
  AEffect* effect;
} Handle;

static intptr_t answer(AEffect* effect, int32_t request, int32_t index, intptr_t value, void* ptr,
                       float opt) {
  (void)effect, (void)index, (void)value, (void)ptr, (void)opt;
  return request == kHostVersion ? kHostVersionAnswer : 0; /* 0 to the version: no effect */
}

int main(int count, char** words) {
  void* module = count == 2 ? dlopen(words[1], RTLD_NOW | RTLD_LOCAL) : NULL;
  void* address = module ? dlsym(module, "getinterface") : NULL;
  Handle* (*factory)(HostCallback) = NULL;
  memcpy(&factory, &address, sizeof address); /* C casts no object's address to a function's */
  Handle* handle = factory ? factory(answer) : NULL;
  if (!handle) return fprintf(stderr, "host: give a treadshift.so of this program's width\n"), 1;
  static double sound[kRate];  /* input and output may be one array */
  const double pitch = 213.67; /* Hz: taps jump by seven periods of this tone, so that they join them */
  for (int i = 0; i < kRate; ++i)
    sound[i] = 0.5 * sin(6.283185307179586 * pitch * i / kRate);
  AEffect* effect = handle->effect;
  effect->dispatchEntry(effect, kOpOpen, 0, 0, NULL, 0.0f);
  effect->setParameterEntry(effect, kColor, 2.5f / 8.0f);                /* the middle of colour 2 */
  effect->setParameterEntry(effect, kPedalPos, 1.0f);                    /* the toe */
  effect->dispatchEntry(effect, kOpSetBlockSize, 0, kBlock, NULL, 0.0f); /* such blocks take no memory */
  effect->dispatchEntry(effect, kOpSetSampleRate, 0, 0, NULL, (float)kRate);
  effect->dispatchEntry(effect, kOpResumeOrSuspend, 0, 1, NULL, 0.0f);
  for (double* block = sound; block < sound + kRate; block += kBlock)
    effect->processDoubleReplacingEntry(effect, &block, &block, kBlock);
  effect->dispatchEntry(effect, kOpResumeOrSuspend, 0, 0, NULL, 0.0f);
  effect->dispatchEntry(effect, kOpClose, 0, 0, NULL, 0.0f); /* destroys the effect, not the handle */
  handle->table[1](handle);
  int rises = 0;
  for (int i = kRate / 2; i < kRate; ++i)
    rises += sound[i - 1] < 0.0 && sound[i] >= 0.0;
  printf("%.0f Hz became %d Hz\n", pitch, 2 * rises);
  return dlclose(module);
}
