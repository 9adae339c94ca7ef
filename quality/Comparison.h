// The page's tables of the pedal beside its peers, and their numbers one by one.
#pragma once

#include "quality/Contender.h"
#include "quality/Page.h"
#include "quality/PedalTables.h"

class Comparison {
public:
  // all: who is compared; must outlive this.
  Comparison(const std::vector<Contender>& all, Announce announce);

  // Measures and fills the places "table +1200", "table -1200", "table +700", "table -50" and "table moving",
  // and for each number one of the form "KEY INTERVAL MEASURE" or "KEY MEASURE", such as "r3 +1200 latency"
  // or "r3 high". [minutes] Allocates.
  void fill(Page& page) const;

  // The tables without their rows. Allocate.
  static Table emptyIntervalTable();
  static Table emptyMovingTable();

  static constexpr double kSmallInterval = -50.0;                                  // cents
  static constexpr double kIntervals[] = {1200.0, -1200.0, 700.0, kSmallInterval}; // cents

private:
  Table intervalTable(double cents, Page& page) const;
  Table movingTable(Page& page) const;

  const std::vector<Contender>& all;
  Announce announce;
};
