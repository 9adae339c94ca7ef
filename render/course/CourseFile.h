// A parameter's course from a file, whatever its kind.
#pragma once

#include "render/course/Course.h"
#include "render/course/MidiCourse.h"

#include <optional>
#include <string>

// What the call says about the messages of a MIDI file; empty where it says nothing.
struct MidiChoice {
  std::string controllerOption; // "--pedal-cc"
  std::string channelOption;    // "--pedal-channel"
  std::optional<std::string> controller;
  std::optional<std::string> channel;
};

// Whether the text of an option means a file: one that exists, or a name with a directory or an extension in
// it. A text that could only be a number, points or a shape never does. Allocates.
bool meansFile(const std::string& text, const CourseRule& rule);

// Reads a course from a standard MIDI file, known by its first bytes or its name, or from a CSV text.
// option: for messages. Throws Fault: couldNot for a file that is neither or cannot be read, and for a
// MIDI file under a rule with units; wrongCall for a
// choice of messages that means nothing or comes with a CSV text. Allocates.
Course readCourseFile(const std::string& option, const std::string& path, const CourseRule& rule,
                      const MidiChoice& choice);

// Throws Fault (wrongCall) when messages are chosen although no MIDI file is there to choose from.
void refuseChoice(const std::string& option, const MidiChoice& choice);
