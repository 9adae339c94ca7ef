#include "Program.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <doctest/doctest.h>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <regex>
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

// Takes the lines about cut tails out of a text; result: these.
std::string takeCutTails(std::string& text) {
  static const std::regex line("treadshift-render: (in|out)put '[^\n]*': [0-9]+ ms of bent sound [^\n]*\n");
  std::string taken;
  for (std::smatch match; std::regex_search(text, match, line);) {
    taken += match.str();
    text.erase(static_cast<std::size_t>(match.position()), static_cast<std::size_t>(match.length()));
  }
  return taken;
}

void limitFileSize(long bytes) {
  if (bytes < 0) return;
  const rlim_t limit = static_cast<rlim_t>(bytes);
  const struct rlimit limits = {limit, limit};
  setrlimit(RLIMIT_FSIZE, &limits);
}

[[noreturn]] void becomeProgram(const std::vector<std::string>& words, const Surroundings& surroundings,
                                const Pipe& out, const Pipe& err) {
  // Whoever runs the tests in the background may ignore these.
  for (int number : {SIGINT, SIGTERM, SIGHUP})
    std::signal(number, SIG_DFL);
  if (surroundings.ignoresHangUp) std::signal(SIGHUP, SIG_IGN);
  const int in = open(surroundings.input.c_str(), O_RDONLY);
  dup2(in, STDIN_FILENO);
  dup2(out.writeEnd, STDOUT_FILENO);
  dup2(err.writeEnd, STDERR_FILENO);
  for (int end : {in, out.readEnd, out.writeEnd, err.readEnd, err.writeEnd})
    close(end);
  limitFileSize(surroundings.largestFileBytes);
  for (const std::string& setting : surroundings.environment)
    putenv(const_cast<char*>(setting.c_str()));
  if (chdir(surroundings.directory.c_str()) != 0) _exit(126);
  std::vector<char*> list;
  for (const std::string& word : words)
    list.push_back(const_cast<char*>(word.c_str()));
  list.push_back(nullptr);
  execv(list.front(), list.data());
  _exit(127);
}

} // namespace

Workspace::Workspace() {
  std::string name = fs::temp_directory_path() / "treadshift-test-XXXXXX";
  REQUIRE(mkdtemp(name.data()) != nullptr);
  directory = name;
}

Workspace::~Workspace() { fs::remove_all(directory); }

std::vector<std::string> Workspace::names() const {
  std::vector<std::string> list;
  for (const auto& entry : fs::directory_iterator(directory))
    list.push_back(entry.path().filename());
  std::sort(list.begin(), list.end());
  return list;
}

bool hasTerminals() {
  const int controller = posix_openpt(O_RDWR | O_NOCTTY);
  const bool usable =
      controller >= 0 && grantpt(controller) == 0 && access(ptsname(controller), R_OK | W_OK) == 0;
  if (controller >= 0) close(controller);
  return usable;
}

Program::Program(const std::vector<std::string>& arguments, const Surroundings& surroundings) {
  std::vector<std::string> words = {TREADSHIFT_RENDER};
  words.insert(words.end(), arguments.begin(), arguments.end());
  start(words, surroundings);
}

Program Program::command(const std::vector<std::string>& words, const Surroundings& surroundings) {
  Program program;
  program.start(words, surroundings);
  return program;
}

void Program::start(const std::vector<std::string>& words, const Surroundings& surroundings) {
  const Pipe out = surroundings.outputIsTerminal ? makeTerminal() : makePipe();
  const Pipe err = surroundings.errorIsTerminal ? makeTerminal() : makePipe();
  child = fork();
  REQUIRE(child >= 0);
  if (child == 0) becomeProgram(words, surroundings, out, err);
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

Outcome render(const std::vector<std::string>& arguments, const Surroundings& surroundings) {
  return Program(arguments, surroundings).wait();
}

Outcome shell(const std::string& line, const Surroundings& surroundings) {
  const std::string directory = fs::path(TREADSHIFT_RENDER).parent_path();
  return Program::command({"/bin/sh", "-c", "PATH='" + directory + "':$PATH\n" + line}, surroundings).wait();
}

std::string pathWith(const Workspace& work, const std::string& name, const std::string& script) {
  const std::string directory = work.path("programs");
  fs::create_directory(directory);
  if (!name.empty()) {
    writeBytes(directory + "/" + name, "#!/bin/sh\n" + script);
    fs::permissions(directory + "/" + name, fs::perms::owner_all);
  }
  return directory;
}

bool holds(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

std::string fileBytes(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  REQUIRE(file.good());
  std::ostringstream bytes;
  bytes << file.rdbuf();
  return bytes.str();
}

void writeBytes(const std::string& path, const std::string& bytes) {
  std::ofstream file(path, std::ios::binary);
  file << bytes;
  REQUIRE(file.good());
}
