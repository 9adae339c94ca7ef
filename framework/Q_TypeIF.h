// The handle that the factories return: it carries the address of the new effect's record.
#pragma once

#include "vst/AEffect.h"

// A host reads `effect` right behind the virtual table's address (offset 4 on i386, 8 on x86_64). Whoever
// owns the handle closes the effect through its record (opcode 1) and deletes the handle, in either order.
class Q_TypeIF {
public:
  // record: the record to carry, or null; the handle does not own it. [any thread] Allocates nothing.
  explicit Q_TypeIF(AEffect* record);

  // Leaves the effect alone. [any thread] the handle's owner.
  virtual ~Q_TypeIF();

  AEffect* effect; // null until filled
};
