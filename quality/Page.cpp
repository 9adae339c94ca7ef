#include "quality/Page.h"

#include <optional>
#include <stdexcept>

namespace {

struct Place {
  std::size_t begin, end; // with its at signs
  std::string name;
};

// The first place from `from` on: an at sign whose next one stands in the same line, not right behind it.
std::optional<Place> placeIn(const std::string& form, std::size_t from) {
  for (std::size_t begin = form.find('@', from); begin != std::string::npos;
       begin = form.find('@', begin + 1)) {
    const std::size_t end = form.find_first_of("@\n", begin + 1);
    if (end != std::string::npos && form[end] == '@' && end > begin + 1)
      return Place{begin, end + 1, form.substr(begin + 1, end - begin - 1)};
  }
  return {};
}

} // namespace

Page::Page(std::string text) : form(std::move(text)) {}

void Page::put(const std::string& place, std::string text) { texts[place] = std::move(text); }

std::vector<std::string> Page::places() const {
  std::vector<std::string> names;
  for (auto place = placeIn(form, 0); place; place = placeIn(form, place->end))
    names.push_back(place->name);
  return names;
}

std::string Page::text() const {
  std::string filled;
  std::size_t done = 0;
  for (auto place = placeIn(form, 0); place; place = placeIn(form, done)) {
    const auto found = texts.find(place->name);
    if (found == texts.end()) throw std::runtime_error("the page's place '" + place->name + "' has no text");
    filled.append(form, done, place->begin - done).append(found->second);
    done = place->end;
  }
  return filled.append(form, done);
}
