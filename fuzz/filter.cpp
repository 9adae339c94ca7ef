// Fuzz target: a filter by itself, against its plain form.
#include "fuzz/FilterScript.h"
#include "fuzz/Target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ScriptBytes script(data, size);
  playFilter(script);
  return 0;
}
