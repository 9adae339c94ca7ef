// What the program tells and shows of a rendering: statistics, pictures, and the sound itself.
#include "Program.h"
#include "SoundFiles.h"
#include "render/look/Spectrogram.h"
#include "worker/Processes.h"

#include <algorithm>
#include <cmath>
#include <csignal>
#include <doctest/doctest.h>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <numbers>
#include <sstream>

namespace fs = std::filesystem;

namespace {

using Json = nlohmann::json;

const std::string kFullDevice = "standard output: cannot be written: No space left on device\n";

std::vector<Json> parsed(const std::string& text) {
  std::vector<Json> list;
  for (const std::string& line : linesOf(text))
    list.push_back(Json::parse(line));
  return list;
}

std::vector<double> tone(double hz, int rateHz, std::size_t count) {
  std::vector<double> samples(count);
  for (std::size_t i = 0; i < count; ++i)
    samples[i] = 0.5 * std::sin(2.0 * std::numbers::pi * hz * static_cast<double>(i) / rateHz);
  return samples;
}

// The one row of a picture's file of courses after another.
struct CourseRow {
  double seconds, pedal;
  std::string cents; // or nan, where the effect is off
};

std::vector<CourseRow> courseRows() {
  std::vector<CourseRow> rows;
  std::istringstream stream(contentsOf("courses"));
  for (CourseRow row; stream >> row.seconds >> row.pedal >> row.cents;)
    rows.push_back(row);
  return rows;
}

} // namespace

TEST_CASE("statistics as JSON") {
  const Workspace work;
  // Off, so that the peak is the input's: -0.75; with 6 dB 1.4964 = 0.75 * 10^0.3, which clips once.
  writeSound("in.wav", {22050, 1, kWav16, {0.25, -0.75, 0.0, 0.125}});
  const Outcome outcome = render("in.wav out.aiff --on off --gain 6 --tail 1 --stats json -q");
  CHECK(outcome.status == 0);
  CHECK(outcome.err == "");
  const auto objects = parsed(outcome.out);
  REQUIRE(objects.size() == 1);
  const Json& told = objects.front();
  CHECK(told["input"] == "in.wav");
  CHECK(told["output"] == "out.aiff");
  CHECK(told["format"] == "AIFF, Signed 16 bit PCM");
  const double seconds = told["seconds"], elapsed = told["elapsed_seconds"];
  CHECK(elapsed > 0.0);
  const std::pair<const char*, double> numbers[] = {
      {"sample_rate_hz", 22050},
      {"channels", 1},
      {"frames", 22054},
      {"seconds", 22054.0 / 22050.0},
      {"times_real_time", seconds / elapsed},
      {"peak", 0.75 * std::pow(10.0, 0.3)},
      {"peak_db", 20.0 * std::log10(0.75) + 6.0},
      {"gain_db", 6.0},
      {"clipped_samples", 1},
      {"unusable_input_samples", 0},
  };
  for (const auto& row : numbers) {
    CAPTURE(row.first);
    CHECK(told[row.first].get<double>() == doctest::Approx(row.second));
  }
}

TEST_CASE("the delay of the bent sound lies where the effect's own reach puts it") {
  // The bent sound is read at least 5 ms behind the dry one, and over a stretch of 65.535 ms from there.
  const Workspace work;
  writeTake("in.wav", 40000);
  for (const std::string color : {"2", "3", "4"}) {
    CAPTURE(color);
    const Outcome outcome = render("in.wav --stats json --color " + color);
    REQUIRE(outcome.status == 0);
    const Json latency = parsed(outcome.out).front()["latency"];
    const double shortest = latency["shortest_seconds"], average = latency["average_seconds"],
                 longest = latency["longest_seconds"];
    CHECK(shortest >= 0.0049);
    CHECK(shortest < average);
    CHECK(average < longest);
    CHECK(longest <= 0.0706);
    CHECK(longest > 0.040);
    CHECK(latency["reported_samples"] == 0);
  }
}

