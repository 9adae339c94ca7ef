// Where the names of this folder live: in the namespace treadshift, and outside of it as well unless
// TREADSHIFT_SCOPED_NAMES is defined. A project that takes the folder and has such names of its own defines
// it and writes treadshift::IIRFilter.
#pragma once

namespace treadshift {}

#ifndef TREADSHIFT_SCOPED_NAMES
using namespace treadshift;
#endif
