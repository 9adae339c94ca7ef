// Times the references just before and just after something, so that a ratio compares moments that lie next
// to each other.
#pragma once

#include "bench/Case.h"

#include <cstddef>
#include <vector>

class Bracket {
public:
  // Runs each reference once. They must outlive the bracket.
  explicit Bracket(const std::vector<Case>& references);

  // Runs each once more.
  void close();

  // Of a reference's two runs, after close: ns per item. reference: index in the list, 0 and up.
  double meanOf(std::size_t reference) const;

  // Whether the system took the processor away between the constructor and close.
  bool wasInterrupted() const { return interrupted; }

private:
  const std::vector<Case>* references;
  long countAtStart;                 // interruptions of this thread
  std::vector<double> before, after; // ns per item, by reference
  bool interrupted = false;
};
