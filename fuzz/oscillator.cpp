// Fuzz target: an oscillator by itself, against its plain form.
#include "fuzz/OscillatorScript.h"
#include "fuzz/Target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ScriptBytes script(data, size);
  playOscillator(script);
  return 0;
}
