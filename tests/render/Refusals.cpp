// Calls that cannot work: one line that says what is wrong and what would be right, the right exit status,
// and no file made or changed.
#include "Program.h"
#include "SoundFiles.h"

#include <doctest/doctest.h>
#include <filesystem>

namespace {

struct Call {
  std::string arguments, message;
};

// Wrong calls beside a recording of 4000 samples, which stays as it is. start: of all the arguments.
void checkWrong(const std::string& start, const std::vector<Call>& calls) {
  const Workspace work;
  writeTake("in.wav", 4000);
  const std::string before = contentsOf("in.wav");
  for (const Call& call : calls)
    checkRefused(2, start + call.arguments, call.message);
  CHECK(contentsOf("in.wav") == before);
}

void checkWrongOptions(const std::vector<Call>& calls) { checkWrong("in.wav out.wav ", calls); }

void checkInput(const std::string& name, const std::string& bytes, const std::string& wrong) {
  writeBytes(name, bytes);
  checkRefused(1, name + " out.wav", "input '" + name + "': " + wrong);
}

std::string replaced(std::string bytes, std::size_t offset, const std::string& part) {
  return bytes.replace(offset, part.size(), part);
}

std::string bytesAs(int format, std::size_t frames) {
  writeTake("whole", frames, 1, format);
  return contentsOf("whole");
}

} // namespace

TEST_CASE("a flag that is given a value, of whatever length and characters") {
  checkWrongOptions({
      {"--show=perhaps", "--show 'perhaps': takes no value; see treadshift-render --help"},
      {"'--play=a\nb'", "--play 'a?b': takes no value; "},
      {"--verbose=" + std::string(120000, 'x'), "--verbose '" + std::string(1000, 'x') + "...': takes no "},
      {"'--verbose=" + std::string(999, 'x') + "ü!'", "--verbose '" + std::string(999, 'x') + "...': "},
  });
}

TEST_CASE("files that do not go together") {
  checkWrong("", {
                     {"", "input: no recording is named; "},
                     {"in.wav", "output: no name for the bent recording is given; "},
                     {"in.wav out.wav third", "argument 'third': one argument too many; to render several "
                                              "recordings, say where to with --out-dir DIR\n"},
                     {"in.wav out", "output 'out': "},
                     {"in.wav out.doc", "output 'out.doc': "},
                     {"in.wav ./", "output './': a directory; to write into it, give --out-dir ./"},
                     {"in.wav none/", "output 'none/': a directory; "},
                     {"--show in.wav", "--show 'in.wav': "},
                     {"in.wav --stats json --type wav", "--type 'wav': no output is named that could be "},
                     {"in.wav --out-dir ''", "--out-dir '': no directory; give its name\n"},
                     {"in.wav other.wav --out-dir bent --play", "--play: is for one recording at a time; "},
                     {"in.wav other.wav --out-dir bent --plot a.png", "--plot: is for one recording at a "},
                     {"- --out-dir bent", "input '-': the standard input has no name for --out-dir to keep; "
                                          "name the output instead\n"},
                     {"in.wav out.wav -y -n", "--yes: contradicts --no-clobber; give one of them\n"},
                     {"in.wav - --play", "--play"},
                 });
}

TEST_CASE("options that do not exist, or not so") {
  checkWrongOptions({
      {"--colour 1", "option '--colour': no such option; did you mean --color? see "},
      {"--normalise", "option '--normalise': no such option; did you mean --normalize? see "},
      {"--gian=3", "option '--gian=3': no such option; did you mean --gain? see "},
      {"-z", "option '-z': no such option; see "},
      {"--ox", "option '--ox': no such option; see "},
      {"--tone", "--tone: its value is missing; give --tone VALUE|FILE; see "},
      {"--plot", "--plot: its value is missing; give --plot FILE.png; see "},
      {"--color 1 --color 2", "--color: given more than once; "},
  });
}

