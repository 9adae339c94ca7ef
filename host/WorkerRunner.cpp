#include "host/WorkerRunner.h"

#include "host/WorkerMessages.h"
#include "host/WorkerProcess.h"

#include <algorithm>
#include <csignal>
#include <cstring>
#include <exception>
#include <system_error>

namespace {

constexpr std::chrono::seconds kClosingPatience{5};
constexpr std::size_t kMostWaitingBytes = 65536; // of orders without an answer, before they are sent anyway
constexpr int kCannotLoadProgram = 127;          // exit status of a program whose libraries are missing

constexpr char kOpening[] = "while it was opened";
constexpr char kProcessing[] = "while it processed a block";

constexpr char kNeedsRunTime[] =
    "32-bit programs need the 32-bit C++ run-time, on Debian the package lib32stdc++6";

// The bytes of a header or of a block of doubles.
template <typename Object> std::span<const char> bytesOf(const Object* first, std::size_t count) {
  return {reinterpret_cast<const char*>(first), count * sizeof(Object)};
}
template <typename Object> std::span<char> writableBytesOf(Object* first, std::size_t count) {
  return {reinterpret_cast<char*>(first), count * sizeof(Object)};
}

std::string signalName(int number) {
  const char* name = sigabbrev_np(number);
  return name ? std::string("SIG") + name : "signal " + std::to_string(number);
}

bool isFaultOfProgram(int number) {
  static constexpr int faults[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS};
  return std::ranges::count(faults, number) != 0;
}

std::string startFault(const std::string& workerPath, const std::error_code& error) {
  const std::string fault = "needs the worker '" + workerPath + "', which cannot be started (";
  // The file is there: what is missing then is the program that loads it.
  const bool noLoader =
      error == std::errc::no_such_file_or_directory || error == std::errc::executable_format_error;
  return fault + (noLoader ? kNeedsRunTime : error.message()) + ")";
}

} // namespace

WorkerRunner::WorkerRunner(const std::string& workerPath, const std::string& modulePath,
                           std::chrono::seconds longestWait)
    : patience(longestWait) {
  try {
    worker = std::make_unique<WorkerProcess>(workerPath, modulePath);
  } catch (const std::system_error& error) {
    throw EffectError(startFault(workerPath, error.code()));
  }
  open();
}

WorkerRunner::~WorkerRunner() {
  if (!loss.empty()) return;
  try {
    add({.task = WorkerTask::close});
    if (worker->send(orders, kClosingPatience) != WorkerProcess::Transfer::done) return;
    char nothing[1]; // the worker says no more; its end is a hang-up
    worker->receive(nothing, kClosingPatience);
  } catch (const std::exception&) { // memory is short: the worker ends without having been asked
    return;
  }
}

void WorkerRunner::open() { receiveAnswer(writableBytesOf(&openedFacts, 1), kOpening); }

std::int32_t WorkerRunner::request(std::int32_t opcode, std::int32_t index, std::int32_t value,
                                   std::span<char> buffer, float opt) const {
  const WorkerOrder order = {WorkerTask::request, opcode, index, value, opt, 0};
  return exchange(order, buffer, buffer, "while it answered opcode " + std::to_string(opcode)).number;
}

void WorkerRunner::setParameter(std::int32_t index, float value) const {
  add({.task = WorkerTask::setParameter, .index = index, .real = value});
  if (orders.size() > kMostWaitingBytes) sendOrders("while its parameters were set");
}

float WorkerRunner::parameter(std::int32_t index) const {
  const WorkerOrder order = {.task = WorkerTask::parameter, .index = index};
  return exchange(order, {}, {}, "while it told a parameter").real;
}

void WorkerRunner::process(const double* input, double* output, std::int32_t samples) const {
  exchange({.task = WorkerTask::process}, bytesOf(input, samples), writableBytesOf(output, samples),
           kProcessing);
}

