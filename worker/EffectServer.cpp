#include "worker/EffectServer.h"

#include <algorithm>
#include <cerrno>
#include <sys/socket.h>

bool EffectServer::serve(const std::string& modulePath) {
  try {
    if (!open(modulePath)) return false;
    WorkerOrder order;
    while (receive({reinterpret_cast<char*>(&order), sizeof order})) {
      if (order.task == WorkerTask::close) return true;
      if (!obey(order)) return false;
    }
    return false;
  } catch (const EffectError& error) {
    refuse(error.what());
  } catch (const std::exception& error) {
    refuse(std::string("threw an exception (") + error.what() + ")");
  }
  return false;
}

bool EffectServer::open(const std::string& modulePath) {
  effect = std::make_unique<EffectRunner>(modulePath);
  const EffectFacts facts = effect->facts();
  answer(0, 0.0f, {reinterpret_cast<const char*>(&facts), sizeof facts});
  return sendAnswers();
}

bool EffectServer::obey(const WorkerOrder& order) {
  if (order.bytes > kLargestWorkerMessage) return false;
  payload.resize(order.bytes);
  if (!receive(payload)) return false;
  switch (order.task) {
  case WorkerTask::request:
    answerRequest(order);
    break;
  case WorkerTask::setParameter:
    effect->setParameter(order.index, order.real);
    return true;
  case WorkerTask::parameter:
    answer(0, effect->parameter(order.index), {});
    break;
  case WorkerTask::process:
    answerBlock();
    break;
  default:
    return false;
  }
  return order.isFollowed || sendAnswers();
}

void EffectServer::answerRequest(const WorkerOrder& order) {
  const std::int32_t number = effect->request(order.opcode, order.index, order.value, payload, order.real);
  answer(number, 0.0f, payload);
}

void EffectServer::answerBlock() {
  const std::size_t samples = payload.size() / sizeof(double);
  const std::size_t room = std::max<std::size_t>(samples, 1); // without arrays an empty block would not count
  dry.resize(room);
  wet.resize(room);
  std::copy_n(payload.data(), samples * sizeof(double), reinterpret_cast<char*>(dry.data()));
  effect->process(dry.data(), wet.data(), static_cast<std::int32_t>(samples));
  answer(0, 0.0f, {reinterpret_cast<const char*>(wet.data()), samples * sizeof(double)});
}

bool EffectServer::receive(std::span<char> bytes) const {
  while (!bytes.empty()) {
    const ssize_t count = recv(socket, bytes.data(), bytes.size(), MSG_WAITALL);
    if (count == 0 || (count < 0 && errno != EINTR)) return false;
    if (count > 0) bytes = bytes.subspan(static_cast<std::size_t>(count));
  }
  return true;
}

void EffectServer::answer(std::int32_t number, float real, std::span<const char> bytes) {
  add({WorkerMark::done, number, real, static_cast<std::uint32_t>(bytes.size())}, bytes);
}

void EffectServer::refuse(const std::string& reason) {
  const std::string text = reason.substr(0, kLongestWorkerText);
  add({WorkerMark::couldNot, 0, 0.0f, static_cast<std::uint32_t>(text.size())}, text);
  sendAnswers();
}

void EffectServer::add(const WorkerAnswer& header, std::span<const char> bytes) {
  const auto* headerBytes = reinterpret_cast<const char*>(&header);
  answers.insert(answers.end(), headerBytes, headerBytes + sizeof header);
  answers.insert(answers.end(), bytes.begin(), bytes.end());
}

bool EffectServer::sendAnswers() {
  std::span<const char> rest = answers;
  while (!rest.empty()) {
    const ssize_t count = ::send(socket, rest.data(), rest.size(), MSG_NOSIGNAL);
    if (count < 0 && errno != EINTR) return false;
    if (count > 0) rest = rest.subspan(static_cast<std::size_t>(count));
  }
  answers.clear();
  return true;
}
