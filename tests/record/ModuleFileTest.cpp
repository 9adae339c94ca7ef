// The module as a file: what it exports, what it needs, how it wants to be loaded.
#include <doctest/doctest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

// What this program is built for, by the words of readelf.
struct Machine {
  const char* name;
  const char* loader; // the dynamic linker
};
#if defined(__x86_64__)
constexpr Machine kMachine = {"X86-64", "ld-linux-x86-64.so.2"};
#elif defined(__i386__)
constexpr Machine kMachine = {"Intel 80386", "ld-linux.so.2"};
#elif defined(__aarch64__)
constexpr Machine kMachine = {"AArch64", "ld-linux-aarch64.so.1"};
#else
constexpr Machine kMachine = {" ARM", "ld-linux-armhf.so.3"};
#endif

// A command's lines of output, standard error included. It must succeed.
std::vector<std::string> outputOf(const std::string& command) {
  FILE* pipe = popen((command + " 2>&1").c_str(), "r");
  REQUIRE(pipe);
  std::vector<std::string> lines;
  std::array<char, 4096> line;
  while (std::fgets(line.data(), line.size(), pipe))
    lines.push_back(line.data());
  CAPTURE(command);
  CAPTURE(lines.empty() ? "" : lines.back());
  CHECK(pclose(pipe) == 0);
  return lines;
}

std::vector<std::string> linesOf(const std::string& tool, const std::string& file) {
  return outputOf("LC_ALL=C " + tool + " '" + file + "'");
}

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

std::size_t linesWith(const std::vector<std::string>& lines, const std::string& part) {
  return std::ranges::count_if(lines, [&](const std::string& line) { return contains(line, part); });
}

// The libraries that a file asks for by name.
std::set<std::string> neededBy(const std::string& file) {
  std::set<std::string> needed;
  for (const std::string& line : linesOf("readelf -dW", file)) {
    if (!contains(line, "(NEEDED)")) continue;
    const std::size_t open = line.find('[') + 1;
    needed.insert(line.substr(open, line.find(']') - open));
  }
  return needed;
}

} // namespace

TEST_CASE("two names are exported, as functions, and nothing else") {
  std::set<std::string> names;
  for (const std::string& line : linesOf("nm -D --defined-only", TREADSHIFT_MODULE)) {
    std::istringstream fields(line);
    std::string address, kind, name;
    fields >> address >> kind >> name;
    CHECK(kind == "T");
    names.insert(name);
  }
  CHECK(names == std::set<std::string>{"QTypeIF", "getinterface"});
}

TEST_CASE("the libraries it names supply every symbol it wants") {
  // Under an emulator the plain host below stands for this: it loads the module, which is bound at once.
  if (*TREADSHIFT_EMULATOR) return;
  const auto lines = linesOf("ldd -r", TREADSHIFT_MODULE);
  CHECK(linesWith(lines, "undefined symbol") == 0);
  CHECK(linesWith(lines, "not found") == 0);
}

TEST_CASE("it needs the C and C++ run-time libraries, dynamically, and no others") {
  const std::set<std::string> allowed = {"libstdc++.so.6", "libm.so.6",       "libgcc_s.so.1",
                                         "libc.so.6",      "libpthread.so.0", kMachine.loader};
  const auto needed = neededBy(TREADSHIFT_MODULE);
  for (const std::string& library : needed) {
    CAPTURE(library);
    CHECK(allowed.contains(library));
  }
  CHECK(needed.contains("libstdc++.so.6")); // shared with the host, so that exceptions find their handler
}

TEST_CASE("it is bound when loaded, its code is never written to, its stack never run") {
  const auto dynamic = linesOf("readelf -dW", TREADSHIFT_MODULE);
  CHECK(linesWith(dynamic, "TEXTREL") == 0);
  CHECK(linesWith(dynamic, "BIND_NOW") == 1);
  CHECK(linesWith(dynamic, "Flags: NOW") == 1);
  CHECK(linesWith(dynamic, "RPATH") == 0);
  CHECK(linesWith(dynamic, "RUNPATH") == 0);

  const auto segments = linesOf("readelf -lW", TREADSHIFT_MODULE);
  CHECK(linesWith(segments, "GNU_RELRO") >= 1);
  REQUIRE(linesWith(segments, "GNU_STACK") == 1);
  for (const std::string& line : segments) {
    if (contains(line, "GNU_STACK")) CHECK(contains(line, " RW "));
    if (contains(line, " LOAD ")) CHECK_FALSE(contains(line, " RWE "));
  }
}

TEST_CASE("it names no folder of the machine that built it") {
  const auto texts = linesOf("strings -a", TREADSHIFT_MODULE);
  CHECK(linesWith(texts, "getinterface") >= 1);
  CHECK(linesWith(texts, TREADSHIFT_SOURCE_DIR) == 0);
}

TEST_CASE("it holds its model's name, which no operation answers") {
  CHECK(linesWith(linesOf("strings -a", TREADSHIFT_MODULE), "QUON X3p H6.4p") == 1);
}

TEST_CASE("it is a shared object of this program's width and machine, and nothing in it asks to stay") {
  const auto header = linesOf("readelf -hW", TREADSHIFT_MODULE);
  CHECK(linesWith(header, sizeof(void*) == 8 ? "ELF64" : "ELF32") == 1);
  CHECK(linesWith(header, kMachine.name) == 1);
  CHECK(linesWith(header, "DYN") == 1);
  CHECK(linesWith(linesOf("readelf -dW", TREADSHIFT_MODULE), "NODELETE") == 0);
  CHECK(linesWith(linesOf("readelf --dyn-syms -W", TREADSHIFT_MODULE), "UNIQUE") == 0);
}

TEST_CASE("a plain C host loads it, runs it and lets it go") {
  CHECK_FALSE(neededBy(TREADSHIFT_PLAIN_HOST).contains("libstdc++.so.6"));
  outputOf(TREADSHIFT_EMULATOR "'" TREADSHIFT_PLAIN_HOST "' '" TREADSHIFT_MODULE "' play 3");
}
