// Finds the module to render with, and the worker program for modules of the other width.
#pragma once

#include <string>

// The absolute path of the module. given: the user's choice, or empty for the one that belongs to this
// program: beside it in a build tree, in the library directory of its prefix when installed.
// Throws Fault (couldNot) when there is none (naming every place tried), or when it is nothing that this
// program or its worker can open (see openerOf). Allocates.
std::string findModule(const std::string& given);

// The absolute path of the 32-bit worker program: beside this program in a build tree, in the directory for
// helper programs of its prefix when installed. modulePath: the module that needs it. Throws Fault
// (couldNot) about that module when there is no worker. Allocates.
std::string findWorker(const std::string& modulePath);
