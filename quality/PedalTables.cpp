#include "quality/PedalTables.h"

#include "engine/PedalNumbers.h"
#include "quality/FadeShape.h"
#include "quality/PedalShifter.h"
#include "quality/SettingReport.h"
#include "quality/Sweep.h"
#include "quality/ToneResponse.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr double kTableHz[] = {50.0, 100.0, 200.0, 500.0, 1000.0, 2000.0, 5000.0, 10000.0, 20000.0};

struct NamedMove {
  const char* name;
  SwitchMove move;
};

const NamedMove kMoves[] = {{"On/Off, on to off", {kOnOff, 1.0, 0.0}},
                            {"On/Off, off to on", {kOnOff, 0.0, 1.0}},
                            {"Color, 2 to 3", {kColor, colorParameter(2), colorParameter(3)}},
                            {"Color, 3 to 2", {kColor, colorParameter(3), colorParameter(2)}}};

MakeShifter pedalAt(const std::string& modulePath, const PedalSetting& setting, Heard heard) {
  return [=] { return std::make_unique<PedalShifter>(modulePath, setting, heard); };
}

// The steepest step of a sine at the highest pitch that a sweep of the colour sounds, in percent of its
// amplitude.
double ownStep(int color) {
  const double highest = std::max({0.0, centsAt(color, 0.0), centsAt(color, 1.0)});
  return 200.0 * std::sin(std::numbers::pi * kSweptHz * std::exp2(highest / 1200.0) / kRateHz);
}

void append(std::vector<std::string>& cells, const std::vector<std::string>& more) {
  cells.insert(cells.end(), more.begin(), more.end());
}

} // namespace

Table emptyColorTable() {
  return Table({"Color, pedal", "intended, cents", "measured, cents", "dry gain", "splices/s", "latency, ms",
                "off, cents", "sideband, dB", "ripple, dB"});
}

std::vector<std::string> colorRow(const std::string& modulePath, int color, double pedal) {
  const PedalSetting setting{.color = color, .pedal = pedal};
  const double intended = centsAt(color, pedal);
  std::vector<std::string> cells = {std::to_string(color) + ", " + decimal(pedal, 2),
                                    signedDecimal(intended, 1)};
  const std::string dry = decimal(PedalShifter::dryGain(modulePath, setting), 2);
  const auto report = reportOn(pedalAt(modulePath, setting, Heard::shiftedOnly), intended);
  if (!report) {
    append(cells, {kNothing, dry, kNothing, kNothing, kNothing, kNothing, kNothing});
    return cells;
  }
  append(cells, {signedDecimal(report->cents, 2), dry, spliceCell(*report), latencyCell(report->delay)});
  append(cells, stringCells(report->strings));
  return cells;
}

Table colorTable(const std::string& modulePath, const Announce& announce) {
  Table table = emptyColorTable();
  for (const Color& color : kColorTable) {
    for (const double pedal : kPositions) {
      announce("Color " + std::to_string(color.number) + ", pedal " + decimal(pedal, 2));
      table.add(colorRow(modulePath, color.number, pedal));
    }
  }
  return table;
}

Table emptySweepTable() {
  return Table({"Color", "steepest sine, %", "step, blocks of 64, %", "step, blocks of 1024, %",
                "above 4 kHz, 64, dB", "above 4 kHz, 1024, dB"});
}

std::vector<std::string> sweepRow(const std::string& modulePath, int color) {
  const MakeShifter make = pedalAt(modulePath, {.color = color, .pedal = 0.0}, Heard::all);
  const Sweep fine = measuredSweep(make, kShortBlock), coarse = measuredSweep(make, kLongBlock);
  return {std::to_string(color),
          decimal(ownStep(color), 2),
          decimal(100.0 * fine.largestStep, 2),
          decimal(100.0 * coarse.largestStep, 2),
          decimal(fine.highDb, 1),
          decimal(coarse.highDb, 1)};
}

Table sweepTable(const std::string& modulePath, const Announce& announce) {
  Table table = emptySweepTable();
  for (const Color& color : kColorTable) {
    announce("Color " + std::to_string(color.number) + ", pedal moving");
    table.add(sweepRow(modulePath, color.number));
  }
  return table;
}

Table emptyToneTable() {
  std::vector<std::string> headings = {"Tone"};
  for (const double hz : kTableHz)
    headings.push_back(decimal(hz, 0) + " Hz");
  return Table(headings);
}

Table toneTable(const std::string& modulePath) {
  Table table = emptyToneTable();
  for (const double tone : kPositions) {
    const ToneResponse response(modulePath, tone);
    std::vector<std::string> cells = {decimal(tone, 2)};
    for (const double hz : kTableHz)
      cells.push_back(decimal(response.db(hz), 1));
    table.add(cells);
  }
  return table;
}

Table emptyFadeTable() {
  return Table({"Change", "out, ms", "in, ms", "lowest gain", "off a straight line, %"});
}

Table fadeTable(const std::string& modulePath) {
  Table table = emptyFadeTable();
  for (const NamedMove& named : kMoves) {
    const FadeShape shape(modulePath, named.move);
    table.add({named.name, decimal(shape.outMs(), 2), decimal(shape.inMs(), 2), decimal(shape.lowest(), 2),
               decimal(100.0 * shape.bend(), 2)});
  }
  return table;
}
