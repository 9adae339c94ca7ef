// Fuzz target: a filter or an oscillator by itself, against its plain form.
#include "fuzz/FilterScript.h"
#include "fuzz/OscillatorScript.h"
#include "fuzz/Target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ScriptBytes script(data, size);
  if (script.byte() % 4 == 0) // oscillators are large, which makes them take longer
    playOscillator(script);
  else
    playFilter(script);
  return 0;
}
