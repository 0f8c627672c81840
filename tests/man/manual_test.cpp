// The manual: each page is well formed, and tells every verb, switch and variable that there is.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>

#include "tests/support/child.h"

namespace {

const std::vector<std::string> pages = {
    "kelvane.7", "kelvane-environment.7", "kelvane-hive.5", "kelvane-reg-text.5", "kvreg.1", "regss.8"};
const std::string folder = KVTEST_SOURCES "/man/";

bool is_installed(const char* program) {
  return kvtest::run_program({"/bin/sh", "-c", std::string("command -v ") + program}).exit_status == 0;
}

#define NEEDS(program) \
  if (!is_installed(program)) GTEST_SKIP() << "the program " program " is not installed"

std::string content(const std::string& file) {
  std::ifstream in(file, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

// The page as it is read, without bold and underlined letters, its lines long enough for every sentence.
std::string rendered(const std::string& page) {
  const kvtest::Child_Result result =
      kvtest::run_program({"/usr/bin/env", "mandoc", "-Tascii", "-Owidth=500", folder + page});
  EXPECT_EQ(result.exit_status, 0) << result.err;
  return std::regex_replace(result.out, std::regex("[^\n]\b"), "");
}

std::set<std::string> all_matches(const std::string& text, const char* pattern) {
  const std::regex wanted(pattern);
  std::set<std::string> found;
  for (std::sregex_iterator at(text.begin(), text.end(), wanted), end; at != end; ++at) found.insert((*at)[1]);
  return found;
}

// The part of a page under a heading that stands three blanks in, up to the next one.
std::string part_of(const std::string& page, const std::string& heading) {
  const std::size_t start = page.find("\n   " + heading + "\n");
  if (start == page.npos) return {};
  std::smatch next;
  const std::string rest = page.substr(start + heading.size() + 4);
  return std::regex_search(rest, next, std::regex("\n( {3})?[^ \n]")) ? rest.substr(0, std::size_t(next.position()))
                                                                      : rest;
}

bool tells(const std::string& text, const std::string& word) {
  return std::regex_search(text, std::regex("(^|[\\s,])" + word + "($|[\\s,.;])"));
}

TEST(Manual, HasEveryPageThatIsThere) {
  std::set<std::string> there;
  for (const auto& entry : std::filesystem::directory_iterator(folder))
    if (entry.path().filename() != "CMakeLists.txt") there.insert(entry.path().filename());
  EXPECT_EQ(there, std::set<std::string>(pages.begin(), pages.end()));
}

TEST(Manual, HasPagesWithoutAFault) {
  NEEDS("mandoc");
  for (const std::string& page : pages) {
    const kvtest::Child_Result result =
        kvtest::run_program({"/usr/bin/env", "mandoc", "-Tlint", "-Wwarning", folder + page});
    EXPECT_EQ(result.exit_status, 0) << page;
    EXPECT_EQ(result.out + result.err, "") << page;
  }
}

TEST(Manual, PointsToPagesThatAreThere) {
  for (const std::string& page : pages) {
    for (const std::string& other :
         all_matches(content(folder + page), "\n\\.Xr ((kelvane|kvreg|regss)[a-z-]* [1-8])")) {
      std::string file = other;
      std::replace(file.begin(), file.end(), ' ', '.');
      EXPECT_NE(std::find(pages.begin(), pages.end(), file), pages.end()) << page << " points to " << file;
    }
  }
}

TEST(Manual, TellsEachVariable) {
  NEEDS("mandoc");
  const std::string page = rendered("kelvane-environment.7");
  const std::set<std::string> variables =
      all_matches(content(KVTEST_SOURCES "/docs/configuration.md"), "\n\\| `(KV[A-Z_]+)` \\|");
  EXPECT_GE(variables.size(), 9u);
  for (const std::string& name : variables) EXPECT_TRUE(tells(page, name)) << name;
}

TEST(Manual, TellsEachFileBesideAHive) {
  NEEDS("mandoc");
  const std::string page = rendered("kelvane-hive.5");
  const std::set<std::string> files =
      all_matches(content(KVTEST_SOURCES "/docs/hive_format.md"), "\n\\| `<[a-z ]*hive>([.-][a-z-]+)`");
  EXPECT_GE(files.size(), 7u);
  for (const std::string& name : files) EXPECT_TRUE(tells(page, "hive" + name)) << name;
}

TEST(Manual, TellsEachVerbAndSwitchOfKvreg) {
#ifndef KVTEST_KVREG
  GTEST_SKIP() << "kvreg is not part of this build";
#else
  NEEDS("mandoc");
  const std::string page = rendered("kvreg.1");
  const std::string overview = kvtest::run_program({KVTEST_KVREG, "--help"}).out;
  const std::set<std::string> verbs = all_matches(overview, "\n  ([a-z]+) ");
  EXPECT_GE(verbs.size(), 23u);
  for (const std::string& verb : verbs) {
    const std::string part = part_of(page, verb);
    EXPECT_NE(part, "") << verb;
    const std::string help = kvtest::run_program({KVTEST_KVREG, verb, "--help"}).out;
    std::set<std::string> switches = all_matches(help, "\n  (?:-[A-Za-z0-9],)?(?:--[a-z]+,)?(--[a-z0-9-]+)");
    EXPECT_EQ(switches.erase("--help"), 1u) << help;
    for (const std::string& name : switches) EXPECT_TRUE(tells(part, name)) << verb << ' ' << name;
    for (const std::string& known : all_matches(help, " (/[A-Za-z0-9?]+): "))
      EXPECT_TRUE(tells(part, known)) << verb << ' ' << known;
  }
#endif
}

TEST(Manual, TellsEachSwitchOfTheServer) {
#ifndef KVTEST_REGSS
  GTEST_SKIP() << "regss is not part of this build";
#else
  NEEDS("mandoc");
  const std::string page = rendered("regss.8");
  const std::set<std::string> switches =
      all_matches(kvtest::run_program({KVTEST_REGSS, "--help"}).out, "[ ](--[a-z-]+)");
  EXPECT_GE(switches.size(), 10u);
  for (const std::string& name : switches) EXPECT_TRUE(tells(page, name)) << name;
#endif
}

}  // namespace
