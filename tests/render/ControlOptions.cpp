// From the options as typed to the controls: what is a value, what a file, and what goes over what.
#include "render/command/ControlOptions.h"
#include "FaultOf.h"

#include "MidiBytes.h"
#include "Program.h"

#include <doctest/doctest.h>
#include <filesystem>
#include <fstream>
#include <map>
#include <sys/stat.h>
#include <thread>

namespace {

// words: options and their values by turns.
Controls controlsOf(const Names& words) {
  using Options = ControlOptions;
  static const std::map<std::string, Options::Text Options::*> places = {
      {"--pedal", &Options::pedal},
      {"--pedal-cc", &Options::pedalCc},
      {"--pedal-channel", &Options::pedalChannel},
      {"--tone", &Options::tone},
      {"--tone-cc", &Options::toneCc},
      {"--tone-channel", &Options::toneChannel},
      {"--interval", &Options::interval},
      {"--color", &Options::color},
      {"--preset", &Options::preset},
      {"--load-preset", &Options::loadPreset}};
  Options options;
  for (std::size_t i = 0; i < words.size(); i += 2)
    options.*places.at(words[i]) = words[i + 1];
  return controlsFrom(options);
}

std::string optionsFault(ExitStatus status, const Names& arguments) {
  return faultOf(status, [&] { controlsOf(arguments); });
}

// A call, and what its fault's message begins with.
struct WrongOptions {
  Names arguments;
  std::string message;
};

void checkOptionFaults(ExitStatus status, const std::vector<WrongOptions>& calls) {
  for (const WrongOptions& call : calls) {
    CAPTURE(call.arguments);
    CHECK(optionsFault(status, call.arguments).substr(0, call.message.size()) == call.message);
  }
}

float pedalAt(const Controls& controls, double seconds) {
  return controls.valueAt(kPedalPos, seconds).value();
}

const std::string kForms = "give a number from 0 to 1, seconds:value points, a shape such as sine:4, or the "
                           "name of a CSV or MIDI file";

std::string take() {
  return midiFile(0, 480,
                  {midiTrack({controller(0, 11, 0), controller(0, 74, 127, 2), controller(960, 11, 127),
                              controller(0, 74, 0, 2)})});
}

} // namespace

TEST_CASE("pedal and tone come from numbers, points, CSV and MIDI files") {
  const Workspace work;
  writeBytes("take.csv", "0,0\n1,1\n");
  writeBytes("take.mid", take());
  writeBytes("take", take());
  for (const char* text : {"0:0,1:1", "take.csv", "./take.csv", "take.mid", "take"}) {
    CAPTURE(text);
    const Controls controls = controlsOf({"--pedal", text, "--tone", text});
    CHECK(pedalAt(controls, 0.25) == 0.25f);
    CHECK(controls.valueAt(kTone, 0.75).value() == 0.75f);
    CHECK_FALSE(controls.valueAt(kColor, 0.0).has_value());
  }
  CHECK(pedalAt(controlsOf({"--pedal", "0.25"}), 5.0) == 0.25f);
}

TEST_CASE("controller and channel of a MIDI file are chosen for pedal and tone apart") {
  const Workspace work;
  writeBytes("take.mid", take());
  const Controls controls =
      controlsOf({"--pedal", "take.mid", "--tone", "take.mid", "--tone-cc", "74", "--tone-channel", "2"});
  CHECK(pedalAt(controls, 0.25) == 0.25f);
  CHECK(controls.valueAt(kTone, 0.25).value() == 0.75f);
  CHECK(pedalAt(controlsOf({"--pedal", "take.mid", "--pedal-cc", "74"}), 0.25) == 0.75f);
  CHECK(optionsFault(ExitStatus::couldNot, {"--pedal", "take.mid", "--pedal-channel", "3"}) ==
        "--pedal 'take.mid': holds no controller 11 on channel 3; it holds 11 (channel 1), 74 (channel 2); "
        "choose with --pedal-cc");
  CHECK(optionsFault(ExitStatus::couldNot, {"--tone", "take.mid", "--tone-cc", "1"})
            .find("--tone 'take.mid': holds no controller 1; ") == 0);
}

