#include "Program.h"

#include "worker/Processes.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <doctest/doctest.h>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <map>
#include <poll.h>
#include <sstream>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

struct Pipe {
  int readEnd = -1, writeEnd = -1;
};

Pipe makePipe() {
  int ends[2] = {-1, -1};
  REQUIRE(pipe(ends) == 0);
  return {ends[0], ends[1]};
}

Pipe makeTerminal() {
  const int controller = posix_openpt(O_RDWR | O_NOCTTY);
  REQUIRE(controller >= 0);
  REQUIRE(grantpt(controller) == 0);
  REQUIRE(unlockpt(controller) == 0);
  const int terminal = open(ptsname(controller), O_RDWR | O_NOCTTY);
  REQUIRE(terminal >= 0);
  return {controller, terminal};
}

// A terminal whose other side is closed answers an error where a pipe answers its end.
std::string readToEnd(int end) {
  std::string text;
  char part[4096];
  for (ssize_t count; (count = read(end, part, sizeof part)) > 0;)
    text.append(part, static_cast<std::size_t>(count));
  close(end);
  return text;
}

bool tellsOfCutTail(const std::string& line) {
  return (line.starts_with("treadshift-render: input '") ||
          line.starts_with("treadshift-render: output '")) &&
         holds(line, " ms of bent sound ");
}

// Takes the lines about cut tails out of a text; result: these.
std::string takeCutTails(std::string& text) {
  std::string taken, kept;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    std::string& place = tellsOfCutTail(line) ? taken : kept;
    place += line;
    if (!stream.eof()) place += '\n';
  }
  text = kept;
  return taken;
}

void limitFileSize(long bytes) {
  if (bytes < 0) return;
  const rlim_t limit = static_cast<rlim_t>(bytes);
  const struct rlimit limits = {limit, limit};
  setrlimit(RLIMIT_FSIZE, &limits);
}

[[noreturn]] void becomeShell(const std::string& line, const Surroundings& surroundings, const Pipe& out,
                              const Pipe& err) {
  // Whoever runs the tests in the background may ignore these.
  for (int number : {SIGINT, SIGTERM, SIGHUP})
    std::signal(number, SIG_DFL);
  if (surroundings.ignoresHangUp) std::signal(SIGHUP, SIG_IGN);
  const int in = open("/dev/null", O_RDONLY);
  dup2(in, STDIN_FILENO);
  dup2(out.writeEnd, STDOUT_FILENO);
  dup2(err.writeEnd, STDERR_FILENO);
  for (int end : {in, out.readEnd, out.writeEnd, err.readEnd, err.writeEnd})
    close(end);
  limitFileSize(surroundings.largestFileBytes);
  for (const std::string& setting : surroundings.environment)
    putenv(const_cast<char*>(setting.c_str()));
  execl("/bin/sh", "sh", "-c", line.c_str(), nullptr);
  _exit(127);
}

} // namespace

Names namesIn(const std::string& directory) {
  Names list;
  for (const auto& entry : fs::directory_iterator(directory))
    list.push_back(entry.path().filename());
  std::sort(list.begin(), list.end());
  return list;
}

Workspace::Workspace() : before(fs::current_path()) {
  std::string name = fs::temp_directory_path() / "treadshift-test-XXXXXX";
  REQUIRE(mkdtemp(name.data()) != nullptr);
  directory = name;
  fs::current_path(directory);
}

Workspace::~Workspace() {
  fs::current_path(before);
  fs::remove_all(directory);
}

bool hasTerminals() {
  const int controller = posix_openpt(O_RDWR | O_NOCTTY);
  const bool usable =
      controller >= 0 && grantpt(controller) == 0 && access(ptsname(controller), R_OK | W_OK) == 0;
  if (controller >= 0) close(controller);
  if (!usable) MESSAGE("not checked: there are no pseudo-terminals here");
  return usable;
}

bool isInstalled(const std::string& names) {
  static std::map<std::string, bool> known;
  if (!known.contains(names))
    known[names] = shell("for tool in " + names + "; do command -v $tool || exit 1; done").status == 0;
  if (!known[names]) MESSAGE("not checked: not all are installed of ", names);
  return known[names];
}

Program::Program(const std::string& arguments, const Surroundings& surroundings)
    : Program(Line{"exec '" TREADSHIFT_RENDER "' " + arguments}, surroundings) {}

Program::Program(const Line& line, const Surroundings& surroundings) {
  const Pipe out = surroundings.outputIsTerminal ? makeTerminal() : makePipe();
  const Pipe err = surroundings.errorIsTerminal ? makeTerminal() : makePipe();
  child = fork();
  REQUIRE(child >= 0);
  if (child == 0) becomeShell(line.text, surroundings, out, err);
  close(out.writeEnd);
  close(err.writeEnd);
  outEnd = out.readEnd;
  errEnd = err.readEnd;
}

bool Program::isRunning() const {
  siginfo_t ended = {};
  return waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOHANG | WNOWAIT) == 0 &&
         ended.si_pid == 0;
}

bool Program::awaitReadable(int descriptor) const {
  const int ended = endOf(child);
  REQUIRE(ended >= 0);
  struct pollfd either[] = {{descriptor, POLLIN, 0}, {ended, POLLIN, 0}};
  REQUIRE(poll(either, 2, -1) > 0);
  close(ended);
  return (either[0].revents & POLLIN) != 0;
}

