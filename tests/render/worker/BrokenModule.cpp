// A module that does what a broken one may do. The environment variable TREADSHIFT_TEST_FAULT says when and
// what, as in "block:crash", and TREADSHIFT_TEST_MARK names a file that is told when the time has come;
// without them the effect works: it turns the sound upside down once it is resumed, and its first parameter
// tells how many descriptors are open while it looks.
#include "framework/Q_TypeIF.h"
#include "vst/AEffect.h"
#include "vst/Opcodes.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

namespace {

std::string fault() {
  const char* text = std::getenv("TREADSHIFT_TEST_FAULT");
  return text ? text : "";
}

bool isFault(const std::string& moment, const std::string& way) { return fault() == moment + ":" + way; }

// Checkers that catch signals for their reports must not come in between.
void endBySignal(int number) {
  std::signal(number, SIG_DFL);
  std::raise(number);
}

void makeNoise() {
  std::printf("noise on the standard output\n");
  std::fflush(stdout);
  std::fprintf(stderr, "noise on the standard error output\n");
  char nothing[16];
  if (read(STDIN_FILENO, nothing, sizeof nothing) != 0) std::abort();
}

void mark(const std::string& moment) {
  if (const char* const file = std::getenv("TREADSHIFT_TEST_MARK")) std::ofstream(file) << moment + "\n";
}

void misbehaveAt(const std::string& moment) {
  if (fault().starts_with(moment + ":")) mark(moment);
  if (isFault(moment, "crash")) endBySignal(SIGSEGV);
  if (isFault(moment, "abort")) endBySignal(SIGABRT);
  if (isFault(moment, "exit")) _exit(3);
  if (isFault(moment, "throw")) throw std::runtime_error("out of strings");
  if (isFault(moment, "noise")) makeNoise();
  while (isFault(moment, "hang"))
    pause();
  if (isFault(moment, "hang up")) {
    for (int descriptor = 3; descriptor < 64; ++descriptor)
      shutdown(descriptor, SHUT_RDWR);
    pause();
  }
  if (isFault(moment, "signal itself")) {
    for (int number : {SIGINT, SIGQUIT, SIGHUP, SIGTERM})
      kill(getpid(), number);
  }
}

constexpr std::size_t kHostsRoom = 256; // bytes that host/ gives for a text

bool isResumed = false;

intptr_t dispatch(AEffect*, int32_t opcode, int32_t, intptr_t value, void* ptr, float) {
  if (opcode == kOpResumeOrSuspend) isResumed = value != 0;
  if (opcode == kOpGetEffectName) misbehaveAt("text");
  if (opcode == kOpGetEffectName && isFault("text", "endless")) std::memset(ptr, 'x', kHostsRoom);
  if (opcode == kOpClose) misbehaveAt("close");
  return 0;
}

void setParameter(AEffect*, int32_t, float) { misbehaveAt("set"); }

float countDescriptors(AEffect*, int32_t) {
  const std::filesystem::directory_iterator all("/proc/self/fd");
  return static_cast<float>(std::distance(begin(all), end(all)));
}

// Silent until it is resumed. A block of one sample is what a host may try before it starts.
void process(AEffect*, double** inputs, double** outputs, int32_t frames) {
  if (frames > 1) misbehaveAt("block");
  for (int32_t i = 0; i < frames; ++i)
    outputs[0][i] = isResumed ? -inputs[0][i] : 0.0;
}

AEffect makeRecord() {
  AEffect record = {};
  record.magic = kEffectMagic;
  record.dispatchEntry = dispatch;
  record.setParameterEntry = setParameter;
  record.getParameterEntry = countDescriptors;
  record.parameterCount = isFault("create", "endless") ? 0x7FFFFFFF : 5;
  record.inputCount = isFault("create", "stereo") ? 2 : 1;
  record.outputCount = record.inputCount;
  record.flags = kFlagCanDoubleReplacing;
  record.processDoubleReplacingEntry = process;
  if (isFault("create", "no mark")) record.magic = 0;
  if (isFault("create", "no entry")) record.dispatchEntry = nullptr;
  if (isFault("create", "no doubles")) record.processDoubleReplacingEntry = nullptr;
  return record;
}

struct Loading {
  Loading() { misbehaveAt("load"); }
} loading;

} // namespace

extern "C" __attribute__((visibility("default"))) Q_TypeIF* getinterface(HostCallback) {
  static AEffect record = makeRecord();
  misbehaveAt("create");
  return isFault("create", "nothing") ? nullptr : new Q_TypeIF(&record);
}
