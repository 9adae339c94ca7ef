// A parameter's course from lines "seconds,value".
#pragma once

#include "render/course/Course.h"

#include <string>
#include <string_view>

// Reads a course from text. Blank lines are skipped, # begins a comment anywhere in a line, the first line
// with content may be a header of two words, lines may end in CR LF.
// subject: the option and the file, for messages. Throws Fault (couldNot) naming the line that holds anything
// else, or a text without points. Allocates.
Course readCsvCourse(const std::string& subject, std::string_view text, const CourseRule& rule);
