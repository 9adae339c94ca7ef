// What a call is refused with.
#pragma once

#include "render/text/Fault.h"

#include <doctest/doctest.h>
#include <string>

// The message of the call's fault, whose status has to be `status`, or "accepted". Allocates.
template <typename Call> std::string faultOf(ExitStatus status, const Call& call) {
  try {
    call();
  } catch (const Fault& fault) {
    CHECK(fault.status() == status);
    return fault.what();
  }
  return "accepted";
}
