// Room on the disk for what is too long for memory.
#pragma once

#include "render/file/Descriptor.h"

#include <string>

// The directory for temporary files: TMPDIR, else the system's. Allocates.
std::string temporaryDirectory();

// A file without a name: nothing is left of it when it is closed, however the program ends.
class ScratchFile {
public:
  // directory: where the room is taken. Throws Fault (couldNot) when there is none to be had.
  explicit ScratchFile(const std::string& directory);

  // Open for reading and writing, empty at first.
  int descriptor() const { return file.get(); }

  // Hands the descriptor over to the caller.
  int release() { return file.release(); }

  // Writes behind what was written before. Throws Fault (couldNot) when the disk is full or the like.
  void write(const void* bytes, std::size_t count);

  // Goes back to the start, for reading.
  void rewind();

  // Reads on; answers the number of bytes, fewer than `count` only at the end. Throws Fault (couldNot).
  std::size_t read(void* bytes, std::size_t count);

private:
  [[noreturn]] void fail(int error) const;

  std::string place;
  Descriptor file;
};
