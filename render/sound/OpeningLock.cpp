#include "render/sound/OpeningLock.h"

namespace {

std::mutex openings;

} // namespace

std::unique_lock<std::mutex> holdOpenings() { return std::unique_lock<std::mutex>(openings); }
