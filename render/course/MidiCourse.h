// A parameter's course from the controller messages of a standard MIDI file.
#pragma once

#include "render/course/Course.h"
#include "render/course/MidiEvents.h"

#include <optional>
#include <string>
#include <string_view>

// Which messages of the file move the parameter.
struct MidiSource {
  int controller;             // 0..127
  std::optional<int> channel; // 1..16; nothing: any channel
  std::string chooser;        // the option that chooses the controller, for messages
};

// Reads a course of values 0..1, 127 being 1, from the messages of all tracks at the times that the file's
// tempo changes give them. Of several messages at one time the last counts.
// subject: the option and the file, for messages. Throws Fault (couldNot) for bytes that are no whole MIDI
// file and for a file without such messages, with the controllers that it does hold. Allocates.
Course readMidiCourse(const std::string& subject, std::string_view bytes, const MidiSource& source);
