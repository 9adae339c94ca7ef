#include "render/module/OpenEffect.h"

#include "host/EffectRunner.h"
#include "host/WorkerRunner.h"
#include "render/module/ModuleFile.h"
#include "render/module/ModulePath.h"
#include "render/text/Fault.h"

void failModule(const std::string& modulePath, const std::string& wrong) {
  throw Fault(ExitStatus::couldNot, "module", modulePath, wrong, "give a treadshift.so");
}

void failModule(const std::string& modulePath, const EffectError& error) {
  if (!dynamic_cast<const EffectKilled*>(&error)) failModule(modulePath, std::string(error.what()));
  throw Fault(ExitStatus::couldNot, "module", modulePath, error.what(),
              "it was ended from outside, as by a user or for want of memory; try again");
}

std::unique_ptr<EffectDriver> openEffect(const std::string& modulePath) {
  try {
    if (openerOf(modulePath) == ModuleOpener::worker)
      return std::make_unique<WorkerRunner>(findWorker(modulePath), modulePath);
    return std::make_unique<EffectRunner>(modulePath);
  } catch (const EffectError& error) {
    failModule(modulePath, error);
  }
}
