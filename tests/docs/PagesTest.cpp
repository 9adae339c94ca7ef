// What the pages say can be followed: tests, files, functions, options and links that they name are there.
#include "Page.h"
#include "tests/support/Pattern.h"

#include "../support/Files.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <doctest/doctest.h>
#include <filesystem>
#include <map>
#include <set>
#include <sstream>
#include <unordered_set>

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

const fs::path kRoot = TREADSHIFT_SOURCE_DIR;
const std::set<std::string> kProducts = {"build", "demo", ".git"}; // made by commands, not kept

bool isProduct(const fs::path& path) { return kProducts.contains(path.begin()->string()); }

// Every file of the tree by its path from the root.
std::set<std::string> makeFiles() {
  std::set<std::string> files;
  for (auto entry = fs::recursive_directory_iterator(kRoot); entry != fs::end(entry); ++entry) {
    const fs::path path = fs::relative(entry->path(), kRoot);
    if (isProduct(path))
      entry.disable_recursion_pending();
    else
      files.insert(path.string());
  }
  return files;
}

const std::set<std::string>& files() {
  static const std::set<std::string> all = makeFiles();
  return all;
}

bool isPage(const std::string& file) {
  const fs::path path(file);
  return path.extension() == ".md" && (path.parent_path().empty() || path.parent_path() == "docs");
}

std::map<std::string, Page> pages() {
  std::map<std::string, Page> all;
  for (const std::string& file : files())
    if (isPage(file)) all.emplace(file, Page(contentsOf(kRoot / file)));
  return all;
}

bool isSource(const std::string& file) {
  static const std::set<std::string> kinds = {".h", ".cpp", ".c", ".in"};
  return kinds.contains(fs::path(file).extension().string());
}

