// An open file as TagLib sees it. Unlike TagLib's own stream it remembers that a write failed.
#pragma once

#include <sys/types.h>
#include <taglib/tiostream.h>

class DescriptorStream final : public TagLib::IOStream {
public:
  // descriptor: open for reading, and for writing if the file shall be changed; stays the caller's.
  DescriptorStream(int descriptor, bool isWritable) : file(descriptor), writable(isWritable) {}

  // The first thing that went wrong, as errno; 0 while all is well.
  int error() const { return firstError; }

  TagLib::FileName name() const override { return ""; }
  TagLib::ByteVector readBlock(unsigned long length) override;
  void writeBlock(const TagLib::ByteVector& data) override;
  void insert(const TagLib::ByteVector& data, unsigned long start, unsigned long replace) override;
  void removeBlock(unsigned long start, unsigned long length) override;
  bool readOnly() const override { return !writable; }
  bool isOpen() const override { return true; }
  void seek(long offset, Position from) override;
  long tell() const override { return position; }
  long length() override;
  void truncate(long length) override;

private:
  void writeAt(off_t place, const char* bytes, std::size_t count);
  void move(off_t from, off_t to, off_t count);
  void noteError(int error);

  int file;
  bool writable;
  long position = 0;
  int firstError = 0;
};
