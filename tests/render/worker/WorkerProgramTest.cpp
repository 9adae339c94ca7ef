// The program with 32-bit modules, as a user sees it: the same sound and the same listing as with its own
// width, and one line when something is wrong.
#include "Processes.h"
#include "tests/render/Program.h"
#include "tests/render/SoundFiles.h"

#include <algorithm>
#include <cmath>
#include <csignal>
#include <doctest/doctest.h>
#include <filesystem>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

// Two channels that have little in common.
void writeStereo() {
  Sound sound = {44100, 2, kWavDouble, {}};
  for (const double left : noise(44100)) {
    sound.samples.push_back(left);
    sound.samples.push_back(0.5 * std::sin(0.0157 * static_cast<double>(sound.samples.size())));
  }
  writeSound("in.wav", sound);
}

std::string withModule(const std::string& module) { return "in.wav out.wav --module '" + module + "'"; }

// One line, the status of what could not be done, and no file.
void checkFailure(const std::string& module, const std::string& wrong) {
  checkRefused(1, withModule(module), "module '" + module + "': " + wrong + "; give a treadshift.so\n");
}

void checkFault(const std::string& fault, const std::string& module, const std::string& wrong) {
  CAPTURE(fault);
  const Environment environment(kFault, fault);
  checkFailure(module, wrong);
}

// A render whose two channels hang in their first blocks, each in a worker of its own.
struct HangingRender {
  HangingRender() {
    for (int channel = 0; channel < 2; ++channel)
      REQUIRE(bell.nextLine(program) == "block");
    workers = childrenOf(childrenOf(getpid()).front());
    REQUIRE(workers.size() == 2);
  }

  const Bell bell{"bell"};
  const Environment fault{kFault, "block:hang"}, mark{kMark, fs::absolute("bell")};
  Program program{withModule(TREADSHIFT_BROKEN_32)};
  std::vector<pid_t> workers;
};

} // namespace

TEST_CASE("a render along courses is the same in both widths") {
  const Workspace work;
  writeStereo();
  const auto rendered = [](const std::string& module, const std::string& block) {
    const Outcome outcome = render(withModule(module) +
                                   " --pedal 0:0,0.3:1,0.6:0.1,1:0.9 --tone 0:1,0.8:0 "
                                   "--color 0:4,0.25:6,0.5:3,0.75:0 --block " +
                                   block);
    REQUIRE(outcome.err == "");
    REQUIRE(outcome.status == 0);
    return samplesOf("out.wav");
  };
  for (const std::string block : {"64", "100", "4096"}) {
    CAPTURE(block);
    const auto narrow = rendered(TREADSHIFT_MODULE_32, block);
    CHECK(largestDifference(rendered(TREADSHIFT_MODULE, block), narrow) <= 1e-9);
    CHECK(largestDifference(samplesOf("in.wav"), narrow) > 0.1);
    CHECK(narrow.size() == 88200);
  }
}

TEST_CASE("--show tells the same of both widths but for the width") {
  const auto shown = [](const std::string& module) {
    const Outcome outcome = render("--show --tone 0.3 --color 6 --mode bass --module '" + module + "'");
    CHECK(outcome.err == "");
    CHECK(outcome.status == 0);
    return linesOf(outcome.out);
  };
  Names wide = shown(TREADSHIFT_MODULE), narrow = shown(TREADSHIFT_MODULE_32);
  REQUIRE(wide.size() > 3);
  REQUIRE(narrow.size() == wide.size());
  CHECK(narrow[1] == "  " TREADSHIFT_MODULE_32);
  CHECK(narrow[2] == "  32-bit, in a worker process");
  CHECK(wide[2] == "  64-bit, in this process");
  for (Names* lines : {&wide, &narrow})
    lines->erase(lines->begin() + 1, lines->begin() + 3);
  CHECK(narrow == wide);
}

TEST_CASE("a worker that is lost is one line") {
  const Workspace work;
  writeStereo();
  const std::string broken = TREADSHIFT_BROKEN_32, crashed = "crashed its worker process while it ";
  checkFault("load:abort", broken, crashed + "was opened (SIGABRT)");
  const Environment environment(kFault, "text:crash");
  checkRefused(1, "--show --module '" + broken + "'",
               "module '" + broken + "': " + crashed +
                   "answered opcode 45 (SIGSEGV); give a treadshift.so\n");
}

TEST_CASE("a module that talks and signals itself does not disturb a render") {
  const Workspace work;
  writeStereo();
  auto expected = samplesOf("in.wav");
  for (double& sample : expected)
    sample = -sample;
  for (const char* fault : {"block:noise", "block:signal itself", "close:crash"}) {
    CAPTURE(fault);
    const Environment environment(kFault, fault);
    const Outcome outcome = render(withModule(TREADSHIFT_BROKEN_32));
    CHECK(outcome.err == "");
    CHECK(outcome.out == "");
    CHECK(outcome.status == 0);
    CHECK(samplesOf("out.wav") == expected);
  }
}

TEST_CASE("workers that are killed in the middle of a render are one line") {
  const Workspace work;
  writeStereo();
  HangingRender render;
  for (const pid_t worker : render.workers)
    kill(worker, SIGKILL);
  const Outcome outcome = render.program.wait();
  CHECK(outcome.err == "treadshift-render: module '" TREADSHIFT_BROKEN_32
                       "': lost its worker process while it processed a block (killed by SIGKILL); it was "
                       "ended from outside, as by a user or for want of memory; try again\n");
  CHECK(outcome.status == 1);
  CHECK(work.names() == Names{"bell", "in.wav"});
}

