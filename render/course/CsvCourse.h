// A parameter's course from CSV text: a column of times and one of values.
#pragma once

#include "render/course/Course.h"

#include <string>
#include <string_view>

// Reads a course from text as people, sheets and sequencers write it. Blank lines are skipped, # begins a
// comment, lines may end in CR LF.
// Columns: separated by commas, semicolons or tabs, as the first line has them (see csvSeparator; a line
// "sep=;" tells it as well). In text that commas do not separate, a comma may be the decimal point.
// Header: the first line with content may be one (see readCsvHeader), and must be for more than two columns;
// without it the first column holds the times and the second the values.
// Times: seconds, mm:ss or h:mm:ss, with decimals. Values: as the rule has them; "50%" is 0.5 of it.
// subject: the option and the file, for messages. Throws Fault (couldNot) naming the line that holds anything
// else, or a text without points. Allocates.
Course readCsvCourse(const std::string& subject, std::string_view text, const CourseRule& rule);
