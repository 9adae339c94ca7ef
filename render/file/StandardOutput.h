// The standard output as the place of a sound.
#pragma once

#include "render/file/Output.h"
#include "render/file/ScratchFile.h"

#include <optional>

// A type whose header must be corrected at the end is kept in a file without a name first, and sent when it
// is whole; the others go out while they are rendered.
class StandardOutput final : public Output {
public:
  // streams: whether the bytes can go out as they are written. Throws Fault: wrongCall when the standard
  // output is a terminal, couldNot when there is no room for the file.
  explicit StandardOutput(bool streams);

  int descriptor() const override;
  const std::string& name() const override { return shownName; }
  bool isStream() const override { return !whole.has_value(); }

  // Sends the whole file, if it was kept. Throws Fault (couldNot) when the reader does not take it.
  void publish() override;

private:
  std::string shownName = "-";
  std::optional<ScratchFile> whole;
};
