// The conversation with the worker process: the same effect as in this process, and every way to lose it.
#include "host/WorkerRunner.h"
#include "Processes.h"
#include "engine/PedalNumbers.h"
#include "host/EffectRunner.h"
#include "host/WorkerMessages.h"
#include "tests/render/Program.h"
#include "tests/render/SoundFiles.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <doctest/doctest.h>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr std::chrono::seconds kShortPatience{1};

WorkerRunner openTreadshift() { return {TREADSHIFT_WORKER, TREADSHIFT_MODULE_32}; }
WorkerRunner openBroken(std::chrono::seconds patience = WorkerRunner::kUsualPatience) {
  return {TREADSHIFT_WORKER, TREADSHIFT_BROKEN_32, patience};
}

// Short where the error is that it ran out: elsewhere a busy machine may take its time to start a program.
std::chrono::seconds patienceFor(const std::string& error) {
  return error.find(" for 1 s ") == std::string::npos ? WorkerRunner::kUsualPatience : kShortPatience;
}

// Nothing stays behind: no child, collected or not, and no descriptor.
class Traces {
public:
  ~Traces() {
    CHECK(waitpid(-1, nullptr, WNOHANG) == -1);
    CHECK(errno == ECHILD);
    CHECK(openDescriptors() == before);
  }

private:
  std::size_t before = openDescriptors();
};

std::string errorOf(const std::function<void()>& step) {
  try {
    step();
    return "no error";
  } catch (const EffectError& error) {
    return error.what();
  }
}

// What opening the broken module and using it leads to.
std::string errorAt(const std::string& fault, const std::function<void(const EffectDriver&)>& use,
                    std::chrono::seconds patience = WorkerRunner::kUsualPatience) {
  const Environment environment(kFault, fault);
  const Traces traces;
  return errorOf([&] {
    const WorkerRunner effect = openBroken(patience);
    use(effect);
  });
}

void ignore(const EffectDriver&) {}

void processTwoSamples(const EffectDriver& effect) {
  const double in[] = {0.25, -1.0};
  double out[2];
  effect.process(in, out, 2);
}

// Blocks of all kinds of length while the pedal, the tone and the colour move.
std::vector<double> playOddly(const EffectDriver& effect, const std::vector<double>& in) {
  effect.setParameter(kColor, 4.5f / 8);
  effect.setSampleRate(44100);
  effect.setBlockSize(4096);
  effect.resume();
  std::vector<double> out(in.size());
  const std::size_t lengths[] = {64, 1, 1000, 63, 4096, 256, 2, 4095};
  std::size_t position = 0;
  for (int block = 0; position < in.size(); ++block) {
    const std::size_t samples = std::min(lengths[block % std::size(lengths)], in.size() - position);
    effect.setParameter(kPedalPos, static_cast<float>(0.5 + 0.5 * std::sin(0.3 * block)));
    effect.setParameter(kTone, static_cast<float>(0.5 + 0.5 * std::cos(0.1 * block)));
    if (block % 40 == 20) effect.setParameter(kColor, static_cast<float>((block / 40 % 8 + 0.5) / 8));
    effect.process(in.data() + position, out.data() + position, static_cast<int>(samples));
    position += samples;
  }
  return out;
}

} // namespace

// What it tells of what exists is listed by --show.
TEST_CASE("an effect in the worker tells of parameters and programs that do not exist what it tells here") {
  const Traces traces;
  const WorkerRunner far = openTreadshift();
  const EffectRunner near(TREADSHIFT_MODULE);
  for (const int index : {-1, 5}) {
    CAPTURE(index);
    CHECK(far.parameterName(index) == near.parameterName(index));
    CHECK(far.parameterLabel(index) == near.parameterLabel(index));
    CHECK(far.parameterDisplay(index) == near.parameterDisplay(index));
    CHECK(far.parameter(index) == near.parameter(index));
    CHECK(far.programName(index) == near.programName(index));
    CHECK_FALSE(far.parameterProperties(index).has_value());
  }
}

TEST_CASE("a text without an end is as long as there is room") {
  const Environment environment(kFault, "text:endless");
  CHECK(openBroken().effectName() == std::string(255, 'x'));
}

