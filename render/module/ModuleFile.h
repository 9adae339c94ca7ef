// Looks at a module's file before the dynamic linker does, whose messages speak of ELF classes and which
// crashes on files that are cut short.
#pragma once

#include <string>

// What can open a module: this program, or its worker for 32-bit modules.
enum class ModuleOpener { thisProgram, worker };

// path: any text. Throws Fault (couldNot) when there is no such file, when it is cut short or no module, or
// when it is made for another pointer width or processor than either opener's. Any thread. Allocates.
ModuleOpener openerOf(const std::string& path);
