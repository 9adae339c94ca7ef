// The program with 32-bit modules, as a user sees it: the same sound and the same listing as with its own
// width, and one line when something is wrong.
#include "../Program.h"
#include "../SoundFiles.h"
#include "Processes.h"

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <doctest/doctest.h>
#include <filesystem>
#include <regex>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr char kFault[] = "TREADSHIFT_TEST_FAULT";

bool startsWith(const std::string& text, const std::string& start) {
  return text.compare(0, start.size(), start) == 0;
}

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);)
    lines.push_back(line);
  return lines;
}

// A command line. What it prints to either stream comes together.
Outcome runCommand(const std::string& command) {
  Outcome outcome;
  FILE* pipe = popen((command + " 2>&1").c_str(), "r");
  REQUIRE(pipe != nullptr);
  char part[4096];
  for (std::size_t count; (count = fread(part, 1, sizeof part, pipe)) > 0;)
    outcome.out.append(part, count);
  const int status = pclose(pipe);
  outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return outcome;
}

// Two channels that have little in common.
Sound stereo(std::size_t frames) {
  Sound sound = {44100, 2, SF_FORMAT_WAV | SF_FORMAT_DOUBLE, {}};
  const auto left = noise(frames, 1);
  for (std::size_t i = 0; i < frames; ++i) {
    sound.samples.push_back(left[i]);
    sound.samples.push_back(0.5 * std::sin(2 * M_PI * 110 * static_cast<double>(i) / 44100));
  }
  return sound;
}

class Rendering {
public:
  Rendering() { writeSound(path("in.wav"), stereo(44100)); }

  std::string path(const std::string& name) const { return work.path(name); }

  std::vector<std::string> call(const std::string& module) const {
    return {path("in.wav"), path("out.wav"), "--module", module};
  }

  // One line, the status of what could not be done, and no file.
  void checkFailure(const std::string& module, const std::string& wrong) const {
    const Outcome outcome = render(call(module));
    CHECK(outcome.err == "treadshift-render: module '" + module + "': " + wrong + "; give a treadshift.so\n");
    CHECK(outcome.out == "");
    CHECK(outcome.status == 1);
    CHECK(work.names() == std::vector<std::string>{"in.wav"});
  }

  void checkFault(const std::string& fault, const std::string& module, const std::string& wrong) const {
    CAPTURE(fault);
    const Environment environment(kFault, fault);
    checkFailure(module, wrong);
  }

  Workspace work;
};

// The workers of the one program that runs, when every channel has its own.
std::vector<pid_t> awaitWorkers() {
  const pid_t program = awaitChildOf(getpid());
  for (;; usleep(1000)) {
    const auto workers = childrenOf(program);
    if (workers.size() == 2) return workers;
  }
}

} // namespace

TEST_CASE("a render along courses is the same in both widths") {
  const Rendering rendering;
  const auto rendered = [&](const std::string& module, const std::string& block) {
    auto call = rendering.call(module);
    const std::vector<std::string> courses = {"--pedal", "0:0,0.3:1,0.6:0.1,1:0.9", "--tone",  "0:1,0.8:0",
                                              "--color", "0:4,0.25:6,0.5:3,0.75:0", "--block", block};
    call.insert(call.end(), courses.begin(), courses.end());
    const Outcome outcome = render(call);
    REQUIRE(outcome.err == "");
    REQUIRE(outcome.status == 0);
    return readSound(rendering.path("out.wav")).samples;
  };
  const auto in = readSound(rendering.path("in.wav")).samples;
  for (const char* block : {"64", "100", "4096"}) {
    CAPTURE(block);
    const auto wide = rendered(TREADSHIFT_MODULE, block);
    const auto narrow = rendered(TREADSHIFT_MODULE_32, block);
    REQUIRE(wide.size() == in.size());
    REQUIRE(narrow.size() == in.size());
    double largest = 0.0, change = 0.0;
    for (std::size_t i = 0; i < in.size(); ++i) {
      largest = std::max(largest, std::abs(wide[i] - narrow[i]));
      change = std::max(change, std::abs(narrow[i] - in[i]));
    }
    CHECK(largest <= 1e-9);
    CHECK(change > 0.1);
  }
}

TEST_CASE("--show tells the same of both widths but for the width") {
  const std::vector<std::string> values = {"--tone", "0.3", "--color", "6", "--mode", "bass"};
  const auto shown = [&](const std::string& module) {
    std::vector<std::string> call = {"--show", "--module", module};
    call.insert(call.end(), values.begin(), values.end());
    const Outcome outcome = render(call);
    CHECK(outcome.err == "");
    CHECK(outcome.status == 0);
    return linesOf(outcome.out);
  };
  auto wide = shown(TREADSHIFT_MODULE), narrow = shown(TREADSHIFT_MODULE_32);
  REQUIRE(wide.size() > 3);
  REQUIRE(narrow.size() == wide.size());
  CHECK(narrow[1] == "  " TREADSHIFT_MODULE_32);
  CHECK(narrow[2] == "  32-bit, in a worker process");
  CHECK(wide[2] == "  64-bit, in this process");
  wide.erase(wide.begin() + 1, wide.begin() + 3);
  narrow.erase(narrow.begin() + 1, narrow.begin() + 3);
  CHECK(narrow == wide);
}