TEST_CASE("a program that is stopped takes its hanging workers with it") {
  for (const int number : {SIGINT, SIGKILL}) {
    CAPTURE(number);
    const Workspace work;
    writeStereo();
    HangingRender render;
    render.program.signal(number);
    CHECK(render.program.wait().status == 128 + number);
    for (const pid_t worker : render.workers)
      CHECK(ends(worker));
    CHECK(work.names() == Names{"bell", "in.wav"});
  }
}

TEST_CASE("modules of either width that yield no usable effect") {
  const Workspace work;
  writeStereo();
  const std::string noRecord = "its factory created something else than an effect";
  const std::string unfit = "its effect is no mono double-precision effect with five parameters";
  for (const std::string broken : {TREADSHIFT_BROKEN_32, TREADSHIFT_BROKEN_64}) {
    checkFault("create:nothing", broken, "its factory created no effect");
    checkFault("create:no mark", broken, noRecord);
    checkFault("create:no entry", broken, noRecord);
    checkFault("create:stereo", broken, unfit);
    checkFault("create:no doubles", broken, unfit);
  }
  checkFailure(TREADSHIFT_FOREIGN_32, "exports no 'getinterface'");
  checkFailure(TREADSHIFT_FOREIGN_64, "exports no 'getinterface'");
}

TEST_CASE("files that are no modules, or not whole") {
  const Workspace work;
  writeStereo();
  const auto check = [&](const std::string& bytes, const std::string& wrong) {
    writeBytes("module.so", bytes);
    checkRefused(1, withModule("module.so"), "module '" + work.path("module.so") + "': " + wrong);
  };
  const std::string cut = "cut short; give a treadshift.so\n", none = "not a module; give a treadshift.so\n";
  check("", none);
  check("This is no module.\n", none);
  check("\x7f"
        "ELF",
        cut);
  for (const std::string module : {TREADSHIFT_MODULE_32, TREADSHIFT_MODULE}) {
    CAPTURE(module);
    const std::string whole = contentsOf(module);
    for (std::size_t bytes : {20u, 52u, 100u, 5000u})
      check(whole.substr(0, bytes), cut);
    check(contentsOf(module == TREADSHIFT_MODULE ? TREADSHIFT_RENDER : TREADSHIFT_WORKER),
          "cannot be loaded (");
  }
  // The processor's number stands at offset 18; 40 is ARM's.
  check(contentsOf(TREADSHIFT_MODULE_32).replace(18, 2, std::string("\x28\0", 2)),
        "a 32-bit module; give a 64-bit treadshift.so\n");
}

TEST_CASE("an effect that counts endlessly many parameters is listed to a limit") {
  for (const std::string broken : {TREADSHIFT_BROKEN_32, TREADSHIFT_BROKEN_64}) {
    const Environment environment(kFault, "create:endless");
    const Outcome outcome = render("--show --module '" + broken + "'");
    CHECK(outcome.status == 0);
    CHECK(std::ranges::count(linesOf(outcome.out), "  and so on, 2147483647 in all") == 1);
    CHECK(holds(outcome.out, "\n  4095 "));
    CHECK_FALSE(holds(outcome.out, "\n  4096 "));
  }
}

TEST_CASE("an installed program finds its worker, and says where it looked when there is none") {
  const Workspace work;
  fs::create_directories("bin");
  fs::copy_file(TREADSHIFT_RENDER, "bin/treadshift-render");
  const std::string show = "bin/treadshift-render --show --module '" TREADSHIFT_MODULE_32 "'";
  const Outcome alone = shell(show);
  CHECK(alone.status == 1);
  CHECK(alone.err.starts_with("treadshift-render: module '" TREADSHIFT_MODULE_32
                              "': a 32-bit module, and the worker that opens those is not found at " +
                              work.path("bin/treadshift-worker32") + ", " +
                              work.path("libexec/treadshift/treadshift-worker32")));
  CHECK(alone.err.ends_with("; build it with g++-multilib, or give a 64-bit treadshift.so\n"));
  CHECK(linesOf(alone.err).size() == 1);
  fs::create_directories("libexec/treadshift");
  fs::copy_file(TREADSHIFT_WORKER, "libexec/treadshift/treadshift-worker32");
  const Outcome installed = shell(show);
  CHECK(installed.status == 0);
  CHECK(installed.out.starts_with("Module\n  " TREADSHIFT_MODULE_32 "\n  32-bit, in a worker process\n"));
}

TEST_CASE("the worker started by hand says who starts it") {
  for (const std::string arguments : {"", "--help", "one two", TREADSHIFT_MODULE_32}) {
    const Outcome outcome = shell("'" TREADSHIFT_WORKER "' " + arguments);
    CHECK(outcome.status == 2);
    CHECK(outcome.out == "");
    CHECK(outcome.err ==
          "treadshift-worker32: serves a 32-bit module to treadshift-render, which starts it by "
          "itself; use treadshift-render --module PATH\n");
  }
}

TEST_CASE("the worker is a 32-bit program that needs the run-times alone") {
  CHECK(contentsOf(TREADSHIFT_WORKER).substr(0, 5) == "\x7f"
                                                      "ELF\x01");
  const Outcome dynamic = shell("LC_ALL=C readelf -d '" TREADSHIFT_WORKER "'");
  REQUIRE(dynamic.status == 0);
  int needed = 0;
  for (const std::string& line : linesOf(dynamic.out)) {
    if (!holds(line, "(NEEDED)")) continue;
    ++needed;
    CAPTURE(line);
    const char* runTimes[] = {"[libstdc++.so.6]", "[libgcc_s.so.1]", "[libm.so.6]", "[libc.so.6]"};
    CHECK((TREADSHIFT_CHECKED_BUILD ||
           std::ranges::any_of(runTimes, [&](const char* name) { return holds(line, name); })));
  }
  CHECK(needed > 0);
}
