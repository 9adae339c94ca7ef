#include "render/sound/OggLinks.h"

#include <map>
#include <new>
#include <ogg/ogg.h>

namespace {

constexpr long kReadBytes = 65536;

class PageWalk {
public:
  explicit PageWalk(const SoundBytes& recording) : bytes(recording) { ogg_sync_init(&sync); }
  ~PageWalk() { ogg_sync_clear(&sync); }
  PageWalk(const PageWalk&) = delete;
  PageWalk& operator=(const PageWalk&) = delete;

  std::vector<OggLink> run() {
    while (nextPage())
      take();
    if (!links.empty()) {
      finishLink();
      if (end < bytes.size()) links.back().isSound = false;
      links.back().end = bytes.size();
    }
    return std::move(links);
  }

private:
  // What a stream of the link did last.
  struct Stream {
    long pageNumber;
    bool hasEnded;
  };

  bool nextPage() {
    for (;;) {
      const long step = ogg_sync_pageseek(&sync, &page);
      if (step > 0) {
        begin = end;
        end += step;
        return true;
      }
      if (step < 0) {
        end -= step;
        isDisturbed = true;
        continue;
      }
      if (!readPart()) return false;
    }
  }

  bool readPart() {
    char* const room = ogg_sync_buffer(&sync, kReadBytes);
    if (!room) throw std::bad_alloc();
    const std::size_t count = bytes.read(room, kReadBytes);
    ogg_sync_wrote(&sync, static_cast<long>(count));
    return count > 0;
  }

  // The streams of a link all begin before the first of them goes on.
  void take() {
    const int serial = ogg_page_serialno(&page);
    const bool begins = ogg_page_bos(&page) != 0;
    if (links.empty() || (begins && hasContent)) beginLink();
    if (!begins) hasContent = true;
    const auto known = streams.find(serial);
    const bool follows =
        begins ? known == streams.end()
               : known != streams.end() && ogg_page_pageno(&page) == known->second.pageNumber + 1;
    if (!follows || isDisturbed) links.back().isSound = false;
    isDisturbed = false;
    streams[serial] = {ogg_page_pageno(&page), ogg_page_eos(&page) != 0};
  }

  void beginLink() {
    if (!links.empty()) finishLink();
    links.push_back({begin, begin, true, true});
    streams.clear();
    hasContent = false;
  }

  void finishLink() {
    OggLink& link = links.back();
    link.end = begin;
    for (const auto& stream : streams)
      link.isWhole = link.isWhole && stream.second.hasEnded;
  }

  SoundBytes bytes;
  ogg_sync_state sync = {};
  ogg_page page = {};
  std::int64_t begin = 0; // of the page
  std::int64_t end = 0;
  bool isDisturbed = false; // whether bytes that are no page stand before it
  bool hasContent = false;
  std::map<int, Stream> streams; // of the link, by serial number
  std::vector<OggLink> links;
};

} // namespace

std::vector<OggLink> oggLinks(const SoundBytes& bytes) { return PageWalk(bytes).run(); }
