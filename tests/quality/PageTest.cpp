// The parts of the page, and the page that is checked in.
#include "quality/Page.h"
#include "quality/Comparison.h"
#include "quality/CostRows.h"
#include "quality/PedalTables.h"
#include "tests/support/Files.h"

#include <algorithm>
#include <doctest/doctest.h>
#include <filesystem>
#include <map>
#include <sstream>

namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

Lines linesOf(const std::string& text) {
  std::istringstream stream(text);
  Lines lines;
  for (std::string line; std::getline(stream, line);)
    lines.push_back(line);
  return lines;
}

// The tables that the program makes today, without their rows.
std::map<std::string, Table> tables() {
  std::map<std::string, Table> all = {{"table colors", emptyColorTable()},
                                      {"table sweep", emptySweepTable()},
                                      {"table tone", emptyToneTable()},
                                      {"table moving", Comparison::emptyMovingTable()}};
  for (const double cents : Comparison::kIntervals)
    all.emplace("table " + signedDecimal(cents, 0), Comparison::emptyIntervalTable());
  return all;
}

// Whether a line is that of the form, with something at each of its places.
bool fits(const std::string& line, const std::string& form) {
  const std::size_t place = form.find('@'), end = form.find('@', place + 1);
  if (place == std::string::npos || end == std::string::npos) return line == form;
  if (!line.starts_with(form.substr(0, place))) return false;
  for (std::size_t rest = place + 1; rest <= line.size(); ++rest)
    if (fits(line.substr(rest), form.substr(end + 1))) return true;
  return false;
}

// Steps over a table's rows and says how many there were.
int skipRows(const Lines& page, std::size_t& at) {
  int rows = 0;
  for (; at < page.size() && page[at].starts_with("|"); ++at)
    ++rows;
  return rows;
}

// Where a page departs from the form, or nothing.
std::string departure(const Lines& form, const Lines& page) {
  const std::map<std::string, Table> known = tables();
  std::size_t at = 0;
  for (const std::string& line : form) {
    const auto table =
        line.starts_with("@table ") ? known.find(line.substr(1, line.size() - 2)) : known.end();
    if (table == known.end()) {
      if (at >= page.size() || !fits(page[at++], line)) return "form: " + line;
      continue;
    }
    for (const std::string& headLine : linesOf(table->second.head()))
      if (at >= page.size() || page[at++] != headLine) return "head: " + headLine;
    if (skipRows(page, at) == 0) return "no rows: " + line;
  }
  return at == page.size() ? "" : "more: " + page[at];
}

std::string rowText(const std::vector<std::string>& cells) {
  std::string text = "|";
  for (const std::string& cell : cells)
    text += " " + cell + " |";
  return text;
}

const fs::path kSource = TREADSHIFT_SOURCE_DIR;

Lines form() { return linesOf(contentsOf(kSource / "quality/form.md")); }
Lines page() { return linesOf(contentsOf(kSource / "docs/quality.md")); }

} // namespace

TEST_CASE("numbers are rounded, and a rounded zero has no sign") {
  CHECK(decimal(1.25, 1) == "1.3");
  CHECK(decimal(-0.04, 1) == "0.0");
  CHECK(signedDecimal(0.04, 1) == "0.0");
  CHECK(signedDecimal(0.06, 1) == "+0.1");
  CHECK(signedDecimal(-1200.0, 0) == "-1200");
}

TEST_CASE("a table stands as Markdown has it, and rows have to fit") {
  Table table({"Who", "how much"});
  table.add({"one", "1"});
  CHECK(table.text() == "| Who | how much |\n|---|--:|\n| one | 1 |");
  CHECK_THROWS(table.add({"two"}));
}

TEST_CASE("a page is filled at its places, and an empty place is an error") {
  Page page("a @first place@ b\nc @ d\n@first place@@second@\n");
  CHECK(page.places() == std::vector<std::string>{"first place", "first place", "second"});
  page.put("first place", "1");
  CHECK_THROWS_WITH(page.text(), "the page's place 'second' has no text");
  page.put("second", "x\ny");
  CHECK(page.text() == "a 1 b\nc @ d\n1x\ny\n");
  CHECK(page.textAt("second") == "x\ny");
}

TEST_CASE("a cost is the first number of the row that begins so") {
  const CostRows costs(
      "TAP pitch above\n  engine rest        64  4.52 1.93\nengine rest 256  3.95\nTAP pitch   11.27 4.8\n");
  CHECK(costs.nsOf("engine rest 256") == 3.95);
  CHECK(costs.nsOf("TAP pitch") == 11.27);
  CHECK_THROWS(costs.nsOf("TAP"));
}

TEST_CASE("every row that a cost is taken from stands on the page of the benchmarks") {
  const CostRows costs(contentsOf(kSource / "docs/performance.md"));
  for (const QuotedCost& cost : kQuotedCosts)
    CHECK(costs.nsOf(cost.row) > 0.0);
}

TEST_CASE("the page that is checked in has the form's words and the program's tables") {
  CHECK(departure(form(), page()) == "");
}

TEST_CASE("a changed sentence, a changed heading and a missing table are noticed") {
  Lines changed = page();
  const auto sentence =
      std::ranges::find_if(changed, [](const std::string& line) { return line.size() > 60; });
  *sentence += "!";
  CHECK(departure(form(), changed) != "");

  changed = page();
  const auto heading =
      std::ranges::find_if(changed, [](const std::string& line) { return line.starts_with("|"); });
  *heading += " more |";
  CHECK(departure(form(), changed) != "");

  changed = page();
  std::erase_if(changed, [](const std::string& line) { return line.starts_with("| 3, "); });
  CHECK(departure(form(), changed) == ""); // the rows are the next test's business
  std::erase_if(changed, [](const std::string& line) { return line.starts_with("| "); });
  CHECK(departure(form(), changed) != "");
}

TEST_CASE("rows measured now stand on the page") {
  const Lines lines = page();
  const auto stands = [&](const std::vector<std::string>& cells) {
    return std::ranges::find(lines, rowText(cells)) != lines.end();
  };
  CHECK(stands(colorRow(TREADSHIFT_MODULE, 2, 1.0)));
  CHECK(stands(colorRow(TREADSHIFT_MODULE, 1, 0.0)));
  CHECK(stands(colorRow(TREADSHIFT_MODULE, 0, 1.0)));
  CHECK(stands(sweepRow(TREADSHIFT_MODULE, 3)));
  for (const std::string& line : linesOf(toneTable(TREADSHIFT_MODULE).text()))
    CHECK(std::ranges::find(lines, line) != lines.end());
}

TEST_CASE("every picture is small, and shown by the page") {
  int pictures = 0;
  for (const auto& file : fs::directory_iterator(kSource / "docs/pictures")) {
    const std::string name = file.path().filename();
    if (!name.starts_with("quality-")) continue;
    CAPTURE(name);
    CHECK(file.file_size() < 150000);
    CHECK(contentsOf(kSource / "docs/quality.md").find("](pictures/" + name + ")") != std::string::npos);
    ++pictures;
  }
  CHECK(pictures == 4);
}
