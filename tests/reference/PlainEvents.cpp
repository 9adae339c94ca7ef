#include "PlainEvents.h"

const char* plainEventName(PlainEvent event) {
  static constexpr const char* kNames[] = {
#define TREADSHIFT_PLAIN_EVENT(name) #name,
      TREADSHIFT_PLAIN_EVENTS(TREADSHIFT_PLAIN_EVENT)
#undef TREADSHIFT_PLAIN_EVENT
  };
  return kNames[static_cast<std::size_t>(event)];
}

void PlainEvents::add(const PlainEvents& other) {
  for (std::size_t i = 0; i < counts.size(); ++i)
    counts[i] += other.counts[i];
}
