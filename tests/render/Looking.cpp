// What the program tells and shows of a rendering: statistics, pictures, and the sound itself.
#include "Program.h"
#include "SoundFiles.h"
#include "render/look/Spectrogram.h"

#include <algorithm>
#include <cmath>
#include <csignal>
#include <doctest/doctest.h>
#include <fcntl.h>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <numbers>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

using Names = std::vector<std::string>;
using Json = nlohmann::json;

void writeInput(const Workspace& work) {
  writeSound(work.path("in.wav"), {44100, 1, SF_FORMAT_WAV | SF_FORMAT_PCM_16, softNoise(40000)});
}

std::vector<Json> lines(const std::string& text) {
  std::vector<Json> list;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);)
    list.push_back(Json::parse(line));
  return list;
}

Surroundings withPath(const Workspace& work, const std::string& path) {
  Surroundings surroundings;
  surroundings.directory = work.path("");
  surroundings.environment = {"PATH=" + path, "TMPDIR=" + work.path("")};
  return surroundings;
}

std::vector<double> tone(double hz, int rateHz, std::size_t count) {
  std::vector<double> samples(count);
  for (std::size_t i = 0; i < count; ++i)
    samples[i] = 0.5 * std::sin(2.0 * std::numbers::pi * hz * static_cast<double>(i) / rateHz);
  return samples;
}

bool hasGnuplot() { return shell("command -v gnuplot").status == 0; }

std::string beginsLikePng(const std::string& path) { return fileBytes(path).substr(0, 8); }

} // namespace

TEST_CASE("statistics as JSON") {
  const Workspace work;
  // Off, so that the peak is the input's: -0.75; with 6 dB 1.4964 = 0.75 * 10^0.3, which clips once.
  writeSound(work.path("in.wav"), {22050, 1, SF_FORMAT_WAV | SF_FORMAT_PCM_16, {0.25, -0.75, 0.0, 0.125}});
  const Outcome outcome = render({work.path("in.wav"), work.path("out.aiff"), "--on", "off", "--gain", "6",
                                  "--tail", "1", "--stats", "json", "-q"});
  CHECK(outcome.status == 0);
  CHECK(outcome.err == "");
  const auto objects = lines(outcome.out);
  REQUIRE(objects.size() == 1);
  const Json& told = objects.front();
  CHECK(told["input"] == work.path("in.wav"));
  CHECK(told["output"] == work.path("out.aiff"));
  CHECK(told["format"] == "AIFF, Signed 16 bit PCM");
  CHECK(told["sample_rate_hz"] == 22050);
  CHECK(told["channels"] == 1);
  CHECK(told["frames"] == 22054);
  CHECK(told["seconds"].get<double>() == doctest::Approx(22054.0 / 22050.0));
  CHECK(told["elapsed_seconds"].get<double>() > 0.0);
  CHECK(told["times_real_time"].get<double>() ==
        doctest::Approx(told["seconds"].get<double>() / told["elapsed_seconds"].get<double>()));
  CHECK(told["peak"].get<double>() == doctest::Approx(0.75 * std::pow(10.0, 0.3)));
  CHECK(told["peak_db"].get<double>() == doctest::Approx(20.0 * std::log10(0.75) + 6.0));
  CHECK(told["gain_db"].get<double>() == doctest::Approx(6.0));
  CHECK(told["clipped_samples"] == 1);
  CHECK(told["unusable_input_samples"] == 0);
}

