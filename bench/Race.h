// Runs cases in turns with their references, so that a ratio compares moments that lie next to each other.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

// One thing to time.
struct Case {
  std::string group; // who: "floor", "engine", "plain", a peer
  std::string name;  // what it does: "rest", "moving"
  int32_t block;     // samples; 0: it knows no blocks
  int32_t mostItems; // most items of a timed run
  // Brings the case, untimed, to where the next run of `items` starts. Empty: an untimed run warms it up.
  std::function<void(int32_t items)> prepare;
  // Works through `items` samples (or calls); a multiple of the block.
  std::function<void(int32_t items)> run;
};

// "group/name" or "group/name/block".
std::string nameOf(const Case& c);

// A timed run between two runs of each reference: ns per item.
struct Turn {
  std::vector<double> before;
  double own;
  std::vector<double> after;
  bool interrupted; // by the system, anywhere in the turn
};

// What a race found about one case.
struct Finding {
  const Case* measured;
  int32_t itemsPerRun;
  std::vector<double> nanoseconds;      // per item, a value per run
  std::vector<double> leastOfReference; // nanoseconds per item, its fastest run beside this case
  // Per reference, in the order of the list given to add: time per item over that of the reference's runs
  // just before and just after; a value per run.
  std::vector<std::vector<double>> ratios;

  void add(const Turn& turn);
};

class Race {
public:
  // Adds a case to be compared with references, which must outlive the race, as must the case. [any order]
  void add(const Case& entrant, std::vector<const Case*> references);

  // Rounds through all cases until `seconds` have passed, at least three. Prints what it does to stderr
  // when that is a terminal.
  void run(double seconds);

  std::vector<Finding> findings() const;

private:
  struct Entrant {
    Finding finding;
    std::vector<const Case*> references;
    bool fitsShare = true; // a run is short enough not to be interrupted every time
  };

  void prepare(Entrant& entrant);
  void visit(Entrant& entrant);
  void timeOnce(Entrant& entrant);

  std::vector<Entrant> entrants;
};
