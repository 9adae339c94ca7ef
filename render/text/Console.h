// The standard error output, shared by messages and one line of progress. Any thread may call any of these.
#pragma once

#include <string>

// Prints one line after the program's name. A progress line on show makes way for it.
void printMessage(const std::string& line);

// The same for a program that ends: leaves it when the standard error output takes nothing at once, or when
// another thread has been printing for a tenth of a second.
void printLastMessage(const std::string& line);

// Shows a text without a line break in place of the progress line before it; empty: takes that away.
// For terminals only.
void showProgressLine(const std::string& text);

// Writes a text to the standard output. Throws Fault (couldNot) when that does not take it.
void printText(const std::string& text);
