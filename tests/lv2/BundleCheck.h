// Judges a bundle's data the way hosts read it, through lilv.
#pragma once

#include <string>
#include <vector>

// What is wrong with the bundle in a directory, one line each; empty when nothing is. It asks for all that a
// plug-in with one pedal owes a host: a binary that answers to its name, name, author, licence, versions,
// ports that are whole and in order, presets that fit the ports.
std::vector<std::string> faultsOf(const std::string& bundleDirectory);
