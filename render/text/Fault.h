// What went wrong, as the one line that a user reads, with the program's exit status.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>

enum class ExitStatus { done = 0, couldNot = 1, wrongCall = 2 };

class Fault : public std::runtime_error {
public:
  // The line reads "<subject> '<value>': <wrong>; <right>".
  // subject: "input", "output" or an option's name; value: what the user gave, if anything; wrong: what is
  // the matter; right: what would work instead, left out when empty. Control characters become '?', so that
  // the line stays one line, and a value of more than 1000 bytes is cut. Allocates.
  Fault(ExitStatus status, const std::string& subject, const std::optional<std::string>& value,
        const std::string& wrong, const std::string& right = "");

  ExitStatus status() const { return exitStatus; }

private:
  ExitStatus exitStatus;
};

// "<subject> '<value>': <text>" with control characters made visible and long values cut; for faults and
// notices alike.
std::string messageLine(const std::string& subject, const std::optional<std::string>& value,
                        const std::string& text);
