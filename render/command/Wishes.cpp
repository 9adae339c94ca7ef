#include "render/command/Wishes.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace {

struct Wish {
  std::array<std::string_view, 6> options; // that people type; short rows end in empty ones
  std::string_view way;
};

constexpr Wish kWishes[] = {
    {{"--rate", "--sample-rate", "--samplerate", "--resample", "-r"},
     "the output keeps the rate; change it with: sox in.wav -r 48000 out.wav"},
    {{"--stereo", "--upmix"}, "two channels from one: sox in.wav -c 2 out.wav"},
    {{"--mono", "--downmix"}, "give --channels mix, left or right"},
    {{"--format", "--codec", "--container"},
     "the output's name tells its type; --type and --bits set it otherwise"},
    {{"--output", "-o", "--out", "--outfile"}, "the output is named after the input: in.wav out.wav"},
    {{"--input", "-i", "--in", "--infile"}, "the input is named without an option: in.wav out.wav"},
    {{"--overwrite", "--force", "-f"}, "leave out --no-clobber, which keeps files"},
    {{"--threads", "--parallel", "--workers"}, "give --jobs N"},
    {{"--pitch", "--semitones", "--cents", "--transpose", "--shift"},
     "give --interval +7st, or cents as in --interval -50c"},
    {{"--tempo", "--bpm", "--speed", "--stretch"},
     "the pedal keeps the tempo; change it with: sox in.wav out.wav tempo 1.25"},
    {{"--mix", "--dry-wet", "--wet-dry", "--blend"},
     "--wet takes the bent sound alone, --dry-gain DB adds the recording"},
    {{"--dry"}, "--dry-gain DB adds the recording"},
    {{"--start", "--ss", "-ss", "--begin", "--skip"}, "give --from SECONDS"},
    {{"--end", "--stop", "--duration", "--length", "--trim"}, "give --from SECONDS and --to SECONDS"},
    {{"--volume", "--level", "--amplify"}, "give --gain DB"},
    {{"--fade", "--fade-in", "--fade-out"}, "fade with: sox in.wav out.wav fade 0.01 -0 0.5"},
    {{"--listen", "--preview"}, "give --play"},
};

} // namespace

std::string_view wayFor(std::string_view option) {
  const auto holds = [&](const Wish& wish) {
    return std::find(wish.options.begin(), wish.options.end(), option) != wish.options.end();
  };
  const auto* const found = std::find_if(std::begin(kWishes), std::end(kWishes), holds);
  return option.empty() || found == std::end(kWishes) ? std::string_view() : found->way;
}
