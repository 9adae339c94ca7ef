// What a fuzzer expects to hold, beside what the sanitizers watch.
#pragma once

// Ends the program with a message, and so makes the input a finding, when `holds` is false.
// what: the broken promise, in words.
void expect(bool holds, const char* what);

// Equal bits; any not-a-number equals any other, whatever its sign and payload.
bool sameNumber(double a, double b);
bool sameNumber(float a, float b);
