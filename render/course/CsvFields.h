// A line of CSV text as its fields.
#pragma once

#include "render/course/CourseRule.h"

#include <string>
#include <string_view>
#include <vector>

// What separates the fields of a text whose first line this is: a semicolon if it holds one, then a tab that
// is no blank beside a comma, else a comma. Quoted fields and a comment do not count. Allocates.
char csvSeparator(std::string_view line);

// The fields, without blanks around them. One in quotes may hold separators, # and, doubled, quotes;
// elsewhere # ends the line unless a letter stands before it, as in C#4. Nothing but empty fields makes no
// field. place: of the line, for messages. Throws Fault for a quote that is not closed or is followed by
// text. Allocates.
std::vector<std::string> csvFields(std::string_view line, char separator, const TextPlace& place);
