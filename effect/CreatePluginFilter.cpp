#include "effect/Treadshift.h"
#include "framework/Factory.h"

AudioEffect* createPluginFilter(HostCallback host) { return new Treadshift(host); }
