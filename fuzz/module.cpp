// Fuzz target: the module as its hosts see it, effects and all, by record and table.
#include "fuzz/HostScript.h"
#include "fuzz/Target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ScriptBytes script(data, size);
  HostScript(script).play();
  return 0;
}
