// A file that appears under its name only when it is whole.
#pragma once

#include "render/file/Descriptor.h"
#include "render/file/Interruption.h"
#include "render/file/Output.h"

#include <functional>
#include <string>

// Asked before a file that stands at a path is replaced; throws the Fault that says why it must stay.
using ReplacingRule = std::function<void(const std::string& path)>;

// The rule of --no-clobber: every file stays. Throws Fault (couldNot).
void refuseToReplace(const std::string& path);

// Writes go to a file without a name on the output's own file system, which takes the output's place in one
// step. Until then an existing output stays as it is. However the program ends, SIGKILL included, nothing of
// an unfinished output is left, but for one system call's time: a file that replaces another has a hidden
// name (.treadshift-render-...) between getting it and taking the other's place. Where the file system has no
// files without names, the output has a hidden name until it is whole; that is removed when the object goes
// away unfinished and when a signal ends the program that can be caught.
class OutputFile final : public Output, private Unfinished {
public:
  // name: where the file shall appear; links are followed, wherever they lead. rule: asked about a file that
  // is there, now and once more if there is one when the output is whole; none: any is replaced. Throws Fault
  // (couldNot) when the place cannot take a file: not a regular file, write-protected, or its directory
  // missing or not writable; and what the rule throws. Allocates.
  explicit OutputFile(const std::string& name, ReplacingRule rule = {});

  // Leaves nothing behind unless publish() has come.
  ~OutputFile() override;

  // Open for reading and writing, empty at first.
  int descriptor() const override { return file.get(); }
  const std::string& name() const override { return path; }

  // Brings everything to the disk and gives the file its name. Throws Fault (couldNot).
  void publish() override;

private:
  [[noreturn]] void fail(const std::string& wrong, const std::string& right) const;
  [[noreturn]] void failUnwritten() const;
  void create();
  bool takeFreeName();
  bool takeNamedFilesPlace();
  bool nameHidden();
  void finishNamed();
  void abandon() noexcept override;

  std::string path;       // as the user gave it
  std::string target;     // what `path` leads to
  std::string hiddenPath; // empty: the file has no name
  ReplacingRule rule;
  unsigned mode = 0; // permissions of the finished file
  Descriptor file;
};

// Whether two paths lead to one and the same file. False when one of them does not exist.
bool isSameFile(const std::string& first, const std::string& second);

// The directory in which the file of that path is or would be.
std::string directoryOf(const std::string& path);
