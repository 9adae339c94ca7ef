// Memory that ends where reading or writing on is fatal.
#pragma once

#include <cstddef>
#include <string>

// `length` bytes right in front of a page that cannot be touched: a text without its terminator, or a buffer
// without a byte to spare.
class EndlessText {
public:
  explicit EndlessText(const std::string& bytes);
  ~EndlessText();
  EndlessText(const EndlessText&) = delete;
  EndlessText& operator=(const EndlessText&) = delete;

  char* data() const { return begin; }

private:
  std::size_t mapped; // bytes
  char* pages;
  char* begin;
};
