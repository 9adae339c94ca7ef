// A bundle's data as hosts read it, through lilv.
#pragma once

#include <string>
#include <vector>

// A line for each plug-in and each of its ports, in order, and for the groups of ports: names and values of
// what stands there, several of one name joined by commas, and the choices. Descriptions count as
// "prose"; other texts stand in quotes, names by their last part, fractions with their point.
std::vector<std::string> pluginLines(const std::string& bundleDirectory);

// A line for each preset, by its address: label, plug-ins, and settings by their symbols.
std::vector<std::string> presetLines(const std::string& bundleDirectory);
