// The page's tables of the pedal itself.
#pragma once

#include "quality/Table.h"

#include <functional>

// Hears what is being measured now.
using Announce = std::function<void(const std::string& what)>;

// Each colour with the pedal at heel and toe: everything that does not move. [minutes] Allocates.
Table colorTable(const std::string& modulePath, const Announce& announce);

// Each colour while the pedal moves. [seconds] Allocates.
Table sweepTable(const std::string& modulePath, const Announce& announce);

// The shifted path's level at some frequencies, for each of five Tone values. Allocates.
Table toneTable(const std::string& modulePath);

// The same tables without their rows. Allocate.
Table emptyColorTable();
Table emptySweepTable();
Table emptyToneTable();

// A row of the colour table. color: 0..7. pedal: 0 heel .. 1 toe. [seconds] Allocates.
std::vector<std::string> colorRow(const std::string& modulePath, int color, double pedal);

// A row of the sweep table. [seconds] Allocates.
std::vector<std::string> sweepRow(const std::string& modulePath, int color);

// The five values that Tone takes.
inline constexpr double kTones[] = {0.0, 0.25, 0.5, 0.75, 1.0};
