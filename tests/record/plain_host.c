/* A host in the C of 1989, without the C++ run-time.
 *
 * Usage: plain_host MODULE play|unload ROUNDS
 * play: loads the module once and plays one effect of each factory ROUNDS times.
 * unload: the same, but loads the module each time and unloads it right after the close request.
 * Says what went wrong, if anything does, and ends with status 1. */
#define _GNU_SOURCE
#include "vst/AEffect.h"
#include "vst/Opcodes.h"

#include <dlfcn.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { kBlock = 64, kBlocks = 30, kDeletingDestructor = 1, kWarmUp = 20, kPagesAllowed = 256 };

typedef struct Handle {
  void** table;
  AEffect* effect;
} Handle;

/* As an address and as a function: C has no cast between the two. */
typedef union Symbol {
  void* address;
  Handle* (*factory)(HostCallback host);
  void (*destructor)(Handle* handle);
} Symbol;

static int fail(const char* what) {
  fprintf(stderr, "plain_host: %s\n", what);
  return 1;
}

static intptr_t answer(AEffect* record, int32_t request, int32_t index, intptr_t value, void* ptr,
                       float opt) {
  (void)record;
  (void)index;
  (void)value;
  (void)ptr;
  (void)opt;
  return request == kHostVersion ? kHostVersionAnswer : 0;
}

static intptr_t sendOpcode(AEffect* effect, int32_t opcode, intptr_t value, void* ptr, float opt) {
  return effect->dispatchEntry(effect, opcode, 0, value, ptr, opt);
}

/* The loudest sample of a short pedal move; negative when a sample is no number that can be heard. */
static double loudestOf(AEffect* effect) {
  double input[kBlock], output[kBlock];
  double* inputs[1];
  double* outputs[1];
  double loudest = 0.0;
  int block, sample;
  inputs[0] = input;
  outputs[0] = output;
  for (block = 0; block < kBlocks; ++block) {
    for (sample = 0; sample < kBlock; ++sample)
      input[sample] = sin(0.05 * (block * kBlock + sample));
    effect->setParameterEntry(effect, 4, (float)block / kBlocks);
    effect->processDoubleReplacingEntry(effect, inputs, outputs, kBlock);
    for (sample = 0; sample < kBlock; ++sample) {
      if (!(fabs(output[sample]) < 10.0)) return -1.0;
      if (fabs(output[sample]) > loudest) loudest = fabs(output[sample]);
    }
  }
  return loudest;
}

static int playEffect(AEffect* effect) {
  char name[64] = "";
  if (effect->magic != kEffectMagic) return fail("no effect's record");
  if (effect->inputCount != 1 || effect->outputCount != 1) return fail("not one channel in and one out");
  sendOpcode(effect, kOpOpen, 0, NULL, 0.0f);
  sendOpcode(effect, kOpGetEffectName, 0, name, 0.0f);
  if (strcmp(name, "NEW Treadshift") != 0) return fail("another effect's name");
  sendOpcode(effect, kOpSetSampleRate, 0, NULL, 8000.0f);
  sendOpcode(effect, kOpSetBlockSize, kBlock, NULL, 0.0f);
  sendOpcode(effect, kOpResumeOrSuspend, 1, NULL, 0.0f);
  if (!(loudestOf(effect) > 0.01)) return fail("no sensible sound");
  if (effect->getParameterEntry(effect, 2) != 0.8f) return fail("not the Tone of a new effect");
  sendOpcode(effect, kOpResumeOrSuspend, 0, NULL, 0.0f);
  return 0;
}

/* Creates, plays and closes one effect. The handle goes first, so that closing is the last call. */
static int runFactory(void* module, const char* name) {
  Symbol symbol;
  Handle* handle;
  AEffect* effect;
  symbol.address = dlsym(module, name);
  if (!symbol.address) return fail("a factory is missing");
  handle = symbol.factory(answer);
  if (!handle || !handle->effect) return fail("a factory created nothing");
  effect = handle->effect;
  if (playEffect(effect)) return 1;
  symbol.address = handle->table[kDeletingDestructor];
  symbol.destructor(handle);
  return sendOpcode(effect, kOpClose, 0, NULL, 0.0f) == 1 ? 0 : fail("not closed");
}

/* Whether a file is mapped into this process; -1: that cannot be told. */
static int isMapped(const char* path) {
  char line[4096];
  int mapped = 0;
  FILE* maps = fopen("/proc/self/maps", "r");
  if (!maps) return -1;
  while (fgets(line, sizeof line, maps))
    if (strstr(line, path)) mapped = 1;
  fclose(maps);
  return mapped;
}

/* Pages of memory that this process really holds. */
static long residentPages(void) {
  long all = 0, resident = 0;
  FILE* file = fopen("/proc/self/statm", "r");
  if (!file) return 0;
  if (fscanf(file, "%ld %ld", &all, &resident) != 2) resident = 0;
  fclose(file);
  return resident;
}

static int play(const char* path, int rounds) {
  int round;
  void* module = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  if (!module) return fail(dlerror());
  for (round = 0; round < rounds; ++round)
    if (runFactory(module, "getinterface") || runFactory(module, "QTypeIF")) return 1;
  if (dlsym(RTLD_DEFAULT, "getinterface")) return fail("the module's names leaked");
  return dlclose(module) ? fail("not unloaded") : 0;
}

static int unloadOnce(const char* path, const char* factory) {
  void* module = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  if (!module) return fail(dlerror());
  if (runFactory(module, factory)) return 1;
  if (dlclose(module)) return fail("not unloaded");
  return isMapped(path) == 0 ? 0 : fail("the module is still there");
}

static int unload(const char* path, int rounds) {
  long before = 0;
  int round;
  for (round = 0; round < rounds; ++round) {
    if (unloadOnce(path, "getinterface") || unloadOnce(path, "QTypeIF")) return 1;
    if (round == kWarmUp) before = residentPages();
  }
#ifdef TREADSHIFT_EMULATED
  before = residentPages();
#endif
  if (rounds > kWarmUp && residentPages() > before + kPagesAllowed) return fail("memory stayed behind");
  return 0;
}

int main(int count, char** arguments) {
  int rounds = count == 4 ? atoi(arguments[3]) : 0;
  if (dlsym(RTLD_DEFAULT, "__cxa_throw")) return fail("the C++ run-time is here already");
  if (rounds > 0 && strcmp(arguments[2], "play") == 0) return play(arguments[1], rounds);
  if (rounds > 0 && strcmp(arguments[2], "unload") == 0) return unload(arguments[1], rounds);
  return fail("usage: plain_host MODULE play|unload ROUNDS");
}
