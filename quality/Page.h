// A page with places for numbers: names between at signs, such as @table tone@.
#pragma once

#include <map>
#include <string>
#include <vector>

class Page {
public:
  // form: the page's text with its places. A lone at sign in a line is an ordinary character. Allocates.
  explicit Page(std::string form);

  // Says what stands at a place. Allocates.
  void put(const std::string& place, std::string text);

  // What stands at a place. Throws std::out_of_range when nobody has filled it. Allocates.
  std::string textAt(const std::string& place) const { return texts.at(place); }

  // The whole page. Throws std::runtime_error that names a place nobody has filled. Allocates.
  std::string text() const;

  // The places in the order of the page, repeated ones repeated. Allocates.
  std::vector<std::string> places() const;

private:
  std::string form;
  std::map<std::string, std::string> texts; // by place
};
