// The bytes of a file that a user names beside the recording: a course or presets.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Reads all of a file, a pipe or a device. subject: the option, for messages.
// Throws Fault (couldNot) when there is none, it cannot be read, or it goes on after largestBytes, so that an
// endless one ends in a message. Allocates at most about twice largestBytes.
std::string readSmallFile(const std::string& subject, const std::string& path, std::size_t largestBytes);

// Whether text holds no characters but those of text: no NUL or other control character than blanks, tabs
// and line ends. Allocates nothing.
bool isPlainText(std::string_view bytes);
