// What a fuzzer expects of the courses that a player's words and files become.
#pragma once

#include "render/course/Controls.h"

// Expects every parameter that is driven to stay in 0..1, and its constant, if it has one, in its rule.
void checkCourses(const Controls& controls);

// Expects a preset made of the controls, if one can be made, to read back as the same preset.
void checkPreset(const Controls& controls);
