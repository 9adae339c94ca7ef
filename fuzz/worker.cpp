// Fuzz target: the worker's side of its socket. It has to answer any orders as the effect itself does, and to
// give up at the first that is none.
#include "fuzz/Check.h"
#include "fuzz/ScriptBytes.h"
#include "fuzz/SoundScript.h"
#include "fuzz/Target.h"
#include "worker/EffectServer.h"

#include <algorithm>
#include <cstring>
#include <dlfcn.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr int kMostOrders = 24; // the socket holds all that both sides say, so that neither has to wait
constexpr int kMostBytes = 2048;
constexpr int kTextRoom = 256; // bytes, more than any opcode writes
constexpr float kRatesHz[] = {1000.0f, 8000.0f, 44100.0f, 62.5f, 62.0f, 0.0f, -1.0f, 0x1p30f};

// Two ends of a stream that go when it goes.
class SocketPair {
public:
  SocketPair() { expect(socketpair(AF_UNIX, SOCK_STREAM, 0, ends) == 0, "no sockets"); }
  ~SocketPair() {
    close(ends[0]);
    close(ends[1]);
  }
  SocketPair(const SocketPair&) = delete;
  SocketPair& operator=(const SocketPair&) = delete;

  int worker() const { return ends[0]; }
  int program() const { return ends[1]; }

private:
  int ends[2];
};

template <typename Record> void append(std::vector<char>& bytes, const Record& record) {
  const auto* first = reinterpret_cast<const char*>(&record);
  bytes.insert(bytes.end(), first, first + sizeof record);
}

void append(std::vector<char>& bytes, const std::vector<char>& more) {
  bytes.insert(bytes.end(), more.begin(), more.end());
}

// The orders of a script, and beside them what an effect that is driven directly answers.
class OrderScript {
public:
  explicit OrderScript(ScriptBytes& bytes) : script(bytes), effect(TREADSHIFT_MODULE) {
    append(answers, WorkerAnswer{WorkerMark::done, 0, 0.0f, sizeof(EffectFacts)});
    append(answers, effect.facts());
    for (int left = kMostOrders; left > 0 && !isOver && !script.isEmpty(); --left)
      give(script.byte());
  }

  const std::vector<char>& orders() const { return sent; }
  const std::vector<char>& expectedAnswers() const { return answers; }
  bool isClosed() const { return hasClosed; }

private:
  void give(int choice) {
    WorkerOrder order;
    order.task = static_cast<WorkerTask>(choice % 5);
    order.index = script.int32();
    order.isFollowed = choice >= 0x80 ? 1 : 0;
    switch (order.task) {
    case WorkerTask::request:
      return giveRequest(order);
    case WorkerTask::setParameter:
      order.real = script.float32();
      effect.setParameter(order.index, order.real);
      return append(sent, order);
    case WorkerTask::parameter:
      append(sent, order);
      return expectAnswer(order, 0, effect.parameter(order.index), {});
    case WorkerTask::process:
      return giveBlock(order);
    case WorkerTask::close:
      return end(order, choice >> 4 & 7);
    }
  }

  // Closing the effect is an order of its own, and the speakers' address cannot be sent. Rates and block
  // sizes are bounded for the sake of time.
  void giveRequest(WorkerOrder order) {
    order.opcode = script.int32();
    if (order.opcode == kOpClose || order.opcode == kOpGetSpeakerArrangement) order.opcode = kOpOpen;
    order.value = order.opcode == kOpSetBlockSize ? script.below(kMostBytes) - 8 : script.int32();
    order.real = kRatesHz[script.below(std::size(kRatesHz))];
    std::vector<char> buffer(script.flag() ? kTextRoom : 0);
    for (std::size_t i = 0; i + 1 < buffer.size() && i < 32; ++i)
      buffer[i] = static_cast<char>(script.byte());
    order.bytes = static_cast<std::uint32_t>(buffer.size());
    append(sent, order);
    append(sent, buffer);
    const std::int32_t number = effect.request(order.opcode, order.index, order.value, buffer, order.real);
    expectAnswer(order, number, 0.0f, buffer);
  }

  // Bytes behind the last whole sample are none of the block's.
  void giveBlock(WorkerOrder order) {
    std::vector<char> bytes(1 + script.below(kMostBytes));
    const std::size_t samples = bytes.size() / sizeof(double), whole = samples * sizeof(double);
    std::vector<double> dry(samples + 1), wet(samples + 1); // an empty block has arrays as well
    fillSound(script, dry.data(), static_cast<int>(samples));
    std::memcpy(bytes.data(), dry.data(), whole);
    order.bytes = static_cast<std::uint32_t>(bytes.size());
    append(sent, order);
    append(sent, bytes);
    effect.process(dry.data(), wet.data(), static_cast<std::int32_t>(samples));
    std::memcpy(bytes.data(), wet.data(), whole);
    bytes.resize(whole);
    expectAnswer(order, 0, 0.0f, bytes);
  }

  // The last order: to close, or one that is none: unknown, too long, or cut off.
  void end(WorkerOrder order, int choice) {
    isOver = true;
    hasClosed = choice == 0 || choice > 4;
    if (choice == 1) order.task = static_cast<WorkerTask>(5 + script.byte());
    if (choice == 2 || choice == 3) order.task = WorkerTask::process;
    if (choice == 2) order.bytes = kLargestWorkerMessage + 1;
    if (choice == 3) order.bytes = 1;
    append(sent, order);
    if (choice == 4) sent.resize(sent.size() - 1 - script.below(sizeof order - 1));
    if (choice == 5) append(sent, order); // after the end, where nobody reads
  }

  // Answers that wait go out with the next that does not.
  void expectAnswer(const WorkerOrder& order, std::int32_t number, float real,
                    const std::vector<char>& bytes) {
    append(waiting, WorkerAnswer{WorkerMark::done, number, real, static_cast<std::uint32_t>(bytes.size())});
    append(waiting, bytes);
    if (order.isFollowed) return;
    append(answers, waiting);
    waiting.clear();
  }

  ScriptBytes& script;
  EffectRunner effect;
  std::vector<char> sent, answers, waiting;
  bool isOver = false, hasClosed = false;
};

void sendAll(int socket, const std::vector<char>& bytes) {
  expect(send(socket, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()),
         "the socket does not hold the orders");
  shutdown(socket, SHUT_WR);
}

std::vector<char> receiveAll(int socket) {
  std::vector<char> all, piece(1 << 16);
  for (ssize_t count; (count = recv(socket, piece.data(), piece.size(), MSG_DONTWAIT)) > 0;)
    all.insert(all.end(), piece.begin(), piece.begin() + count);
  return all;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const void* const kept =
      dlopen(TREADSHIFT_MODULE, RTLD_NOW | RTLD_NODELETE); // the engine counts in it
  expect(kept, "no module");
  ScriptBytes bytes(data, size);
  const OrderScript script(bytes);
  const SocketPair sockets;
  sendAll(sockets.program(), script.orders());
  expect(EffectServer(sockets.worker()).serve(TREADSHIFT_MODULE) == script.isClosed(),
         "the worker ends otherwise than it was told to");
  expect(receiveAll(sockets.program()) == script.expectedAnswers(), "the worker answers otherwise");
  return 0;
}
