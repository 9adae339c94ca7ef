#include "render/sound/Tags.h"

#include "render/file/Descriptor.h"
#include "render/sound/DescriptorStream.h"
#include "render/sound/OpeningLock.h"
#include "render/text/Text.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <string_view>
#include <sys/stat.h>
#include <taglib/aifffile.h>
#include <taglib/fileref.h>
#include <taglib/flacfile.h>
#include <taglib/mpegfile.h>
#include <taglib/opusfile.h>
#include <taglib/tpropertymap.h>
#include <taglib/vorbisfile.h>
#include <taglib/wavfile.h>
#include <taglib/xiphcomment.h>
#include <unistd.h>
#include <utility>

namespace {

using SoundFile = std::unique_ptr<SNDFILE, decltype(&sf_close)>;

constexpr char kCommentKey[] = "COMMENT";
// libsndfile skips all texts of a WAV file in which one is longer, and reads no AIFF file with a much longer
// one.
constexpr std::size_t kLongestText = 2000; // bytes

constexpr std::pair<int, std::string_view> kStrings[] = {
    {SF_STR_TITLE, "TITLE"},     {SF_STR_ARTIST, "ARTIST"},   {SF_STR_ALBUM, "ALBUM"},
    {SF_STR_DATE, "DATE"},       {SF_STR_GENRE, "GENRE"},     {SF_STR_TRACKNUMBER, "TRACKNUMBER"},
    {SF_STR_COMMENT, "COMMENT"}, {SF_STR_LICENSE, "LICENSE"}, {SF_STR_COPYRIGHT, "COPYRIGHT"}};

bool isRiff(int container) {
  return container == SF_FORMAT_WAV || container == SF_FORMAT_WAVEX || container == SF_FORMAT_RF64;
}

bool isOneOf(std::string_view id, std::initializer_list<std::string_view> list) {
  return std::find(list.begin(), list.end(), id) != list.end();
}

bool startsWithOneOf(std::string_view key, std::initializer_list<std::string_view> list) {
  return std::any_of(list.begin(), list.end(),
                     [&](std::string_view start) { return key.starts_with(start); });
}

// What is true of the recording's file, but not of the output.
bool isOfTheFile(std::string_view key) {
  return startsWithOneOf(key, {"ENCODE", "ENCODING", "SOFTWARE", "LENGTH", "REPLAYGAIN_", "R128_",
                               "COMMENT:ITUN", "METADATA_BLOCK_PICTURE"});
}

// What libsndfile writes anew, or texts that are read apart.
bool isWrittenAnew(const SoundChunk& chunk) {
  if (chunk.id == "LIST") return std::string_view(chunk.bytes.data(), chunk.bytes.size()).starts_with("INFO");
  return isOneOf(chunk.id, {"RIFF", "RIFX", "RF64", "ds64", "WAVE", "fmt ", "fact", "data", "PEAK", "JUNK",
                            "junk", "PAD ", "FLLR", "id3 ", "ID3 ", "FORM", "COMM", "SSND", "FVER", "NAME",
                            "AUTH", "ANNO", "(c) ", "APPL", "CHAN", "caff", "desc", "info", "chan", "free"});
}

std::uint32_t numberAt(const std::vector<char>& bytes, std::size_t offset) {
  std::uint32_t number = 0;
  for (int i = 3; i >= 0; --i)
    number = number << 8 | static_cast<unsigned char>(bytes[offset + i]);
  return number;
}

// Whether the chunks in a list fill it; readers go astray in others.
bool isWholeList(const std::vector<char>& bytes) {
  std::size_t at = 4;
  while (at + 8 <= bytes.size())
    at += 8 + (std::size_t{numberAt(bytes, at + 4)} + 1) / 2 * 2;
  return at == bytes.size();
}

// Whether a chunk is as long as it says; some readers go astray otherwise.
bool isWhole(const SoundChunk& chunk) {
  const auto& bytes = chunk.bytes;
  const auto holdsEntries = [&](std::size_t countOffset, std::size_t firstEntry) {
    constexpr std::size_t kEntryBytes = 24;
    return bytes.size() >= firstEntry &&
           (bytes.size() - firstEntry) / kEntryBytes >= numberAt(bytes, countOffset);
  };
  constexpr std::size_t kShortestBext = 602;
  if (chunk.id == "LIST") return isWholeList(bytes);
  if (chunk.id == "cue ") return holdsEntries(0, 4);
  if (chunk.id == "smpl") return holdsEntries(28, 36);
  return chunk.id != "bext" || bytes.size() >= kShortestBext;
}

bool canBeCarried(const SoundChunk& chunk, int container) {
  constexpr std::size_t kMostBytes = 65536;
  if (chunk.bytes.size() > kMostBytes) return false;
  if (container == SF_FORMAT_AIFF) return isOneOf(chunk.id, {"MARK", "INST", "COMT"});
  return isRiff(container) && isWhole(chunk) &&
         isOneOf(chunk.id, {"bext", "cue ", "LIST", "smpl", "inst", "acid", "iXML", "axml", "cart", "plst"});
}

std::string shownId(std::string_view id) {
  std::string shown(trimmed(id));
  std::replace_if(
      shown.begin(), shown.end(), [](unsigned char character) { return !std::isprint(character); }, '?');
  return shown;
}

// Texts in a WAV or AIFF file do not tell their character set.
std::string utf8(const std::string& text) {
  const TagLib::String read(text, TagLib::String::UTF8);
  if (read.to8Bit(true) == text) return text;
  return TagLib::String(text, TagLib::String::Latin1).to8Bit(true);
}

void addText(Tags& tags, const std::string& key, std::vector<std::string> values) {
  values.erase(std::remove(values.begin(), values.end(), ""), values.end());
  if (values.empty()) return;
  if (isOfTheFile(key)) {
    tags.unread.push_back(lowerCase(key));
    return;
  }
  tags.texts.emplace(key, std::move(values));
}

// The bytes of a chunk but for those of the sound itself.
SoundChunk chunkAt(const SF_CHUNK_ITERATOR* iterator) {
  SF_CHUNK_INFO info = {};
  if (sf_get_chunk_size(iterator, &info) != SF_ERR_NO_ERROR) return {};
  constexpr unsigned kMostBytes = 1 << 20;
  std::vector<char> bytes(std::min(info.datalen, kMostBytes));
  info.datalen = static_cast<unsigned>(bytes.size());
  info.data = bytes.data();
  if (sf_get_chunk_data(iterator, &info) != SF_ERR_NO_ERROR) return {};
  return {std::string(info.id, std::min<std::size_t>(info.id_size, 4)), std::move(bytes)};
}

void readChunks(Tags& tags, SNDFILE* file) {
  for (SF_CHUNK_ITERATOR* each = sf_get_chunk_iterator(file, nullptr); each;
       each = sf_next_chunk_iterator(each)) {
    SoundChunk chunk = chunkAt(each);
    if (chunk.id.empty() || isWrittenAnew(chunk)) continue;
    if (canBeCarried(chunk, tags.container))
      tags.chunks.push_back(std::move(chunk));
    else
      tags.unread.push_back(shownId(chunk.id));
  }
}

// Numbers in the chunks of a RIFX file stand the other way round.
bool hasLibrarysTags(const std::string& start) { return isOneOf(start, {"RIFF", "RF64", "FORM", "caff"}); }

void readByLibrary(Tags& tags, int descriptor) {
  SF_INFO info = {};
  const auto hold = holdOpenings();
  const SoundFile file(sf_open_fd(descriptor, SFM_READ, &info, SF_FALSE), sf_close);
  if (!file) return;
  tags.container = info.format & SF_FORMAT_TYPEMASK;
  for (const auto& [number, key] : kStrings) {
    if (const char* const text = sf_get_string(file.get(), number))
      addText(tags, std::string(key), {utf8(text)});
  }
  readChunks(tags, file.get());
}

void readByTagLib(Tags& tags, int descriptor) {
  DescriptorStream stream(descriptor, false);
  const TagLib::FileRef reference(&stream, false);
  if (reference.isNull()) return;
  const TagLib::PropertyMap properties = reference.file()->properties();
  for (const auto& [key, values] : properties) {
    std::vector<std::string> list;
    for (const TagLib::String& value : values)
      list.push_back(value.to8Bit(true));
    addText(tags, upperCase(key.to8Bit(true)), std::move(list));
  }
  for (const TagLib::String& name : properties.unsupportedData())
    tags.unread.push_back(lowerCase(name.to8Bit(true)));
  auto* const flac = dynamic_cast<TagLib::FLAC::File*>(reference.file());
  auto* const xiph = dynamic_cast<TagLib::Ogg::XiphComment*>(reference.tag());
  if ((flac && !flac->pictureList().isEmpty()) || (xiph && !xiph->pictureList().isEmpty()))
    tags.unread.emplace_back("picture");
}

// Some programs put a Vorbis comment there.
void useDescriptionAsComment(Tags& tags) {
  if (tags.texts.contains(kCommentKey)) return;
  auto description = tags.texts.extract("DESCRIPTION");
  if (description.empty()) return;
  description.key() = kCommentKey;
  tags.texts.insert(std::move(description));
}

// A table in a chunk: as many entries of 24 bytes as a number tells.
struct PositionTable {
  std::size_t countOffset, firstEntry, positionInEntry;
};

// Takes out the entries whose last frame is behind the sound's end. Result: how many.
int dropBehind(std::vector<char>& bytes, const PositionTable& table, std::int64_t lastPosition) {
  constexpr std::size_t kEntryBytes = 24;
  if (bytes.size() < table.firstEntry) return 0;
  std::uint32_t count = numberAt(bytes, table.countOffset);
  int dropped = 0;
  std::size_t at = table.firstEntry;
  for (std::uint32_t left = count; left > 0 && at + kEntryBytes <= bytes.size(); --left) {
    if (numberAt(bytes, at + table.positionInEntry) <= lastPosition) {
      at += kEntryBytes;
      continue;
    }
    bytes.erase(bytes.begin() + static_cast<std::ptrdiff_t>(at),
                bytes.begin() + static_cast<std::ptrdiff_t>(at + kEntryBytes));
    ++dropped;
  }
  count -= static_cast<std::uint32_t>(dropped);
  for (int i = 0; i < 4; ++i)
    bytes[table.countOffset + i] = static_cast<char>(count >> 8 * i);
  return dropped;
}

// A cue point may mark the end itself, a loop's last frame must be there.
int dropBehind(SoundChunk& chunk, std::int64_t frames) {
  if (chunk.id == "cue ") return dropBehind(chunk.bytes, {0, 4, 20}, frames);
  if (chunk.id == "smpl") return dropBehind(chunk.bytes, {28, 36, 12}, frames - 1);
  return 0;
}

// libsndfile fills chunks up to a multiple of four bytes, with zeros that are no part of a list or of XML.
void fillUp(SoundChunk& chunk) {
  constexpr std::string_view kEmptyPart("PAD \2\0\0\0\0\0", 10);
  if (chunk.bytes.size() % 4 == 0) return;
  if (chunk.id == "LIST") chunk.bytes.insert(chunk.bytes.end(), kEmptyPart.begin(), kEmptyPart.end());
  const bool isXml = chunk.id == "iXML" || chunk.id == "axml";
  chunk.bytes.resize((chunk.bytes.size() + 3) / 4 * 4, isXml ? ' ' : '\0');
}

TagLib::PropertyMap propertiesOf(const Tags& tags) {
  TagLib::PropertyMap map;
  for (const auto& [key, values] : tags.texts) {
    TagLib::StringList list;
    for (const std::string& value : values)
      list.append(TagLib::String(value, TagLib::String::UTF8));
    map.insert(TagLib::String(key, TagLib::String::UTF8), list);
  }
  return map;
}

// As TagLib knows it; null when it does not, or when a WAV or AIFF file has no room left in its 32-bit sizes.
std::unique_ptr<TagLib::File> taggedFile(TagLib::IOStream& stream, int container, int codec) {
  constexpr long kMostBytesOfRiff = 0xffffffff - 0x10000;
  const bool hasRoom = stream.length() < kMostBytesOfRiff;
  switch (container) {
  case SF_FORMAT_FLAC:
    return std::make_unique<TagLib::FLAC::File>(&stream, TagLib::ID3v2::FrameFactory::instance(), false);
  case SF_FORMAT_MPEG:
    return std::make_unique<TagLib::MPEG::File>(&stream, TagLib::ID3v2::FrameFactory::instance(), false);
  case SF_FORMAT_OGG:
    if (codec == SF_FORMAT_OPUS) return std::make_unique<TagLib::Ogg::Opus::File>(&stream, false);
    return std::make_unique<TagLib::Ogg::Vorbis::File>(&stream, false);
  case SF_FORMAT_WAV:
  case SF_FORMAT_WAVEX:
    return hasRoom ? std::make_unique<TagLib::RIFF::WAV::File>(&stream, false) : nullptr;
  case SF_FORMAT_AIFF:
    return hasRoom ? std::make_unique<TagLib::RIFF::AIFF::File>(&stream, false) : nullptr;
  default:
    return nullptr;
  }
}

// Result: the keys that the file does not hold.
std::vector<TagLib::String> setProperties(TagLib::File& file, const TagLib::PropertyMap& properties) {
  const TagLib::PropertyMap refused = file.setProperties(properties);
  std::vector<TagLib::String> keys;
  for (const auto& [key, values] : refused)
    keys.push_back(key);
  return keys;
}

// In files of chunks and in MP3 files the texts stand in one ID3v2 tag.
bool save(TagLib::File& file) {
  using namespace TagLib;
  if (auto* const mpeg = dynamic_cast<MPEG::File*>(&file))
    return mpeg->save(MPEG::File::ID3v2, File::StripNone, ID3v2::v4, File::DoNotDuplicate);
  if (auto* const wav = dynamic_cast<RIFF::WAV::File*>(&file))
    return wav->save(RIFF::WAV::File::ID3v2, File::StripNone, ID3v2::v4);
  return file.save();
}

// The library's number of a text that it writes into such a file; 0 when it does not.
int stringNumber(std::string_view key, int container) {
  const bool isShort = container == SF_FORMAT_AIFF;
  if (!isRiff(container) && !isShort && container != SF_FORMAT_CAF) return 0;
  if (isShort && !isOneOf(key, {"TITLE", "ARTIST", "COPYRIGHT", "COMMENT"})) return 0;
  if (isRiff(container) && key == "LICENSE") return 0;
  for (const auto& [number, name] : kStrings)
    if (name == key) return number;
  return 0;
}

std::string joined(const std::vector<std::string>& values) {
  std::string text;
  for (const std::string& value : values)
    text += (text.empty() ? "" : "; ") + value;
  return text;
}

} // namespace