TEST_CASE("a worker that is lost is one line") {
  const Rendering rendering;
  const std::string broken = TREADSHIFT_BROKEN_32;
  const std::string crashed = "crashed its worker process while it ";
  rendering.checkFault("load:abort", broken, crashed + "was opened (SIGABRT)");
  rendering.checkFault("create:crash", broken, crashed + "was opened (SIGSEGV)");
  rendering.checkFault("block:abort", broken, crashed + "processed a block (SIGABRT)");
  rendering.checkFault("block:exit", broken,
                       "ended its worker process while it processed a block (exit status 3)");
  rendering.checkFault("block:throw", broken, "threw an exception (out of strings)");
  const Environment environment(kFault, "text:crash");
  const Outcome shown = render({"--show", "--module", broken});
  CHECK(shown.err == "treadshift-render: module '" + broken + "': " + crashed +
                         "answered opcode 45 (SIGSEGV); give a treadshift.so\n");
  CHECK(shown.out == "");
  CHECK(shown.status == 1);
}

TEST_CASE("a module that talks and signals itself does not disturb a render") {
  const Rendering rendering;
  for (const char* fault : {"block:noise", "block:signal itself", "close:crash"}) {
    CAPTURE(fault);
    const Environment environment(kFault, fault);
    const Outcome outcome = render(rendering.call(TREADSHIFT_BROKEN_32));
    CHECK(outcome.err == "");
    CHECK(outcome.out == "");
    CHECK(outcome.status == 0);
    auto expected = readSound(rendering.path("in.wav")).samples;
    for (double& sample : expected)
      sample = -sample;
    CHECK(readSound(rendering.path("out.wav")).samples == expected);
  }
}

TEST_CASE("a worker that is killed in the middle of a render is one line") {
  const Rendering rendering;
  const Environment environment(kFault, "block:hang");
  Program program(rendering.call(TREADSHIFT_BROKEN_32));
  for (pid_t worker : awaitWorkers())
    kill(worker, SIGKILL);
  const Outcome outcome = program.wait();
  CHECK(std::regex_match(
      outcome.err, std::regex("treadshift-render: module '" TREADSHIFT_BROKEN_32
                              "': lost its worker process while it [a-z0-9 ]+ \\(killed by SIGKILL\\); "
                              "it was ended from outside, as by a user or for want of memory; try again\n")));
  CHECK(outcome.status == 1);
  CHECK(rendering.work.names() == std::vector<std::string>{"in.wav"});
}

TEST_CASE("a program that is stopped takes its hanging workers with it") {
  const Rendering rendering;
  const Environment environment(kFault, "block:hang");
  for (int number : {SIGINT, SIGKILL}) {
    Program program(rendering.call(TREADSHIFT_BROKEN_32));
    const auto workers = awaitWorkers();
    program.signal(number);
    CHECK(program.wait().status == 128 + number);
    for (pid_t worker : workers) {
      while (isRunning(worker))
        usleep(1000);
    }
    if (number == SIGINT) CHECK(rendering.work.names() == std::vector<std::string>{"in.wav"});
  }
}

TEST_CASE("modules of either width that yield no usable effect") {
  const Rendering rendering;
  for (const std::string broken : {TREADSHIFT_BROKEN_32, TREADSHIFT_BROKEN_64}) {
    CAPTURE(broken);
    const std::string noRecord = "its factory created something else than an effect";
    const std::string unfit = "its effect is no mono double-precision effect with five parameters";
    rendering.checkFault("create:nothing", broken, "its factory created no effect");
    rendering.checkFault("create:no mark", broken, noRecord);
    rendering.checkFault("create:no entry", broken, noRecord);
    rendering.checkFault("create:stereo", broken, unfit);
    rendering.checkFault("create:no doubles", broken, unfit);
  }
  rendering.checkFailure(TREADSHIFT_FOREIGN_32, "exports no 'getinterface'");
  rendering.checkFailure(TREADSHIFT_FOREIGN_64, "exports no 'getinterface'");
}

