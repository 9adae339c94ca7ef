#include "render/MidiEvents.h"

#include "render/Fault.h"

#include <algorithm>
#include <cstdlib>
#include <portSMF/mfmidi.h>

namespace {

constexpr std::string_view kHeaderMark = "MThd";
constexpr std::string_view kTrackMark = "MTrk";
constexpr std::size_t kChunkHeadBytes = 8; // a mark of four bytes and a length

std::size_t bigEndian(std::string_view bytes) {
  std::size_t number = 0;
  for (char byte : bytes)
    number = number << 8 | static_cast<unsigned char>(byte);
  return number;
}

// The file's header and track chunks without what stands between and behind them: files may hold chunks of
// kinds that nobody but their maker knows, and the library stops at these. A chunk that is cut short stays,
// for the library to complain about.
std::string knownChunks(std::string_view bytes) {
  std::string known;
  while (bytes.size() >= kChunkHeadBytes) {
    const std::string_view mark = bytes.substr(0, kHeaderMark.size());
    const std::size_t length = bigEndian(bytes.substr(kHeaderMark.size(), 4)) + kChunkHeadBytes;
    if (mark == kHeaderMark || mark == kTrackMark) known += bytes.substr(0, length);
    bytes.remove_prefix(std::min(length, bytes.size()));
  }
  return known;
}

// Lets the library read bytes in memory and keeps the messages that matter.
class MidiFileReader : public Midifile_reader {
public:
  explicit MidiFileReader(std::string_view bytes) : text(knownChunks(bytes)) {
    midifile();
    finalize();
  }

  bool damaged = false;
  bool independentTracks = false;
  int division = 0;
  std::vector<MidiEvent> list;

private:
  void add(int controller, int channel, int value) {
    list.push_back({static_cast<double>(Mf_currtime), controller, channel, value});
  }

  int Mf_getc() override { return at < text.size() ? static_cast<unsigned char>(text[at++]) : -1; }
  void Mf_error(char*) override { damaged = true; }
  void Mf_header(int format, int tracks, int ticks) override {
    constexpr int kFormatOfIndependentTracks = 2;
    independentTracks = format == kFormatOfIndependentTracks && tracks > 1;
    division = ticks;
  }
  void Mf_controller(int channel, int controller, int value) override {
    constexpr int kLargestDataByte = 127;
    if (controller > kLargestDataByte || value > kLargestDataByte) damaged = true;
    add(controller, channel + 1, value);
  }
  void Mf_tempo(int microseconds) override { add(-1, 1, microseconds); }
  void* Mf_malloc(size_t size) override { return std::malloc(size); }
  void Mf_free(void* memory, size_t) override { std::free(memory); }

  void Mf_starttrack() override {}
  void Mf_endtrack() override {}
  void Mf_chanprefix(int) override {}
  void Mf_portprefix(int) override {}
  void Mf_eot() override {}
  void Mf_on(int, int, int) override {}
  void Mf_off(int, int, int) override {}
  void Mf_pressure(int, int, int) override {}
  void Mf_pitchbend(int, int, int) override {}
  void Mf_program(int, int) override {}
  void Mf_chanpressure(int, int) override {}
  void Mf_sysex(int, unsigned char*) override {}
  void Mf_arbitrary(int, unsigned char*) override {}
  void Mf_metamisc(int, int, unsigned char*) override {}
  void Mf_seqnum(int) override {}
  void Mf_smpte(int, int, int, int, int) override {}
  void Mf_timesig(int, int, int, int) override {}
  void Mf_keysig(int, int) override {}
  void Mf_sqspecific(int, unsigned char*) override {}
  void Mf_text(int, int, unsigned char*) override {}

  const std::string text;
  std::size_t at = 0;
};

// A division with its upper bit set holds the negative number of frames in a second and the ticks in each.
double frameTicksPerSecond(int division) {
  constexpr double kDropFrameRateHz = 30000.0 / 1001.0;
  const int frames = 256 - (division >> 8 & 0xff);
  return (frames == 29 ? kDropFrameRateHz : frames) * (division & 0xff);
}

} // namespace

bool isMidi(std::string_view bytes) { return bytes.substr(0, kHeaderMark.size()) == kHeaderMark; }

MidiEvents readMidiEvents(const std::string& subject, std::string_view bytes) {
  constexpr int kFramesBit = 0x8000;
  constexpr char kRight[] = "save the take again as a MIDI file of format 0 or 1";
  const auto fail = [&](const std::string& wrong, const std::string& right) {
    throw Fault(ExitStatus::couldNot, subject, {}, wrong, right);
  };
  if (!isMidi(bytes)) fail("not a standard MIDI file", kRight);
  MidiFileReader reader(bytes);
  MidiEvents events = {0.0, 0.0, std::move(reader.list)};
  if (reader.division & kFramesBit) {
    events.ticksPerSecond = frameTicksPerSecond(reader.division);
  } else {
    events.ticksPerQuarter = reader.division;
  }
  const bool hasClock = events.ticksPerQuarter > 0.0 || events.ticksPerSecond > 0.0;
  if (reader.damaged || !hasClock) fail("a damaged or cut MIDI file", kRight);
  if (reader.independentTracks) fail("a MIDI file of independent tracks (format 2)", kRight);
  std::stable_sort(events.list.begin(), events.list.end(),
                   [](const MidiEvent& left, const MidiEvent& right) { return left.tick < right.tick; });
  return events;
}
