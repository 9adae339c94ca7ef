#include "quality/Table.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <stdexcept>

namespace {

std::string line(const std::vector<std::string>& cells) {
  std::string text = "|";
  for (const std::string& cell : cells)
    text += " " + cell + " |";
  return text + "\n";
}

std::string printed(const char* format, double value, int places) {
  const double scale = std::pow(10.0, places);
  const double rounded = std::round(value * scale) / scale;
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), format, places, rounded == 0.0 ? 0.0 : rounded);
  return text.data();
}

} // namespace

Table::Table(std::vector<std::string> columns) : headings(std::move(columns)) {}

void Table::add(std::vector<std::string> cells) {
  if (cells.size() != headings.size())
    throw std::logic_error("a row has another number of cells than the table");
  rows.push_back(std::move(cells));
}

std::string Table::head() const {
  std::string text = line(headings) + "|---|";
  for (std::size_t k = 1; k < headings.size(); ++k)
    text += "--:|";
  return text;
}

std::string Table::text() const {
  std::string text = head() + "\n";
  for (const std::vector<std::string>& row : rows)
    text += line(row);
  text.pop_back();
  return text;
}

std::string decimal(double value, int places) { return printed("%.*f", value, places); }

std::string signedDecimal(double value, int places) {
  const std::string text = printed("%+.*f", value, places);
  return text.find_first_of("123456789") == std::string::npos ? decimal(0.0, places) : text;
}
