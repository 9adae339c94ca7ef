#include "render/course/MidiEvents.h"

#include "render/text/Fault.h"

#include <algorithm>
#include <cstdint>

namespace {

constexpr std::string_view kHeaderMark = "MThd";
constexpr std::string_view kTrackMark = "MTrk";
constexpr std::size_t kMarkBytes = 4;
constexpr char kRight[] = "save the take again as a MIDI file of format 0 or 1";

[[noreturn]] void fail(const std::string& subject, const std::string& wrong) {
  throw Fault(ExitStatus::couldNot, subject, {}, wrong, kRight);
}

// Takes a file or a part of it from the front. Whatever goes beyond the end is a fault.
class MidiBytes {
public:
  MidiBytes(const std::string& fileName, std::string_view bytes) : subject(fileName), rest(bytes) {}

  bool isEmpty() const { return rest.empty(); }

  // The next byte has its upper bit set: a status rather than data.
  bool statusFollows() const { return !rest.empty() && (rest.front() & kStatusBit) != 0; }

  std::string_view take(std::size_t count) {
    if (count > rest.size()) failDamaged();
    const std::string_view taken = rest.substr(0, count);
    rest.remove_prefix(count);
    return taken;
  }

  MidiBytes part(std::size_t count) { return {subject, take(count)}; }

  // A number of that many bytes, the highest first.
  std::uint32_t number(std::size_t bytes) {
    std::uint32_t value = 0;
    for (char byte : take(bytes))
      value = value << 8 | static_cast<unsigned char>(byte);
    return value;
  }

  // A number in groups of seven bits, the upper bit set in all bytes but the last; four bytes at most.
  std::uint32_t variableNumber() {
    constexpr int kMostBytes = 4;
    std::uint32_t value = 0;
    for (int count = 0; count < kMostBytes; ++count) {
      const std::uint32_t byte = number(1);
      value = value << 7 | (byte & ~kStatusBit);
      if ((byte & kStatusBit) == 0) return value;
    }
    failDamaged();
  }

  int dataByte() {
    if (statusFollows()) failDamaged();
    return static_cast<int>(number(1));
  }

  [[noreturn]] void failDamaged() const { fail(subject, "a damaged or cut MIDI file"); }

private:
  static constexpr std::uint32_t kStatusBit = 0x80;

  const std::string& subject;
  std::string_view rest;
};

// Walks through the messages of one track.
class MidiTrackReader {
public:
  MidiTrackReader(const MidiBytes& trackBytes, std::vector<MidiEvent>& found)
      : bytes(trackBytes), list(found) {}

  void read() {
    while (!ended && !bytes.isEmpty()) {
      tick += bytes.variableNumber();
      const int status = bytes.statusFollows() ? static_cast<int>(bytes.number(1)) : channelStatus;
      if (status == kMeta) {
        channelStatus = 0;
        readMeta();
      } else if (status == kSystemExclusive || status == kContinuation) {
        channelStatus = 0;
        bytes.take(bytes.variableNumber());
      } else {
        readChannelMessage(status);
      }
    }
  }

private:
  enum { kController = 0xb0, kProgram = 0xc0, kChannelPressure = 0xd0 }; // kinds: a status's upper four bits
  enum { kSystemExclusive = 0xf0, kContinuation = 0xf7, kMeta = 0xff };

  void readMeta() {
    constexpr std::uint32_t kEndOfTrack = 0x2f, kTempo = 0x51;
    constexpr std::size_t kTempoBytes = 3;
    const std::uint32_t type = bytes.number(1);
    MidiBytes data = bytes.part(bytes.variableNumber());
    if (type == kEndOfTrack) ended = true;
    if (type == kTempo) {
      list.push_back({tick, -1, 1, static_cast<int>(data.number(kTempoBytes))});
    }
  }

  // The messages that belong to no channel and are no system exclusive are for cables, not for files.
  void readChannelMessage(int status) {
    const int kind = status & 0xf0;
    if (kind < 0x80 || kind == 0xf0) bytes.failDamaged();
    channelStatus = status;
    const int first = bytes.dataByte();
    if (kind == kProgram || kind == kChannelPressure) return;
    const int second = bytes.dataByte();
    if (kind == kController) list.push_back({tick, first, (status & 0x0f) + 1, second});
  }

  MidiBytes bytes;
  std::vector<MidiEvent>& list;
  double tick = 0.0;
  int channelStatus = 0; // of the last message, which the next one may leave out; 0 if it was for no channel
  bool ended = false;
};

struct MidiHeader {
  std::uint32_t format;
  std::uint32_t tracks;
  std::uint32_t division;
};

MidiHeader readHeader(MidiBytes& file) {
  file.take(kMarkBytes);
  MidiBytes header = file.part(file.number(4));
  MidiHeader read = {};
  read.format = header.number(2);
  read.tracks = header.number(2);
  read.division = header.number(2);
  return read;
}

// Between the tracks may stand chunks of kinds that only their maker knows.
void readTracks(MidiBytes& file, std::uint32_t tracks, std::vector<MidiEvent>& list) {
  while (tracks > 0) {
    const std::string_view mark = file.take(kMarkBytes);
    const MidiBytes chunk = file.part(file.number(4));
    if (mark != kTrackMark) continue;
    MidiTrackReader(chunk, list).read();
    --tracks;
  }
}

// With its upper bit set, a division holds the negative number of frames in a second and the ticks in each.
void setClock(MidiEvents& events, std::uint32_t division) {
  constexpr std::uint32_t kFramesBit = 0x8000;
  constexpr std::uint32_t kDropFrames = 29; // stands for 30000 frames in 1001 seconds
  if ((division & kFramesBit) == 0) {
    events.ticksPerQuarter = division;
    return;
  }
  const std::uint32_t frames = 256 - (division >> 8);
  const double framesPerSecond = frames == kDropFrames ? 30000.0 / 1001.0 : frames;
  events.ticksPerSecond = framesPerSecond * (division & 0xff);
}

} // namespace

bool isMidi(std::string_view bytes) { return bytes.substr(0, kMarkBytes) == kHeaderMark; }

MidiEvents readMidiEvents(const std::string& subject, std::string_view bytes) {
  constexpr std::uint32_t kIndependentTracks = 2; // the last format there is
  if (!isMidi(bytes)) fail(subject, "not a standard MIDI file");
  MidiBytes file(subject, bytes);
  const MidiHeader header = readHeader(file);
  MidiEvents events = {};
  setClock(events, header.division);
  const bool hasClock = events.ticksPerQuarter > 0.0 || events.ticksPerSecond > 0.0;
  if (header.format > kIndependentTracks || !hasClock) file.failDamaged();
  if (header.format == kIndependentTracks && header.tracks > 1) {
    fail(subject, "a MIDI file of independent tracks (format 2)");
  }
  readTracks(file, header.tracks, events.list);
  std::stable_sort(events.list.begin(), events.list.end(),
                   [](const MidiEvent& left, const MidiEvent& right) { return left.tick < right.tick; });
  return events;
}
