// One recording in several settings, to compare them.
#pragma once

#include "render/course/Presets.h"
#include "render/job/Batch.h"

#include <vector>

// The controls in each of the eight colours. Allocates.
std::vector<Variant> variantsByColor(const Controls& controls);

// Each preset with the controls over it. Throws Fault (wrongCall) when two presets would have one name in a
// file's. Allocates.
std::vector<Variant> variantsByPreset(const std::vector<Preset>& presets, const Controls& controls);
