// The module's two doors: factories that a host finds by name.
#pragma once

#include "framework/Q_TypeIF.h"
#include "vst/AudioEffect.h"

extern "C" {

// Creates an effect and a handle that carries its record.
// host: the host's services; asked for its version (request 1, without a record) before anything is built.
// Result: the handle, or null when host is null, answers 0 or throws, or when memory is short; nothing is
// left behind then, and no exception passes. [any thread] Allocates.
__attribute__((visibility("default"))) Q_TypeIF* getinterface(HostCallback host);

// The same, under the name that other hosts look for.
__attribute__((visibility("default"))) Q_TypeIF* QTypeIF(HostCallback host);
}

// Creates the one effect of the module; the effect's own sources define it. May throw, may answer null.
AudioEffect* createPluginFilter(HostCallback host);
