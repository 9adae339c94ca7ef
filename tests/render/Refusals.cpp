// Calls that cannot work: one line that says what is wrong and what would be right, the right exit status,
// and no file made or changed.
#include "Program.h"
#include "SoundFiles.h"

#include <algorithm>
#include <doctest/doctest.h>

namespace {

bool startsWith(const std::string& text, const std::string& start) {
  return text.compare(0, start.size(), start) == 0;
}

// One printable line from the program.
void checkOneLine(const std::string& err) {
  CHECK(startsWith(err, "treadshift-render: "));
  CHECK(std::count(err.begin(), err.end(), '\n') == 1);
  REQUIRE(!err.empty());
  CHECK(err.back() == '\n');
  CHECK(std::none_of(err.begin(), err.end() - 1, [](unsigned char character) { return character < 0x20; }));
}

class Refusal {
public:
  Refusal() { writeSound(work.path("in.wav"), {44100, 1, SF_FORMAT_WAV | SF_FORMAT_PCM_16, noise(4000)}); }

  std::string path(const std::string& name) const { return work.path(name); }

  void check(int status, const std::string& start, const std::vector<std::string>& arguments) const {
    CAPTURE(arguments);
    const auto before = work.names();
    const Outcome outcome = render(arguments);
    checkOneLine(outcome.err);
    CAPTURE(outcome.err);
    CHECK(startsWith(outcome.err, "treadshift-render: " + start));
    CHECK(outcome.out == "");
    CHECK(outcome.status == status);
    CHECK(work.names() == before);
  }

  void checkOption(const std::string& start, const std::vector<std::string>& options) const {
    std::vector<std::string> arguments = {path("in.wav"), path("out.wav")};
    arguments.insert(arguments.end(), options.begin(), options.end());
    check(2, start, arguments);
  }

  void checkInput(const std::string& name, const std::string& bytes, const std::string& wrong) const {
    writeBytes(path(name), bytes);
    check(1, "input '" + path(name) + "': " + wrong, {path(name), path("out.wav")});
  }

private:
  Workspace work;
};

std::string replaced(std::string bytes, std::size_t offset, const std::string& part) {
  return bytes.replace(offset, part.size(), part);
}

} // namespace

TEST_CASE("a flag that is given a value, of whatever length and characters") {
  const Refusal refusal;
  refusal.checkOption("--show 'perhaps': takes no value; see treadshift-render --help", {"--show=perhaps"});
  refusal.checkOption("--play 'a?b': takes no value; ", {"--play=a\nb"});
  refusal.checkOption("--verbose '" + std::string(1000, 'x') + "...': takes no value; ",
                      {"--verbose=" + std::string(120000, 'x')});
  refusal.checkOption("--verbose '" + std::string(999, 'x') + "...': ",
                      {"--verbose=" + std::string(999, 'x') + "ü!"});
}

