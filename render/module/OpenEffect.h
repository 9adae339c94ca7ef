// Opens effects in this process or in a worker, whichever the module's width asks for.
#pragma once

#include "host/EffectDriver.h"

#include <memory>
#include <string>

// Opens a new effect of a module. modulePath: see findModule. Throws Fault (couldNot) when the module yields
// no effect. Any thread. Allocates.
std::unique_ptr<EffectDriver> openEffect(const std::string& modulePath);

// Throws the Fault (couldNot) for what is wrong with a module, at its opening or later.
[[noreturn]] void failModule(const std::string& modulePath, const std::string& wrong);
[[noreturn]] void failModule(const std::string& modulePath, const EffectError& error);