TEST_CASE("what is set in the worker is set there, program by program") {
  const WorkerRunner effect = openTreadshift();
  effect.setParameter(kTone, 0.25f);
  effect.setParameter(kMode, 1.0f);
  CHECK(effect.parameter(kTone) == 0.25f);
  CHECK(effect.parameterDisplay(kMode) == "Bass");
  effect.request(kOpSetProgram, 0, 3);
  CHECK(effect.request(kOpGetProgram) == 3);
  CHECK(effect.parameter(kTone) == 0.25f); // a host's change of program leaves the live values
  std::string name = "Loud";
  effect.request(kOpSetProgramName, 0, 0, {name.data(), name.size() + 1});
  CHECK(effect.currentProgramName() == "Loud");
  CHECK(effect.programName(3) == "Loud");
}

TEST_CASE("a run of blocks is the blocks one by one") {
  const auto in = noise(10000);
  const ParameterMove moves[] = {
      {0, kPedalPos, 0.2f}, {3, kPedalPos, 1.0f}, {3, kTone, 0.0f}, {9, kColor, 0.95f}};
  std::vector<double> expected(in.size()), out = in;
  const WorkerRunner single = openTreadshift(), whole = openTreadshift();
  for (const WorkerRunner* effect : {&single, &whole})
    effect->setSampleRate(44100);
  for (int block = 0; block < 10; ++block) {
    for (const ParameterMove& move : moves)
      if (move.block == block) single.setParameter(move.index, move.value);
    single.process(in.data() + block * 1000, expected.data() + block * 1000, 1000);
  }
  whole.start({out.data(), out.data(), 10000, 1000, moves});
  whole.finish();
  CHECK(out == expected);
  // Shorter than a block, and a last block that is shorter.
  whole.start({in.data(), out.data(), 999, 1000, {}});
  whole.finish();
  single.process(in.data(), expected.data(), 999);
  whole.start({in.data(), out.data() + 1000, 2001, 1000, {}});
  whole.finish();
  for (int first = 0; first < 2001; first += 1000)
    single.process(in.data() + first, expected.data() + 1000 + first, std::min(1000, 2001 - first));
  CHECK(out == expected);
}

TEST_CASE("a run far larger than what a socket holds passes in both directions") {
  // 300000 blocks of one sample: 11 MB of orders and 7 MB of answers.
  const Environment environment(kFault, "");
  const WorkerRunner effect = openBroken();
  effect.resume();
  const auto in = noise(300000);
  auto out = in;
  effect.start({out.data(), out.data(), static_cast<int>(out.size()), 1, {}});
  effect.finish();
  CHECK(std::equal(in.begin(), in.end(), out.begin(), [](double a, double b) { return a == -b; }));
  std::vector<double> block(2000000, 0.5);
  effect.process(block.data(), block.data(), static_cast<int>(block.size()));
  CHECK(std::ranges::count(block, -0.5) == 2000000);
  effect.process(block.data(), block.data(), 0);
  for (int i = 0; i < 100000; ++i)
    effect.setParameter(kTone, 0.5f);
  CHECK(effect.effectName() == "");
}

TEST_CASE("a block larger than a message is refused") {
  const WorkerRunner effect = openTreadshift();
  double sample = 0.0;
  CHECK(errorOf([&] { effect.process(&sample, &sample, kLargestWorkerBlock + 1); }) ==
        "takes no blocks of that size in its worker");
  CHECK(effect.effectName() == "NEW Treadshift");
}

TEST_CASE("several threads with workers of their own get what one gets alone") {
  const Traces traces;
  const auto in = noise(60000);
  constexpr int kThreads = 6;
  const auto playAlone = [&in](int thread) {
    const WorkerRunner effect = openTreadshift();
    effect.setParameter(kMode, static_cast<float>(thread % 2));
    const std::vector<double> part(in.begin() + 1000 * thread, in.end());
    return playOddly(effect, part);
  };
  std::vector<std::vector<double>> alone(kThreads), together(kThreads);
  for (int i = 0; i < kThreads; ++i)
    alone[i] = playAlone(i);
  {
    std::vector<std::jthread> threads;
    for (int i = 0; i < kThreads; ++i)
      threads.emplace_back([&, i] { together[i] = playAlone(i); });
  }
  CHECK(together == alone);
}

