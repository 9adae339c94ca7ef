// Which library reads a recording, by its first bytes.
#pragma once

#include "render/sound/SoundBytes.h"

#include <string>

enum class SoundKind { none, flac, ogg, mpeg, other };

// Bytes that are enough to tell, behind leadingTagBytes().
constexpr std::int64_t kTellingBytes = 16384;

// bytes: a recording without its tags, or its first kTellingBytes; other: a type of libsndfile's. Any thread.
// Allocates.
SoundKind kindOf(const SoundBytes& bytes);

// Throws Fault (couldNot): what path names is no sound.
[[noreturn]] void refuseForeign(const std::string& path, bool isEmpty);
