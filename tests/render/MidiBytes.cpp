#include "MidiBytes.h"

namespace {

std::string bigEndian(std::size_t number, int bytes) {
  std::string text;
  for (int i = bytes - 1; i >= 0; --i)
    text += static_cast<char>(number >> 8 * i & 0xff);
  return text;
}

// Groups of seven bits, the upper bit set in all but the last.
std::string variableLength(int number) {
  std::string text(1, static_cast<char>(number & 0x7f));
  while ((number >>= 7) != 0)
    text.insert(text.begin(), static_cast<char>((number & 0x7f) | 0x80));
  return text;
}

} // namespace

std::string midiChunk(const std::string& mark, const std::string& bytes) {
  return mark + bigEndian(bytes.size(), 4) + bytes;
}

std::string midiFile(int format, int division, const std::vector<std::string>& tracks) {
  std::string file =
      midiChunk("MThd", bigEndian(static_cast<std::size_t>(format), 2) + bigEndian(tracks.size(), 2) +
                            bigEndian(static_cast<std::size_t>(division), 2));
  for (const std::string& track : tracks)
    file += track;
  return file;
}

std::string midiTrack(const std::vector<std::string>& messages) {
  std::string bytes;
  for (const std::string& each : messages)
    bytes += each;
  return midiChunk("MTrk", bytes + message(0, std::string("\xff\x2f\x00", 3)));
}

std::string message(int ticks, const std::string& bytes) { return variableLength(ticks) + bytes; }

std::string controller(int ticks, int number, int value, int channel) {
  return message(
      ticks, {static_cast<char>(0xb0 + channel - 1), static_cast<char>(number), static_cast<char>(value)});
}

std::string tempo(int ticks, int microsecondsPerQuarter) {
  return message(ticks, "\xff\x51\x03" + bigEndian(static_cast<std::size_t>(microsecondsPerQuarter), 3));
}
