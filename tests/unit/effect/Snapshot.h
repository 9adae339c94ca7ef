// Every field of the effect by name, so that a test can say which ones an operation changes.
#pragma once

#include "ExposedTreadshift.h"

#include <cstdint>
#include <doctest/doctest.h>
#include <map>
#include <set>
#include <string>
#include <vector>

// Bits of a field, or of all elements of an array.
using Snapshot = std::map<std::string, std::vector<uint64_t>>;

Snapshot snapshotOf(const ExposedTreadshift& effect);

// Names of the fields that differ.
std::set<std::string> changedFields(const Snapshot& before, const Snapshot& after);

// So that a failed comparison names the fields.
template <> struct doctest::StringMaker<std::set<std::string>> {
  static String convert(const std::set<std::string>& names) {
    std::string text;
    for (const std::string& name : names)
      text += (text.empty() ? "" : ", ") + name;
    return text.c_str();
  }
};
