// What a module tells a host about its effect, as a text for people.
#pragma once

#include "render/course/Controls.h"

#include <string>

// Parameters (with the values that the controls give them at time 0), programs and identity of a module's
// effect. modulePath: see findModule. Throws Fault (couldNot) when the module yields no effect. Allocates.
std::string listEffect(const std::string& modulePath, const Controls& controls);
