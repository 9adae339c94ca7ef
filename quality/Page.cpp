#include "quality/Page.h"

#include <regex>
#include <stdexcept>

namespace {

const std::regex kPlace("@([^@\\n]+)@");

} // namespace

Page::Page(std::string text) : form(std::move(text)) {}

void Page::put(const std::string& place, std::string text) { texts[place] = std::move(text); }

std::vector<std::string> Page::places() const {
  std::vector<std::string> names;
  for (std::sregex_iterator place(form.begin(), form.end(), kPlace), end; place != end; ++place)
    names.push_back((*place)[1]);
  return names;
}

std::string Page::text() const {
  std::string filled;
  std::size_t done = 0;
  for (std::sregex_iterator place(form.begin(), form.end(), kPlace), end; place != end; ++place) {
    const auto found = texts.find((*place)[1]);
    if (found == texts.end())
      throw std::runtime_error("the page's place '" + (*place)[1].str() + "' has no text");
    filled.append(form, done, static_cast<std::size_t>(place->position()) - done).append(found->second);
    done = static_cast<std::size_t>(place->position() + place->length());
  }
  return filled.append(form, done);
}
