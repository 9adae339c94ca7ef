// treadshift-render: renders a recording through the pedal, as a host does, and writes the bent one.

#include "render/Fault.h"
#include "render/Listing.h"
#include "render/ModulePath.h"
#include "render/RenderJob.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <cstdio>
#include <exception>
#include <new>

namespace {

constexpr int kLargestBlock = 1048576;

constexpr char kDescription[] = "Bends the pitch of a recording with the Treadshift pedal.\n"
                                "Reads and writes WAV, FLAC, OGG and AIFF. The output keeps the sample rate, "
                                "channels and sample format of\n"
                                "the input; its name's extension chooses the container. Every channel has a "
                                "pedal of its own, all moved alike.\n";

constexpr char kFooter[] = R"(
A VALUE is one number for the whole recording, or points seconds:value, as in 0:0,1.5:1,3:0. The pedal and the
tone move in a straight line from point to point; colour, mode and on/off stay until the next point. Before the
first point its value holds, after the last point that one's. What no option sets keeps the pedal's own setting
(on, guitar, tone 0.8, colour 4, heel).

Colours: pitch at the heel (0) -> at the toe (1)
  0  a semitone down -> unison, the bent sound fades      4  an octave down -> an octave up, with the dry sound
     into the dry one                                     5  a fifth down -> a fourth up, with the dry sound
  1  unison -> a quarter tone up, with the dry sound      6  five octaves down, with the dry sound -> an octave
  2  unison -> an octave up                                  up alone
  3  unison -> two octaves down                           7  five octaves down -> an octave up, with the dry sound

The recording runs in blocks of --block samples. A value changes at the block in which its time falls: at each
block's start the values of its last sample are set, and the pedal moves towards them inside the block from where
the block before ended, so it follows the drawn line. The first block has none before it and holds its own.

Examples
  treadshift-render guitar.wav bent.wav --color 4 --pedal 0:0,1.5:1,3:0 --tone 0.8
      an octave down at the start, an octave up at 1.5 seconds, and back at 3
  treadshift-render guitar.wav up.flac --color 2 --pedal 1
      an octave up all the way
  treadshift-render guitar.wav late.wav --color 3 --pedal 0:0,4:1 --on 0:off,2:on
      a dive of two octaves, switched in after two seconds
  treadshift-render --show --tone 0.3
      what the module tells a host, with the tone at 0.3

Exit status: 0 done, 1 could not be done, 2 wrong call. An output that exists is replaced only by a whole new one.
)";

struct CommandLine {
  std::string input, output, module, block;
  std::string color, pedal, tone, on, mode;
  bool show = false, quiet = false;
};

void addOptions(CLI::App& app, CommandLine& line) {
  app.add_option("input", line.input, "the recording")->type_name("FILE");
  app.add_option("output", line.output, "the bent recording, ending in .wav, .flac, .ogg or .aiff")
      ->type_name("FILE");
  app.add_option("--color", line.color, "which of the eight colours, 0 to 7")->type_name("VALUE");
  app.add_option("--pedal", line.pedal, "where the pedal stands, 0 (heel) to 1 (toe)")->type_name("VALUE");
  app.add_option("--tone", line.tone, "tone of the bent sound, 0 to 1")->type_name("VALUE");
  app.add_option("--on", line.on, "whether the pedal is switched on: on or off")->type_name("VALUE");
  app.add_option("--mode", line.mode, "guitar or bass; a mark without effect on the sound")
      ->type_name("VALUE");
  app.add_option(
         "--block", line.block,
         "samples per block, 1 to 1048576; 256 if not given; large ones are slow while the pedal moves")
      ->type_name("N");
  app.add_option("--module", line.module,
                 "the module to render with; if not given, the one built or installed with "
                 "this program")
      ->type_name("PATH");
  app.add_flag("--show", line.show,
               "list the parameters, programs and identity of the module and render nothing");
  app.add_flag("-q,--quiet", line.quiet, "print errors only");
  app.set_help_flag("-h,--help", "print this help");
  app.set_version_flag("--version", "treadshift-render " TREADSHIFT_VERSION, "print the version");
  app.allow_extras();
  for (CLI::Option* option : app.get_options())
    option->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
  app.description(kDescription);
  app.footer(kFooter);
}