TEST_CASE("calls that are wrong as they stand") {
  const Refusal refusal;
  refusal.check(2, "input: no recording is named; ", {});
  refusal.check(2, "output: no name for the bent recording is given; ", {refusal.path("in.wav")});
  refusal.check(2, "argument 'third': one argument too many; ",
                {refusal.path("in.wav"), refusal.path("out.wav"), "third"});
  refusal.check(2, "output '" + refusal.path("out") + "': ", {refusal.path("in.wav"), refusal.path("out")});
  refusal.check(
      2, "output '" + refusal.path("out.doc") + "': ", {refusal.path("in.wav"), refusal.path("out.doc")});
  refusal.check(2,
                "output '" + refusal.path("") + "': a directory; to write into it, give --out-dir " +
                    refusal.path(""),
                {refusal.path("in.wav"), refusal.path("")});
  refusal.check(2, "output 'none/': a directory; ", {refusal.path("in.wav"), "none/"});
  refusal.check(2, "--show 'in.wav': ", {"--show", "in.wav"});
  refusal.checkOption("option '--colour': no such option; ", {"--colour", "1"});
  refusal.checkOption("option '--colour': no such option; did you mean --color? see ", {"--colour", "1"});
  refusal.checkOption("option '--normalise': no such option; did you mean --normalize? see ",
                      {"--normalise"});
  refusal.checkOption("option '--gian=3': no such option; did you mean --gain? see ", {"--gian=3"});
  refusal.checkOption("option '-z': no such option; see ", {"-z"});
  refusal.checkOption("option '--ox': no such option; see ", {"--ox"});
  refusal.checkOption("--tone: its value is missing; give --tone VALUE|FILE; see ", {"--tone"});
  refusal.checkOption("--plot: its value is missing; give --plot FILE.png; see ", {"--plot"});
  refusal.checkOption("--color: given more than once; ", {"--color", "1", "--color", "2"});
  refusal.checkOption("--color '8': the value is out of range; ", {"--color", "8"});
  refusal.checkOption("--color '-1': the value is out of range; ", {"--color", "-1"});
  refusal.checkOption("--color '2.5': not a whole number; ", {"--color", "2.5"});
  refusal.checkOption("--color '1:9': the value is out of range; ", {"--color", "0:1,1:9"});
  refusal.checkOption("--pedal '1.5': the value is out of range; ", {"--pedal", "1.5"});
  refusal.checkOption("--pedal '1:1': the time lies before that of ", {"--pedal", "0:0,2:0,1:1"});
  refusal.checkOption("--pedal 'nan': no such value; ", {"--pedal", "nan"});
  refusal.checkOption("--tone '': no such value; ", {"--tone", ""});
  refusal.checkOption("--tone '-0.5': the value is out of range; ", {"--tone", "-0.5"});
  refusal.checkOption("--tone '?0?': no such value; ", {"--tone", "\n0\x01"});
  refusal.checkOption("--on '0.5': not a whole number; give on, off, ", {"--on", "0.5"});
  refusal.checkOption("--mode 'banjo': no such value; give guitar, bass, ", {"--mode", "banjo"});
  refusal.checkOption("--bits '20': no such sample format; ", {"--bits", "20"});
  refusal.checkOption("--type 'doc': no such type; give wav, flac, ", {"--type", "doc"});
  refusal.checkOption("--channels 'both': no such choice; give each, left, right or mix",
                      {"--channels", "both"});
  refusal.checkOption("--stats 'xml': no such form; give json", {"--stats", "xml"});
  refusal.check(2, "--type 'wav': no output is named that could be of this type; ",
                {refusal.path("in.wav"), "--stats", "json", "--type", "wav"});
  for (const char* tail : {"-1", "3601", "1s", "inf", "nan", ""})
    refusal.checkOption("--tail '" + std::string(tail) + "': not seconds from 0 to 3600; ", {"--tail", tail});
  for (const char* gain : {"-97", "97", "6dB", "inf", "nan", ""})
    refusal.checkOption("--gain '" + std::string(gain) + "': not decibels from -96 to 96; ",
                        {"--gain", gain});
  for (const char* block : {"0", "-1", "1048577", "99999999999999999999", "64.5", "64x", ""}) {
    refusal.checkOption("--block '" + std::string(block) + "': ", {"--block", block});
  }
}

TEST_CASE("an option that others have names the way to the same thing") {
  const Refusal refusal;
  const std::pair<const char*, const char*> ways[] = {
      {"--rate", "the output keeps the rate; change it with: sox in.wav -r 48000 out.wav"},
      {"--sample-rate", "the output keeps the rate; change it with: sox in.wav -r 48000 out.wav"},
      {"--stereo", "two channels from one: sox in.wav -c 2 out.wav"},
      {"--mono", "give --channels mix, left or right"},
      {"--bpm", "the pedal keeps the tempo; change it with: sox in.wav out.wav tempo 1.25"},
      {"--mix", "--wet takes the bent sound alone, --dry-gain DB adds the recording"},
      {"--format", "the output's name tells its type; --type and --bits set it otherwise"},
      {"--output", "the output is named after the input: in.wav out.wav"},
      {"-o", "the output is named after the input: in.wav out.wav"},
      {"-i", "the input is named without an option: in.wav out.wav"},
      {"-f", "leave out --no-clobber, which keeps files"},
      {"--threads", "give --jobs N"}};
  for (const auto& [option, way] : ways)
    refusal.checkOption("option '" + std::string(option) + "': no such option; " + way + "\n", {option, "2"});
  refusal.checkOption("option '--rate=48000': no such option; the output keeps the rate; ", {"--rate=48000"});
  refusal.checkOption("--channels 'stereo': no such choice; give each, left, right or mix; two channels from "
                      "one: sox in.wav -c 2 out.wav\n",
                      {"--channels", "stereo"});
  refusal.checkOption("--channels '1': no such choice; give each, left, right or mix; mix makes one ",
                      {"--channels", "1"});
}