TEST_CASE("values that an option does not take") {
  checkWrongOptions({
      {"--color 8", "--color '8': the value is out of range; "},
      {"--tone '\n0\x01'", "--tone '?0?': no such value; "},
      {"--pedal-cc 4", "--pedal-cc '4': there is no MIDI file to choose from; give --pedal a MIDI file\n"},
      {"--tone-cc 4", "--tone-cc '4': there is no MIDI file to choose from; give --tone a MIDI file\n"},
      {"--pedal-channel 4", "--pedal-channel '4': there is no MIDI file to choose from; "},
      {"--tone-channel 4", "--tone-channel '4': there is no MIDI file to choose from; "},
      {"--bits 20", "--bits '20': no such sample format; "},
      {"--type doc", "--type 'doc': no such type; give wav, flac, "},
      {"--channels both", "--channels 'both': no such choice; give each, left, right or mix\n"},
      {"--stats xml", "--stats 'xml': no such form; give json\n"},
      {"--to 1 --from 0:01", "--to '1': not after --from; "},
      {"--to 0", "--to '0': not after --from; "},
      {"--dry-gain 97", "--dry-gain '97': not decibels from -96 to 96; "},
  });
  struct Row {
    std::string option, wrong;
    Names values;
  };
  for (const Row& row : {
           Row{"--tail", "not seconds from 0 to 3600; ", {"-1", "3601", "1s", "inf", "nan", ""}},
           {"--gain", "not decibels from -96 to 96; ", {"-97", "97", "6dB", "inf", "nan", ""}},
           {"--block", "", {"0", "-1", "1048577", "99999999999999999999", "64.5", "64x", ""}},
           {"--from",
            "not a time; give seconds, mm:ss or hh:mm:ss, ",
            {"-1", "1:60", "1:2:3:4", "1.5:0", "x", "", "1:", ":1", "nan", "1e10"}},
           {"--jobs",
            "not a number from 1 to 256; as many as there are processors is best\n",
            {"0", "257", "-1", "two", ""}},
       }) {
    std::vector<Call> calls;
    for (const std::string& value : row.values)
      calls.push_back({row.option + " '" + value + "'", row.option + " '" + value + "': " + row.wrong});
    checkWrongOptions(calls);
  }
}

TEST_CASE("an option that others have names the way to the same thing") {
  const std::string rate = "the output keeps the rate; change it with: sox in.wav -r 48000 out.wav";
  const std::string output = "the output is named after the input: in.wav out.wav";
  std::vector<Call> calls = {
      {"--rate=48000", "option '--rate=48000': no such option; the output keeps the rate; "},
      {"--channels stereo", "--channels 'stereo': no such choice; give each, left, right or mix; two "
                            "channels from one: sox in.wav -c 2 out.wav\n"},
      {"--channels 1", "--channels '1': no such choice; give each, left, right or mix; mix makes one "},
  };
  for (const auto& [option, way] : {
           Call{"--rate", rate},
           {"--sample-rate", rate},
           {"--stereo", "two channels from one: sox in.wav -c 2 out.wav"},
           {"--mono", "give --channels mix, left or right"},
           {"--bpm", "the pedal keeps the tempo; change it with: sox in.wav out.wav tempo 1.25"},
           {"--mix", "--wet takes the bent sound alone, --dry-gain DB adds the recording"},
           {"--format", "the output's name tells its type; --type and --bits set it otherwise"},
           {"--output", output},
           {"-o", output},
           {"-i", "the input is named without an option: in.wav out.wav"},
           {"-f", "leave out --no-clobber, which keeps files"},
           {"--threads", "give --jobs N"},
       })
    calls.push_back({option + " 2", "option '" + option + "': no such option; " + way + "\n"});
  checkWrongOptions(calls);
}

TEST_CASE("sample formats that a type does not hold") {
  checkWrong("in.wav ",
             {
                 {"out.flac --bits float", "output 'out.flac': FLAC does not hold 32 bit float; give other "
                                           "--bits, or use .wav\n"},
                 {"out.ogg --bits 16", "output 'out.ogg': OGG does not hold Signed 16 bit PCM; leave out "
                                       "--bits\n"},
                 {"out.mp3 --bits 24", "output 'out.mp3': MP3 does not hold Signed 24 bit PCM; leave out "
                                       "--bits\n"},
             });
}

TEST_CASE("comparisons that cannot be") {
  checkWrongOptions(
      {{"--each-color", "--each-color: makes several outputs; say where to with --out-dir DIR"}});
  checkWrong("in.wav --out-dir bent ",
             {
                 {"--each-color --color 2", "--each-color: does not go with --color; "},
                 {"--each-color --each-preset", "--each-color: does not go with --each-preset; "},
                 {"--each-preset --preset x", "--each-preset: does not go with --preset; "},
                 {"--each-preset --save-preset p", "--each-preset: does not go with --save-preset; "},
                 {"--each-color --play", "--play: is for one recording at a time; "},
                 {"--each-preset --plot p.png", "--plot: is for one recording at a time; "},
             });
  const Workspace work;
  writeBytes("twins", "[a b]\ncolor = 1\n[a/b]\ncolor = 2\n");
  checkRefused(2, "in.wav --out-dir bent --each-preset --load-preset twins",
               "--each-preset 'a/b': another preset would have its name in a file's; ");
}

