// A second thread for as long as a test's scope lasts.
#pragma once

#include <atomic>
#include <functional>
#include <thread>
#include <utility>

// Repeats an action in a thread of its own until the scope ends.
class Meanwhile {
public:
  // action: called with 0, 1, 2, ...; must not throw.
  explicit Meanwhile(std::function<void(int)> action)
      : thread([this, action = std::move(action)] {
          for (int round = 0; !ended; ++round)
            action(round);
        }) {}
  ~Meanwhile() {
    ended = true;
    thread.join();
  }

private:
  std::atomic<bool> ended{false};
  std::thread thread;
};