TEST_CASE("parts and mixes that cannot be") {
  const Refusal refusal;
  for (const char* time : {"-1", "1:60", "1:2:3:4", "1.5:0", "x", "", "1:", ":1", "nan", "1e10"})
    refusal.checkOption("--from '" + std::string(time) + "': not a time; give seconds, mm:ss or hh:mm:ss, ",
                        {"--from", time});
  refusal.checkOption("--to '1': not after --from; ", {"--from", "0:01", "--to", "1"});
  refusal.checkOption("--to '0': not after --from; ", {"--to", "0"});
  refusal.checkOption("--dry-gain '97': not decibels from -96 to 96; ", {"--dry-gain", "97"});
  // 4000 frames at 44100 Hz.
  refusal.check(1, "--from '0.1': '" + refusal.path("in.wav") + "' has no sound there; ",
                {refusal.path("in.wav"), refusal.path("out.wav"), "--from", "0.1"});
  refusal.check(1,
                "--wet: in blocks of 217 samples at 44100 Hz the dry sound cannot be told from the bent one; "
                "give --block 216 or less",
                {refusal.path("in.wav"), refusal.path("out.wav"), "--wet", "--block", "217"});
}

TEST_CASE("comparisons that cannot be") {
  const Refusal refusal;
  refusal.checkOption("--each-color: makes several outputs; say where to with --out-dir DIR",
                      {"--each-color"});
  const auto check = [&](const std::string& start, std::vector<std::string> options) {
    options.insert(options.begin(), {refusal.path("in.wav"), "--out-dir", refusal.path("bent")});
    refusal.check(2, start, options);
  };
  check("--each-color: does not go with --color; ", {"--each-color", "--color", "2"});
  check("--each-color: does not go with --each-preset; ", {"--each-color", "--each-preset"});
  check("--each-preset: does not go with --preset; ", {"--each-preset", "--preset", "Octave climb"});
  check("--each-preset: does not go with --save-preset; ",
        {"--each-preset", "--save-preset", refusal.path("p")});
  check("--play: is for one recording at a time; ", {"--each-color", "--play"});
  check("--plot: is for one recording at a time; ", {"--each-preset", "--plot", refusal.path("p.png")});
  writeBytes(refusal.path("twins"), "[a b]\ncolor = 1\n[a/b]\ncolor = 2\n");
  check("--each-preset 'a/b': another preset would have its name in a file's; ",
        {"--each-preset", "--load-preset", refusal.path("twins")});
}

TEST_CASE("values that nothing would read, before anything is written or listed") {
  const Refusal refusal;
  for (const char* option : {"--plot", "--save-preset", "--module"})
    refusal.checkOption(std::string(option) + " '': no file; give its name", {option, ""});
  refusal.check(2, "--jobs 'abc': not a number from 1 to 256; ", {"--list-colors", "--jobs", "abc"});
  refusal.check(2, "--tail 'x': not seconds from 0 to 3600; ", {"--list-presets", "--tail", "x"});
  refusal.check(2, "--bits '99': no such sample format; ", {"--show", "--bits", "99"});
  refusal.check(2, "--channels 'foo': no such choice; ", {"--show", "--channels", "foo"});
  refusal.check(2, "--block 'zz': ", {"--save-preset", refusal.path("own.conf"), "--block", "zz"});
  refusal.checkOption("--gain 'zz': not decibels from -96 to 96; ",
                      {"--save-preset", refusal.path("own.conf"), "--color", "2", "--gain", "zz"});
}

TEST_CASE("inputs that are no sound") {
  const Refusal refusal;
  const std::string sound = fileBytes(refusal.path("in.wav"));
  refusal.check(
      1, "input '" + refusal.path("none.wav") + "': ", {refusal.path("none.wav"), refusal.path("out.wav")});
  refusal.check(1, "input '" + refusal.path("") + "': a directory; ",
                {refusal.path(""), refusal.path("out.wav")});
  refusal.checkInput("empty.wav", "", "not a sound file that can be read");
  refusal.checkInput("text.wav", "This is no sound.\n", "not a sound file that can be read");
  refusal.checkInput("header.wav", sound.substr(0, 30), "not a sound file that can be read");
  refusal.checkInput("channels.wav", replaced(sound, 22, std::string(2, '\0')),
                     "not a sound file that can be read");
  refusal.checkInput("rate.wav", replaced(sound, 24, std::string(4, '\0')),
                     "not a sound file that can be read");
  refusal.checkInput("silent.wav", replaced(sound.substr(0, 44), 40, std::string(4, '\0')),
                     "holds no sound; ");
}