TEST_CASE("files that are no modules, or not whole") {
  const Rendering rendering;
  const auto check = [&](const std::string& bytes, const std::string& wrong) {
    writeBytes(rendering.path("module.so"), bytes);
    const Outcome outcome = render(rendering.call(rendering.path("module.so")));
    CAPTURE(outcome.err);
    CHECK(
        startsWith(outcome.err, "treadshift-render: module '" + rendering.path("module.so") + "': " + wrong));
    CHECK(linesOf(outcome.err).size() == 1);
    CHECK(outcome.status == 1);
    CHECK(rendering.work.names() == std::vector<std::string>{"in.wav", "module.so"});
  };
  check("", "not a module; give a treadshift.so\n");
  check("This is no module.\n", "not a module; give a treadshift.so\n");
  check("\x7f"
        "ELF",
        "cut short; give a treadshift.so\n");
  for (const std::string module : {TREADSHIFT_MODULE_32, TREADSHIFT_MODULE}) {
    CAPTURE(module);
    const std::string whole = fileBytes(module);
    for (std::size_t bytes : {std::size_t{20}, std::size_t{52}, std::size_t{100}, std::size_t{5000}})
      check(whole.substr(0, bytes), "cut short; give a treadshift.so\n");
    check(fileBytes(module == TREADSHIFT_MODULE ? TREADSHIFT_RENDER : TREADSHIFT_WORKER),
          "cannot be loaded (");
  }
  // The processor's number stands at offset 18; 40 is ARM's.
  check(fileBytes(TREADSHIFT_MODULE_32).replace(18, 2, std::string("\x28\0", 2)),
        "a 32-bit module; give a 64-bit treadshift.so\n");
}

TEST_CASE("an effect that counts endlessly many parameters is listed to a limit") {
  for (const std::string broken : {TREADSHIFT_BROKEN_32, TREADSHIFT_BROKEN_64}) {
    const Environment environment(kFault, "create:endless");
    const Outcome outcome = render({"--show", "--module", broken});
    CHECK(outcome.status == 0);
    const auto lines = linesOf(outcome.out);
    CHECK(std::ranges::count(lines, "  and so on, 2147483647 in all") == 1);
    CHECK(std::ranges::any_of(lines, [](const auto& line) { return startsWith(line, "  4095 "); }));
    CHECK(std::ranges::none_of(lines, [](const auto& line) { return startsWith(line, "  4096 "); }));
  }
}

TEST_CASE("an installed program finds its worker, and says where it looked when there is none") {
  const Workspace work;
  fs::create_directories(work.path("bin"));
  const std::string program = work.path("bin/treadshift-render");
  fs::copy_file(TREADSHIFT_RENDER, program);
  const std::string show = "'" + program + "' --show --module '" TREADSHIFT_MODULE_32 "'";
  const Outcome alone = runCommand(show);
  CHECK(alone.status == 1);
  CHECK(startsWith(alone.out, "treadshift-render: module '" TREADSHIFT_MODULE_32
                              "': a 32-bit module, and the worker that opens those is not found at " +
                                  work.path("bin/treadshift-worker32") + ", " +
                                  work.path("libexec/treadshift/treadshift-worker32")));
  CHECK(alone.out.ends_with("; build it with g++-multilib, or give a 64-bit treadshift.so\n"));
  CHECK(linesOf(alone.out).size() == 1);
  fs::create_directories(work.path("libexec/treadshift"));
  fs::copy_file(TREADSHIFT_WORKER, work.path("libexec/treadshift/treadshift-worker32"));
  const Outcome installed = runCommand(show);
  CHECK(installed.status == 0);
  CHECK(startsWith(installed.out, "Module\n  " TREADSHIFT_MODULE_32 "\n  32-bit, in a worker process\n"));
}

TEST_CASE("the worker started by hand says who starts it") {
  for (const std::string arguments : {"", "--help", "one two", TREADSHIFT_MODULE_32}) {
    const Outcome outcome = runCommand("'" TREADSHIFT_WORKER "' " + arguments + " </dev/null");
    CHECK(outcome.status == 2);
    CHECK(outcome.out ==
          "treadshift-worker32: serves a 32-bit module to treadshift-render, which starts it by "
          "itself; use treadshift-render --module PATH\n");
  }
}

TEST_CASE("the worker is a 32-bit program that needs the run-times alone") {
  const std::string worker = fileBytes(TREADSHIFT_WORKER);
  CHECK(worker.substr(0, 5) == "\x7f"
                               "ELF\x01");
  const Outcome dynamic = runCommand("LC_ALL=C readelf -d '" TREADSHIFT_WORKER "'");
  REQUIRE(dynamic.status == 0);
  int needed = 0;
  for (const std::string& line : linesOf(dynamic.out)) {
    if (line.find("(NEEDED)") == std::string::npos) continue;
    ++needed;
    CAPTURE(line);
    const char* runTimes[] = {"[libstdc++.so.6]", "[libgcc_s.so.1]", "[libm.so.6]", "[libc.so.6]"};
    const bool isRunTime =
        std::ranges::any_of(runTimes, [&](const char* name) { return line.find(name) != std::string::npos; });
    CHECK((isRunTime || TREADSHIFT_CHECKED_BUILD));
  }
  CHECK(needed > 0);
}
