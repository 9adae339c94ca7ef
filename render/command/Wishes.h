// What people try on the command line that this program does otherwise, or leaves to another one.
#pragma once

#include <string>
#include <string_view>

// What to do in place of an option that does not exist: the one that does it, or the call of another program.
// Empty when nothing is known. option: as typed, its dashes included, without a value. Any thread, allocates
// nothing.
std::string_view wayFor(std::string_view option);