// The names of all test cases, taken from their sources, so that they are the same in every configuration.
std::set<std::string> testNames() {
  static const Pattern name(R"re(TEST_CASE(_FIXTURE)?\((\w+, )?\s*"([^"]*)"(\s*"([^"]*)")?)re");
  std::set<std::string> names;
  for (const std::string& file : files()) {
    if (!isSource(file) || !file.starts_with("tests/")) continue;
    const std::string text = contentsOf(kRoot / file);
    for (auto match = name.find(text); match; match = name.find(text, match->end))
      names.insert(match->groups[3] + match->groups[5]);
  }
  return names;
}

using Words = std::unordered_set<std::string>;

// Every word of every source.
Words identifiers() {
  const std::string letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_";
  Words words;
  for (const std::string& file : files()) {
    if (!isSource(file)) continue;
    const std::string text = contentsOf(kRoot / file);
    for (std::size_t begin = text.find_first_of(letters), end; begin < text.size();
         begin = text.find_first_of(letters, end)) {
      end = std::min(text.find_first_not_of(letters, begin), text.size());
      words.insert(text.substr(begin, end - begin));
    }
  }
  return words;
}

Names wordsOf(std::string line) {
  for (char& character : line)
    if (std::string("\"'()[]{},;<>=").find(character) != std::string::npos) character = ' ';
  std::istringstream stream(line);
  Names words;
  for (std::string word; stream >> word;)
    words.push_back(word);
  return words;
}

Names codeOf(const Page& page) {
  Names all = page.spans;
  all.insert(all.end(), page.code.begin(), page.code.end());
  return all;
}

Names missingTests(const Page& page, const std::set<std::string>& suite) {
  Names missing;
  for (const std::string& test : page.tests)
    if (!suite.contains(test)) missing.push_back(test);
  return missing;
}

Names rowsWithoutTest(const Page& page) {
  Names rows;
  for (const Page::Row& row : page.testedRows)
    if (row.tests.empty()) rows.push_back(row.text);
  return rows;
}

// Cells of tables that are too long to be read in a column.
Names longCells(const std::string& page) {
  constexpr std::size_t kLongest = 120; // characters, without the blanks around them
  Names cells;
  std::istringstream lines(page);
  for (std::string line; std::getline(lines, line);) {
    std::istringstream row(line.starts_with("| ") ? line : "");
    for (std::string cell; std::getline(row, cell, '|');)
      if (cell.size() > kLongest + 2) cells.push_back(cell);
  }
  return cells;
}

bool matchesSomeFile(const std::string& pattern) {
  const std::size_t star = pattern.find('*');
  const std::string start = pattern.substr(0, star), end = pattern.substr(star + 1);
  return std::ranges::any_of(
      files(), [&](const std::string& file) { return file.starts_with(start) && file.ends_with(end); });
}

// Whether a word is the path of something in a folder of the tree.
bool looksLikePath(const std::string& word) {
  const std::size_t slash = word.find('/');
  return slash != std::string::npos && slash > 0 && files().contains(word.substr(0, slash));
}

bool isFileName(const std::string& word) {
  static const Pattern name(R"(\w+\.(cpp|h|c|md|sh|cmake|ttl|conf|jq|awk|map))");
  return name.whole(word).has_value();
}

bool isThere(const std::string& word) {
  return files().contains(word) || matchesSomeFile(word.find('*') == std::string::npos ? "*/" + word : word);
}

Names missingFiles(const Page& page) {
  Names missing;
  const auto check = [&](const std::string& code, bool bareNames) {
    for (std::string word : wordsOf(code)) {
      while (word.ends_with('.') || word.ends_with(':') || word.ends_with('/'))
        word.pop_back();
      if ((looksLikePath(word) || (bareNames && isFileName(word))) && !isThere(word)) missing.push_back(word);
    }
  };
  for (const std::string& span : page.spans)
    check(span, true);
  for (const std::string& line : page.code)
    check(line, false); // a block may show files of other programs
  return missing;
}

Names missingFunctions(const Page& page, const Words& words) {
  static const Pattern call(R"((\w+::)*~?(\w+)\(\))"), member(R"((\w+::)+~?(\w+))");
  Names missing;
  for (const std::string& span : page.spans) {
    auto name = call.whole(span);
    if (!name) name = member.whole(span);
    if (name && !words.contains(name->groups[2])) missing.push_back(span);
  }
  return missing;
}

// The file that tells the options of the command that a line of code runs; empty when it is none of ours.
std::string helpOf(const std::string& code) {
  for (const std::string& word : wordsOf(code)) {
    if (word.starts_with("--") || word.ends_with("treadshift-render")) return "tests/render/golden/help.txt";
    if (word.starts_with("script/")) return word;
    if (word.find_first_of("=$_") == std::string::npos) return {}; // else a variable in front of the command
  }
  return {};
}

bool tells(const std::string& help, const std::string& option) {
  const std::size_t at = help.find(option);
  if (at == std::string::npos) return false;
  const char next = at + option.size() < help.size() ? help[at + option.size()] : ' ';
  if (!std::isalnum(static_cast<unsigned char>(next)) && next != '-') return true;
  return tells(help.substr(at + 1), option);
}

Names missingOptions(const Page& page) {
  static const Pattern option("--[a-z][a-z-]*");
  Names missing;
  for (const std::string& whole : codeOf(page)) {
    const std::string code = whole.substr(0, whole.find(" # "));
    const std::string file = helpOf(code);
    if (file.empty() || !files().contains(file)) continue;
    const std::string help = contentsOf(kRoot / file);
    for (const std::string& word : wordsOf(code))
      if (option.whole(word) && !tells(help, word)) missing.push_back(code);
  }
  return missing;
}

Names brokenLinks(const std::string& file, const Page& page) {
  Names broken;
  for (const std::string& link : page.links) {
    if (link.find("://") != std::string::npos) continue;
    const std::size_t hash = link.find('#');
    const std::string name = link.substr(0, hash);
    const fs::path target =
        name.empty() ? fs::path(file) : (fs::path(file).parent_path() / name).lexically_normal();
    if (!files().contains(target.string())) {
      broken.push_back(link);
    } else if (hash != std::string::npos) {
      const Page there(name.empty() ? "" : contentsOf(kRoot / target));
      const Names& headings = name.empty() ? page.headings : there.headings;
      if (std::ranges::find(headings, link.substr(hash + 1)) == headings.end()) broken.push_back(link);
    }
  }
  return broken;
}

// A file's text; comments that go on in the next line are joined.
std::string joinedText(const std::string& file) {
  static const Pattern lineEnd("\n *(// *)?");
  const std::string text = contentsOf(kRoot / file);
  std::string joined;
  std::size_t done = 0;
  for (auto end = lineEnd.find(text); end; end = lineEnd.find(text, done)) {
    joined += text.substr(done, end->begin - done) + ' ';
    done = end->end;
  }
  return joined + text.substr(done);
}

// Every first group of a pattern in a file.
Names matchesIn(const std::string& file, const std::string& pattern) {
  return Pattern(pattern).all(joinedText(file), 1);
}

// A thread's tag, the headers that declare operations with slots, and the slots that have other names there.
const std::string kTag =
    R"((\[(any thread|audio|host|control|set-up|as the|the thread|instantiation)[^]=*]*\]))";
const Names kSlotHeaders = {"vst/AudioEffect.h", "vst/AudioEffectX.h", "framework/Q_TypeBase.h",
                            "effect/Treadshift.h"};
const std::set<std::string> kOtherSlots = {"destroy", "destroyAndFree", "setProgramLong"};

bool isHeader(const std::string& file) {
  static const std::set<std::string> folders = {"vst",  "framework", "dsp", "engine", "effect",
                                                "host", "worker",    "lv2", "render"};
  return file.ends_with(".h") && folders.contains(file.substr(0, file.find('/')));
}

std::string firstIn(const std::string& text, const Pattern& pattern) {
  const auto match = pattern.find(text);
  return match ? match->groups[1] : std::string();
}

// What a header declares, by the first group of a pattern, and its tag: that of its own line, else that of
// the last comment above it in the same paragraph, else none.
std::multimap<std::string, std::string> tagsIn(const std::string& text, const std::string& declaration) {
  static const Pattern anyTag(kTag);
  const Pattern pattern(declaration);
  std::multimap<std::string, std::string> tags;
  std::istringstream lines(text);
  std::string above;
  for (std::string line; std::getline(lines, line);) {
    const std::string tag = firstIn(line, anyTag);
    const std::string name = firstIn(line.substr(0, line.find("//")), pattern);
    if (!name.empty())
      tags.emplace(name, tag.empty() ? above : tag);
    else if (line.empty() || !tag.empty())
      above = tag;
  }
  return tags;
}

// The same over all slots' headers. An operation that is declared twice counts twice.
std::multimap<std::string, std::string> tagsOfOperations() {
  std::multimap<std::string, std::string> all;
  for (const std::string& file : kSlotHeaders)
    all.merge(tagsIn(contentsOf(kRoot / file), R"(\b(\w+)\()"));
  return all;
}

// Slots that no header declares, that have no tag, or whose declarations do not have the same.
Names wronglyTagged(const Names& slots, const std::multimap<std::string, std::string>& tags) {
  Names wrong;
  for (const std::string& slot : slots) {
    const auto [first, last] = tags.equal_range(slot);
    const auto differs = [&, first = first](const auto& each) { return each.second != first->second; };
    if (first == last || first->second.empty() || std::any_of(first, last, differs)) wrong.push_back(slot);
  }
  return wrong;
}

// A row of the glossary: one word for one thing, and the words that are not used for it.
struct Term {
  std::string word;
  Names rivals;
};

// The rows of the table whose head is "Term".
std::vector<Term> glossary(const std::string& page) {
  static const Pattern row(R"(\| (\w+) \| [^|]* \| ?([^|]*)\|)"), word("\\w+");
  std::vector<Term> terms;
  std::istringstream lines(page.substr(std::min(page.size(), page.find("| Term |"))));
  std::string line;
  for (std::getline(lines, line); std::getline(lines, line) && line.starts_with("|");)
    if (const auto match = row.whole(line)) terms.push_back({match->groups[1], word.all(match->groups[2])});
  return terms;
}

std::string sourcesIn(const Names& folders) {
  std::string text;
  for (const std::string& file : files())
    for (const std::string& folder : folders)
      if (isSource(file) && file.starts_with(folder)) text += contentsOf(kRoot / file);
  return text;
}

// Terms that no code begins a word with, and rivals that stand in it as words.
Names againstGlossary(const std::vector<Term>& terms, const std::string& code,
                      const std::string& restOfCode) {
  const auto stands = [](const std::string& pattern, const std::string& text) {
    return Pattern(pattern, REG_ICASE).find(text).has_value();
  };
  Names wrong;
  for (const Term& term : terms) {
    if (!stands(term.word, code) && !stands("\\b" + term.word, restOfCode)) wrong.push_back(term.word);
    for (const std::string& rival : term.rivals)
      if (stands("\\b" + rival + "\\b", code)) wrong.push_back(rival);
  }
  return wrong;
}

void checkNone(const std::string& file, const std::string& what, const Names& wrong) {
  for (const std::string& name : wrong)
    FAIL_CHECK(file, ": ", what, ": ", name);
}

} // namespace

