#include "render/course/MidiCourse.h"

#include "render/course/MidiEvents.h"

#include <algorithm>
#include <map>
#include <set>
#include <vector>

namespace {

[[noreturn]] void fail(const std::string& subject, const std::string& wrong, const std::string& right) {
  throw Fault(ExitStatus::couldNot, subject, {}, wrong, right);
}

// Walks through the beats of a file and tells the seconds. Sums whole microseconds times ticks, which a
// double holds exactly for months, so that a message on the half second is at exactly 0.5.
class Clock {
public:
  explicit Clock(const MidiEvents& events) : ticksPerQuarter(events.ticksPerQuarter) {
    if (events.ticksPerSecond > 0.0) {
      ticksPerQuarter = events.ticksPerSecond;
      microsecondsPerQuarter = kMicroseconds;
      tempoCounts = false;
    }
  }

  double secondsAt(double tick) {
    elapsed += (tick - lastTick) * microsecondsPerQuarter;
    lastTick = tick;
    return elapsed / (ticksPerQuarter * kMicroseconds);
  }

  void setTempo(double tick, double microseconds) {
    secondsAt(tick);
    if (tempoCounts) microsecondsPerQuarter = microseconds;
  }

private:
  static constexpr double kMicroseconds = 1e6; // in a second

  double ticksPerQuarter;
  double microsecondsPerQuarter = 500000.0; // until the file says otherwise: 120 beats a minute
  bool tempoCounts = true;
  double elapsed = 0.0; // ticks times microseconds per quarter
  double lastTick = 0.0;
};

bool isFrom(const MidiEvent& event, const MidiSource& source) {
  return event.controller == source.controller && (!source.channel || event.channel == *source.channel);
}

std::string heldControllers(const MidiEvents& events) {
  constexpr std::size_t kListed = 12;
  std::map<int, std::set<int>> channels;
  for (const MidiEvent& event : events.list) {
    if (event.controller >= 0) channels[event.controller].insert(event.channel);
  }
  if (channels.empty()) return "it holds no controllers";
  std::string text = "it holds ";
  std::size_t listed = 0;
  for (const auto& [controller, onChannels] : channels) {
    if (listed == kListed) return text + " and more";
    if (listed++ != 0) text += ", ";
    text += std::to_string(controller) + " (channel";
    for (int channel : onChannels)
      text.append(1, ' ').append(std::to_string(channel));
    text += ")";
  }
  return text;
}

[[noreturn]] void failWithoutMessages(const std::string& subject, const MidiEvents& events,
                                      const MidiSource& source) {
  const std::string wanted = std::to_string(source.controller) +
                             (source.channel ? " on channel " + std::to_string(*source.channel) : "");
  fail(subject, "holds no controller " + wanted, heldControllers(events) + "; choose with " + source.chooser);
}

} // namespace

Course readMidiCourse(const std::string& subject, std::string_view bytes, const MidiSource& source) {
  constexpr double kLargestValue = 127.0;
  const MidiEvents events = readMidiEvents(subject, bytes);
  Clock clock(events);
  std::vector<Course::Point> points;
  for (const MidiEvent& event : events.list) {
    if (event.controller < 0) clock.setTempo(event.tick, event.value);
    if (!isFrom(event, source)) continue;
    const double seconds = clock.secondsAt(event.tick);
    if (!points.empty() && points.back().seconds >= seconds) points.pop_back();
    points.push_back({seconds, event.value / kLargestValue});
  }
  if (points.empty()) failWithoutMessages(subject, events, source);
  return Course(std::move(points), false);
}
