// Files for tests.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

// Every byte of a file. Throws std::runtime_error with its name when it cannot be opened.
inline std::string contentsOf(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  if (!stream) throw std::runtime_error("cannot open " + file.string());
  return {std::istreambuf_iterator<char>(stream), {}};
}