TEST_CASE("every test that a page names exists") {
  const std::set<std::string> suite = testNames();
  CHECK(suite.size() > 300);
  for (const auto& [file, page] : pages())
    checkNone(file, "no test has this name", missingTests(page, suite));
}

TEST_CASE("every row of a table with tests names one") {
  std::size_t rows = 0;
  for (const auto& [file, page] : pages()) {
    rows += page.testedRows.size();
    checkNone(file, "no test in this row", rowsWithoutTest(page));
  }
  CHECK(rows > 20);
}

TEST_CASE("no cell of a table is longer than 120 characters") {
  for (const std::string& file : files())
    if (isPage(file)) checkNone(file, "too long", longCells(contentsOf(kRoot / file)));
  CHECK(longCells("| short | " + std::string(120, 'a') + " |\n").empty());
  CHECK(longCells("| short | " + std::string(121, 'a') + " |\n").size() == 1);
}

TEST_CASE("the engine uses every term of the glossary and none of their rivals") {
  const std::vector<Term> terms = glossary(contentsOf(kRoot / "docs/architecture.md"));
  CHECK(terms.size() >= 25);
  checkNone("docs/architecture.md", "not as the glossary has it",
            againstGlossary(terms, sourcesIn({"engine/", "effect/"}), sourcesIn({"render/course/"})));
}

