#include "PlainEvents.h"

namespace {

constexpr const char* kNames[] = {
    "pass through block",
    "empty block",
    "negative block",
    "one sample block",
    "block beyond histories",
    "rewind beyond histories",
    "resume",
    "resume of a spoilt state",
    "set up",
    "set up after first block",
    "set up after unusable rate",
    "unusable rate",
    "same rate again",
    "first block flip",
    "tone update",
    "tone never computed",
    "rewind",
    "pedal came to rest",
    "pedal flip overwritten",
    "switch over",
    "switch over then rewind",
    "switch over flip kept",
    "switch over flip rewound",
    "pitch changed sign in block",
    "tap 1 reset up",
    "tap 1 reset down",
    "tap 2 reset up",
    "tap 2 reset down",
    "tap held at minimum",
    "tap outgrew delay line",
    "on off change idle",
    "on off change fading out",
    "on off change fading in",
    "on off changed twice in fade",
    "color change idle",
    "color change fading out",
    "color change fading in",
    "color changed twice in fade",
    "idle idle",
    "idle out",
    "idle in",
    "out idle",
    "out out",
    "out in",
    "in idle",
    "in out",
    "in in",
    "row 0",
    "row 1",
    "row 2",
    "row 3",
    "row 4",
    "row 5",
    "row 6",
    "row 7",
    "on sample",
    "off sample",
    "denormal input flushed",
    "not a number",
    "plain number",
    "parameter without program",
    "program loaded",
};
static_assert(sizeof(kNames) / sizeof(kNames[0]) == static_cast<std::size_t>(PlainEvent::Count));

} // namespace

const char* plainEventName(PlainEvent event) { return kNames[static_cast<std::size_t>(event)]; }

void PlainEvents::add(const PlainEvents& other) {
  for (std::size_t i = 0; i < counts.size(); ++i)
    counts[i] += other.counts[i];
}
