#include "framework/Factory.h"

#include "vst/Opcodes.h"

#include <memory>

namespace {

bool hostTellsVersion(HostCallback host) { return host(nullptr, kHostVersion, 0, 0, nullptr, 0.0f) != 0; }

AEffect* createRecord(HostCallback host) {
  if (!hostTellsVersion(host)) return nullptr;
  AudioEffect* effect = createPluginFilter(host);
  return effect ? effect->getAeffect() : nullptr;
}

Q_TypeIF* createHandle(HostCallback host) try {
  if (!host) return nullptr;
  auto handle = std::make_unique<Q_TypeIF>(nullptr); // first, so that no effect can be stranded without it
  handle->effect = createRecord(host);
  return handle->effect ? handle.release() : nullptr;
} catch (...) {
  return nullptr;
}

} // namespace

Q_TypeIF* getinterface(HostCallback host) { return createHandle(host); }
Q_TypeIF* QTypeIF(HostCallback host) { return createHandle(host); }
