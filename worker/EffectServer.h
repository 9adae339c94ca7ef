// The worker's side of the conversation: one effect, served over a socket.
#pragma once

#include "host/EffectRunner.h"
#include "host/WorkerMessages.h"

#include <memory>
#include <span>
#include <string>
#include <vector>

class EffectServer {
public:
  // socket: a connected stream socket; stays the caller's.
  explicit EffectServer(int connectedSocket) : socket(connectedSocket) {}

  // Opens the module's effect and serves it until the order to close it, and closes it. modulePath: a
  // module of this program's pointer width. Result: false when there is no effect, when the program hung up
  // or sent what is no order, or when the module threw; as far as the program can still be told, it is told.
  bool serve(const std::string& modulePath);

private:
  bool open(const std::string& modulePath);
  bool obey(const WorkerOrder& order);
  void answerRequest(const WorkerOrder& order);
  void answerBlock();
  bool receive(std::span<char> bytes) const;
  void answer(std::int32_t number, float real, std::span<const char> bytes);
  void refuse(const std::string& reason);
  void add(const WorkerAnswer& header, std::span<const char> bytes);
  bool sendAnswers();

  int socket;
  std::unique_ptr<EffectRunner> effect;
  std::vector<char> payload; // what came behind the order
  std::vector<char> answers; // not sent yet
  std::vector<double> dry, wet;
};
