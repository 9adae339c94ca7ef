// Two threads side by side, in rounds that the test counts.
#pragma once

#include <barrier>
#include <thread>

// Calls one(round) and other(round) at the same time, for rounds 0, 1, 2 ...: `other` in a thread of its own,
// and neither before both have ended the round in front. So however the machine shares its processors out,
// each round has both, and none waits for more than the other's. Neither may throw.
template <typename One, typename Other> void sideBySide(int rounds, One one, Other other) {
  std::barrier together(2);
  std::thread thread([&] {
    for (int round = 0; round < rounds; ++round) {
      together.arrive_and_wait();
      other(round);
    }
  });
  for (int round = 0; round < rounds; ++round) {
    together.arrive_and_wait();
    one(round);
  }
  thread.join();
}