std::string Tags::comment() const {
  const auto found = texts.find(kCommentKey);
  if (found == texts.end()) return "";
  std::string all;
  for (const std::string& text : found->second)
    all += (all.empty() ? "" : "\n") + text;
  return all;
}

void Tags::dropChunks() {
  for (const SoundChunk& chunk : chunks)
    unread.push_back(shownId(chunk.id));
  chunks.clear();
}

Tags readTags(const std::string& path) {
  Tags tags;
  const Descriptor file(open(path == "-" ? "/dev/stdin" : path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status = {};
  if (!file.isOpen() || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
    tags.unread.emplace_back("whatever tags come through a pipe");
    return tags;
  }
  std::string start(4, '\0');
  if (pread(file.get(), start.data(), start.size(), 0) != static_cast<ssize_t>(start.size())) return tags;
  if (hasLibrarysTags(start)) readByLibrary(tags, file.get());
  readByTagLib(tags, file.get());
  useDescriptionAsComment(tags);
  return tags;
}

bool holdsComment(int format) {
  const int container = format & SF_FORMAT_TYPEMASK;
  return container != SF_FORMAT_AU && container != SF_FORMAT_W64;
}

TagWriter::TagWriter(const Tags& carried, const std::string& note, int format, std::int64_t frames)
    : tags(carried), container(format & SF_FORMAT_TYPEMASK), codec(format & SF_FORMAT_SUBMASK),
      length(frames), missing(carried.unread) {
  addNote(note);
}

void TagWriter::addNote(const std::string& note) {
  if (note.empty()) return;
  const std::string own = tags.comment();
  tags.texts[kCommentKey] = {own + (own.empty() ? "" : "\n") + note};
}

void TagWriter::begin(SNDFILE* file) {
  setTexts(file);
  setChunks(file);
}

void TagWriter::setTexts(SNDFILE* file) {
  for (const auto& [key, values] : tags.texts) {
    const std::string text = key == kCommentKey ? tags.comment() : joined(values);
    const int number = stringNumber(key, container);
    const bool isHeld = number != 0 && text.size() <= kLongestText &&
                        sf_set_string(file, number, text.c_str()) == SF_ERR_NO_ERROR;
    if (!isHeld) left.push_back(lowerCase(key));
  }
}

void TagWriter::setChunks(SNDFILE* file) {
  const bool isSameKind = container == tags.container || (isRiff(container) && isRiff(tags.container));
  for (SoundChunk& chunk : tags.chunks) {
    const int dropped = length < 0 || !isRiff(container) ? 0 : dropBehind(chunk, length);
    if (dropped > 0) {
      missing.push_back((chunk.id == "smpl" ? counted(dropped, "loop", "loops")
                                            : counted(dropped, "cue point", "cue points")) +
                        " behind the end");
    }
    fillUp(chunk);
    SF_CHUNK_INFO info = {};
    std::memcpy(info.id, chunk.id.data(), std::min(chunk.id.size(), sizeof info.id - 1));
    info.id_size = static_cast<unsigned>(chunk.id.size());
    info.datalen = static_cast<unsigned>(chunk.bytes.size());
    info.data = chunk.bytes.data();
    if (!isSameKind || sf_set_chunk(file, &info) != SF_ERR_NO_ERROR) missing.push_back(shownId(chunk.id));
  }
}

// Where libsndfile holds everything there is no need to touch the file again.
int TagWriter::finish(int descriptor) {
  if (left.empty()) return 0;
  DescriptorStream stream(descriptor, true);
  const auto file = taggedFile(stream, container, codec);
  if (!file || !file->isValid()) {
    missing.insert(missing.end(), left.begin(), left.end());
    return stream.error();
  }
  for (const TagLib::String& key : setProperties(*file, propertiesOf(tags)))
    missing.push_back(lowerCase(key.to8Bit(true)));
  return save(*file) || stream.error() != 0 ? stream.error() : EIO;
}
