// The course of one parameter over the recording: a constant, or points in time, as a user writes them.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

// What a user may write as a parameter's value, and how the value moves between two points.
struct TrackRule {
  double lowest;
  double highest;
  bool whole;   // whole numbers only
  bool stepped; // each point's value holds until the next point; otherwise a straight line joins them
  std::vector<std::pair<std::string_view, double>> words; // lower-case words that stand for values
};

class PedalTrack {
public:
  struct Point {
    double seconds;
    double value;
  };

  // course: at least one point, times strictly increasing. isStepped: see TrackRule::stepped.
  PedalTrack(std::vector<Point> course, bool isStepped);

  // Reads "0.8" (a constant) or "0:0,1.5:1,3:0" (seconds:value, any number of points).
  // option: the option's name, for messages. Throws Fault (wrongCall) naming the point that is not a finite
  // number, is outside the rule's range, or does not come after the one before it. Allocates.
  static PedalTrack parse(const std::string& option, std::string_view text, const TrackRule& rule);

  // The value at a time in seconds; before the first point the first value, after the last the last. Any
  // thread, allocates nothing.
  double valueAt(double seconds) const;

private:
  std::vector<Point> points;
  bool stepped;
};
