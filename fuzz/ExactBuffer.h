// Memory of exactly the size that an interface promises, so that a checker sees every byte beyond it.
#pragma once

#include "fuzz/Check.h"

#include <algorithm>
#include <cstddef>
#include <memory>

// `count` elements at the very end of an allocation, behind a guard that is itself checked.
template <typename Element> class ExactBuffer {
public:
  // offset: bytes in front of the first element, for the sake of its alignment; 64 at most.
  explicit ExactBuffer(std::size_t count, std::size_t offset = 0)
      : guard(offset), length(count), bytes(new unsigned char[offset + count * sizeof(Element)]) {
    std::fill_n(bytes.get(), offset + count * sizeof(Element), kUntouched);
  }
  ~ExactBuffer() {
    const auto isUntouched = [](unsigned char byte) { return byte == kUntouched; };
    expect(std::all_of(bytes.get(), bytes.get() + guard, isUntouched), "written in front of a buffer");
  }
  ExactBuffer(const ExactBuffer&) = delete;
  ExactBuffer& operator=(const ExactBuffer&) = delete;

  Element* data() { return reinterpret_cast<Element*>(bytes.get() + guard); }
  Element& operator[](std::size_t i) { return data()[i]; }
  std::size_t size() const { return length; }

private:
  static constexpr unsigned char kUntouched = 0xA5;

  std::size_t guard, length;
  std::unique_ptr<unsigned char[]> bytes;
};
