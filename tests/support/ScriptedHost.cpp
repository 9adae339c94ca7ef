#include "tests/support/ScriptedHost.h"

#include "vst/Opcodes.h"

#include <ostream>

ScriptedHost* ScriptedHost::current = nullptr;

std::ostream& operator<<(std::ostream& stream, const HostCall& call) {
  return stream << "request " << call.request << " from " << call.record << ": index " << call.index
                << ", value " << call.value << ", ptr " << call.ptr << ", opt " << call.opt;
}

ScriptedHost::ScriptedHost() : before(current), answers{{kHostVersion, kHostVersionAnswer}} {
  current = this;
}

ScriptedHost::~ScriptedHost() { current = before; }

intptr_t ScriptedHost::callback(AEffect* record, int32_t request, int32_t index, intptr_t value, void* ptr,
                                float opt) {
  return current->take({record, request, index, value, ptr, opt});
}

intptr_t ScriptedHost::take(const HostCall& call) {
  calls.push_back(call);
  if (throwing.contains(call.request)) throw HostFailure("the host failed");
  const auto found = answers.find(call.request);
  return found == answers.end() ? 0 : found->second;
}