TEST_CASE("the delay of the bent sound lies where the effect's own reach puts it") {
  // The bent sound is read at least 5 ms behind the dry one, and over a stretch of 65.535 ms from there.
  const Workspace work;
  writeInput(work);
  for (const char* color : {"2", "3", "4"}) {
    CAPTURE(color);
    const Outcome outcome = render({work.path("in.wav"), "--color", color, "--stats", "json"});
    REQUIRE(outcome.status == 0);
    const Json latency = lines(outcome.out).front()["latency"];
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

TEST_CASE("statistics of several recordings stand in their order, failures among them") {
  const Workspace work;
  Names arguments;
  for (int i = 0; i < 6; ++i) {
    arguments.push_back(work.path("take" + std::to_string(i) + ".wav"));
    // The first is the longest, so that the others are done before it.
    writeSound(arguments.back(),
               {44100, 1, SF_FORMAT_WAV | SF_FORMAT_PCM_16, softNoise(i == 0 ? 400000 : 1000)});
  }
  writeBytes(arguments[2], "no sound");
  const Names inputs = arguments;
  arguments.insert(arguments.end(), {"--out-dir", work.path("bent"), "--stats", "json", "--jobs", "4"});
  const Outcome outcome = render(arguments);
  CHECK(outcome.status == 1);
  const auto objects = lines(outcome.out);
  REQUIRE(objects.size() == inputs.size());
  for (std::size_t i = 0; i < inputs.size(); ++i) {
    CHECK(objects[i]["input"] == inputs[i]);
    CHECK(objects[i].contains("error") == (i == 2));
    CHECK(objects[i].contains("frames") == (i != 2));
  }
}

TEST_CASE("statistics never mix with a sound on the standard output") {
  const Workspace work;
  writeInput(work);
  const Outcome outcome = render({work.path("in.wav"), "-", "--stats", "json", "--on", "off"});
  CHECK(outcome.status == 0);
  CHECK(outcome.out.substr(0, 4) == ".snd");
  CHECK(lines(outcome.err).front()["output"] == "-");
}

TEST_CASE("statistics that nobody takes are an error") {
  const Workspace work;
  writeInput(work);
  Surroundings surroundings;
  surroundings.directory = work.path("");
  const Outcome outcome = shell("treadshift-render in.wav out.wav --stats json > /dev/full", surroundings);
  CHECK(outcome.status == 1);
  CHECK(outcome.err == "treadshift-render: standard output: cannot be written: No space left on device\n");
}

TEST_CASE("statistics of several recordings that nobody takes are one error") {
  const Workspace work;
  writeInput(work);
  for (const char* copy : {"one.wav", "two.wav", "three.wav"})
    writeBytes(work.path(copy), fileBytes(work.path("in.wav")));
  Surroundings surroundings;
  surroundings.directory = work.path("");
  const Outcome outcome = shell("treadshift-render in.wav one.wav two.wav three.wav --out-dir bent --jobs 4 "
                                "--stats json > /dev/full",
                                surroundings);
  CHECK(outcome.status == 1);
  CHECK(outcome.err == "treadshift-render: standard output: cannot be written: No space left on device\n");
}

TEST_CASE("a name that is no UTF-8 leaves the JSON valid") {
  const Workspace work;
  writeInput(work);
  fs::rename(work.path("in.wav"), work.path("\xe9t\xe9 \"1\".wav"));
  const Outcome outcome = render({work.path("\xe9t\xe9 \"1\".wav"), work.path("out.wav"), "--stats", "json"});
  CHECK(outcome.status == 0);
  const std::string told = lines(outcome.out).front()["input"];
  CHECK(told == work.path("\xef\xbf\xbdt\xef\xbf\xbd \"1\".wav"));
}

TEST_CASE("-v tells the same in words") {
  const Workspace work;
  writeSound(work.path("in.wav"),
             {22050, 2, SF_FORMAT_WAV | SF_FORMAT_FLOAT, std::vector<double>(44100, 0.5)});
  const Outcome outcome = render({work.path("in.wav"), work.path("out.wav"), "--on", "off", "-v"});
  CHECK(outcome.status == 0);
  CHECK(outcome.out == "");
  CHECK(holds(outcome.err, "treadshift-render: output '" + work.path("out.wav") +
                               "': 1.000 s, 2 channels at 22050 Hz, WAV, 32 bit float; rendered in "));
  CHECK(holds(outcome.err, " x real time; peak -6.02 dB, 0 clipped; bent sound 5 to "));
  CHECK(std::count(outcome.err.begin(), outcome.err.end(), '\n') == 1);
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
  if (!hasGnuplot()) {
    MESSAGE("not checked: there is no gnuplot here");
    return;
  }
  const Workspace work;
  writeInput(work);
  // Names that would be commands if anyone took them for such.
  const std::string picture = work.path("it's `touch x` $(touch y) \"z\"; %.png");
  const Outcome alone = render({work.path("in.wav"), "--plot", picture, "--color", "0:2,0.5:6"});
  CHECK(alone.err == "");
  CHECK(alone.status == 0);
  CHECK(beginsLikePng(picture) == "\x89PNG\r\n\x1a\n");
  CHECK(work.names().size() == 2);
  const Outcome beside =
      render({work.path("in.wav"), work.path("out.wav"), "--plot", work.path("b.PNG"), "--normalize"});
  CHECK(beside.status == 0);
  CHECK(beginsLikePng(work.path("b.PNG")) == "\x89PNG\r\n\x1a\n");
  CHECK(readSound(work.path("out.wav")).samples.size() == 40000);
}

TEST_CASE("gnuplot gets the pitch that the pedal asks for") {
  // Colour 3 runs from unison to two octaves down; the pedal to the toe in a second, off from 1.5 s on.
  const Workspace work;
  writeSound(work.path("in.wav"), {8000, 1, SF_FORMAT_WAV | SF_FORMAT_PCM_16, softNoise(16000)});
  const std::string path =
      pathWith(work, "gnuplot", "/bin/cp courses ../courses\n/bin/cp before picture.png\n");
  const Outcome outcome =
      render({"in.wav", "--plot", "p.png", "--color", "3", "--pedal", "0:0,1:1", "--on", "0:on,1.5:off"},
             withPath(work, path));
  CHECK(outcome.err == "");
  REQUIRE(outcome.status == 0);
  std::istringstream courses(fileBytes(work.path("courses")));
  int rows = 0;
  std::string cents;
  for (double seconds, pedal; courses >> seconds >> pedal >> cents; ++rows) {
    const double expected = std::min(seconds, 1.0);
    REQUIRE(pedal == doctest::Approx(expected).epsilon(1e-4));
    if (seconds >= 1.5)
      REQUIRE(cents == "nan");
    else
      REQUIRE(std::stod(cents) == doctest::Approx(-2400.0 * expected).epsilon(1e-4));
  }
  CHECK(rows > 300);
}

TEST_CASE(
    "a picture names its recording, says that it averages channels, and shows the part that is wanted") {
  const Workspace work;
  const std::string name = "it's `touch x` $(touch y).wav";
  writeSound(work.path(name), {8000, 2, SF_FORMAT_WAV | SF_FORMAT_PCM_16, softNoise(32000)});
  const std::string path =
      pathWith(work, "gnuplot", "/bin/cp picture.gnuplot courses ..\n/bin/cp before picture.png\n");
  const auto script = [&](const Names& options) {
    Names arguments = {name, "--plot", "p.png"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    REQUIRE(render(arguments, withPath(work, path)).status == 0);
    return fileBytes(work.path("picture.gnuplot"));
  };
  CHECK(holds(script({}), "\nrecording = 'it''s `touch x` $(touch y).wav (mean of its 2 channels)'\n"));
  CHECK(holds(script({"--channels", "left"}), "\nrecording = 'it''s `touch x` $(touch y).wav'\n"));
  const std::string part = script({"--from", "0.5", "--to", "1.5", "--pedal", "0:0,2:1"});
  CHECK(holds(part, "start = 0.5\n"));
  std::istringstream courses(fileBytes(work.path("courses")));
  double seconds = 0.0, pedal = 0.0, cents = 0.0, first = -1.0;
  while (courses >> seconds >> pedal >> cents) {
    if (first < 0.0) first = seconds;
    REQUIRE(pedal == doctest::Approx(seconds / 2.0).epsilon(1e-4));
  }
  CHECK(first == doctest::Approx(0.5).epsilon(0.01));
  CHECK(seconds == doctest::Approx(1.5).epsilon(0.01));
}

TEST_CASE("pictures that cannot be") {
  const Workspace work;
  writeInput(work);
  const auto check = [&](const std::string& path, int status, const Names& arguments,
                         const std::string& message) {
    const Outcome outcome = render(arguments, withPath(work, path));
    CHECK(outcome.status == status);
    CHECK(outcome.err == "treadshift-render: " + message + "\n");
    CHECK(work.names() == Names{"in.wav", "programs"});
  };
  check(pathWith(work, "", ""), 1, {"in.wav", "out.wav", "--plot", "a.png"},
        "--plot 'a.png': pictures need the program gnuplot, which is not there; install it (the package "
        "gnuplot-nox), or leave out --plot");
  check(pathWith(work, "", ""), 2, {"in.wav", "out.wav", "--plot", "a.gif"},
        "--plot 'a.gif': the name does not end in .png; give a .png file");
  check(pathWith(work, "gnuplot", "echo 'no terminal of that kind' >&2\nexit 3\n"), 1,
        {"in.wav", "--plot", "a.png"},
        "--plot 'a.png': gnuplot could not draw it (no terminal of that kind); gnuplot needs the terminal "
        "pngcairo, "
        "as in the package gnuplot-nox");
  check(
      pathWith(work, "gnuplot", "exit 0\n"), 1, {"in.wav", "--plot", "a.png"},
      "--plot 'a.png': gnuplot could not draw it (status 0); gnuplot needs the terminal pngcairo, as in the "
      "package gnuplot-nox");
  check(
      pathWith(work, "gnuplot", "echo > picture.png\n"), 1, {"in.wav", "--plot", "none/a.png"},
      "output 'none/a.png': cannot write in 'none': No such file or directory; give a directory that may be "
      "written");
}

TEST_CASE("a picture replaces neither recording nor output, nor anything with --no-clobber") {
  const Workspace work;
  writeInput(work);
  const std::string path = pathWith(work, "gnuplot", "echo new > picture.png\n");
  fs::rename(work.path("in.wav"), work.path("in.png"));
  const std::string bytes = fileBytes(work.path("in.png"));
  CHECK(render({"in.png", "out.wav", "--plot", "./in.png"}, withPath(work, path)).status == 2);
  CHECK(render({"in.png", "out.png", "--type", "wav", "--plot", "out.png"}, withPath(work, path)).status ==
        2);
  CHECK(fileBytes(work.path("in.png")) == bytes);
  writeBytes(work.path("old.png"), "old");
  CHECK(render({"in.png", "--plot", "old.png", "-n"}, withPath(work, path)).status == 1);
  CHECK(fileBytes(work.path("old.png")) == "old");
  CHECK(render({"in.png", "--plot", "old.png"}, withPath(work, path)).status == 0);
  CHECK(fileBytes(work.path("old.png")) == "new\n");
  CHECK(work.names() == Names{"in.png", "old.png", "programs"});
}

TEST_CASE("picture and preset cannot be one file") {
  const Workspace work;
  writeInput(work);
  const std::string path = pathWith(work, "gnuplot", "echo new > picture.png\n");
  const Outcome outcome = render({"in.wav", "--plot", "both", "--save-preset", "both"}, withPath(work, path));
  CHECK(outcome.status == 2);
  CHECK(outcome.err == "treadshift-render: --plot 'both': the same file as 'both'; give another name\n");
  CHECK(work.names() == Names{"in.wav", "programs"});
}

TEST_CASE("the player gets the finished output, whatever its name") {
  const Workspace work;
  writeInput(work);
  // The player runs elsewhere; the script needs a place of its own.
  const std::string path =
      pathWith(work, "play", "cd '" + work.path("") + "'\n/bin/cp \"$2\" heard.wav\necho \"$#:$1\" > told\n");
  const std::string output = "-q it's; $(x).wav";
  const Outcome outcome = render({"in.wav", "./" + output, "--pedal", "1", "--play"}, withPath(work, path));
  CHECK(outcome.err == "");
  CHECK(outcome.out == "");
  CHECK(outcome.status == 0);
  CHECK(fileBytes(work.path("heard.wav")) == fileBytes(work.path(output)));
  CHECK(fileBytes(work.path("told")) == "2:-q\n");
}

TEST_CASE("without an output the player hears the sound while it is rendered, and nothing stays") {
  const Workspace work;
  writeInput(work);
  const std::string bytes = fileBytes(work.path("in.wav"));
  REQUIRE(mkfifo(work.path("live").c_str(), 0600) == 0);
  const std::string path = pathWith(work, "play", "exec /bin/cat > '" + work.path("heard.au") + "'\n");
  Program program({"live", "--pedal", "0:0,0.5:1", "--play"}, withPath(work, path));
  const int input = open(work.path("live").c_str(), O_WRONLY);
  REQUIRE(write(input, bytes.data(), 60000) == 60000);
  const auto heardBytes = [&] {
    std::error_code error;
    const auto size = fs::file_size(work.path("heard.au"), error);
    return error ? 0 : size;
  };
  while (program.isRunning() && heardBytes() < 50000)
    usleep(1000);
  CHECK(heardBytes() < 60000); // the rest is not there yet
  REQUIRE(write(input, bytes.data() + 60000, bytes.size() - 60000) ==
          static_cast<long>(bytes.size() - 60000));
  close(input);
  const Outcome outcome = program.wait();
  CHECK(outcome.err == "");
  CHECK(outcome.status == 0);
  CHECK(work.names() == Names{"heard.au", "in.wav", "live", "programs"});
  REQUIRE(render({work.path("in.wav"), work.path("out.wav"), "--pedal", "0:0,0.5:1"}).status == 0);
  CHECK(readSound(work.path("heard.au")).samples == readSound(work.path("out.wav")).samples);
}

TEST_CASE("of several players the one that plays a moment of silence gets the sound") {
  const Workspace work;
  writeInput(work);
  const std::string path = pathWith(work, "pw-play", "/bin/cat > /dev/null\necho 'no daemon' >&2\nexit 1\n");
  const std::string keeps = "/bin/cat > '" + work.path("tried.au") + "'\n[ -e '" + work.path("heard.au") +
                            "' ] || /bin/mv '" + work.path("tried.au") + "' '" + work.path("heard.au") +
                            "'\n";
  pathWith(work, "play", keeps);
  CHECK(render({"in.wav", "--play"}, withPath(work, path)).status == 0);
  const Sound silence = readSound(work.path("heard.au"));
  CHECK(silence.rateHz == 44100);
  CHECK(silence.channels == 1);
  CHECK(silence.samples == std::vector<double>(2205)); // 50 ms
  CHECK(readSound(work.path("tried.au")).samples.size() == 40000);
  pathWith(work, "play", "echo 'no device' >&2\nexit 2\n");
  const Outcome none = render({"in.wav", "--play"}, withPath(work, path));
  CHECK(none.status == 1);
  CHECK(none.err == "treadshift-render: --play 'in.wav': could not be played (pw-play: no daemon, play: no "
                    "device)\n");
}

TEST_CASE("a player that fails in the middle, or ends") {
  // More than a pipe holds, so that the end is met.
  const Workspace work;
  writeSound(work.path("in.wav"), {44100, 2, SF_FORMAT_WAV | SF_FORMAT_PCM_16, softNoise(400000)});
  const std::string path =
      pathWith(work, "aplay", "/usr/bin/head -c 1000 > /dev/null\necho lost >&2\nexit 3\n");
  const Outcome failed = render({"in.wav", "--play"}, withPath(work, path));
  CHECK(failed.status == 1);
  CHECK(failed.err == "treadshift-render: --play 'in.wav': could not be played (aplay: lost)\n");
  pathWith(work, "aplay", "/usr/bin/head -c 1000 > /dev/null\n");
  const Outcome ended = render({"in.wav", "--play"}, withPath(work, path));
  CHECK(ended.status == 1);
  CHECK(ended.err ==
        "treadshift-render: --play 'in.wav': could not be played (aplay: ended before the sound did)\n");
  // What is wrong with the recording is told as such.
  const std::string flac = work.path("half.flac");
  writeSound(flac, {44100, 1, SF_FORMAT_FLAC | SF_FORMAT_PCM_16, softNoise(40000)});
  writeBytes(flac, fileBytes(flac).substr(0, 30000));
  pathWith(work, "aplay", "exec /bin/cat > /dev/null\n");
  const Outcome damaged = render({"half.flac", "--play"}, withPath(work, path));
  CHECK(damaged.status == 1);
  CHECK(holds(damaged.err, "input 'half.flac': damaged or cut short"));
}

TEST_CASE("players are tried until one plays the output, and asked for types that they know") {
  const Workspace work;
  writeInput(work);
  const std::string path = pathWith(work, "play", "echo 'no default audio device' >&2\nexit 2\n");
  const Surroundings surroundings = withPath(work, path);
  const Outcome failed = render({"in.wav", "out.wav", "--play"}, surroundings);
  CHECK(failed.status == 1);
  CHECK(failed.err ==
        "treadshift-render: --play 'out.wav': could not be played (play: no default audio device)\n");
  CHECK(readSound(work.path("out.wav")).samples.size() == 40000); // it is finished all the same
  pathWith(work, "aplay", "cd '" + work.path("") + "'\necho heard > told\n");
  CHECK(render({"in.wav", "out.wav", "--play"}, surroundings).status == 0);
  CHECK(fileBytes(work.path("told")) == "heard\n");
  fs::remove(path + "/play");
  const Outcome unknown = render({"in.wav", "out.flac", "--play"}, surroundings);
  CHECK(unknown.status == 1);
  CHECK(unknown.err ==
        "treadshift-render: --play 'out.flac': no player for this type is there; install the package "
        "sox\n");
}

TEST_CASE("without a player nothing is rendered") {
  const Workspace work;
  writeInput(work);
  const Outcome outcome = render({"in.wav", "out.wav", "--play"}, withPath(work, pathWith(work, "", "")));
  CHECK(outcome.status == 1);
  CHECK(outcome.err ==
        "treadshift-render: --play: there is none of the players pw-play, play and aplay; install the "
        "package pipewire-bin, sox or alsa-utils\n");
  CHECK(work.names() == Names{"in.wav", "programs"});
  CHECK(render({"in.wav", "-", "--play"}).status == 2);
}

TEST_CASE("a signal ends the player too and takes the temporary files along") {
  const Workspace work;
  writeInput(work);
  const std::string path =
      pathWith(work, "play", "echo $$ > '" + work.path("player") + "'\nexec /bin/sleep 600\n");
  Program program({work.path("in.wav"), "--play"}, withPath(work, path));
  while (program.isRunning() && (!fs::exists(work.path("player")) || fs::file_size(work.path("player")) == 0))
    usleep(1000);
  const pid_t player = std::stoi(fileBytes(work.path("player")));
  program.signal(SIGTERM);
  const Outcome outcome = program.wait();
  CHECK(outcome.status == 128 + SIGTERM);
  CHECK(work.names() == Names{"in.wav", "player", "programs"});
  int waits = 0;
  while (kill(player, 0) == 0 && ++waits < 5000)
    usleep(1000); // until the system has collected it
  CHECK(waits < 5000);
}
