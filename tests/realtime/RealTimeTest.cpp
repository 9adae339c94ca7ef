// What a block touches: its own lock, once, and nothing else that could make it wait.
#include "engine/PedalNumbers.h"
#include "tests/realtime/BlockKinds.h"
#include "tests/support/Bits.h"
#include "tests/support/HeapCount.h"
#include "tests/support/LockCalls.h"
#include "tests/support/SystemCalls.h"

#include "vst/Opcodes.h"

#include <cstdlib>
#include <cstring>
#include <doctest/doctest.h>
#include <pthread.h>
#include <semaphore.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr int kBlocks = 200;
constexpr std::size_t kPage = 4096; // bytes

// The mutex that a program change takes: the effect's own.
const void* ownLock(Stage& stage) {
  startLockCalls();
  stage.effect.changeProgram(0);
  const std::vector<LockCall> calls = endLockCalls();
  REQUIRE(calls.size() == 2);
  CHECK(calls[0].function == "pthread_mutex_lock");
  CHECK(calls[1] == LockCall{"pthread_mutex_unlock", calls[0].object});
  return calls[0].object;
}

// What the effect and nobody else does in one block.
std::vector<LockCall> lockCallsOf(Stage& stage, int samples) {
  startLockCalls();
  stage.block(samples);
  return endLockCalls();
}

long heapCallsOf(const std::function<void()>& work) {
  const long before = heapCalls();
  work();
  return heapCalls() - before;
}

template <typename Work> std::vector<std::string> lockFunctionsOf(Work work) {
  startLockCalls();
  work();
  std::vector<std::string> names;
  for (const LockCall& call : endLockCalls())
    names.push_back(call.function);
  return names;
}

using Names = std::vector<std::string>;

// Two programs that differ in every value; the first is current.
void fillTwoPrograms(const Stage& stage) {
  for (int program : {1, 0}) {
    stage.effect.changeProgram(program);
    for (int index = 0; index < kParameterCount; ++index)
      stage.effect.set(index, program == 0 ? 0.3f : 0.9f - 0.1f * static_cast<float>(index));
    stage.effect.set(kOnOff, 1.0f); // what is off hears no program
  }
}

std::vector<float> numberAndValues(const Stage& stage) {
  std::vector<float> all = stage.effect.values();
  all.push_back(static_cast<float>(stage.effect.send(kOpGetProgram)));
  return all;
}

bool isTaking(const char* function) { return std::strcmp(function, "pthread_mutex_lock") == 0; }

} // namespace

TEST_CASE("no block of any kind touches the heap or makes a system call") {
  for (const BlockKind& kind : blockKinds()) {
    CAPTURE(kind.name);
    Stage stage;
    kind.prepare(stage);
    const auto play = [&] {
      for (int k = 0; k < kBlocks; ++k) {
        kind.between(stage);
        stage.block(kind.size(k));
      }
    };
    const std::optional<long> call = firstSystemCall(play); // of a child, which leaves the stage as it is
    CHECK_MESSAGE(!call, "system call number " << call.value_or(0));
    CHECK(heapCallsOf(play) == 0);
  }
}

TEST_CASE("each block takes the effect's lock once and gives it back") {
  for (const BlockKind& kind : blockKinds()) {
    CAPTURE(kind.name);
    Stage stage;
    const void* const own = ownLock(stage);
    kind.prepare(stage);
    const std::vector<LockCall> once = {{"pthread_mutex_lock", own}, {"pthread_mutex_unlock", own}};
    int others = 0;
    for (int k = 0; k < kBlocks; ++k) {
      kind.between(stage);
      others += lockCallsOf(stage, kind.size(k)) != once;
    }
    CHECK(others == 0);
  }
}