TEST_CASE(
    "statistics of several recordings stand in their order, failures among them, and are lost but once") {
  const Workspace work;
  std::string inputs;
  for (int i = 0; i < 6; ++i) {
    const std::string name = "take" + std::to_string(i) + ".wav ";
    writeTake(name.substr(0, 9), i == 0 ? 400000 : 1000); // the others are done before the first
    inputs += name;
  }
  writeBytes("take2.wav", "no sound");
  const std::string call = inputs + "--out-dir bent --stats json --jobs 4";
  const Outcome outcome = render(call);
  CHECK(outcome.status == 1);
  const auto objects = parsed(outcome.out);
  REQUIRE(objects.size() == 6);
  for (int i = 0; i < 6; ++i) {
    CHECK(objects[i]["input"] == "take" + std::to_string(i) + ".wav");
    CHECK(objects[i].contains("error") == (i == 2));
    CHECK(objects[i].contains("frames") == (i != 2));
  }
  writeTake("take2.wav", 1000);
  checkRefused(1, call + " > /dev/full", kFullDevice);
  CHECK(render("take1.wav out.wav --stats json > /dev/full").err == "treadshift-render: " + kFullDevice);
}

TEST_CASE("statistics never mix with a sound on the standard output") {
  const Workspace work;
  writeTake("in.wav", 4000);
  const Outcome outcome = render("in.wav - --stats json --on off");
  CHECK(outcome.status == 0);
  CHECK(outcome.out.substr(0, 4) == ".snd");
  CHECK(parsed(outcome.err).front()["output"] == "-");
}

TEST_CASE("a name that is no UTF-8 leaves the JSON valid") {
  const Workspace work;
  writeTake("\xe9t\xe9 \"1\".wav", 4000);
  const Outcome outcome = render("'\xe9t\xe9 \"1\".wav' out.wav --stats json");
  CHECK(outcome.status == 0);
  CHECK(parsed(outcome.out).front()["input"] == "\xef\xbf\xbdt\xef\xbf\xbd \"1\".wav");
}

TEST_CASE("-v tells the same in words") {
  const Workspace work;
  writeSound("in.wav", {22050, 2, SF_FORMAT_WAV | SF_FORMAT_FLOAT, std::vector<double>(44100, 0.5)});
  const Outcome outcome = render("in.wav out.wav --on off -v");
  CHECK(outcome.status == 0);
  CHECK(outcome.out == "");
  CHECK(
      outcome.err.starts_with("treadshift-render: output 'out.wav': 1.000 s, 2 channels at 22050 Hz, WAV, 32 "
                              "bit float; rendered in "));
  CHECK(holds(outcome.err, " x real time; peak -6.02 dB, 0 clipped; bent sound 5 to "));
  CHECK(linesOf(outcome.err).size() == 1);
}

TEST_CASE("a tone stands in its row of the spectrogram, for as long as it sounds") {
  // 440 Hz for a second, then silence; rows a quarter tone apart.
  constexpr PitchRange kRange = {55.0, 1760.0, 24};
  for (int rate : {8000, 44100, 96000}) {
    CAPTURE(rate);
    auto sound = tone(440.0, rate, static_cast<std::size_t>(rate));
    sound.resize(sound.size() * 2);
    Spectrogram spectrogram(kRange, rate, 1, static_cast<std::int64_t>(sound.size()));
    for (std::size_t start = 0; start < sound.size(); start += 1000)
      spectrogram.add(sound.data() + start,
                      std::min<std::int64_t>(1000, static_cast<std::int64_t>(sound.size() - start)));
    spectrogram.finish();
    const int row = 3 * 24; // octaves above 55 Hz
    CHECK(spectrogram.lastingRow() == row);
    REQUIRE(spectrogram.secondsOf(spectrogram.columns() - 1) == doctest::Approx(2.0).epsilon(0.006));
    for (int column = 0; column < spectrogram.columns(); ++column) {
      const double seconds = spectrogram.secondsOf(column);
      if (seconds > 0.15 && seconds < 0.85) {
        CHECK(spectrogram.levelDb(column, row) > -0.1);
        CHECK(spectrogram.levelDb(column, row + 24) < -60.0); // an octave beside
        CHECK(spectrogram.levelDb(column, row - 24) < -60.0);
      }
      if (seconds > 1.2) CHECK(spectrogram.levelDb(column, row) == -100.0);
    }
  }
}

