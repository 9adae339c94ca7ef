/* A host in plain C, without the C++ run-time: loads the module whose path it is given, drives one effect
 * through its record, and says what went wrong if anything does. */
#define _GNU_SOURCE
#include "vst/AEffect.h"
#include "vst/HostRecords.h"
#include "vst/Opcodes.h"

#include <dlfcn.h>
#include <math.h>
#include <stdio.h>
#include <string.h>

enum { kBlock = 128, kBlocks = 40, kDeletingDestructor = 1 };

typedef struct Handle {
  void** table;
  AEffect* effect;
} Handle;

typedef Handle* (*Factory)(HostCallback host);

/* As an address and as a function: C has no cast between the two. */
typedef union Symbol {
  void* address;
  Factory factory;
  void (*destructor)(Handle* handle);
} Symbol;

static int fail(const char* what) {
  fprintf(stderr, "plain_host: %s\n", what);
  return 1;
}

static intptr_t answer(AEffect* record, int32_t request, int32_t index, intptr_t value, void* ptr,
                       float opt) {
  (void)record, (void)index, (void)value, (void)ptr, (void)opt;
  return request == kHostVersion ? kHostVersionAnswer : 0;
}

static intptr_t sendOpcode(AEffect* effect, int32_t opcode, intptr_t value, void* ptr, float opt) {
  return effect->dispatchEntry(effect, opcode, 0, value, ptr, opt);
}

static double loudestOf(AEffect* effect) {
  double input[kBlock], output[kBlock];
  double* inputs[] = {input};
  double* outputs[] = {output};
  double loudest = 0.0;
  for (int block = 0; block < kBlocks; ++block) {
    for (int sample = 0; sample < kBlock; ++sample)
      input[sample] = sin(0.05 * (block * kBlock + sample));
    effect->setParameterEntry(effect, 4, (float)block / kBlocks);
    effect->processDoubleReplacingEntry(effect, inputs, outputs, kBlock);
    for (int sample = 0; sample < kBlock; ++sample) {
      if (!isfinite(output[sample])) return INFINITY;
      loudest = fmax(loudest, fabs(output[sample]));
    }
  }
  return loudest;
}

static int drive(AEffect* effect) {
  char name[64] = {0};
  if (effect->magic != kEffectMagic) return fail("no effect's record");
  sendOpcode(effect, kOpOpen, 0, NULL, 0.0f);
  sendOpcode(effect, kOpGetEffectName, 0, name, 0.0f);
  if (strcmp(name, "NEW Treadshift") != 0) return fail("another effect's name");
  sendOpcode(effect, kOpSetSampleRate, 0, NULL, 48000.0f);
  sendOpcode(effect, kOpSetBlockSize, kBlock, NULL, 0.0f);
  sendOpcode(effect, kOpResumeOrSuspend, 1, NULL, 0.0f);
  const double loudest = loudestOf(effect);
  if (!(loudest > 0.01 && loudest < 10.0)) return fail("no sensible sound");
  sendOpcode(effect, kOpResumeOrSuspend, 0, NULL, 0.0f);
  if (sendOpcode(effect, kOpClose, 0, NULL, 0.0f) != 1) return fail("not closed");
  return 0;
}

static int runFactory(void* module, const char* name) {
  Symbol symbol = {dlsym(module, name)};
  if (!symbol.address) return fail("a factory is missing");
  Handle* handle = symbol.factory(answer);
  if (!handle || !handle->effect) return fail("a factory created nothing");
  const int status = drive(handle->effect);
  symbol.address = handle->table[kDeletingDestructor];
  symbol.destructor(handle);
  return status;
}

int main(int count, char** arguments) {
  if (count != 2) return fail("give the module's path");
  if (dlsym(RTLD_DEFAULT, "__cxa_throw")) return fail("the C++ run-time is here already");
  void* module = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
  if (!module) return fail(dlerror());
  if (runFactory(module, "getinterface") || runFactory(module, "QTypeIF")) return 1;
  if (dlsym(RTLD_DEFAULT, "getinterface")) return fail("the module's names leaked");
  return dlclose(module) ? fail("not unloaded") : 0;
}