// Another thread can act on what the lock guards in front of the taking and behind the giving back, and
// nowhere else. So it does here, at both ends, on the block's own thread.
TEST_CASE("every block hears one program wholly, whatever another thread does") {
  static const Stage* played;
  for (const bool isAtTaking : {true, false}) {
    CAPTURE(isAtTaking);
    Stage met(8000.0f), expected(8000.0f);
    fillTwoPrograms(met);
    fillTwoPrograms(expected);
    for (int k = 0; k < 3; ++k) {
      met.block(64);
      expected.block(64);
    }
    if (isAtTaking) expected.effect.changeProgram(1); // before the block; at the other end behind it
    expected.block(64);
    played = &met;
    startLockCalls(isAtTaking ? [](const char* function) {
      if (isTaking(function)) played->effect.changeProgram(1);
    } : [](const char* function) {
      if (!isTaking(function)) played->effect.changeProgram(1);
    });
    met.block(64);
    CHECK(endLockCalls().size() == 2);
    CHECK(sameBits(met.heard(64), expected.heard(64)));
    if (!isAtTaking) expected.effect.changeProgram(1);
    for (int k = 0; k < 20; ++k) {
      met.block(64);
      expected.block(64);
      CHECK(sameBits(met.heard(64), expected.heard(64)));
    }
  }
}

TEST_CASE("a program change takes the lock before the first change and gives it back behind the last") {
  static const Stage* changed;
  static std::vector<std::vector<float>> seen;
  Stage stage;
  fillTwoPrograms(stage);
  changed = &stage;
  seen = {numberAndValues(stage)};
  startLockCalls([](const char*) { seen.push_back(numberAndValues(*changed)); });
  stage.effect.changeProgram(1);
  endLockCalls();
  seen.push_back(numberAndValues(stage));
  REQUIRE(seen.size() == 4);
  CHECK(seen[1] == seen[0]); // at the taking
  CHECK(seen[2] == seen[3]); // at the giving back
  CHECK(seen[3] != seen[0]);
}

TEST_CASE("blocks before any rate touch nothing but the lock") {
  Stage stage(0.0f);
  const void* const own = ownLock(stage);
  CHECK(heapCallsOf([&] { stage.block(256); }) == 0);
  CHECK(lockCallsOf(stage, 256) ==
        std::vector<LockCall>{{"pthread_mutex_lock", own}, {"pthread_mutex_unlock", own}});
  CHECK(!firstSystemCall([&] { stage.block(256); }));
}

TEST_CASE("parameters are written and read without lock, heap or system call") {
  Stage stage;
  const auto work = [&] {
    for (int index = -1; index < 6; ++index) {
      stage.effect.set(index, 0.5f);
      stage.effect.get(index);
    }
  };
  CHECK(heapCallsOf(work) == 0);
  CHECK(lockFunctionsOf(work).empty());
  CHECK(!firstSystemCall(work));
}

// Two arrays of doubles and one of floats; those that they replace are given back.
TEST_CASE("the first block longer than announced takes its three arrays and nothing else") {
  constexpr std::size_t kLonger = 5000;
  Stage stage;
  stage.block(64);
  startHeapCount();
  const long calls = heapCallsOf([&] { stage.block(kLonger); });
  const HeapCount count = endHeapCount();
  CHECK(count.allocations == 3);
  CHECK(count.blocks == std::vector<std::size_t>{8 * kLonger, 8 * kLonger, 4 * kLonger});
  CHECK(calls == 6);
  CHECK(heapCallsOf([&] {
          stage.block(kLonger);
          stage.block(kAnnounced);
          stage.block(1);
        }) == 0);
}

TEST_CASE("an effect that ran leaves nothing on the heap") {
  { const Stage warm; } // the module stays loaded
  startHeapCount();
  {
    Stage stage;
    stage.block(5000);
    stage.effect.send(kOpSetSampleRate, 0, 0, nullptr, 44100.0f);
    stage.effect.send(kOpSetSampleRate, 0, 0, nullptr, 1.0f);
  }
  CHECK(endHeapCount().blocks.empty());
}

// ---- the watches fire

