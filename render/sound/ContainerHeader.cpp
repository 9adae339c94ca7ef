#include "render/sound/ContainerHeader.h"

#include <algorithm>
#include <optional>

namespace {

enum class Order { little, big };

std::uint64_t numberAt(const SoundBytes& bytes, std::int64_t place, int count, Order order) {
  const std::string digits = bytes.at(place, static_cast<std::size_t>(count));
  std::uint64_t number = 0;
  for (std::size_t i = 0; i < digits.size(); ++i)
    number = number << 8 |
             static_cast<unsigned char>(order == Order::big ? digits[i] : digits[digits.size() - 1 - i]);
  return number;
}

std::string eightBytes(std::uint64_t number, Order order) {
  std::string bytes;
  for (int shift = 0; shift < 64; shift += 8)
    bytes += static_cast<char>(number >> shift);
  if (order == Order::big) std::reverse(bytes.begin(), bytes.end());
  return bytes;
}

// Programs that write into a pipe put 0 or about the largest number in the place of a 32-bit length that they
// do not know: with a sign or without, for AIFF a round one.
bool isUnknown(std::uint64_t size) {
  return size == 0 || (size >= 0x7f000000 && size < 0x7f000100) ||
         (size >= 0x7fff0000 && size <= 0x80000000) || size >= 0xffff0000;
}

bool isUnknown64(std::uint64_t size) { return size >= std::uint64_t{1} << 62; }

// Nobody needs as many, and some files end in zeros without end.
constexpr int kMostChunks = 10000;

// How the chunks of a kind of file are laid out.
struct Layout {
  Order order;
  int markBytes; // of a chunk's name
  int sizeBytes;
  int evenTo;         // where the next chunk begins
  bool countsItself;  // whether a chunk's size has its head in it
  std::int64_t begin; // of the first chunk
  std::string sound;  // the chunk of the samples
};

struct Chunk {
  std::string mark;
  std::int64_t begin; // behind its head
  std::uint64_t size; // without its head
};

constexpr std::string_view kW64Tail("\xf3\xac\xd3\x11\x8c\xd1\0\xc0\x4f\x8e\xdb\x8a", 12);

std::optional<Layout> layoutOf(const SoundBytes& bytes) {
  const std::string start = bytes.at(0, 40);
  const auto isForm = [&](std::string_view form, std::string_view type) {
    return start.starts_with(form) && start.substr(std::min<std::size_t>(8, start.size())).starts_with(type);
  };
  for (const char* form : {"RIFF", "RF64", "BW64"})
    if (isForm(form, "WAVE")) return Layout{Order::little, 4, 4, 2, false, 12, "data"};
  if (isForm("RIFX", "WAVE")) return Layout{Order::big, 4, 4, 2, false, 12, "data"};
  for (const char* type : {"AIFF", "AIFC"})
    if (isForm("FORM", type)) return Layout{Order::big, 4, 4, 2, false, 12, "SSND"};
  for (const char* type : {"8SVX", "16SV"})
    if (isForm("FORM", type)) return Layout{Order::big, 4, 4, 2, false, 12, "BODY"};
  if (start.starts_with("caff")) return Layout{Order::big, 4, 8, 1, false, 8, "data"};
  if (start.starts_with("riff\x2e\x91\xcf\x11"))
    return Layout{Order::little, 16, 8, 8, true, 40, "data" + std::string(kW64Tail)};
  return {};
}

std::optional<Chunk> chunkAt(const SoundBytes& bytes, const Layout& layout, std::int64_t place) {
  const std::int64_t headBytes = layout.markBytes + layout.sizeBytes;
  if (place < 0 || place + headBytes > bytes.size()) return {};
  Chunk chunk = {bytes.at(place, static_cast<std::size_t>(layout.markBytes)), place + headBytes,
                 numberAt(bytes, place + layout.markBytes, layout.sizeBytes, layout.order)};
  if (!layout.countsItself) return chunk;
  const auto head = static_cast<std::uint64_t>(headBytes);
  chunk.size = chunk.size >= head ? chunk.size - head : 0;
  return chunk;
}

// Behind a chunk; beyond the end of the file when its size is no size.
std::int64_t behind(const SoundBytes& bytes, const Layout& layout, const Chunk& chunk) {
  const auto room = static_cast<std::uint64_t>(bytes.size() - chunk.begin);
  if (chunk.size > room) return bytes.size() + 1;
  const std::int64_t end = chunk.begin + static_cast<std::int64_t>(chunk.size);
  return (end + layout.evenTo - 1) / layout.evenTo * layout.evenTo;
}

// W64 and big-endian WAV: the samples' kind stands at the end of a long description, where libsndfile looks
// only in little-endian WAV. A short description with the same number says the same.
void shortenDescription(SoundBytes& bytes, const Chunk& format, Order order) {
  constexpr std::uint64_t kExtensible = 0xfffe;
  constexpr std::int64_t kKindPlace = 24; // in the chunk
  constexpr std::uint64_t kLongBytes = 40;
  if (format.size < kLongBytes || numberAt(bytes, format.begin, 2, order) != kExtensible) return;
  bytes.correct(format.begin, bytes.at(format.begin + kKindPlace, 2));
}

class Walk {
public:
  Walk(SoundBytes& recording, const Layout& form) : bytes(recording), layout(form) {}