TEST_CASE("a choice that means nothing is refused") {
  const Workspace work;
  writeBytes("take.mid", take());
  writeBytes("take.csv", "0,0\n");
  const std::string number = "': not a whole number from 0 to 127; 11 is the expression pedal";
  const std::string channel = "': not a whole number from 1 to 16; without it every channel counts";
  const std::string none = "': there is no MIDI file to choose from; give --";
  std::vector<WrongOptions> calls = {
      {{"--pedal-cc", "4"}, "--pedal-cc '4" + none + "pedal a MIDI file"},
      {{"--pedal", "0.5", "--pedal-channel", "4"}, "--pedal-channel '4" + none + "pedal a MIDI file"},
      {{"--tone", "take.csv", "--tone-cc", "4"}, "--tone-cc '4" + none + "tone a MIDI file"},
  };
  for (const std::string text : {"-1", "128", "1.5", "", "eleven", "99999999999"})
    calls.push_back({{"--pedal", "take.mid", "--pedal-cc", text}, "--pedal-cc '" + text + number});
  for (const std::string text : {"0", "17"})
    calls.push_back({{"--pedal", "take.mid", "--pedal-channel", text}, "--pedal-channel '" + text + channel});
  checkOptionFaults(ExitStatus::wrongCall, calls);
}

TEST_CASE(
    "a text that is no course is a file's name when it looks like one, never when it could be numbers") {
  const Workspace work;
  std::filesystem::create_directory("folder");
  writeBytes("1.5", "0,0\n");
  writeBytes("0:0,1:2", "0,0\n");
  std::vector<WrongOptions> missing = {{{"--tone", "folder"}, "--tone 'folder': a directory; give a file"}};
  for (const std::string name : {"take.csv", "take.mid", "folder/take", "/nowhere/take"})
    missing.push_back({{"--pedal", name}, "--pedal '" + name + "': no such file; give one that is there"});
  checkOptionFaults(ExitStatus::couldNot, missing);
  std::vector<WrongOptions> wrong = {
      {{"--pedal", "1.5"}, "--pedal '1.5': the value is out of range; " + kForms},
      {{"--pedal", "0:0,1:2"}, "--pedal '1:2': the value is out of range; " + kForms}};
  for (const std::string text : {"half", "nan", "0.5x", ""})
    wrong.push_back({{"--pedal", text}, "--pedal '" + text + "': no such value; " + kForms});
  checkOptionFaults(ExitStatus::wrongCall, wrong);
  CHECK(pedalAt(controlsOf({"--pedal", "./1.5"}), 0.0) == 0.0f);
}

TEST_CASE("pedal and tone repeat a shape, whatever files there are") {
  const Workspace work;
  writeBytes("sine:4", "0,0.5\n");
  const Controls controls = controlsOf({"--pedal", "sine:4", "--tone", "steps:2:0.25-0.75"});
  CHECK(pedalAt(controls, 0.0) == 0.0f);
  CHECK(pedalAt(controls, 2.0) == 1.0f);
  CHECK(controls.valueAt(kTone, 7.5).value() == 0.75f);
  CHECK(pedalAt(controlsOf({"--pedal", "./sine:4"}), 0.0) == 0.5f);
}

TEST_CASE("an interval sets the pedal in the colour given, in the preset's, or in the best one") {
  const Workspace work;
  writeBytes("+7st", "0,0\n");
  writeBytes("take.csv", "time;interval\n0;0\n2;+7st\n");
  struct Row {
    Names arguments;
    float color, pedal; // the pedal after one second
  };
  for (const Row& row : {
           Row{{"--interval", "+7st"}, 0.3125f, static_cast<float>(7.0 / 12.0)}, // octave-up, row 2: 5/16
           {{"--interval", "-5st"}, 0.4375f, static_cast<float>(5.0 / 24.0)}, // two-octaves-down, row 3: 7/16
           {{"--interval", "-500c"}, 0.4375f, static_cast<float>(5.0 / 24.0)},
           {{"--interval", "+600c", "--color", "octave-down-to-up"}, 0.5625f, 0.75f},
           {{"--interval", "+600c", "--color", "0:4,3:4"}, 0.5625f, 0.75f},
           {{"--preset", "octave-climb", "--interval", "+600c", "--color", "4"}, 0.5625f, 0.75f},
           {{"--preset", "bass-drop", "--interval", "-12st"}, 0.4375f, 0.5f},
           {{"--interval", "0:0c,2:+6st"}, 0.3125f, 0.25f},
           {{"--interval", "take.csv"}, 0.3125f, static_cast<float>(3.5 / 12.0)},
           {{"--interval", "triangle:4:0-+12st"}, 0.3125f, 0.5f},
       }) {
    CAPTURE(row.arguments);
    const Controls controls = controlsOf(row.arguments);
    CHECK(controls.valueAt(kColor, 1.0).value() == row.color);
    CHECK(pedalAt(controls, 1.0) == row.pedal);
  }
  CHECK(controlsOf({"--interval", "+7st"}).foundColor() == 2);
  CHECK_FALSE(controlsOf({"--interval", "+7st", "--color", "2"}).foundColor().has_value());
  CHECK_FALSE(controlsOf({"--interval", "+7st", "--preset", "octave-climb"}).foundColor().has_value());
}

