#include "render/Fault.h"

#include <algorithm>

namespace {

bool isControl(char character) {
  const auto code = static_cast<unsigned char>(character);
  return code < 0x20 || code == 0x7f;
}

std::string joined(const std::string& wrong, const std::string& right) {
  return right.empty() ? wrong : wrong + "; " + right;
}

} // namespace

std::string messageLine(const std::string& subject, const std::optional<std::string>& value,
                        const std::string& text) {
  std::string line = subject + (value ? " '" + *value + "'" : "") + ": " + text;
  std::replace_if(line.begin(), line.end(), isControl, '?');
  return line;
}

Fault::Fault(ExitStatus status, const std::string& subject, const std::optional<std::string>& value,
             const std::string& wrong, const std::string& right)
    : std::runtime_error(messageLine(subject, value, joined(wrong, right))), exitStatus(status) {}
