// The presets that come with the program, as they stand in presets.conf.
#pragma once

#include <string_view>

// The file's text. [any thread] Allocates nothing.
std::string_view shippedPresetsText();
