// What the header of a CSV text says: where the times and the values stand, and how they are written.
#pragma once

#include "render/course/CourseRule.h"

#include <cstddef>
#include <string>
#include <vector>

struct CsvColumns {
  std::size_t time = 0;        // index of the times' column
  std::size_t value = 1;       // index of the values' column
  std::size_t count = 2;       // columns of the text
  double timesPerSecond = 1.0; // 1000 when the times are milliseconds
  double fullScale = 1.0;      // the value that means 1: 100 of percent, 127 of a controller
  std::string unit = {};       // of values without one; may be empty
};

// Whether the first line of a text is a header: none of its fields begins as a number does. Allocates
// nothing.
bool isCsvHeader(const std::vector<std::string>& fields);

// The columns that a header names: the times by "time", "seconds" and the like, the values by the rule's
// column or "value"; capitals and the order do not matter. Of two columns one name is enough, or none when
// the time comes first. Further words tell milliseconds ("time (ms)"), the values' scale ("value %", "value
// 0-127") and the rule's units ("interval (st)", "cents"). place: of the line, for messages. Throws Fault for
// a header that leaves a column open or measures time in what is no time. Allocates.
CsvColumns readCsvHeader(const std::vector<std::string>& fields, const CourseRule& rule,
                         const TextPlace& place);
