// Running claims to suit hard real time: it takes no memory and makes no system call, at any block size.
#include "LoadedBundle.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <doctest/doctest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <numeric>
#include <random>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// Atomic, lest a compiler that knows what malloc does believes that nothing else changes it.
std::atomic<long> heapCalls = 0;

constexpr uint32_t kLongest = 8192; // samples: the largest block of a host that announces none

// Every length from 1 to 8192 once, in random order.
std::vector<uint32_t> everyLength() {
  std::vector<uint32_t> lengths(kLongest);
  std::iota(lengths.begin(), lengths.end(), 1u);
  std::shuffle(lengths.begin(), lengths.end(), std::mt19937(11));
  return lengths;
}

// Runs blocks of these lengths while every control moves.
void play(Instance& instance, const std::vector<uint32_t>& lengths, std::vector<float>& sound) {
  instance.connect(kIn, sound.data());
  instance.connect(kOut, sound.data());
  uint32_t count = 0;
  for (const uint32_t samples : lengths) {
    ++count;
    instance.knobs.enabled = count % 37 ? 1.0f : 0.0f;
    instance.knobs.color = static_cast<float>(count / 20 % 8);
    instance.knobs.tone = static_cast<float>(count % 7) / 6.0f;
    instance.knobs.pedal = static_cast<float>(count % 50) / 49.0f;
    instance.run(samples);
  }
}

// From here on the process may end and do nothing else that concerns the kernel; anything else kills it.
bool forbidSystemCalls() {
  sock_filter rules[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_exit_group, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS),
  };
  const sock_fprog program = {std::size(rules), rules};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

constexpr int kNoFilter = 77;

// What wait() tells of a child that runs `work` with system calls forbidden.
template <typename Work> int statusWithoutSystemCalls(Work work) {
  const pid_t child = fork();
  REQUIRE(child >= 0);
  if (child == 0) {
    if (!forbidSystemCalls()) syscall(SYS_exit_group, kNoFilter);
    work();
    syscall(SYS_exit_group, 0);
  }
  int status = 0;
  REQUIRE(waitpid(child, &status, 0) == child);
  REQUIRE_MESSAGE((!WIFEXITED(status) || WEXITSTATUS(status) != kNoFilter),
                  "this kernel offers no system call filter");
  return status;
}

} // namespace

// The C library's own heap, reached by the names under which it offers itself to those who stand in front.
#pragma GCC visibility push(default) // the bundle is to find these and not the C library's
extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);
void __libc_free(void*);

void* malloc(std::size_t bytes) {
  ++heapCalls;
  return __libc_malloc(bytes);
}
void* calloc(std::size_t count, std::size_t bytes) {
  ++heapCalls;
  return __libc_calloc(count, bytes);
}
void* realloc(void* block, std::size_t bytes) {
  ++heapCalls;
  return __libc_realloc(block, bytes);
}
void* aligned_alloc(std::size_t step, std::size_t bytes) {
  ++heapCalls;
  return __libc_memalign(step, bytes);
}
int posix_memalign(void** block, std::size_t step, std::size_t bytes) {
  ++heapCalls;
  *block = __libc_memalign(step, bytes);
  return *block ? 0 : ENOMEM;
}
void free(void* block) {
  ++heapCalls;
  __libc_free(block);
}
}
#pragma GCC visibility pop

TEST_CASE("blocks of every length from 1 to 8192 in random order never touch the heap") {
  const std::vector<uint32_t> lengths = everyLength();
  std::vector<float> sound = floatNoise(kLongest);
  Instance instance(48000.0);
  const long before = heapCalls;
  play(instance, lengths, sound);
  CHECK(heapCalls == before);
}

TEST_CASE("nor do calls that are longer, empty, or go to a rate that cannot run") {
  const std::vector<uint32_t> lengths = {0, 100000, 0, 8193, 1, 65536, 20000, 0};
  std::vector<float> sound = floatNoise(100000);
  Instance instance(48000.0), unable(1.0);
  const long before = heapCalls;
  for (Instance* each : {&instance, &unable})
    play(*each, lengths, sound);
  CHECK(heapCalls == before);
}

TEST_CASE("nor does connecting") {
  float value = 0.5f;
  Instance instance(48000.0);
  const long before = heapCalls;
  for (uint32_t port = 0; port < 9; ++port)
    instance.connect(port, &value);
  CHECK(heapCalls == before);
}

TEST_CASE("the count sees what the bundle takes") {
  Instance instance(48000.0);
  std::vector<float> sound(64);
  play(instance, {64}, sound);
  const long before = heapCalls;
  instance.activate();
  CHECK(heapCalls > before);
}

TEST_CASE("blocks of every length make no system call") {
  const std::vector<uint32_t> lengths = everyLength();
  std::vector<float> sound = floatNoise(kLongest);
  Instance instance(48000.0);
  CHECK(statusWithoutSystemCalls([&] { play(instance, lengths, sound); }) == 0);
}

TEST_CASE("the filter kills whoever makes one") {
  const int status = statusWithoutSystemCalls([] { syscall(SYS_getppid); });
  CHECK(WIFSIGNALED(status));
  CHECK(WTERMSIG(status) == SIGSYS);
}