TEST_CASE("values that nothing would read, before anything is written or listed") {
  checkWrong("", {
                     {"in.wav out.wav --plot ''", "--plot '': no file; give its name\n"},
                     {"in.wav out.wav --save-preset ''", "--save-preset '': no file; give its name\n"},
                     {"in.wav out.wav --module ''", "--module '': no file; give its name\n"},
                     {"--list-colors --jobs abc", "--jobs 'abc': not a number from 1 to 256; "},
                     {"--list-presets --tail x", "--tail 'x': not seconds from 0 to 3600; "},
                     {"--show --bits 99", "--bits '99': no such sample format; "},
                     {"--show --channels foo", "--channels 'foo': no such choice; "},
                     {"--save-preset own.conf --block zz", "--block 'zz': "},
                     {"in.wav out.wav --save-preset own.conf --color 2 --gain zz",
                      "--gain 'zz': not decibels from -96 to 96; "},
                 });
}

TEST_CASE("inputs that are no sound") {
  const Workspace work;
  const std::string sound = bytesAs(kWav16, 4000), none = "not a sound file that can be read";
  checkRefused(1, "none.wav out.wav", "input 'none.wav': No such file or directory; ");
  checkRefused(1, "'two\nlines.wav' out.wav", "input 'two?lines.wav': ");
  checkRefused(1, "./ out.wav", "input './': a directory; ");
  checkInput("empty.wav", "", none);
  checkInput("text.wav", "This is no sound.\n", none);
  checkInput("header.wav", sound.substr(0, 30), none);
  checkInput("channels.wav", replaced(sound, 22, std::string(2, '\0')), none);
  checkInput("rate.wav", replaced(sound, 24, std::string(4, '\0')), none);
  checkInput("silent.wav", replaced(sound.substr(0, 44), 40, std::string(4, '\0')), "holds no sound; ");
}

// Other types are ForeignFiles' business.
TEST_CASE("inputs that are cut short tell how far they go") {
  const Workspace work;
  // 4000 frames of two bytes behind 44 bytes; half of them are 0.045 s at 44100 Hz.
  checkInput("half.wav", bytesAs(kWav16, 4000).substr(0, 44 + 4000), "cut short: it ends after 0.045 s");
  const std::string aiff = bytesAs(SF_FORMAT_AIFF | SF_FORMAT_PCM_16, 4000);
  checkInput("half.aiff", aiff.substr(0, aiff.size() - 4000), "cut short: it ends after 0.045 s");
}

TEST_CASE("parts and mixes that a recording does not allow") {
  const Workspace work;
  writeTake("in.wav", 4000); // 0.091 s
  checkRefused(1, "in.wav out.wav --from 0.1", "--from '0.1': 'in.wav' has no sound there; ");
  checkRefused(1, "in.wav out.wav --wet --block 217",
               "--wet: in blocks of 217 samples at 44100 Hz the dry sound cannot be told from the bent one; "
               "give --block 216 or less");
}

TEST_CASE("rates that the effect does not run at") {
  // floor(0.016 * 62) = 0: the fades would have no length, the effect passes the sound through.
  const Workspace work;
  for (int rate : {1, 8, 62, 16777217, 2147483647}) {
    writeSound("rate.wav", {rate, 1, kWav16, noise(4000)});
    checkRefused(1, "rate.wav out.wav", "input 'rate.wav': ");
  }
}

TEST_CASE("outputs that cannot be") {
  const Workspace work;
  writeTake("in.wav", 4000);
  checkRefused(1, "in.wav none/out.wav", "output 'none/out.wav': cannot write in 'none'");
  checkRefused(1, "in.wav /proc/out.wav", "output '/proc/out.wav': cannot write in '/proc'");
  writeTake("many.wav", 900, 1, kWav16, 9);
  checkRefused(1, "many.wav out.flac", "output 'out.flac': FLAC cannot hold 9 channels at 44100 Hz; ");
}

TEST_CASE("places of pictures and presets are tried before the sound is read") {
  const Workspace work;
  const std::string call = "missing.wav out.wav ", nowhere = ": cannot write in 'none'";
  checkRefused(1, call + "--save-preset none/file --color 2", "output 'none/file'" + nowhere);
  checkRefused(2, call + "--plot none/file", "--plot 'none/file': the name does not end in .png; ");
  if (isInstalled("gnuplot")) checkRefused(1, call + "--plot none/a.png", "output 'none/a.png'" + nowhere);
}

TEST_CASE("modules that are none") {
  const Workspace work;
  writeTake("in.wav", 4000);
  writeBytes("narrow.so", "\x7f"
                          "ELF\x01" +
                              std::string(60, '\0'));
  writeBytes("broken.so", replaced(contentsOf("narrow.so"), 4, "\x02"));
  for (const Call& call : {
           Call{"none.so", "no such file; "},
           {"in.wav", "not a module; "},
           {"narrow.so", "a 32-bit module; give a 64-bit treadshift.so"},
           {"broken.so", "cannot be loaded ("},
       })
    for (const char* start : {"in.wav out.wav --module ", "--show --module "})
      checkRefused(1, start + call.arguments, "module '" + work.path(call.arguments) + "': " + call.message);
}
