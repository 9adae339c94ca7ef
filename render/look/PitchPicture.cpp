#include "render/look/PitchPicture.h"

#include "render/course/Colors.h"
#include "render/file/Descriptor.h"
#include "render/file/OutputFile.h"
#include "render/file/TemporaryDirectory.h"
#include "render/look/PitchScript.h"
#include "render/look/Subprocess.h"
#include "render/module/OpenEffect.h"
#include "render/text/Fault.h"
#include "render/text/Text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace {

// From below a guitar's and above a bass's lowest notes to where partials still stand apart.
constexpr PitchRange kRange = {40.0, 3200.0, 48};

constexpr char kPictureName[] = "picture.png";
constexpr char kScriptName[] = "picture.gnuplot";

// Several channels are looked at as one.
std::string titleOf(const std::string& recording, int channels) {
  const std::string name =
      recording == "-" ? "The recording" : std::filesystem::path(recording).filename().string();
  return channels < 2 ? name : name + " (mean of its " + std::to_string(channels) + " channels)";
}

// As a text that gnuplot takes as it is: in single quotes only they mean anything, and are doubled.
std::string quoted(const std::string& text) {
  std::string result = "'";
  for (const char character : text) {
    if (character == '\'') result += '\'';
    result += static_cast<unsigned char>(character) < 0x20 ? '?' : character;
  }
  return result + "'";
}

} // namespace

PitchPicture::PitchPicture(const std::string& file, bool mayReplace)
    : path(file), gnuplot(findProgram("gnuplot")) {
  if (lowerCase(std::filesystem::path(path).extension().string()) != ".png")
    throw Fault(ExitStatus::wrongCall, "--plot", path, "the name does not end in .png", "give a .png file");
  if (gnuplot.empty()) {
    fail("pictures need the program gnuplot, which is not there",
         "install it (the package gnuplot-nox), or leave out --plot");
  }
  output = std::make_unique<OutputFile>(path, mayReplace ? ReplacingRule{} : refuseToReplace);
}

void PitchPicture::begin(const std::string& recording, const SoundInfo& sound, const Controls& controls,
                         const std::string& modulePath, double startSeconds) {
  recordingTitle = titleOf(recording, sound.channels);
  start = startSeconds;
  courses = controls;
  rateHz = sound.rateHz;
  const auto effect = openEffect(modulePath);
  for (int index = 0; index < kParameterCount; ++index)
    defaults[index] = effect->parameter(index);
  before = std::make_unique<Spectrogram>(kRange, sound.rateHz, sound.channels, sound.frames);
  after = std::make_unique<Spectrogram>(kRange, sound.rateHz, sound.channels, sound.frames);
}

void PitchPicture::draw() {
  before->finish();
  after->finish();
  const TemporaryDirectory work;
  const bool written =
      before->writeMatrix(work.path() + "/before") && after->writeMatrix(work.path() + "/after");
  if (!written)
    fail("no room for the data in " + work.path(), "make room, or name another place with TMPDIR");
  writeCourses(work.path());
  writeScript(work.path(), kRange.octaveOf(before->lastingRow()));
  runGnuplot(work.path());
  publish(work.path());
}

double PitchPicture::valueAt(Parameter parameter, double seconds) const {
  return courses.valueAt(parameter, seconds).value_or(static_cast<float>(defaults[parameter]));
}

int PitchPicture::colorAt(double seconds) const {
  return std::clamp(static_cast<int>(valueAt(kColor, seconds) * 8.0), 0, 7);
}

std::string PitchPicture::title() const {
  const int color = colorAt(start);
  for (int column = 0; column < after->columns(); ++column)
    if (colorAt(secondsOf(column)) != color) return "Through the pedal, in changing colours";
  return "Through the pedal, colour " + std::to_string(color) + ": " + std::string(kColorTable[color].name);
}

// Seconds, pedal, cents; no number where the pitch is torn by a change of colour or the pedal switched off.
void PitchPicture::writeCourses(const std::string& directory) const {
  std::ofstream file(directory + "/courses");
  int colorBefore = colorAt(start);
  for (int column = 0; column < after->columns(); ++column) {
    const double seconds = secondsOf(column);
    const int color = colorAt(seconds);
    const double pedal = valueAt(kPedalPos, seconds);
    const bool isOn = valueAt(kOnOff, seconds) > 0.5;
    const auto put = [&](double cents) { file << seconds << " " << pedal << " " << cents << "\n"; };
    if (color != colorBefore || !isOn) put(std::nan(""));
    if (isOn) put(centsAt(color, pedal));
    colorBefore = color;
  }
}

// Of what the user named only the recording's name stands in the script, in quotes that nothing ends.
void PitchPicture::writeScript(const std::string& directory, double octave) const {
  const int last = std::max(after->columns() - 1, 0);
  std::ofstream file(directory + "/" + kScriptName);
  file.precision(12);
  file << "start = " << start << "\nseconds = " << after->secondsOf(last) + 1.0 / rateHz
       << "\npartial = " << std::exp2(octave) << "\nlowest = " << kRange.lowestHz
       << "\nhighest = " << kRange.highestHz << "\nrecording = " << quoted(recordingTitle) << "\ntitle = '"
       << title() << "'\npicture = '" << kPictureName << "'\n"
       << kPitchScript;
}

void PitchPicture::runGnuplot(const std::string& directory) const {
  Subprocess program(gnuplot, {"-d", kScriptName}, directory);
  const SubprocessEnd end = program.wait();
  std::error_code error;
  if (end.status == 0 && std::filesystem::file_size(directory + "/" + kPictureName, error) > 0 && !error)
    return;
  fail("gnuplot could not draw it (" +
           (end.firstLine.empty() ? "status " + std::to_string(end.status) : end.firstLine) + ")",
       "gnuplot needs the terminal pngcairo, as in the package gnuplot-nox");
}

void PitchPicture::publish(const std::string& directory) {
  std::ifstream drawn(directory + "/" + kPictureName, std::ios::binary);
  char part[65536];
  while (drawn.read(part, sizeof part), drawn.gcount() > 0) {
    const int error = writeAll(output->descriptor(), part, static_cast<std::size_t>(drawn.gcount()));
    if (error != 0) fail(std::string("cannot be written: ") + std::strerror(error), "make room");
  }
  output->publish();
}

void PitchPicture::fail(const std::string& wrong, const std::string& right) const {
  throw Fault(ExitStatus::couldNot, "--plot", path, wrong, right);
}
