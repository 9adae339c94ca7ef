// The bundle's binary as a file: what it exports, what it needs, how it wants to be loaded.
#include "Commands.h"
#include "LoadedBundle.h"

#include <doctest/doctest.h>
#include <set>
#include <sstream>

namespace {

std::vector<std::string> linesOf(const std::string& tool) {
  const auto result = runCommand(tool + " '" + kBundleBinary + "'");
  REQUIRE(result.status == 0);
  std::vector<std::string> lines;
  std::istringstream stream(result.text);
  for (std::string line; std::getline(stream, line);)
    lines.push_back(line);
  return lines;
}

int linesWith(const std::vector<std::string>& lines, const std::string& part) {
  int count = 0;
  for (const std::string& line : lines)
    count += line.find(part) != std::string::npos;
  return count;
}

} // namespace

TEST_CASE("one name is exported, as a function") {
  const auto lines = linesOf("nm -D --defined-only");
  REQUIRE(lines.size() == 1);
  CHECK(lines[0].substr(lines[0].find(' ')) == " T lv2_descriptor");
}

TEST_CASE("it needs the C and C++ run-time libraries, which supply all that it wants") {
  const std::set<std::string> allowed = {"libstdc++.so.6",       "libm.so.6",    "libgcc_s.so.1", "libc.so.6",
                                         "ld-linux-x86-64.so.2", "ld-linux.so.2"};
  for (const std::string& line : linesOf("readelf -dW")) {
    if (line.find("(NEEDED)") == std::string::npos) continue;
    const std::size_t open = line.find('[') + 1;
    CHECK(allowed.contains(line.substr(open, line.find(']') - open)));
  }
  const auto found = linesOf("ldd -r");
  CHECK(linesWith(found, "undefined symbol") == 0);
  CHECK(linesWith(found, "not found") == 0);
}

TEST_CASE("it is bound when loaded, its code is never written to, and it goes by no name but its file's") {
  const auto dynamic = linesOf("readelf -dW");
  CHECK(linesWith(dynamic, "NOW") >= 1);
  for (const char* unwanted : {"TEXTREL", "SONAME", "RPATH", "RUNPATH"})
    CHECK(linesWith(dynamic, unwanted) == 0);
  CHECK(linesWith(linesOf("readelf -lW"), "GNU_RELRO") >= 1);
}
