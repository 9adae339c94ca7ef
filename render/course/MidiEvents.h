// The messages of a standard MIDI file that a course is made of: controllers and tempo changes.
// Read by our own code because the packaged readers take what they should refuse: libsmf loads a file that
// was cut or lacks a track as if it were whole, and knows no times in frames, which portSMF reads as beats.
// Both write lines of their own to the standard error output.
#pragma once

#include <string>
#include <string_view>
#include <vector>

struct MidiEvent {
  double tick;    // from the start of the file, in whole ticks
  int controller; // 0..127, or -1 for a change of tempo
  int channel;    // 1..16
  int value;      // a controller's 0..127, or the tempo's microseconds per quarter note
};

struct MidiEvents {
  double ticksPerQuarter;      // when beats measure the time, else 0
  double ticksPerSecond;       // when frames measure the time, else 0
  std::vector<MidiEvent> list; // all tracks together, in the order of time, then of tracks
};

// Whether bytes begin as a standard MIDI file does. Allocates nothing.
bool isMidi(std::string_view bytes);

// Reads the messages. subject: the option and the file, for messages. Throws Fault (couldNot) for bytes that
// are no whole MIDI file, or one whose tracks do not belong together. Allocates.
MidiEvents readMidiEvents(const std::string& subject, std::string_view bytes);