// The worker holds its answers back until it has read the last order, so neither side waits for the other to
// read while it writes.
void WorkerRunner::start(const BlockRun& run) const {
  auto move = run.moves.begin();
  for (std::int32_t block = 0, first = 0; first < run.samples; ++block, first += run.blockSamples) {
    for (; move != run.moves.end() && move->block == block; ++move)
      add({.task = WorkerTask::setParameter, .index = move->index, .real = move->value});
    const std::int32_t rest = run.samples - first;
    add({.task = WorkerTask::process, .isFollowed = rest > run.blockSamples},
        bytesOf(run.input + first, std::min(run.blockSamples, rest)));
  }
  sendOrders(kProcessing);
  started = run;
}

void WorkerRunner::finish() const {
  for (std::int32_t first = 0; first < started.samples; first += started.blockSamples) {
    const std::int32_t samples = std::min(started.blockSamples, started.samples - first);
    receiveAnswer(writableBytesOf(started.output + first, samples), kProcessing);
  }
  started = {};
}

void WorkerRunner::add(const WorkerOrder& order, std::span<const char> bytes) const {
  if (!loss.empty()) failLost();
  if (bytes.size() > kLargestWorkerMessage) throw EffectError("takes no blocks of that size in its worker");
  WorkerOrder header = order;
  header.bytes = static_cast<std::uint32_t>(bytes.size());
  const auto headerBytes = bytesOf(&header, 1);
  orders.insert(orders.end(), headerBytes.begin(), headerBytes.end());
  orders.insert(orders.end(), bytes.begin(), bytes.end());
}

WorkerRunner::Answer WorkerRunner::exchange(const WorkerOrder& order, std::span<const char> sent,
                                            std::span<char> received, const std::string& activity) const {
  add(order, sent);
  sendOrders(activity);
  return receiveAnswer(received, activity);
}

void WorkerRunner::sendOrders(const std::string& activity) const {
  const auto transfer = worker->send(orders, patience);
  orders.clear();
  if (transfer == WorkerProcess::Transfer::hungUp) loseAfterHangUp(activity);
  if (transfer == WorkerProcess::Transfer::stalled)
    lose("took no orders for " + std::to_string(patience.count()) + " s " + activity);
}

void WorkerRunner::receive(std::span<char> bytes, const std::string& activity) const {
  const auto transfer = worker->receive(bytes, patience);
  if (transfer == WorkerProcess::Transfer::hungUp) loseAfterHangUp(activity);
  if (transfer == WorkerProcess::Transfer::stalled)
    lose("gave no answer for " + std::to_string(patience.count()) + " s " + activity);
}

// The worker runs foreign code and may say anything.
WorkerRunner::Answer WorkerRunner::receiveAnswer(std::span<char> bytes, const std::string& activity) const {
  WorkerAnswer answer;
  receive(writableBytesOf(&answer, 1), activity);
  if (answer.mark == WorkerMark::couldNot && answer.bytes <= kLongestWorkerText)
    loseAfterRefusal(answer.bytes, activity);
  if (answer.mark != WorkerMark::done || answer.bytes != bytes.size())
    lose("made its worker answer nonsense " + activity);
  receive(bytes, activity);
  return {answer.number, answer.real};
}

void WorkerRunner::lose(const std::string& reason) const {
  loss = reason;
  failLost();
}

void WorkerRunner::failLost() const {
  if (isKilled) throw EffectKilled(loss);
  throw EffectError(loss);
}

void WorkerRunner::loseAfterRefusal(std::uint32_t bytes, const std::string& activity) const {
  std::string text(bytes, '\0');
  receive(text, activity);
  lose(text);
}

void WorkerRunner::loseAfterHangUp(const std::string& activity) const {
  const auto [ending, number] = worker->collectAfterHangUp();
  switch (ending) {
  case WorkerProcess::Ending::signalled:
    if (isFaultOfProgram(number))
      lose("crashed its worker process " + activity + " (" + signalName(number) + ")");
    isKilled = true;
    lose("lost its worker process " + activity + " (killed by " + signalName(number) + ")");
  case WorkerProcess::Ending::exited:
    if (number == kCannotLoadProgram)
      lose("has a worker that does not start (" + std::string(kNeedsRunTime) + ")");
    lose("ended its worker process " + activity + " (exit status " + std::to_string(number) + ")");
  case WorkerProcess::Ending::unknown:
    break;
  }
  lose("hung up on the program " + activity);
}