TEST_CASE("two tones as far apart in level as they are") {
  // 100 Hz, and 800 Hz at a tenth: 20 dB below.
  constexpr PitchRange kRange = {50.0, 1600.0, 12};
  auto sound = tone(100.0, 44100, 44100);
  const auto soft = tone(800.0, 44100, 44100);
  for (std::size_t i = 0; i < sound.size(); ++i)
    sound[i] += soft[i] / 10.0;
  Spectrogram spectrogram(kRange, 44100, 1, 44100);
  spectrogram.add(sound.data(), 44100);
  spectrogram.finish();
  const int middle = spectrogram.columns() / 2;
  CHECK(spectrogram.levelDb(middle, 12) == doctest::Approx(0.0).epsilon(0.1));
  CHECK(spectrogram.levelDb(middle, 48) == doctest::Approx(-20.0).epsilon(0.01));
}

TEST_CASE("a sound of unknown length keeps its spectrogram small and its times right") {
  // Silence with a tone from 20 to 21 s, announced without a length.
  constexpr int kRate = 8000;
  constexpr PitchRange kRange = {100.0, 1600.0, 12};
  std::vector<double> sound(40 * kRate);
  const auto beep = tone(400.0, kRate, kRate);
  std::copy(beep.begin(), beep.end(), sound.begin() + 20 * kRate);
  Spectrogram spectrogram(kRange, kRate, 1, -1);
  spectrogram.add(sound.data(), static_cast<std::int64_t>(sound.size()));
  spectrogram.finish();
  CHECK(spectrogram.columns() >= Spectrogram::kMostColumns);
  CHECK(spectrogram.columns() < 2 * Spectrogram::kMostColumns);
  CHECK(spectrogram.secondsOf(spectrogram.columns() - 1) == doctest::Approx(40.0).epsilon(0.002));
  for (int column = 0; column < spectrogram.columns(); ++column) {
    const double seconds = spectrogram.secondsOf(column);
    const double level = spectrogram.levelDb(column, 24);
    if (seconds > 20.15 && seconds < 20.85) CHECK(level > -0.1);
    if (seconds < 19.8 || seconds > 21.2) CHECK(level == -100.0);
  }
}

TEST_CASE("a picture is drawn, beside the output or alone") {
  if (!isInstalled("gnuplot")) return;
  const Workspace work;
  writeTake("in.wav", 40000);
  // Names that would be commands if anyone took them for such.
  const std::string picture = "it`touch x` $(touch y) \"z\"; %.png";
  const Outcome alone = render("in.wav --plot '" + picture + "' --color 0:2,0.5:6");
  CHECK(alone.err == "");
  CHECK(alone.status == 0);
  CHECK(work.names() == Names{"in.wav", picture});
  CHECK(render("in.wav out.wav --plot b.PNG --normalize").status == 0);
  for (const std::string& name : {picture, std::string("b.PNG")})
    CHECK(contentsOf(name).substr(0, 8) == "\x89PNG\r\n\x1a\n");
  CHECK(samplesOf("out.wav").size() == 40000);
}

TEST_CASE("gnuplot gets the pitch that the pedal asks for") {
  // Colour 3 runs from unison to two octaves down; the pedal to the toe in a second, off from 1.5 s on.
  const Workspace work;
  writeSound("in.wav", {8000, 1, kWav16, softNoise(16000)});
  const Surroundings surroundings =
      withProgram("gnuplot", "/bin/cp courses ../courses\n/bin/cp before picture.png\n");
  const Outcome outcome =
      render("in.wav --plot p.png --color 3 --pedal 0:0,1:1 --on 0:on,1.5:off", surroundings);
  CHECK(outcome.err == "");
  REQUIRE(outcome.status == 0);
  const auto rows = courseRows();
  CHECK(rows.size() > 300);
  for (const CourseRow& row : rows) {
    const double expected = std::min(row.seconds, 1.0);
    REQUIRE(row.pedal == doctest::Approx(expected).epsilon(1e-4));
    REQUIRE((row.cents == "nan") == (row.seconds >= 1.5));
    if (row.cents != "nan")
      REQUIRE(std::stod(row.cents) == doctest::Approx(-2400.0 * expected).epsilon(1e-4));
  }
}

