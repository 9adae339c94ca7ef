// Where a sound goes, as its writer sees it.
#pragma once

#include <string>

class Output {
public:
  Output() = default;
  virtual ~Output() = default;
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  // Open for writing, and for reading and seeking unless isStream().
  virtual int descriptor() const = 0;

  // As the user gave it.
  virtual const std::string& name() const = 0;

  // Whether the bytes go out as they are written, never to be changed.
  virtual bool isStream() const { return false; }

  // Something failed while it was written. Throws Fault (couldNot) where the reason is better known here.
  virtual void explainFailure() {}

  // Makes what was written the output. Throws Fault (couldNot).
  virtual void publish() = 0;
};
