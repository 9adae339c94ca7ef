// What a recording carries beside its sound: title, artist, comment, cue points, time reference and the like.
#pragma once

#include <cstdint>
#include <map>
#include <sndfile.h>
#include <string>
#include <vector>

// A part of a WAV, RF64 or AIFF file as it stands there.
struct SoundChunk {
  std::string id; // four characters
  std::vector<char> bytes;
};

struct Tags {
  std::map<std::string, std::vector<std::string>> texts; // by keys such as TITLE or TRACKNUMBER, in UTF-8
  std::vector<SoundChunk> chunks;                        // cue points, loops, bext and so on
  int container = 0;               // SF_FORMAT_ constant of the file the chunks are from
  std::vector<std::string> unread; // names of what is there and was not taken over

  // The texts of COMMENT, a line each; empty when there is none.
  std::string comment() const;

  // Lets the chunks go, and names them among the unread. Allocates.
  void dropChunks();
};

// Reads the tags of a sound file; "-" is the standard input. What tells of the file and its encoder, or of
// its loudness, is not taken over: the output has its own. From a pipe, whose bytes come once, and from a
// file of no known kind nothing is read. Any thread. Never throws a Fault: a recording is not refused for its
// tags. Allocates.
Tags readTags(const std::string& path);

// Whether files of a format hold a comment. format: libsndfile's container and sample format.
bool holdsComment(int format);

// Puts tags into a file that is being written; the file is the same for the same tags.
class TagWriter {
public:
  // carried: what the file shall carry. note: a line of our own for the comment, behind the recording's own;
  // empty: none. format: of the file, as libsndfile's. frames: its length; negative: unknown. Cue points and
  // loops behind the end are dropped. Allocates.
  TagWriter(const Tags& carried, const std::string& note, int format, std::int64_t frames);

  // Before the first sample is written. Allocates.
  void begin(SNDFILE* file);

  // When libsndfile has closed the file. descriptor: open for reading and writing. Result: 0, or why the file
  // could not be written, as errno. Allocates.
  int finish(int descriptor);

  // Names of what the file does not hold: "cue", "albumartist" and so on. Call it after finish().
  const std::vector<std::string>& lost() const { return missing; }

private:
  void addNote(const std::string& note);
  void setTexts(SNDFILE* file);
  void setChunks(SNDFILE* file);

  Tags tags;
  int container;
  int codec;
  std::int64_t length;           // frames, negative when unknown
  std::vector<std::string> left; // keys of texts that begin() could not write
  std::vector<std::string> missing;
};
