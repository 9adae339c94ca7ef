// A file without a place on a disk.
#pragma once

#include "render/file/Output.h"

#include <cstddef>
#include <cstdint>
#include <string>

class MemoryFile final : public Output {
public:
  // Empty. Ends the program when the system has no such files.
  MemoryFile();
  ~MemoryFile() override;

  // Takes the place of what it held.
  void fill(const std::uint8_t* data, std::size_t size);

  int descriptor() const override { return file; }
  // A path that opens it anew.
  const std::string& name() const override { return path; }
  void publish() override {}

private:
  int file;
  std::string path;
};
