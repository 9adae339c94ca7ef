// The picture of a rendering: pedal, recording and bent recording over time, with the pitch that the pedal
// asks for drawn over it.
#pragma once

#include "render/course/Controls.h"
#include "render/file/OutputFile.h"
#include "render/look/Spectrogram.h"
#include "render/sound/SoundFormat.h"

#include <memory>
#include <string>

class PitchPicture {
public:
  // path: the PNG file to make. Throws Fault: wrongCall when its name does not end in .png, couldNot when
  // gnuplot is missing or the place cannot take a file. Allocates.
  PitchPicture(const std::string& path, bool mayReplace);

  // The sound begins. recording: its file's name, or "-". sound: of the recording and the bent one alike.
  // modulePath: see findModule; its effect tells the parameters that the controls leave alone. startSeconds:
  // where in the recording the first frame stands. Throws Fault (couldNot). Allocates.
  void begin(const std::string& recording, const SoundInfo& sound, const Controls& controls,
             const std::string& modulePath, double startSeconds);

  // The next frames of either, channels interleaved. Allocates.
  void addBefore(const double* samples, std::int64_t frames) { before->add(samples, frames); }
  void addAfter(const double* samples, std::int64_t frames) { after->add(samples, frames); }

  // Draws what has come since begin(). The file appears only when it is whole. Throws Fault (couldNot).
  void draw();

private:
  double valueAt(Parameter parameter, double seconds) const;
  int colorAt(double seconds) const;
  double secondsOf(int column) const { return start + after->secondsOf(column); } // of the recording
  std::string title() const;
  void writeCourses(const std::string& directory) const;
  void writeScript(const std::string& directory, double octave) const;
  void runGnuplot(const std::string& directory) const;
  void publish(const std::string& directory);
  [[noreturn]] void fail(const std::string& wrong, const std::string& right) const;

  std::string path;
  std::string gnuplot; // the program's path
  Controls courses;
  std::array<double, kParameterCount> defaults = {};
  std::string recordingTitle;
  double rateHz = 0.0;
  double start = 0.0; // seconds into the recording
  std::unique_ptr<Spectrogram> before, after;
  std::unique_ptr<OutputFile> output; // taken at once, so that no long rendering ends in its refusal
};
