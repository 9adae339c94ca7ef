// A stretch of a file, read by its own position: several can share one open file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

class SoundBytes {
public:
  // Nothing.
  SoundBytes() = default;

  // descriptor: a file that can be read out of order; it stays the caller's and must outlive this. The
  // stretch is the whole file.
  explicit SoundBytes(int descriptor);

  // The same file from `begin` to `end`, as positions of this stretch within 0..size(). Allocates.
  SoundBytes part(std::int64_t begin, std::int64_t end) const;

  // Shows `bytes` at `place` instead of the file's own. Allocates.
  void correct(std::int64_t place, std::string bytes);

  std::int64_t size() const { return length; }
  std::int64_t position() const { return next; }

  // place: any; reading beyond the end answers nothing. Allocates nothing.
  void moveTo(std::int64_t place) { next = place; }

  // Reads on from the position; answers the number of bytes, fewer than `count` only at the end or when the
  // file cannot be read, which error() tells. Throws nothing, for libraries in C call it. Allocates nothing.
  std::size_t read(void* bytes, std::size_t count) noexcept;

  // Up to `count` bytes at `place`, which does not move the position. Allocates.
  std::string at(std::int64_t place, std::size_t count) const;

  // Whether these bytes stand at `place`. Allocates.
  bool holds(std::int64_t place, std::string_view bytes) const;

  // Why reading failed, as errno; 0 while all is well.
  int error() const { return failure; }

private:
  struct Correction {
    std::int64_t place;
    std::string bytes;
  };

  std::size_t readAt(std::int64_t place, char* bytes, std::size_t count) noexcept;

  int file = -1;
  std::int64_t start = 0; // in the file
  std::int64_t length = 0;
  std::int64_t next = 0;
  int failure = 0;
  std::vector<Correction> corrections;
};

// Without the tags that programs put before and behind a sound whatever its type: ID3v2 in front, ID3v1 and
// APE at the end. Allocates.
SoundBytes withoutTags(const SoundBytes& file);

// The length of the ID3v2 tags that a recording of these bytes begins with; may reach beyond the bytes that
// are there. Allocates.
std::int64_t leadingTagBytes(const SoundBytes& file);