TEST_CASE("an interval that cannot be set is refused") {
  const Workspace work;
  writeBytes("take.mid", take());
  writeBytes("take.csv", "time,interval\n0,0\n1,+7st\n");
  checkOptionFaults(
      ExitStatus::wrongCall,
      {
          {{"--interval", "+7st", "--pedal", "1"},
           "--interval '+7st': sets the pedal, and so does --pedal; give one of them"},
          {{"--interval", "+7st", "--color", "0:2,3:4"},
           "--interval '+7st': the colour changes, and with it what the pedal means; give a single "
           "--color, or set the pedal with --pedal"},
          {{"--interval", "fifth"},
           "--interval 'fifth': no such value; give cents (c) or semitones (st) from -6000c to +1200c, "
           "seconds:interval points, a shape such as sine:4:0c-+2st, or the name of a CSV file"},
          {{"--interval", "+7st", "--preset", "bass-drop"},
           "--interval '+7st': the value is out of range; give cents (c) or semitones (st) from -2400c "
           "to 0c, or --color octave-up, which takes it"},
      });
  checkOptionFaults(
      ExitStatus::couldNot,
      {
          {{"--interval", "take.csv", "--color", "0"},
           "--interval 'take.csv': line 3 '1,+7st': the value is out of range; "},
          {{"--interval", "take.mid"},
           "--interval 'take.mid': a MIDI file holds no intervals; give it to --pedal"},
          {{"--interval", "none.csv"}, "--interval 'none.csv': no such file; give one that is there"},
      });
}

TEST_CASE("files that hold no course, or no end, are refused in one line") {
  const Workspace work;
  writeBytes("bytes", std::string("\x7f"
                                  "ELF\0\1\2\3",
                                  8));
  writeBytes("wide.csv", std::string("0\0,\0"
                                     "0\0",
                                     6));
  writeBytes("text.mid", "0,0\n1,1\n");
  writeBytes("cut.mid", take().substr(0, 40));
  writeBytes("empty", "");
  const std::string neither = "': neither CSV text nor a standard MIDI file; ";
  checkOptionFaults(
      ExitStatus::couldNot,
      {
          {{"--pedal", "bytes"}, "--pedal 'bytes" + neither},
          {{"--pedal", "wide.csv"}, "--pedal 'wide.csv" + neither},
          {{"--pedal", "text.mid"}, "--pedal 'text.mid': not a standard MIDI file; "},
          {{"--pedal", "cut.mid"}, "--pedal 'cut.mid': a damaged or cut MIDI file; "},
          {{"--pedal", "empty"}, "--pedal 'empty': holds no points; write lines seconds,value"},
          {{"--pedal", "/dev/zero"}, "--pedal '/dev/zero': larger than 16 MiB; give a smaller one"},
          {{"--load-preset", "/dev/zero"}, "--load-preset '/dev/zero': larger than 1 MiB; "},
      });
}

TEST_CASE("a course may come through a pipe") {
  const Workspace work;
  REQUIRE(mkfifo("pipe", 0600) == 0);
  std::thread writer([] { std::ofstream("pipe") << "0,0\n1,1\n"; });
  const Controls controls = controlsOf({"--pedal", "pipe"});
  writer.join();
  CHECK(pedalAt(controls, 0.5) == 0.5f);
}

TEST_CASE("options go over the preset's values") {
  const Controls controls = controlsOf({"--preset", "OCTAVE CLIMB", "--tone", "0.25"});
  CHECK(controls.valueAt(kTone, 0.0).value() == 0.25f);
  CHECK(controls.valueAt(kColor, 0.0).value() == 0.3125f); // octave-up, row 2: 5/16
  CHECK_FALSE(controls.valueAt(kPedalPos, 0.0).has_value());
}

TEST_CASE("a preset comes from a file of one's own, chosen by name among several") {
  const Workspace work;
  writeBytes("one.conf", "[mine]\ntone = 0.5\npedal = 1\n");
  writeBytes("two.conf", "[first]\ntone = 0.25\n[second]\ntone = 0.75\n");
  CHECK(pedalAt(controlsOf({"--load-preset", "one.conf"}), 0.0) == 1.0f);
  CHECK(pedalAt(controlsOf({"--load-preset", "one.conf", "--pedal", "0.5"}), 0.0) == 0.5f);
  CHECK(controlsOf({"--load-preset", "two.conf", "--preset", "Second"}).valueAt(kTone, 0.0).value() == 0.75f);
  writeBytes("bytes", std::string(10, '\0'));
  checkOptionFaults(
      ExitStatus::wrongCall,
      {
          {{"--load-preset", "two.conf"},
           "--load-preset 'two.conf': holds 2 presets; choose one with --preset: first, second"},
          {{"--load-preset", "two.conf", "--preset", "third"},
           "--preset 'third': no such preset; 'two.conf' holds first, second"},
          {{"--preset", "third"}, "--preset 'third': no such preset; --list-presets lists their names"},
      });
  checkOptionFaults(
      ExitStatus::couldNot,
      {
          {{"--load-preset", "none.conf"}, "--load-preset 'none.conf': no such file; give one that is "},
          {{"--load-preset", "bytes"}, "--load-preset 'bytes': not a text file; "},
      });
}