TEST_CASE("a module that ends its worker, throws or never answers is told by name and moment") {
  const auto name = [](const EffectDriver& effect) { (void)effect.effectName(); };
  const auto set = [](const EffectDriver& effect) {
    effect.setParameter(0, 1.0f);
    (void)effect.parameter(0);
  };
  const auto setOnAndOn = [](const EffectDriver& effect) {
    for (;;)
      effect.setParameter(0, 1.0f);
  };
  const auto run = [](const EffectDriver& effect) {
    std::vector<double> samples(1000, 0.5);
    effect.start({samples.data(), samples.data(), 1000, 64, {}});
    effect.finish();
  };
  const std::string crashed = "crashed its worker process while it ",
                    thrown = "threw an exception (out of strings)";
  const std::string ended = "ended its worker process while it ";
  struct Row {
    const char* fault;
    std::function<void(const EffectDriver&)> use;
    std::string error;
  };
  for (const Row& row : {
           Row{"load:crash", ignore, crashed + "was opened (SIGSEGV)"},
           {"load:abort", ignore, crashed + "was opened (SIGABRT)"},
           {"create:crash", ignore, crashed + "was opened (SIGSEGV)"},
           {"text:crash", name, crashed + "answered opcode 45 (SIGSEGV)"},
           {"set:abort", set, crashed + "told a parameter (SIGABRT)"},
           {"block:crash", processTwoSamples, crashed + "processed a block (SIGSEGV)"},
           {"block:crash", run, crashed + "processed a block (SIGSEGV)"},
           {"load:exit", ignore, ended + "was opened (exit status 3)"},
           {"block:exit", processTwoSamples, ended + "processed a block (exit status 3)"},
           {"block:hang up", processTwoSamples, ended + "processed a block (exit status 1)"},
           {"create:throw", ignore, thrown},
           {"block:throw", processTwoSamples, thrown},
           {"block:hang", processTwoSamples, "gave no answer for 1 s while it processed a block"},
           {"set:hang", setOnAndOn, "took no orders for 1 s while its parameters were set"},
           // What does not disturb it.
           {"close:exit", processTwoSamples, "no error"},
           {"close:throw", processTwoSamples, "no error"},
           {"close:hang up", processTwoSamples, "no error"},
       }) {
    CAPTURE(row.fault);
    CHECK(errorAt(row.fault, row.use, patienceFor(row.error)) == row.error);
  }
}

TEST_CASE("a lost worker stays lost, and says why again") {
  const Environment environment(kFault, "block:crash");
  const Traces traces;
  const WorkerRunner effect = openBroken();
  const std::string reason = "crashed its worker process while it processed a block (SIGSEGV)";
  CHECK(errorOf([&] { processTwoSamples(effect); }) == reason);
  CHECK(errorOf([&] { processTwoSamples(effect); }) == reason);
  CHECK(errorOf([&] { effect.setParameter(0, 1.0f); }) == reason);
  CHECK(errorOf([&] { (void)effect.effectName(); }) == reason);
  CHECK(effect.facts().parameterCount == 5);
}

TEST_CASE("a worker that is killed is told as killed, also by a signal that its program ignores") {
  const Traces traces;
  std::signal(SIGUSR1, SIG_IGN);
  for (int number : {SIGKILL, SIGUSR1}) {
    const WorkerRunner effect = openTreadshift();
    kill(childrenOf(getpid()).front(), number);
    const std::string error = errorOf([&] { (void)effect.effectName(); });
    CHECK(error == "lost its worker process while it answered opcode 45 (killed by " +
                       std::string(number == SIGKILL ? "SIGKILL)" : "SIGUSR1)"));
  }
  std::signal(SIGUSR1, SIG_DFL);
}

TEST_CASE("an effect is closed before its worker ends") {
  const Workspace work;
  const Environment mark(kMark, work.path("mark"));
  CHECK(errorAt("close:mark", [&](const EffectDriver& effect) {
          processTwoSamples(effect);
          CHECK(work.names().empty());
        }) == "no error");
  CHECK(work.names() == Names{"mark"});
}

TEST_CASE("signals to this process in the middle of a transfer do not disturb it") {
  struct sigaction action = {}, before;
  action.sa_handler = [](int) {};
  sigaction(SIGALRM, &action, &before);
  const auto every = [](long microseconds) {
    const struct itimerval timer = {{0, microseconds}, {0, microseconds}};
    setitimer(ITIMER_REAL, &timer, nullptr);
  };
  const auto in = noise(60000);
  const auto expected = playOddly(openTreadshift(), in);
  every(300);
  const auto out = playOddly(openTreadshift(), in);
  every(0);
  sigaction(SIGALRM, &before, nullptr);
  CHECK(out == expected);
}

