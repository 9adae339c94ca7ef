// Counts what a test program and the modules it loads take from operator new, and makes it fail on demand.
// Linking Allocations.cpp replaces operator new and delete of the whole program; a module that uses the
// C++ run-time dynamically is reached if the program exports its symbols (ENABLE_EXPORTS).
#pragma once

#include <cstddef>

namespace allocations {

long live();  // blocks taken and not given back
long taken(); // blocks taken since the program began

// While it lives, the n-th allocation from its making on (1 is the next one) fails, once.
class FailNth {
public:
  explicit FailNth(long n);
  ~FailNth();
  FailNth(const FailNth&) = delete;
  FailNth& operator=(const FailNth&) = delete;
};

// While it lives, allocations of more than `bytes` fail, so that a test can ask for absurd sizes without
// the machine's memory deciding the answer.
class RefuseLargerThan {
public:
  explicit RefuseLargerThan(std::size_t bytes);
  ~RefuseLargerThan();
  RefuseLargerThan(const RefuseLargerThan&) = delete;
  RefuseLargerThan& operator=(const RefuseLargerThan&) = delete;
};

} // namespace allocations
