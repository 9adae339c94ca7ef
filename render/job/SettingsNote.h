// The line in an output's comment that tells how it was made: the program, its version and the options as on
// a command line.
#pragma once

#include "render/course/Controls.h"

#include <cstddef>
#include <string>
#include <vector>

// An option that a line may name, and so may be repeated from a file that somebody else has written: one that
// changes the sound, and names no file.
struct NotedOption {
  std::string name; // "--tone"
  bool takesValue;
};

const std::vector<NotedOption>& notedOptions();

// As the call had it. value: empty for a flag.
struct NotedSetting {
  std::string option;
  std::string value;
};

// A value in place of one that is too long to be kept, which cannot be repeated.
extern const char kTooLongValue[];

// The most characters of a value that a line keeps: together they stay below what readers of WAV files take.
constexpr std::size_t kLongestNotedValue = 800;

struct SettingsNote {
  std::string line;                 // "treadshift-render 0.1.0: --tone 0.8 --pedal 0:0,1.5:1"
  std::vector<std::string> details; // what the line could not keep, for a user who wants to know
};

// The line for a rendering. controls: whatever they come from, they are told as values and points. others:
// the other noted options of the call. Allocates.
SettingsNote settingsNote(const std::string& version, const Controls& controls,
                          const std::vector<NotedSetting>& others);

// The last such line in the comment of the file at `path`; empty when there is none or no such file, and then
// the file was not made by this program, or nobody can tell. Allocates.
std::string settingsNoteOf(const std::string& path);

// The settings of the line in that file. Reads nothing into it: every option must be a noted one, stand once,
// and have a value that names no file. Throws Fault (couldNot). Allocates.
std::vector<NotedSetting> notedSettings(const std::string& path);

// Throws Fault (couldNot) unless the file at `path` is empty or was made by this program. Allocates.
void refuseToReplaceForeign(const std::string& path);
