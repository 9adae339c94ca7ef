#include "render/module/OpenEffect.h"

#include "host/EffectRunner.h"
#include "host/WorkerRunner.h"
#include "render/module/ModuleFile.h"
#include "render/module/ModulePath.h"
#include "render/text/Fault.h"

void failModule(const std::string& modulePath, const std::string& wrong) {
  throw Fault(ExitStatus::couldNot, "module", modulePath, wrong, "give a treadshift.so");
}

std::unique_ptr<EffectDriver> openEffect(const std::string& modulePath) {
  try {
    if (openerOf(modulePath) == ModuleOpener::worker)
      return std::make_unique<WorkerRunner>(findWorker(modulePath), modulePath);
    return std::make_unique<EffectRunner>(modulePath);
  } catch (const EffectError& error) {
    failModule(modulePath, error.what());
  }
}
