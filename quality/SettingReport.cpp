#include "quality/SettingReport.h"

#include "quality/Interval.h"
#include "quality/Splices.h"
#include "quality/Table.h"

#include <cmath>

std::optional<SettingReport> reportOn(const MakeShifter& make, double intendedCents) {
  const double ratio = std::exp2(intendedCents / 1200.0);
  const std::optional<Delay> delay = measuredDelay(make, ratio);
  if (!delay) return {};
  const std::optional<double> spliceRate = splicesPerSecond(make, ratio);
  return SettingReport{intendedCents, measuredCents(make, ratio, spliceRate), spliceRate,
                       stringSounds(make, ratio), *delay};
}

std::string spliceCell(const SettingReport& report) {
  return report.spliceRate ? decimal(*report.spliceRate, 2) : kNothing;
}

std::vector<std::string> stringCells(const std::optional<StringSounds>& strings) {
  if (!strings) return {kNothing, kNothing, kNothing};
  const auto worstAndMean = [](double worst, double mean) {
    return decimal(worst, 1) + " (" + decimal(mean, 1) + ")";
  };
  return {decimal(strings->offCents, 1), worstAndMean(strings->sidebandDb, strings->meanSidebandDb),
          worstAndMean(strings->rippleDb, strings->meanRippleDb)};
}
