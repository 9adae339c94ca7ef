// One filter's life as a script tells it.
#pragma once

#include "fuzz/ScriptBytes.h"

// Designs of any type from any numbers, at once and as walks, with any samples in between. A filter whose
// designs all came from numbers of ordinary size must have its plain form's bits.
void playFilter(ScriptBytes& script);
