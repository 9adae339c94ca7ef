// Finds the module to render with, and the worker program for modules of the other width.
#pragma once

#include <string>

// The absolute path of the module. given: the user's choice, or empty for the one that belongs to this
// program: beside it in a build tree, in the library directory of its prefix when installed.
// Throws Fault (couldNot) when there is none (naming every place tried), when it cannot be read, or when it
// is neither of this program's pointer width nor one that a worker could open. Allocates.
std::string findModule(const std::string& given);

// Whether a module that findModule found needs the 32-bit worker. Throws Fault (couldNot) when it cannot be
// read any more.
bool needsWorker(const std::string& modulePath);

// The absolute path of the 32-bit worker program: beside this program in a build tree, in the directory for
// helper programs of its prefix when installed. modulePath: the module that needs it. Throws Fault
// (couldNot) about that module when there is no worker. Allocates.
std::string findWorker(const std::string& modulePath);