int Program::filesWrittenIn(const std::string& directory) const {
  const std::string descriptors = "/proc/" + std::to_string(child) + "/fd";
  std::error_code error;
  int count = 0;
  for (const auto& each : fs::directory_iterator(descriptors, error)) {
    struct stat link = {}, file = {};
    const bool isForWriting = lstat(each.path().c_str(), &link) == 0 && (link.st_mode & S_IWUSR) != 0;
    const bool isRegular = stat(each.path().c_str(), &file) == 0 && S_ISREG(file.st_mode);
    if (isForWriting && isRegular && fs::read_symlink(each.path(), error).string().rfind(directory, 0) == 0)
      ++count;
  }
  return count;
}

void Program::awaitOutputs(const std::string& directory, int count) const {
  while (isRunning() && filesWrittenIn(fs::canonical(directory)) < count)
    usleep(1000);
}

void Program::signal(int number) const { kill(child, number); }

// The messages are short enough for a pipe's own memory, so reading one after the other cannot block.
Outcome Program::wait() {
  Outcome outcome;
  outcome.out = readToEnd(outEnd);
  outcome.err = readToEnd(errEnd);
  outcome.cutTails = takeCutTails(outcome.err);
  int status = 0;
  struct rusage usage = {};
  REQUIRE(wait4(child, &status, 0, &usage) == child);
  outcome.peakKilobytes = usage.ru_maxrss;
  outcome.status = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
  return outcome;
}

Outcome render(const std::string& arguments, const Surroundings& surroundings) {
  return Program(arguments, surroundings).wait();
}

Sound rendered(const Sound& in, const std::string& options, const std::string& notice) {
  CAPTURE(options);
  writeSound("in.wav", in);
  const Outcome outcome = render("in.wav out.wav " + options);
  CAPTURE(outcome.err);
  REQUIRE(outcome.status == 0);
  CHECK((notice.empty() ? outcome.err.empty() : holds(outcome.err, notice)));
  return readSound("out.wav");
}

void checkRefused(int status, const std::string& arguments, const std::string& message,
                  const Surroundings& surroundings) {
  CAPTURE(arguments);
  const Names before = namesIn(".");
  const Outcome outcome = render(arguments, surroundings);
  const std::string &err = outcome.err, start = "treadshift-render: " + message;
  CHECK(err.substr(0, start.size()) == start);
  CHECK(err.find('\n') == err.size() - 1);
  CHECK(std::count_if(err.begin(), err.end(), [](unsigned char character) { return character < 0x20; }) == 1);
  CHECK(outcome.out == "");
  CHECK(outcome.status == status);
  CHECK(namesIn(".") == before);
}

Outcome shell(const std::string& line, const Surroundings& surroundings) {
  const std::string directory = fs::path(TREADSHIFT_RENDER).parent_path();
  return Program(Program::Line{"PATH='" + directory + "':$PATH TMPDIR=$PWD\nexport TMPDIR\n" + line},
                 surroundings)
      .wait();
}

Outcome sh(const std::string& line) {
  const Outcome outcome = shell(line);
  CAPTURE(line);
  CAPTURE(outcome.err);
  REQUIRE(outcome.status == 0);
  return outcome;
}

Surroundings withProgram(const std::string& name, const std::string& script) {
  fs::create_directory("programs");
  if (!name.empty()) {
    writeBytes("programs/" + name, "#!/bin/sh\n" + script);
    fs::permissions("programs/" + name, fs::perms::owner_all);
  }
  const std::string here = fs::current_path();
  Surroundings surroundings;
  surroundings.environment = {"PATH=" + here + "/programs", "TMPDIR=" + here};
  return surroundings;
}

bool holds(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

Names linesOf(const std::string& text) {
  Names lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);)
    lines.push_back(line);
  return lines;
}

void writeBytes(const std::string& path, const std::string& bytes) {
  std::ofstream file(path, std::ios::binary);
  file << bytes;
  REQUIRE(file.good());
}

// Opened for both directions, it has a reader and a writer at any time.
Bell::Bell(const std::string& name) {
  REQUIRE(mkfifo(name.c_str(), 0600) == 0);
  end = open(name.c_str(), O_RDWR | O_CLOEXEC);
  REQUIRE(end >= 0);
}

Bell::~Bell() { close(end); }

std::string Bell::nextLine(const Program& program) const {
  std::string line;
  for (char byte; program.awaitReadable(end) && read(end, &byte, 1) == 1 && byte != '\n';)
    line += byte;
  return line;
}

SlowInput::SlowInput(const std::string& file, long firstBytes)
    : name(file), bytes(contentsOf(file)), first(firstBytes) {
  fs::remove(name);
  REQUIRE(mkfifo(name.c_str(), 0600) == 0);
}

SlowInput::~SlowInput() { close(input); }

// Opened for both directions, it waits for nobody, should the program have ended.
void SlowInput::handFirst() {
  input = open(name.c_str(), O_RDWR);
  REQUIRE(write(input, bytes.data(), first) == first);
}

void SlowInput::handRest() {
  const auto rest = static_cast<long>(bytes.size()) - first;
  REQUIRE(write(input, bytes.data() + first, rest) == rest);
  close(input);
  input = -1;
}
