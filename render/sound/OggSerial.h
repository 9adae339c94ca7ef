// Makes an Ogg file's bytes depend on its sound alone.
#pragma once

// Gives the one logical stream in the Ogg file open at `file` (read and write) a fixed serial number. The
// encoder draws it from the clock, and it stands in every page and its check sum. Answers false with errno
// set when the file cannot be read or written, or is not made of Ogg pages (EINVAL). Allocates.
bool fixOggSerial(int file);