TEST_CASE(
    "a picture names its recording, says that it averages channels, and shows the part that is wanted") {
  const Workspace work;
  const std::string recording = "it's `touch x` $(touch y).wav";
  writeSound(recording, {8000, 2, kWav16, softNoise(32000)});
  const Surroundings surroundings =
      withProgram("gnuplot", "/bin/cp picture.gnuplot courses ..\n/bin/cp before picture.png\n");
  const auto script = [&](const std::string& options) {
    REQUIRE(render("\"it's \\`touch x\\` \\$(touch y).wav\" --plot p.png " + options, surroundings).status ==
            0);
    return contentsOf("picture.gnuplot");
  };
  const std::string named = "\nrecording = 'it''s `touch x` $(touch y).wav";
  CHECK(holds(script(""), named + " (mean of its 2 channels)'\n"));
  CHECK(holds(script("--channels left"), named + "'\n"));
  CHECK(holds(script("--from 0.5 --to 1.5 --pedal 0:0,2:1"), "start = 0.5\n"));
  const auto rows = courseRows();
  for (const CourseRow& row : rows)
    REQUIRE(row.pedal == doctest::Approx(row.seconds / 2.0).epsilon(1e-4));
  CHECK(rows.front().seconds == doctest::Approx(0.5).epsilon(0.01));
  CHECK(rows.back().seconds == doctest::Approx(1.5).epsilon(0.01));
}

TEST_CASE("pictures that cannot be") {
  const Workspace work;
  writeTake("in.wav", 4000);
  const std::string failed = "--plot 'a.png': gnuplot could not draw it (",
                    remedy = "); gnuplot needs the terminal pngcairo, as in the package gnuplot-nox\n";
  checkRefused(
      1, "in.wav out.wav --plot a.png",
      "--plot 'a.png': pictures need the program gnuplot, which is not there; install it (the package "
      "gnuplot-nox), or leave out --plot\n",
      withProgram("", ""));
  checkRefused(1, "in.wav --plot a.png", failed + "no terminal of that kind" + remedy,
               withProgram("gnuplot", "echo 'no terminal of that kind' >&2\nexit 3\n"));
  checkRefused(1, "in.wav --plot a.png", failed + "status 0" + remedy, withProgram("gnuplot", "exit 0\n"));
}

TEST_CASE("the player gets the finished output, whatever its name") {
  const Workspace work;
  writeTake("in.wav", 40000);
  // The player runs elsewhere; the script needs a place of its own.
  const Surroundings surroundings =
      withProgram("play", "cd '" + work.path("") + "'\n/bin/cp \"$2\" heard.wav\necho \"$#:$1\" > told\n");
  const std::string output = "-q it; $(x).wav";
  const Outcome outcome = render("in.wav './" + output + "' --pedal 1 --play", surroundings);
  CHECK(outcome.err == "");
  CHECK(outcome.out == "");
  CHECK(outcome.status == 0);
  CHECK(contentsOf("heard.wav") == contentsOf(output));
  CHECK(contentsOf("told") == "2:-q\n");
}

TEST_CASE("without an output the player hears the sound while it is rendered, and nothing stays") {
  const Workspace work;
  const std::string course = " --pedal 0:0,0.5:1";
  writeTake("in.wav", 40000);
  writeTake("live", 40000);
  SlowInput input("live", 60000);
  const Bell bell("bell");
  Program program("live --play" + course,
                  withProgram("play", "cd '" + work.path("") +
                                          "'\n/usr/bin/head -c 50000 > heard.au\necho heard > bell\n"
                                          "exec /bin/cat >> heard.au\n"));
  input.handFirst();
  CHECK(bell.nextLine(program) == "heard");
  CHECK(fs::file_size("heard.au") < 60000); // the rest is not there yet
  input.handRest();
  const Outcome outcome = program.wait();
  CHECK(outcome.err == "");
  CHECK(outcome.status == 0);
  CHECK(work.names() == Names{"bell", "heard.au", "in.wav", "live", "programs"});
  REQUIRE(render("in.wav out.wav" + course).status == 0);
  CHECK(samplesOf("heard.au") == samplesOf("out.wav"));
}

