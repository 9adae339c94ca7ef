// Courses from the controllers of MIDI files: times, values, and files that are none.
#include "FaultOf.h"
#include "MidiBytes.h"
#include "render/course/Controls.h"
#include "render/course/MidiCourse.h"

#include <doctest/doctest.h>

namespace {

constexpr int kTicks = 480; // per quarter note; 0.5 s until a tempo says otherwise
const MidiSource kPedalSource = {11, {}, "--pedal-cc"};

Course midi(const std::string& bytes, const MidiSource& source = kPedalSource) {
  return readMidiCourse("--pedal 'take.mid'", bytes, source);
}

std::string midiFault(const std::string& bytes, const MidiSource& source = kPedalSource) {
  return faultOf(ExitStatus::couldNot, [&] { midi(bytes, source); });
}

Course points(const char* text) { return Course::parse("--pedal", text, courseRule(kPedalPos)); }

void checkSame(const Course& left, const Course& right) {
  for (int step = 0; step <= 6000; ++step) {
    const double seconds = step / 1000.0;
    if (left.valueAt(seconds) == right.valueAt(seconds)) continue;
    CAPTURE(seconds);
    CHECK(left.valueAt(seconds) == right.valueAt(seconds));
  }
}

const std::string kDamaged = "--pedal 'take.mid': a damaged or cut MIDI file; save the take again as a MIDI "
                             "file of format 0 or 1";

} // namespace

TEST_CASE("a controller's messages are points on a line, 127 is 1") {
  // 480 ticks at 120 beats a minute are half a second.
  const auto course = midi(midiFile(
      0, kTicks, {midiTrack({controller(0, 11, 0), controller(480, 11, 127), controller(960, 11, 0)})}));
  checkSame(course, points("0:0,0.5:1,1.5:0"));
  const auto held =
      midi(midiFile(0, kTicks, {midiTrack({controller(480, 11, 127), controller(480, 11, 0)})}));
  checkSame(held, points("0.5:1,1:0"));
  CHECK(midi(midiFile(0, kTicks, {midiTrack({controller(0, 11, 64)})})).valueAt(1.0) == 64 / 127.0);
}

TEST_CASE("times follow the changes of tempo, in whatever track they stand") {
  // Two quarters at 0.5 s, two at 0.25 s, then 1 s each: ticks 480, 1440, 1920, 2400 fall at 0.5, 1.25, 1.5
  // and 2.5 s.
  const std::string moves = midiTrack(
      {controller(480, 11, 0), controller(960, 11, 127), controller(480, 11, 0), controller(480, 11, 127)});
  const std::string tempos = midiTrack({tempo(0, 500000), tempo(960, 250000), tempo(960, 1000000)});
  const auto expected = points("0.5:0,1.25:1,1.5:0,2.5:1");
  checkSame(midi(midiFile(1, kTicks, {tempos, moves})), expected);
  checkSame(midi(midiFile(1, kTicks, {moves, tempos})), expected);
}

TEST_CASE("frames measure the time where the file says so, and tempos do not") {
  const auto at = [](int division, int ticks) {
    return midi(midiFile(0, division,
                         {midiTrack({tempo(0, 250000), controller(0, 11, 0), controller(ticks, 11, 127)})}));
  };
  checkSame(at(0xe728, 1000), points("0:0,1:1")); // -25 frames a second of 40 ticks
  checkSame(at(0xe250, 4800), points("0:0,2:1")); // -30 of 80
  // -29 means 30000/1001 frames a second: 2997 frames, of 1 tick, are 2997 * 1001 / 30000 = 99.9999 s.
  const auto drop = at(0xe301, 2997);
  CHECK(drop.valueAt(99.9998) < 1.0);
  CHECK(drop.valueAt(99.99991) == 1.0);
}

TEST_CASE("of several messages at one time the last counts") {
  checkSame(midi(midiFile(0, kTicks,
                          {midiTrack({controller(0, 11, 0), controller(960, 11, 30), controller(0, 11, 127),
                                      controller(960, 11, 0)})})),
            points("0:0,1:1,2:0"));
  // A tempo of nothing leaves all that follows at one time.
  checkSame(midi(midiFile(0, kTicks,
                          {midiTrack({controller(0, 11, 0), controller(960, 11, 127), tempo(0, 0),
                                      controller(960, 11, 64), controller(960, 11, 127)})})),
            points("0:0,1:1"));
}

TEST_CASE("controller and channel are chosen") {
  const std::string file = midiFile(1, kTicks,
                                    {midiTrack({controller(0, 11, 127, 1), controller(0, 4, 0, 1)}),
                                     midiTrack({controller(480, 11, 0, 16), controller(0, 4, 127, 16)})});
  checkSame(midi(file), points("0:1,0.5:0"));
  checkSame(midi(file, {4, {}, "--pedal-cc"}), points("0:0,0.5:1"));
  checkSame(midi(file, {11, 1, "--pedal-cc"}), points("1"));
  checkSame(midi(file, {11, 16, "--pedal-cc"}), points("0"));
}

