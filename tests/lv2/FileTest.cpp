// The bundle's binary as a file: what it exports, what it needs, how it wants to be loaded.
#include "Commands.h"
#include "LoadedBundle.h"
#include "tests/support/Pattern.h"

#include <doctest/doctest.h>

namespace {

std::string told(const std::string& tool) {
  const auto result = runCommand(tool + " '" + kBundleBinary + "'");
  REQUIRE(result.status == 0);
  return result.text;
}

bool has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

} // namespace

TEST_CASE("one name is exported, as a function") {
  CHECK(Pattern("[0-9a-f]+ T lv2_descriptor\n").whole(told("nm -D --defined-only")));
}

TEST_CASE("it needs the C and C++ run-time libraries, which supply all that it wants") {
  const std::string needed = told("readelf -dW");
  const Pattern expected("(libstdc\\+\\+|libm|libgcc_s|libc|ld-linux(-x86-64)?)\\.so\\.[0-9]");
  CHECK(Pattern("\\.so").all(needed).size() == expected.all(needed).size());
  const std::string found = told("ldd -r");
  CHECK_FALSE(has(found, "undefined symbol"));
  CHECK_FALSE(has(found, "not found"));
}

TEST_CASE("it is bound when loaded, its code is never written to, and it goes by no name but its file's") {
  const std::string dynamic = told("readelf -dW");
  CHECK(has(dynamic, "NOW"));
  for (const char* unwanted : {"TEXTREL", "SONAME", "RPATH", "RUNPATH"})
    CHECK_FALSE(has(dynamic, unwanted));
  CHECK(has(told("readelf -lW"), "GNU_RELRO"));
}