TEST_CASE("a saved preset bears its file's name and comes back as it was") {
  const Workspace work;
  savePreset("my-own.conf", controlsOf({"--preset", "bass-drop", "--tone", "0.1", "--pedal", "0:0,1:1"}));
  const auto presets = loadPresets("--load-preset", "my-own.conf");
  REQUIRE(presets.size() == 1);
  CHECK(presets[0].name == "my-own");
  const Controls controls = controlsOf({"--load-preset", "my-own.conf"});
  CHECK(controls.valueAt(kTone, 0.0).value() == 0.1f);
  CHECK(controls.valueAt(kColor, 0.0).value() == 0.4375f); // two-octaves-down, row 3: 7/16
  CHECK(controls.valueAt(kMode, 0.0).value() == 1.0f);
  CHECK_FALSE(controls.valueAt(kPedalPos, 0.0).has_value());
}

TEST_CASE("an interval that stands still is saved as its colour and pedal") {
  const Workspace work;
  savePreset("fifth.conf", controlsOf({"--interval", "+6st"}));
  const Controls controls = controlsOf({"--load-preset", "fifth.conf"});
  CHECK(controls.valueAt(kColor, 0.0).value() == 0.3125f);
  CHECK(pedalAt(controls, 0.0) == 0.5f);
}

TEST_CASE("a name that could not stand in a line is made one that can") {
  const Workspace work;
  const Controls controls = controlsOf({"--tone", "0.5"});
  for (const auto& [file, name] :
       {std::pair("a\nb\x01.conf", "a b"), std::pair(" .conf", "my preset"), std::pair("[x].txt", "[x]")}) {
    savePreset(file, controls);
    CHECK(loadPresets("--load-preset", file).at(0).name == name);
  }
}

TEST_CASE("saving replaces one preset or an empty file, and nothing else") {
  const Workspace work;
  const Controls controls = controlsOf({"--tone", "0.5"});
  writeBytes("one.conf", "[one]\ntone = 1\n");
  writeBytes("empty.conf", "");
  for (const char* name : {"one.conf", "empty.conf"}) {
    savePreset(name, controls);
    CHECK(controlsOf({"--load-preset", name}).valueAt(kTone, 0.0).value() == 0.5f);
  }
  const std::string two = "[first]\ntone = 0.25\n[second]\ntone = 0.75\n", sound = "RIFF....WAVEfmt ";
  writeBytes("two.conf", two);
  writeBytes("in.wav", sound);
  std::filesystem::create_directory("folder");
  const auto fault = [&](const char* name) -> std::string {
    try {
      savePreset(name, controls);
    } catch (const Fault& refused) {
      CHECK(refused.status() == ExitStatus::couldNot);
      return refused.what();
    }
    return "saved";
  };
  CHECK(fault("two.conf") == "--save-preset 'two.conf': exists and holds 2 presets; give another name");
  CHECK(fault("in.wav") == "--save-preset 'in.wav': exists and holds no presets; give another name");
  CHECK(fault("folder").find("'folder': a directory; ") != std::string::npos);
  CHECK(fault("nowhere/mine.conf").find("'nowhere/mine.conf': cannot write in 'nowhere': ") !=
        std::string::npos);
  CHECK(contentsOf("two.conf") == two);
  CHECK(contentsOf("in.wav") == sound);
}

TEST_CASE("a file may be as large as its limit and not larger") {
  const Workspace work;
  const std::string preset = "[mine]\ntone = 0.5\n#";
  writeBytes("full.conf", preset + std::string(1048576 - preset.size(), 'x'));
  writeBytes("over.conf", preset + std::string(1048577 - preset.size(), 'x'));
  CHECK(controlsOf({"--load-preset", "full.conf"}).valueAt(kTone, 0.0).value() == 0.5f);
  CHECK(optionsFault(ExitStatus::couldNot, {"--load-preset", "over.conf"}) ==
        "--load-preset 'over.conf': larger than 1 MiB; give a smaller one");
}