TEST_CASE("other messages, running status and chunks of unknown kinds are passed over") {
  const std::string track = midiTrack({
      message(0, "\xff\x03\x04"
                 "take"),              // the track's name
      message(0, "\x90\x3c\x40"),      // a note
      controller(0, 11, 0),            //
      message(0, "\xf0\x06hello\xf7"), // system exclusive
      message(0, "\xe0\x01\x40"),      // pitch bend
      message(0, "\xc0\x05"),          // a program
      message(240, "\xb0\x07\x01"),    // another controller,
      message(240, "\x0b\x7f"),        // and ours, its status left out
  });
  const std::string good = midiTrack({controller(0, 11, 0), controller(480, 11, 127)});
  const auto expected = points("0:0,0.5:1");
  const std::string unknown = midiChunk("XFIH", "some maker's own");
  const std::string file = midiFile(0, kTicks, {good});
  checkSame(midi(midiFile(0, kTicks, {unknown + good})), expected);
  checkSame(midi(file + unknown), expected);
  checkSame(midi(file + "loose"), expected);
  checkSame(midi(midiFile(0, kTicks, {track})), expected);
}

TEST_CASE("a file without the controller says which it holds") {
  const std::string file = midiFile(1, kTicks,
                                    {midiTrack({controller(0, 4, 0, 2), controller(0, 4, 0, 10)}),
                                     midiTrack({controller(0, 1, 0, 3), controller(0, 11, 0, 3)})});
  const std::string held = "it holds 1 (channel 3), 4 (channel 2 10), 11 (channel 3); choose with --pedal-cc";
  CHECK(midiFault(file, {7, {}, "--pedal-cc"}) == "--pedal 'take.mid': holds no controller 7; " + held);
  CHECK(midiFault(file, {11, 1, "--pedal-cc"}) ==
        "--pedal 'take.mid': holds no controller 11 on channel 1; " + held);
  CHECK(midiFault(midiFile(0, kTicks, {midiTrack({message(0, "\x90\x3c\x40")})})) ==
        "--pedal 'take.mid': holds no controller 11; it holds no controllers; choose with --pedal-cc");
  std::vector<std::string> many;
  for (int number = 20; number < 120; ++number)
    many.push_back(controller(0, number, 0));
  const std::string fault = midiFault(midiFile(0, kTicks, {midiTrack(many)}));
  CHECK(fault.find("31 (channel 1) and more; choose with --pedal-cc") != std::string::npos);
  CHECK(fault.find("32 (channel") == std::string::npos);
}

TEST_CASE("a file cut anywhere is refused") {
  const std::string file = midiFile(1, kTicks,
                                    {midiTrack({tempo(0, 500000), controller(0, 11, 0)}),
                                     midiTrack({controller(0, 11, 0), controller(480, 11, 127)})});
  CHECK(midiFault(file) == "accepted");
  for (std::size_t length = 4; length < file.size(); ++length) {
    CAPTURE(length);
    CHECK(midiFault(file.substr(0, length)) == kDamaged);
  }
  for (std::size_t length = 0; length < 4; ++length)
    CHECK(midiFault(file.substr(0, length)).find("not a standard MIDI file; ") != std::string::npos);
}

TEST_CASE("a file that cannot be right is refused") {
  const std::string good = midiTrack({controller(0, 11, 0)});
  for (const std::string& file : {
           midiFile(0, 0, {good}),      // no ticks in a beat
           midiFile(0, 0xe700, {good}), // none in a frame
           midiFile(0, kTicks, {midiTrack({controller(0, 11, 200)})}),
           midiFile(0, kTicks, {midiTrack({message(0, "\xf8")})}), // clock: not for files
           midiFile(0, kTicks, {good, std::string()}),             // a track is missing
           // A status that a message of another kind has ended is left out.
           midiFile(0, kTicks, {midiTrack({controller(0, 11, 0), tempo(0, 500000), message(1, "\x0b\x7f")})}),
           midiFile(0, kTicks,
                    {midiTrack({controller(0, 11, 0), message(0, "\xf0\x01\xf7"), message(1, "\x0b\x7f")})}),
           "MThd" + std::string("\xff\xff\xff\xff", 4),
       })
    CHECK(midiFault(file) == kDamaged);
  CHECK(midiFault("RIFF").find("not a standard MIDI file; ") != std::string::npos);
  CHECK(midiFault(midiFile(2, kTicks, {good, good})) ==
        "--pedal 'take.mid': a MIDI file of independent tracks "
        "(format 2); save the take again as a MIDI file of "
        "format 0 or 1");
}
