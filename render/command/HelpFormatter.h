// The help's layout: the usage first, options on the left, what they do on the right, in lines of 80 columns.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

class HelpFormatter : public CLI::Formatter {
public:
  HelpFormatter() { column_width(28); }

  std::string make_usage(const CLI::App* app, std::string name) const override;
  std::string make_description(const CLI::App* app) const override;
  std::string make_group(std::string group, bool isPositional,
                         std::vector<const CLI::Option*> options) const override;
  std::string make_option(const CLI::Option* option, bool isPositional) const override;
};
