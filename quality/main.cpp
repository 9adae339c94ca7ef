// treadshift-quality: puts the built module and its peers through the same measures and writes what it found
// as a page and as columns for its pictures.

#include "host/EffectRunner.h"
#include "quality/Comparison.h"
#include "quality/Contenders.h"
#include "quality/CostRows.h"
#include "quality/PictureData.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <fftw3.h>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <unistd.h>

namespace {

constexpr int kWrongCall = 2;
constexpr std::size_t kPictured[] = {0, 1, 6}; // the pedal, another that splices, one that does not

struct Wanted {
  std::string module = TREADSHIFT_MODULE;
  std::string form;
  std::string origin;
  std::string costs;
  std::string directory;
};

std::string contentsOf(const std::string& path) {
  std::ifstream stream(path);
  std::ostringstream text;
  text << stream.rdbuf();
  if (!stream || !text) throw std::runtime_error(path + ": cannot be read; name another file");
  return text.str();
}

void write(const std::string& path, const std::string& text) {
  std::ofstream stream(path);
  stream << text;
  stream.close();
  if (!stream) throw std::runtime_error(path + ": cannot be written; name another directory");
}

// One line on a terminal, over which the next one is written.
void announce(const std::string& what) {
  if (isatty(STDERR_FILENO)) std::fprintf(stderr, "\r\033[K%s", what.c_str());
}

// The comparison at every interval, of which the sheet shows some.
std::string intervalsOf(const Page& page) {
  std::string text;
  for (const double cents : Comparison::kIntervals) {
    const std::string interval = signedDecimal(cents, 0);
    text += interval + " cents:\n\n" + page.textAt("table " + interval) + "\n\n";
  }
  return text;
}

void writeSheet(const Wanted& wanted) {
  Page page(contentsOf(wanted.form));
  const CostRows costs(contentsOf(wanted.costs));
  std::filesystem::create_directories(wanted.directory);
  fftwf_set_timelimit(0.0); // peers that have transforms timed and chosen would sound different in each run
  const std::vector<Contender> all = contenders(wanted.module);

  page.put("origin", wanted.origin);
  page.put("table colors", colorTable(wanted.module, announce).text());
  page.put("table sweep", sweepTable(wanted.module, announce).text());
  page.put("table tone", toneTable(wanted.module).text());
  for (const QuotedCost& cost : kQuotedCosts)
    page.put(cost.place, decimal(costs.nsOf(cost.row), 0));
  Comparison(all, announce).fill(page);
  write(wanted.directory + "/quality.md", page.text());
  write(wanted.directory + "/intervals.md", intervalsOf(page));

  writeToneCurves(wanted.module, wanted.directory);
  writeFades(wanted.module, wanted.directory);
  for (const std::size_t which : kPictured)
    writeString(all[which], wanted.directory);
  announce("");
}

} // namespace

int main(int count, char** arguments) {
  CLI::App line("Measures the pedal and other pitch shifters, and writes the quality sheet.",
                "treadshift-quality");
  Wanted wanted;
  line.add_option("--module", wanted.module, "the module to measure [the one built along]");
  line.add_option("--form", wanted.form, "the page with places for the numbers")->required();
  line.add_option("--origin", wanted.origin, "where the numbers come from, in a line")->required();
  line.add_option("--costs", wanted.costs, "the page of the benchmarks, for the cost of a sample")
      ->required();
  line.add_option("--out", wanted.directory, "directory for the page and the pictures' columns")->required();
  try {
    line.parse(count, arguments);
    writeSheet(wanted);
  } catch (const CLI::ParseError& error) {
    return line.exit(error) == 0 ? 0 : kWrongCall;
  } catch (const EffectError& error) {
    std::cerr << "treadshift-quality: " << wanted.module << " " << error.what() << "\n";
    return 1;
  } catch (const std::exception& error) {
    std::cerr << "treadshift-quality: " << error.what() << "\n";
    return 1;
  }
  return 0;
}