TEST_CASE("every script that a page names can be started") {
  std::size_t scripts = 0;
  for (const auto& [file, page] : pages()) {
    for (const std::string& code : codeOf(page)) {
      for (const std::string& word : wordsOf(code)) {
        if (!word.starts_with("script/") || !files().contains(word)) continue;
        ++scripts;
        CAPTURE(word);
        const fs::perms perms = fs::status(kRoot / word).permissions();
        CHECK((perms & fs::perms::owner_exec) != fs::perms::none);
      }
    }
  }
  CHECK(scripts > 5);
}

TEST_CASE("every file, function, option and link of a page leads to what is there") {
  const Words words = identifiers();
  for (const auto& [file, page] : pages()) {
    checkNone(file, "there is no such file", missingFiles(page));
    checkNone(file, "no source has this function", missingFunctions(page, words));
    checkNone(file, "the command does not tell of this option", missingOptions(page));
    checkNone(file, "this link leads nowhere", brokenLinks(file, page));
  }
}

TEST_CASE("the readme leads to every page") {
  const Page readme(contentsOf(kRoot / "README.md"));
  const std::set<std::string> linked(readme.links.begin(), readme.links.end());
  for (const std::string& file : files())
    if (isPage(file) && file != "README.md" && !linked.contains(file)) FAIL_CHECK(file, " is not linked");
}

TEST_CASE("every operation and every opcode has a tag") {
  Names slots = matchesIn("tests/support/EffectSlots.h", "SLOT\\((\\w+),");
  CHECK(slots.size() > 150);
  std::erase_if(slots, [](const std::string& slot) { return kOtherSlots.contains(slot); });
  checkNone("the headers", "not one tag in all its declarations", wronglyTagged(slots, tagsOfOperations()));
  const auto opcodes = tagsIn(contentsOf(kRoot / "vst/Opcodes.h"), "(kOp\\w+) =");
  CHECK(opcodes.size() > 60);
  for (const auto& [opcode, tag] : opcodes)
    if (tag.empty()) FAIL_CHECK(opcode, " has no tag");
}

TEST_CASE("an opcode has the tag of the operation that it calls") {
  const auto ofOperations = tagsOfOperations();
  const std::string opcodes = contentsOf(kRoot / "vst/Opcodes.h");
  const Names rows = matchesIn("tests/support/OpcodeRows.cpp", R"(\{([0-9]+, Slot::\w+),)");
  CHECK(rows.size() > 40);
  for (const std::string& row : rows) {
    CAPTURE(row);
    const auto operation = ofOperations.find(row.substr(row.rfind(':') + 1));
    REQUIRE(operation != ofOperations.end());
    const Pattern tag("kOp\\w+ = " + row.substr(0, row.find(',')) + R"(\b,?\s*/\* )" + kTag);
    CHECK(firstIn(opcodes, tag) == operation->second);
  }
}

TEST_CASE("the page on threads defines every tag of the headers") {
  const Page page(contentsOf(kRoot / "docs/threads.md"));
  const std::set<std::string> told(page.spans.begin(), page.spans.end());
  for (const std::string& file : files()) {
    if (!isHeader(file)) continue;
    for (const std::string& tag : matchesIn(file, kTag))
      if (!told.contains(tag)) FAIL_CHECK(file, ": the tag ", tag, " is not defined");
  }
}

TEST_CASE("the page for host authors shows a part of the example as it is") {
  const Page page(contentsOf(kRoot / "docs/host-authors.md"));
  const auto shown = std::ranges::find(page.fences, "c", &Page::Fence::language);
  REQUIRE(shown != page.fences.end());
  CHECK(contentsOf(kRoot / "examples/host.c").find(shown->text) != std::string::npos);
}

