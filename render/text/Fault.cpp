#include "render/text/Fault.h"

#include <algorithm>

namespace {

bool isControl(char character) {
  const auto code = static_cast<unsigned char>(character);
  return code < 0x20 || code == 0x7f;
}

// A value of more than this many bytes is no value that a reader needs to see whole.
constexpr std::size_t kMostBytes = 1000;

// Ends with "..." where something was left out; never inside a character of UTF-8.
std::string shortened(const std::string& value) {
  if (value.size() <= kMostBytes) return value;
  std::size_t end = kMostBytes;
  while (end > 0 && (static_cast<unsigned char>(value[end]) & 0xC0) == 0x80)
    --end;
  return value.substr(0, end) + "...";
}

std::string joined(const std::string& wrong, const std::string& right) {
  return right.empty() ? wrong : wrong + "; " + right;
}

} // namespace

std::string messageLine(const std::string& subject, const std::optional<std::string>& value,
                        const std::string& text) {
  std::string line = subject + (value ? " '" + shortened(*value) + "'" : "") + ": " + text;
  std::replace_if(line.begin(), line.end(), isControl, '?');
  return line;
}

Fault::Fault(ExitStatus status, const std::string& subject, const std::optional<std::string>& value,
             const std::string& wrong, const std::string& right)
    : std::runtime_error(messageLine(subject, value, joined(wrong, right))), exitStatus(status) {}