TEST_CASE("of several players the one that plays a moment of silence gets the sound") {
  const Workspace work;
  writeTake("in.wav", 40000);
  withProgram("pw-play", "/bin/cat > /dev/null\necho 'no daemon' >&2\nexit 1\n");
  const Surroundings surroundings =
      withProgram("play", "cd '" + work.path("") +
                              "'\n/bin/cat > tried.au\n[ -e heard.au ] || /bin/mv tried.au heard.au\n");
  CHECK(render("in.wav --play", surroundings).status == 0);
  const Sound silence = readSound("heard.au");
  CHECK(silence.rateHz == 44100);
  CHECK(silence.channels == 1);
  CHECK(silence.samples == std::vector<double>(2205)); // 50 ms
  CHECK(samplesOf("tried.au").size() == 40000);
  withProgram("play", "echo 'no device' >&2\nexit 2\n");
  checkRefused(1, "in.wav --play",
               "--play 'in.wav': could not be played (pw-play: no daemon, play: no device)\n", surroundings);
}

TEST_CASE("a player that fails in the middle, or ends") {
  // More than a pipe holds, so that the end is met.
  const Workspace work;
  writeTake("in.wav", 400000, 1, kWav16, 2);
  const std::string takes = "/usr/bin/head -c 1000 > /dev/null\n",
                    failed = "--play 'in.wav': could not be played (aplay: ";
  checkRefused(1, "in.wav --play", failed + "lost)\n",
               withProgram("aplay", takes + "echo lost >&2\nexit 3\n"));
  checkRefused(1, "in.wav --play", failed + "ended before the sound did)\n", withProgram("aplay", takes));
  // What is wrong with the recording is told as such.
  writeTake("half.flac", 40000, 1, SF_FORMAT_FLAC | SF_FORMAT_PCM_16);
  writeBytes("half.flac", contentsOf("half.flac").substr(0, 30000));
  checkRefused(1, "half.flac --play", "input 'half.flac': damaged or cut short",
               withProgram("aplay", "exec /bin/cat > /dev/null\n"));
}

TEST_CASE("players are tried until one plays the output, and asked for types that they know") {
  const Workspace work;
  writeTake("in.wav", 40000);
  const Surroundings surroundings = withProgram("play", "echo 'no default audio device' >&2\nexit 2\n");
  const Outcome failed = render("in.wav out.wav --play", surroundings);
  CHECK(failed.status == 1);
  CHECK(failed.err ==
        "treadshift-render: --play 'out.wav': could not be played (play: no default audio device)\n");
  CHECK(samplesOf("out.wav").size() == 40000); // it is finished all the same
  withProgram("aplay", "cd '" + work.path("") + "'\necho heard > told\n");
  CHECK(render("in.wav out.wav --play", surroundings).status == 0);
  CHECK(contentsOf("told") == "heard\n");
  fs::remove("programs/play");
  const Outcome unknown = render("in.wav out.flac --play", surroundings);
  CHECK(unknown.status == 1);
  CHECK(unknown.err ==
        "treadshift-render: --play 'out.flac': no player for this type is there; install the package sox\n");
}

TEST_CASE("without a player nothing is rendered") {
  const Workspace work;
  writeTake("in.wav", 4000);
  checkRefused(
      1, "in.wav out.wav --play",
      "--play: there is none of the players pw-play, play and aplay; install the package pipewire-bin, "
      "sox or alsa-utils\n",
      withProgram("", ""));
}

TEST_CASE("a signal ends the player too and takes the temporary files along") {
  const Workspace work;
  writeTake("in.wav", 40000);
  const Bell bell("bell");
  Program program("in.wav --play",
                  withProgram("play", "echo $$ > '" + work.path("bell") + "'\nexec /bin/sleep 600\n"));
  const std::string player = bell.nextLine(program);
  program.signal(SIGTERM);
  CHECK(program.wait().status == 128 + SIGTERM);
  CHECK(work.names() == Names{"bell", "in.wav", "programs"});
  CHECK(ends(std::stoi(player)));
}