TEST_CASE("the heap's watch sees every way to take memory, also the module's own") {
  Stage stage;
  void* place = nullptr;
  CHECK(heapCallsOf([&] { place = std::malloc(8); }) == 1);
  CHECK(heapCallsOf([&] { place = std::realloc(place, 800000); }) == 2); // a taking and a giving back
  CHECK(heapCallsOf([&] { std::free(place); }) == 1);
  CHECK(heapCallsOf([&] { place = std::calloc(3, 8); }) == 1);
  std::free(place);
  CHECK(heapCallsOf([&] { place = std::aligned_alloc(64, 64); }) == 1);
  std::free(place);
  CHECK(heapCallsOf([&] { REQUIRE(posix_memalign(&place, 64, 64) == 0); }) == 1);
  std::free(place);
  CHECK(heapCallsOf([] { ::operator delete(::operator new(5)); }) == 2);
  CHECK(heapCallsOf([&] { stage.effect.send(kOpSetSampleRate, 0, 0, nullptr, 44100.0f); }) > 10);
}

TEST_CASE("the heap's watch knows what is held") {
  void* const older = ::operator new(1000);
  startHeapCount();
  void* const held = ::operator new(100000);
  void* grown = std::malloc(10);
  grown = std::realloc(grown, 3000);
  const std::size_t most = heapLiveBytes();
  ::operator delete(older); // taken before the start
  std::free(grown);
  const std::size_t after = heapLiveBytes();
  ::operator delete(held);
  const std::size_t none = heapLiveBytes();
  endHeapCount();
  CHECK(most == 103000);
  CHECK(after == 100000);
  CHECK(none == 0);
}

TEST_CASE("the locks' watch sees each of them") {
  pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
  pthread_cond_t condition = PTHREAD_COND_INITIALIZER;
  pthread_rwlock_t lock = PTHREAD_RWLOCK_INITIALIZER;
  pthread_spinlock_t spin;
  sem_t semaphore;
  REQUIRE(pthread_spin_init(&spin, PTHREAD_PROCESS_PRIVATE) == 0);
  REQUIRE(sem_init(&semaphore, 0, 1) == 0);
  const timespec past = {1, 0};
  CHECK(lockFunctionsOf([&] {
          pthread_mutex_trylock(&mutex);
          pthread_cond_timedwait(&condition, &mutex, &past);
          pthread_mutex_unlock(&mutex);
          pthread_mutex_timedlock(&mutex, &past);
          pthread_mutex_unlock(&mutex);
          pthread_cond_signal(&condition);
          pthread_cond_broadcast(&condition);
          pthread_rwlock_rdlock(&lock);
          pthread_rwlock_unlock(&lock);
          pthread_rwlock_wrlock(&lock);
          pthread_rwlock_unlock(&lock);
          pthread_spin_lock(&spin);
          pthread_spin_unlock(&spin);
          sem_wait(&semaphore);
          sem_post(&semaphore);
        }) == Names{"pthread_mutex_trylock", "pthread_cond_timedwait", "pthread_mutex_unlock",
                    "pthread_mutex_timedlock", "pthread_mutex_unlock", "pthread_cond_signal",
                    "pthread_cond_broadcast", "pthread_rwlock_rdlock", "pthread_rwlock_wrlock",
                    "pthread_spin_lock", "sem_wait", "sem_post"});
  sem_destroy(&semaphore);
}

TEST_CASE("the system calls' watch names the first one") {
  CHECK(!firstSystemCall([] {}));
  CHECK(firstSystemCall([] { getppid(); }) == SYS_getppid);
  CHECK(firstSystemCall([] { [[maybe_unused]] auto written = write(1, "", 0); }) == SYS_write);
  CHECK(firstSystemCall([] { munmap(nullptr, kPage); }) == SYS_munmap);
  CHECK(firstSystemCall([] { ::operator delete(::operator new(64 << 20)); }).has_value()); // from the system
  pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
  CHECK(!firstSystemCall([&] { pthread_mutex_lock(&mutex); }));
  CHECK(firstSystemCall([&] { // waits for itself
          pthread_mutex_lock(&mutex);
          pthread_mutex_lock(&mutex);
        }) == SYS_futex);
}

TEST_CASE("a child that dies is no child that made no call") {
  CHECK_THROWS_AS(firstSystemCall([] { __builtin_trap(); }), std::runtime_error);
}
