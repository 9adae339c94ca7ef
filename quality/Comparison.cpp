#include "quality/Comparison.h"

#include "quality/SettingReport.h"
#include "quality/Sweep.h"

#include <cmath>
#include <stdexcept>

namespace {

struct IntervalReport {
  SettingReport setting;
  double chord; // 0..1
};

IntervalReport reportOn(const Contender& contender, double cents) {
  const MakeShifter make = [&] { return contender.make(pedalFor(cents), kShortBlock); };
  const std::optional<SettingReport> setting = reportOn(make, cents);
  if (!setting) throw std::runtime_error(contender.name + " gives no sound that could be measured");
  return {*setting, chordShare(make, std::exp2(cents / 1200.0))};
}

std::vector<std::string> intervalCells(const std::string& name, const IntervalReport& report) {
  const SettingReport& setting = report.setting;
  std::vector<std::string> cells = {name, signedDecimal(setting.cents - setting.intendedCents, 2),
                                    decimal(setting.delay.medianMs, 1), decimal(setting.delay.spreadMs, 1),
                                    decimal(100.0 * setting.delay.lostShare, 0)};
  for (const std::string& cell : stringCells(setting.strings))
    cells.push_back(cell);
  cells.push_back(decimal(100.0 * report.chord, 1));
  return cells;
}

// What sentences may quote.
void quote(Page& page, const std::string& start, const IntervalReport& report) {
  const SettingReport& setting = report.setting;
  page.put(start + " latency", decimal(setting.delay.medianMs, 0));
  page.put(start + " longest", decimal(setting.delay.longestMs, 0));
  page.put(start + " spread", decimal(setting.delay.spreadMs, 0));
  page.put(start + " lost", decimal(100.0 * setting.delay.lostShare, 0));
  page.put(start + " chord", decimal(100.0 * report.chord, 0));
  if (!setting.strings) return;
  page.put(start + " off", decimal(setting.strings->offCents, 0));
  page.put(start + " sideband", decimal(-setting.strings->meanSidebandDb, 0));
  page.put(start + " worst sideband", decimal(-setting.strings->sidebandDb, 0));
  page.put(start + " ripple", decimal(setting.strings->meanRippleDb, 1));
  page.put(start + " worst ripple", decimal(setting.strings->rippleDb, 1));
}

} // namespace

Comparison::Comparison(const std::vector<Contender>& contenders, Announce hear)
    : all(contenders), announce(std::move(hear)) {}

Table Comparison::emptyIntervalTable() {
  return Table({"Shifter", "error, cents", "latency, ms", "spread, ms", "lost, %", "off, cents",
                "sideband, dB", "ripple, dB", "chord, %"});
}

Table Comparison::intervalTable(double cents, Page& page) const {
  Table table = emptyIntervalTable();
  const std::string interval = signedDecimal(cents, 0);
  for (const Contender& contender : all) {
    if (!contender.reachesOctave && cents != kSmallInterval) continue;
    announce(contender.name + ", " + interval + " cents");
    const IntervalReport report = reportOn(contender, cents);
    table.add(intervalCells(contender.name, report));
    quote(page, contender.key + " " + interval, report);
  }
  return table;
}

Table Comparison::emptyMovingTable() {
  return Table({"Shifter", "step, blocks of 64, %", "step, blocks of 1024, %", "above 4 kHz, 64, dB",
                "above 4 kHz, 1024, dB"});
}

Table Comparison::movingTable(Page& page) const {
  Table table = emptyMovingTable();
  for (const Contender& contender : all) {
    if (!contender.reachesOctave) continue;
    announce(contender.name + ", moving");
    const auto sweep = [&](int blockSamples) {
      return measuredSweep([&] { return contender.make(pedalFor(-1200.0), blockSamples); }, blockSamples);
    };
    const Sweep fine = sweep(kShortBlock), coarse = sweep(kLongBlock);
    table.add({contender.name, decimal(100.0 * fine.largestStep, 2), decimal(100.0 * coarse.largestStep, 2),
               decimal(fine.highDb, 1), decimal(coarse.highDb, 1)});
    page.put(contender.key + " high", decimal(fine.highDb, 0));
  }
  return table;
}

void Comparison::fill(Page& page) const {
  for (const double cents : kIntervals)
    page.put("table " + signedDecimal(cents, 0), intervalTable(cents, page).text());
  page.put("table moving", movingTable(page).text());
}