  ContainerHeader header() {
    std::int64_t place = layout.begin;
    for (int i = 0; i < kMostChunks; ++i) {
      const auto chunk = chunkAt(bytes, layout, place);
      if (!chunk) break;
      if (chunk->mark == layout.sound) {
        takeSound(*chunk);
        break;
      }
      takeOther(*chunk);
      place = behind(bytes, layout, *chunk);
    }
    return result;
  }

private:
  void takeOther(const Chunk& chunk) {
    if (chunk.mark == "ds64") longSizes = chunk.begin;
    const bool isBigWav = layout.order == Order::big && chunk.mark == "fmt ";
    if (isBigWav || chunk.mark == "fmt " + std::string(kW64Tail))
      shortenDescription(bytes, chunk, layout.order);
  }

  void takeSound(const Chunk& chunk) {
    result.soundBegin = chunk.begin;
    Chunk sound = chunk;
    const bool hasLongSize = longSizes > 0 && chunk.size == 0xffffffff;
    if (hasLongSize) sound.size = numberAt(bytes, longSizes + 8, 8, Order::little);
    const bool isLong = hasLongSize || layout.sizeBytes == 8;
    const bool isEmpty = sound.size == 0 && layout.order == Order::little;
    if (isEmpty || (isLong ? isUnknown64(sound.size) : isUnknown(sound.size)))
      return tellLength(sound, hasLongSize);
    result.soundBytes = static_cast<std::int64_t>(sound.size);
    result.end = endBehind(behind(bytes, layout, sound));
  }

  // libsndfile wants to know what the program that wrote the file did not.
  void tellLength(const Chunk& sound, bool hasLongSize) {
    const auto length = static_cast<std::uint64_t>(bytes.size() - sound.begin);
    const bool isCaf = layout.sizeBytes == 8 && !layout.countsItself;
    if (isCaf) bytes.correct(sound.begin - 8, eightBytes(length, Order::big));
    if (!hasLongSize) return;
    bytes.correct(longSizes, eightBytes(static_cast<std::uint64_t>(bytes.size() - 8), Order::little));
    bytes.correct(longSizes + 8, eightBytes(length, Order::little));
  }

  // Of the chunks that follow one another up to there.
  std::int64_t endBehind(std::int64_t place) const {
    for (int i = 0; i < kMostChunks; ++i) {
      const auto chunk = chunkAt(bytes, layout, place);
      if (!chunk || layoutOf(bytes.part(place, bytes.size()))) break;
      place = behind(bytes, layout, *chunk);
    }
    return place;
  }

  SoundBytes& bytes;
  Layout layout;
  std::int64_t longSizes = 0; // where the 64-bit sizes of RF64 stand
  ContainerHeader result;
};

// AU has no chunks: place and length of the sound stand in its first bytes.
ContainerHeader auHeader(const SoundBytes& bytes, Order order) {
  ContainerHeader header;
  header.soundBegin = static_cast<std::int64_t>(numberAt(bytes, 4, 4, order));
  const std::uint64_t size = numberAt(bytes, 8, 4, order);
  if (isUnknown(size)) return header;
  header.soundBytes = static_cast<std::int64_t>(size);
  header.end = header.soundBegin + header.soundBytes;
  return header;
}

} // namespace

ContainerHeader readContainerHeader(SoundBytes& bytes) {
  if (bytes.holds(0, ".snd")) return auHeader(bytes, Order::big);
  if (bytes.holds(0, "dns.")) return auHeader(bytes, Order::little);
  if (const auto layout = layoutOf(bytes)) return Walk(bytes, *layout).header();
  return {};
}
