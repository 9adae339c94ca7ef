// The guard of the floating-point control register.
#include "dsp/FlushToZero.h"
#include "tests/support/ControlWord.h"

#include <doctest/doctest.h>

TEST_CASE("the guard sets the flush bit alone and puts the whole word back") {
  const unsigned before = word::read();
  for (const unsigned more :
       {0u, word::kFlush, word::kTinyOperandsAreZero, word::kOneRaised, word::kRounding, word::kRoundUp}) {
    const unsigned bits = word::kDefault | more;
    word::write(bits);
    unsigned inside;
    {
      const FlushToZero flush;
      inside = word::read();
      word::write(word::kDefault);
    }
    const unsigned after = word::read();
    word::write(before);
    CAPTURE(bits);
    CHECK(inside == (bits | word::kFlush));
    CHECK(after == bits);
  }
}
