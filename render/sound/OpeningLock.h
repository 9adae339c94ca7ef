// One opening of a sound file at a time.
#pragma once

#include <mutex>

// libsndfile keeps the reason why a file could not be opened in one place for all threads: hold this from the
// opening to the asking. An opening that may wait for somebody else's bytes is not worth holding up the
// others.
std::unique_lock<std::mutex> holdOpenings();
