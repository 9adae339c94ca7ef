#include "fuzz/Refusal.h"

#include "fuzz/Check.h"

#include <algorithm>
#include <string_view>

void checkRefusal(const Fault& fault) {
  const std::string_view line = fault.what();
  const auto isControl = [](char character) {
    return static_cast<unsigned char>(character) < 0x20 || character == 0x7F;
  };
  expect(!line.empty() && std::none_of(line.begin(), line.end(), isControl),
         "a refusal is not one line of text");
  expect(fault.status() == ExitStatus::wrongCall || fault.status() == ExitStatus::couldNot,
         "a refusal has the status of a success");
}
