// What a fuzzer expects of the program's refusals.
#pragma once

#include "render/text/Fault.h"

// Expects the one line that a user reads: not empty, no control characters, a status other than success.
void checkRefusal(const Fault& fault);