TEST_CASE("a worker has the socket and the standard streams, and nothing else of its program") {
  std::vector<int> extra;
  for (int i = 0; i < 20; ++i)
    extra.push_back(dup(STDERR_FILENO));
  const Environment environment(kFault, "");
  const WorkerRunner first = openBroken(), second = openBroken();
  // The socket, three streams, and the directory that the module counts in.
  CHECK(first.parameter(0) == 5);
  CHECK(second.parameter(0) == 5);
  for (int descriptor : extra)
    close(descriptor);
}

TEST_CASE("other programs that this one starts do not get the socket") {
  const auto descriptorsOfAnother = [] {
    FILE* pipe = popen("ls /proc/self/fd | wc -l", "r");
    int count = 0;
    CHECK(fscanf(pipe, "%d", &count) == 1);
    pclose(pipe);
    return count;
  };
  const int before = descriptorsOfAnother();
  const WorkerRunner effect = openTreadshift();
  CHECK(descriptorsOfAnother() == before);
}

TEST_CASE("a program whose children nobody collects still notices") {
  std::signal(SIGCHLD, SIG_IGN);
  const std::string error = errorAt("block:crash", processTwoSamples);
  std::signal(SIGCHLD, SIG_DFL);
  CHECK(error == "hung up on the program while it processed a block");
}

TEST_CASE("programs that are no worker") {
  const Workspace work;
  const Traces traces;
  const std::string worker = work.path("worker"),
                    needed = "needs the worker '" + worker + "', which cannot be started (";
  const std::string nonsense = "made its worker answer nonsense while it was opened",
                    wait = "' >&0; exec sleep 100\n";
  const std::string runTime =
      "32-bit programs need the 32-bit C++ run-time, on Debian the package lib32stdc++6)";
  struct Row {
    std::string script, error;
  };
  for (const Row& row : {
           Row{"#!/bin/sh\n", "ended its worker process while it was opened (exit status 0)"},
           {"#!/bin/sh\nexit 127\n", "has a worker that does not start (" + runTime},
           {"#!/bin/sh\nprintf 'I am no worker but talk as if I were\\n" + wait, nonsense},
           // The mark of a refusal with a text of 4097 characters, and of 3.
           {"#!/bin/sh\nprintf '1wst\\0\\0\\0\\0\\0\\0\\0\\0\\001\\020\\0\\0" + wait, nonsense},
           {"#!/bin/sh\nprintf '1wst\\0\\0\\0\\0\\0\\0\\0\\0\\003\\0\\0\\0odd" + wait, "odd"},
           // The mark of an answer, which shall hold 36 bytes of numbers, with 35.
           {"#!/bin/sh\nprintf '1WST\\0\\0\\0\\0\\0\\0\\0\\0\\043\\0\\0\\0" + wait, nonsense},
           {"#!/bin/sh\nprintf '1WST\\0\\0\\0\\0" + wait, "gave no answer for 1 s while it was opened"},
           {"#!/no/such/interpreter\n", needed + runTime},
       }) {
    CAPTURE(row.script);
    writeBytes("worker", row.script);
    std::filesystem::permissions("worker", std::filesystem::perms::owner_all);
    CHECK(errorOf([&] { WorkerRunner(worker, TREADSHIFT_MODULE_32, patienceFor(row.error)); }) == row.error);
  }
  std::filesystem::permissions("worker", std::filesystem::perms::owner_read);
  CHECK(errorOf([&] { WorkerRunner(worker, TREADSHIFT_MODULE_32); }) == needed + "Permission denied)");
}

TEST_CASE("a program without free descriptors is told so") {
  std::vector<int> all;
  struct rlimit before;
  getrlimit(RLIMIT_NOFILE, &before);
  const struct rlimit few = {32, before.rlim_max};
  setrlimit(RLIMIT_NOFILE, &few);
  for (int descriptor; (descriptor = dup(STDERR_FILENO)) >= 0;)
    all.push_back(descriptor);
  const std::string error = errorOf([] { openTreadshift(); });
  setrlimit(RLIMIT_NOFILE, &before);
  for (int descriptor : all)
    close(descriptor);
  CHECK(error == "needs the worker '" TREADSHIFT_WORKER "', which cannot be started (Too many open files)");
}