Fault wrongCall(const std::string& subject, const std::optional<std::string>& value,
                const std::string& wrong) {
  return Fault(ExitStatus::wrongCall, subject, value, wrong, "see treadshift-render --help");
}

int blockFrames(const std::string& text) {
  int frames = 256;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), frames);
  if (error != std::errc() || end != text.data() + text.size() || frames < 1 || frames > kLargestBlock) {
    throw Fault(ExitStatus::wrongCall, "--block", text,
                "not a number of samples from 1 to " + std::to_string(kLargestBlock), "256 is usual");
  }
  return frames;
}

Controls controlsOf(const CLI::App& app, const CommandLine& line) {
  Controls controls;
  const auto set = [&](const char* option, ParameterIndex parameter, const std::string& text) {
    if (app.count(option) != 0) controls.set(parameter, text);
  };
  set("--on", kParameterOn, line.on);
  set("--mode", kParameterMode, line.mode);
  set("--tone", kParameterTone, line.tone);
  set("--color", kParameterColor, line.color);
  set("--pedal", kParameterPedal, line.pedal);
  return controls;
}

RenderJob jobOf(const CLI::App& app, const CommandLine& line) {
  RenderJob job;
  job.inputPath = line.input;
  job.outputPath = line.output;
  job.modulePath = line.module;
  job.controls = controlsOf(app, line);
  if (app.count("--block") != 0) job.blockFrames = blockFrames(line.block);
  job.quiet = line.quiet;
  return job;
}

void refuseExtras(const CLI::App& app) {
  for (const std::string& extra : app.remaining()) {
    const bool isOption = extra.size() > 1 && extra[0] == '-';
    throw wrongCall(isOption ? "option" : "argument", extra,
                    isOption ? "no such option" : "one argument too many");
  }
}

void refuseRepeats(const CLI::App& app) {
  for (const CLI::Option* option : app.get_options()) {
    if (option->count() > 1) throw wrongCall(option->get_name(), {}, "given more than once");
  }
}

void run(const CLI::App& app, const CommandLine& line) {
  refuseExtras(app);
  refuseRepeats(app);
  const RenderJob job = jobOf(app, line);
  if (line.show) {
    if (!line.input.empty())
      throw wrongCall("--show", line.input, "--show renders nothing and takes no files");
    std::fputs(listEffect(findModule(job.modulePath), job.controls).c_str(), stdout);
    return;
  }
  if (line.input.empty()) throw wrongCall("input", {}, "no recording is named");
  if (line.output.empty()) throw wrongCall("output", {}, "no name for the bent recording is given");
  runRenderJob(job);
}

int runReportingFaults(const CLI::App& app, const CommandLine& line) {
  try {
    run(app, line);
    return static_cast<int>(ExitStatus::done);
  } catch (const Fault& fault) {
    printMessage(fault.what());
    return static_cast<int>(fault.status());
  } catch (const std::bad_alloc&) {
    printMessage("out of memory; a smaller --block takes less");
  } catch (const std::exception& error) {
    printMessage(messageLine("failed", {}, error.what()));
  }
  return static_cast<int>(ExitStatus::couldNot);
}

} // namespace

int main(int argc, char** argv) {
  CLI::App app;
  CommandLine line;
  addOptions(app, line);
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& helpOrVersion) {
    return app.exit(helpOrVersion);
  } catch (const CLI::ParseError& error) {
    printMessage(std::string(error.what()) + "; see treadshift-render --help");
    return static_cast<int>(ExitStatus::wrongCall);
  }
  return runReportingFaults(app, line);
}
