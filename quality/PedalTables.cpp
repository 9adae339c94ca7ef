#include "quality/PedalTables.h"

#include "engine/PedalNumbers.h"
#include "quality/PedalShifter.h"
#include "quality/SettingReport.h"
#include "quality/Sweep.h"
#include "quality/ToneResponse.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr double kEnds[] = {0.0, 1.0}; // of the pedal
constexpr double kTableHz[] = {100.0, 500.0, 2000.0, 5000.0, 10000.0};

MakeShifter pedalAt(const std::string& modulePath, const PedalSetting& setting, Heard heard) {
  return [=] { return std::make_unique<PedalShifter>(modulePath, setting, heard); };
}

// The steepest step of a sine at the highest pitch that a sweep of the colour sounds, in percent of its
// amplitude.
double ownStep(int color) {
  const double highest = std::max({0.0, centsAt(color, 0.0), centsAt(color, 1.0)});
  return 200.0 * std::sin(std::numbers::pi * kSweptHz * std::exp2(highest / 1200.0) / kRateHz);
}

} // namespace

Table emptyColorTable() {
  return Table({"Color, pedal", "intended, cents", "measured, cents", "dry gain", "splices/s", "latency, ms",
                "off, cents"});
}

std::vector<std::string> colorRow(const std::string& modulePath, int color, double pedal) {
  const PedalSetting setting{.color = color, .pedal = pedal};
  const double intended = centsAt(color, pedal);
  const std::string name = std::to_string(color) + ", " + decimal(pedal, 0);
  const std::string dry = decimal(PedalShifter::dryGain(modulePath, setting), 2);
  const auto report = reportOn(pedalAt(modulePath, setting, Heard::shiftedOnly), intended);
  if (!report) return {name, signedDecimal(intended, 0), kNothing, dry, kNothing, kNothing, kNothing};
  return {name,
          signedDecimal(intended, 0),
          signedDecimal(report->cents, 2),
          dry,
          spliceCell(*report),
          decimal(report->delay.medianMs, 1),
          stringCells(report->strings).front()};
}

Table colorTable(const std::string& modulePath, const Announce& announce) {
  Table table = emptyColorTable();
  for (const Color& color : kColorTable) {
    for (const double pedal : kEnds) {
      announce("Color " + std::to_string(color.number) + ", pedal " + decimal(pedal, 2));
      table.add(colorRow(modulePath, color.number, pedal));
    }
  }
  return table;
}

Table emptySweepTable() { return Table({"Color", "steepest sine, %", "step, %", "above 4 kHz, dB"}); }

std::vector<std::string> sweepRow(const std::string& modulePath, int color) {
  const MakeShifter make = pedalAt(modulePath, {.color = color, .pedal = 0.0}, Heard::all);
  const Sweep sweep = measuredSweep(make, kShortBlock);
  return {std::to_string(color), decimal(ownStep(color), 2), decimal(100.0 * sweep.largestStep, 2),
          decimal(sweep.highDb, 1)};
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
  for (const double tone : kTones) {
    const ToneResponse response(modulePath, tone);
    std::vector<std::string> cells = {decimal(tone, 2)};
    for (const double hz : kTableHz)
      cells.push_back(decimal(response.db(hz), 1));
    table.add(cells);
  }
  return table;
}
