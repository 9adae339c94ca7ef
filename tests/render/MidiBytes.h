// Standard MIDI files put together byte by byte.
#pragma once

#include <string>
#include <vector>

// A file of that format (0, 1 or 2) and division: ticks per quarter note, or with its upper bit set frames
// per second and ticks per frame.
std::string midiFile(int format, int division, const std::vector<std::string>& tracks);

// A track of messages, with the end that every track has.
std::string midiTrack(const std::vector<std::string>& messages);

// A chunk: its mark of four letters, its length, its bytes.
std::string midiChunk(const std::string& mark, const std::string& bytes);

// Messages; ticks: since the message before in the same track.
std::string controller(int ticks, int number, int value, int channel = 1);
std::string tempo(int ticks, int microsecondsPerQuarter);
std::string message(int ticks, const std::string& bytes);