TEST_CASE("places of pictures and presets are tried before the sound is read") {
  const Refusal refusal;
  const std::string missing = refusal.path("missing.wav"), nowhere = refusal.path("none/file");
  const auto check = [&](int status, const std::string& start, const std::vector<std::string>& options) {
    std::vector<std::string> arguments = {missing, refusal.path("out.wav")};
    arguments.insert(arguments.end(), options.begin(), options.end());
    refusal.check(status, start, arguments);
  };
  check(1, "output '" + nowhere + "': cannot write in '", {"--save-preset", nowhere, "--color", "2"});
  check(2, "--plot '" + nowhere + "': the name does not end in .png; ", {"--plot", nowhere});
  if (shell("command -v gnuplot >/dev/null").status == 0)
    check(1, "output '" + nowhere + ".png': cannot write in '", {"--plot", nowhere + ".png"});
  else
    MESSAGE("not checked: the place of a picture, there is no gnuplot");
}

TEST_CASE("a name with a line break stays in one line") {
  const Refusal refusal;
  const std::string shown = refusal.path("two?lines.wav");
  refusal.check(1, "input '" + shown + "': ", {refusal.path("two\nlines.wav"), refusal.path("out.wav")});
}

TEST_CASE("inputs that are damaged or cut short") {
  const Refusal refusal;
  const std::string wav = fileBytes(refusal.path("in.wav"));
  // 4000 frames of two bytes behind 44 bytes; half of them are 0.045 s at 44100 Hz.
  refusal.checkInput("half.wav", wav.substr(0, 44 + 4000), "cut short: it ends after 0.045 s");
  const auto bytesAs = [&](int format, std::size_t frames) {
    writeSound(refusal.path("whole"), {44100, 1, format, noise(frames)});
    return fileBytes(refusal.path("whole"));
  };
  const std::string aiff = bytesAs(SF_FORMAT_AIFF | SF_FORMAT_PCM_16, 4000);
  refusal.checkInput("half.aiff", aiff.substr(0, aiff.size() - 4000), "cut short: it ends after 0.045 s");
  const std::string flac = bytesAs(SF_FORMAT_FLAC | SF_FORMAT_PCM_16, 40000);
  refusal.checkInput("half.flac", flac.substr(0, flac.size() / 2), "damaged or cut short after ");
  refusal.checkInput("holed.flac", replaced(flac, flac.size() / 2, std::string(300, '\x55')),
                     "damaged or cut short after ");
  const std::string ogg = bytesAs(SF_FORMAT_OGG | SF_FORMAT_VORBIS, 80000);
  refusal.checkInput("holed.ogg", replaced(ogg, ogg.size() / 2, std::string(300, '\x55')),
                     "damaged or cut short after ");
}

TEST_CASE("rates that the effect does not run at") {
  // floor(0.016 * 62) = 0: the fades would have no length, the effect passes the sound through.
  const Refusal refusal;
  for (int rate : {1, 8, 62, 16777217, 2147483647}) {
    writeSound(refusal.path("rate.wav"), {rate, 1, SF_FORMAT_WAV | SF_FORMAT_PCM_16, noise(4000)});
    refusal.check(
        1, "input '" + refusal.path("rate.wav") + "': ", {refusal.path("rate.wav"), refusal.path("out.wav")});
  }
}

TEST_CASE("outputs that cannot be") {
  const Refusal refusal;
  const std::string in = refusal.path("in.wav");
  refusal.check(1, "output '" + refusal.path("none/out.wav") + "': cannot write in ",
                {in, refusal.path("none/out.wav")});
  refusal.check(1, "output '/proc/out.wav': cannot write in '/proc'", {in, "/proc/out.wav"});
  writeSound(refusal.path("many.wav"), {44100, 9, SF_FORMAT_WAV | SF_FORMAT_PCM_16, noise(900)});
  refusal.check(1, "output '" + refusal.path("out.flac") + "': FLAC cannot hold 9 channels at 44100 Hz; ",
                {refusal.path("many.wav"), refusal.path("out.flac")});
}

TEST_CASE("modules that are none") {
  const Refusal refusal;
  const auto check = [&](const std::string& module, const std::string& wrong) {
    refusal.check(1, "module '" + module + "': " + wrong,
                  {refusal.path("in.wav"), refusal.path("out.wav"), "--module", module});
    refusal.check(1, "module '" + module + "': " + wrong, {"--show", "--module", module});
  };
  check(refusal.path("none.so"), "no such file; ");
  check(refusal.path("in.wav"), "not a module; ");
  writeBytes(refusal.path("narrow.so"), "\x7f"
                                        "ELF\x01" +
                                            std::string(60, '\0'));
  check(refusal.path("narrow.so"), "a 32-bit module; give a 64-bit treadshift.so");
  writeBytes(refusal.path("broken.so"), "\x7f"
                                        "ELF\x02" +
                                            std::string(60, '\0'));
  check(refusal.path("broken.so"), "cannot be loaded (");
}