#ifdef TREADSHIFT_HOST_EXAMPLE
namespace {

// A command's output, standard error included. It must succeed.
std::string outputOf(const std::string& command) {
  FILE* pipe = popen((command + " 2>&1").c_str(), "r");
  REQUIRE(pipe);
  std::string all;
  char piece[4096];
  while (const std::size_t count = std::fread(piece, 1, sizeof piece, pipe))
    all.append(piece, count);
  CAPTURE(all);
  CHECK(pclose(pipe) == 0);
  return all;
}

} // namespace

// Seven periods of the example's tone fit between the taps: 213.67 Hz, an octave up 427.34 Hz, counted in
// half a second.
TEST_CASE("the example bends a tone up by an octave in this width") {
  const std::string heard = outputOf(std::string(TREADSHIFT_HOST_EXAMPLE) + " '" + TREADSHIFT_MODULE + "'");
  CHECK((heard == "214 Hz became 426 Hz\n" || heard == "214 Hz became 428 Hz\n"));
}
#endif

TEST_CASE("the checks of the pages trip on what they are there for") {
  const Page page("# A heading\n\n"
                  "A *test that is not there*, a **bold word**, `vst/Nothing.h`, `Nothing.cpp`,\n"
                  "`Treadshift::nothingOfThisName()`, `nothingOfThisName()`, [away](docs/nothing.md) and\n"
                  "[within](#no-heading), [here](#a-heading).\n\n"
                  "| What | Test |\n|---|---|\n| one | *a test* |\n| two | none |\n\n"
                  "    script/bench --slowly\n\n"
                  "```sh\nbuild/x86_64/treadshift-render in.wav --louder   # with --colour\n```\n"
                  "`--silent` `cmake --anything` `--color` `script/bench --quick`\n");
  CHECK(missingTests(page, {"a test"}) == Names{"test that is not there"});
  CHECK(rowsWithoutTest(page) == Names{"| two | none |"});
  CHECK(missingFiles(page) == Names{"vst/Nothing.h", "Nothing.cpp"});
  CHECK(missingFunctions(page, {"setPitch"}) ==
        Names{"Treadshift::nothingOfThisName()", "nothingOfThisName()"});
  CHECK(missingFunctions(page, {"nothingOfThisName"}).empty());
  CHECK(brokenLinks("README.md", page) == Names{"docs/nothing.md", "#no-heading"});
  CHECK(missingOptions(page) ==
        Names{"--silent", "    script/bench --slowly", "build/x86_64/treadshift-render in.wav --louder  "});
  REQUIRE(page.fences.size() == 1);
  CHECK(page.fences[0].language == "sh");
}

TEST_CASE("the check of the tags trips on a missing one, on two that differ and on a missing operation") {
  const auto tags =
      tagsIn("  // A group. [host]\n  void open();\n  void close(); // [audio]\n\n  void suspend();\n"
             "  void resume(); // [host]\n  void resume(int); // [audio]\n",
             R"(\b(\w+)\()");
  CHECK(tags.find("open")->second == "[host]");
  CHECK(tags.find("close")->second == "[audio]");
  CHECK(wronglyTagged({"open", "close", "suspend", "resume", "idle"}, tags) ==
        Names{"suspend", "resume", "idle"});
}

TEST_CASE("the check of the glossary trips on a term that nobody uses and on a rival") {
  const auto terms =
      glossary("| Term | What it is | Not |\n|---|---|---|\n| jump | a leap | restart, splice |\n"
               "| slice | a part | |\n\n| other | table | word |\n");
  REQUIRE(terms.size() == 2);
  CHECK(terms[0].rivals == Names{"restart", "splice"});
  CHECK(againstGlossary(terms, "jumpDelay Slice", "").empty());
  CHECK(againstGlossary(terms, "the Restart of a slice", "jumping").size() == 1);
  CHECK(againstGlossary(terms, "restarted", "") == Names{"jump", "slice"});
}

TEST_CASE("wildcards, names without a folder and links between pages are followed") {
  const Page page("`effect/Treadshift*.cpp` `effect/Nothing*.cpp` `AEffect.h` [x](../vst/AEffect.h)\n"
                  "[y](performance.md#how-it-is-measured) [z](performance.md#nowhere)\n");
  CHECK(missingFiles(page) == Names{"effect/Nothing*.cpp"});
  CHECK(brokenLinks("docs/page.md", page) == Names{"performance.md#nowhere"});
}
