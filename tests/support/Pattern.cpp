#include "tests/support/Pattern.h"

#include <stdexcept>

Pattern::Pattern(const std::string& expression, int flags) {
  if (regcomp(&compiled, expression.c_str(), REG_EXTENDED | flags) != 0)
    throw std::invalid_argument("no regular expression: " + expression);
}

std::optional<Pattern::Match> Pattern::find(const std::string& text, std::size_t from) const {
  std::vector<regmatch_t> places(compiled.re_nsub + 1);
  places[0] = {static_cast<regoff_t>(from), static_cast<regoff_t>(text.size())};
  if (regexec(&compiled, text.c_str(), places.size(), places.data(), REG_STARTEND) != 0) return {};
  Match match = {static_cast<std::size_t>(places[0].rm_so), static_cast<std::size_t>(places[0].rm_eo), {}};
  for (const regmatch_t& place : places)
    match.groups.push_back(place.rm_so < 0 ? "" : text.substr(place.rm_so, place.rm_eo - place.rm_so));
  return match;
}

std::optional<Pattern::Match> Pattern::whole(const std::string& text) const {
  const auto match = find(text);
  return match && match->begin == 0 && match->end == text.size() ? match : std::nullopt;
}

std::vector<std::string> Pattern::all(const std::string& text, std::size_t group) const {
  std::vector<std::string> found;
  for (auto match = find(text); match; match = find(text, match->end))
    found.push_back(match->groups[group]);
  return found;
}
