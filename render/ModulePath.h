// Finds the module to render with.
#pragma once

#include <string>

// The absolute path of the module. given: the user's choice, or empty for the one that belongs to this
// program: beside it in a build tree, in the library directory of its prefix when installed.
// Throws Fault (couldNot) when there is none (naming every place tried), when it cannot be read, or when it
// was built for another pointer width than this program. Allocates.
std::string findModule(const std::string& given);
