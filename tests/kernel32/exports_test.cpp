// The export map and the library say the same: every name that the map lists is there, and nothing else is but
// the C++ names of the layer's own namespace.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <sstream>
#include <string>

#include "tests/support/child.h"

namespace {

// The names that the map lists one by one.
std::set<std::string> listed_names() {
  std::set<std::string> names;
  std::ifstream map(KVTEST_MAP);
  for (std::string line; std::getline(map, line) && line.find("extern") == line.npos;) {
    std::istringstream words(line);
    std::string word;
    words >> word;
    if (word.size() > 1 && word.back() == ';') names.insert(word.substr(0, word.size() - 1));
  }
  return names;
}

std::set<std::string> exported_names() {
  std::set<std::string> names;
  std::istringstream lines(
      kvtest::run_program({"/bin/sh", "-c", "nm -D --defined-only --format=posix '" KVTEST_KERNEL32 "'"}).out);
  for (std::string line; std::getline(lines, line);) names.insert(line.substr(0, line.find(' ')));
  return names;
}

TEST(Exports, EveryListedNameIsInTheLibrary) {
  std::set<std::string> exported = exported_names();
  ASSERT_GT(listed_names().size(), 40u);
  for (const std::string& name : listed_names()) EXPECT_EQ(exported.count(name), 1u) << name;
}

TEST(Exports, NothingElseIsExportedButTheLayersOwnClasses) {
  std::set<std::string> listed = listed_names();
  for (const std::string& name : exported_names()) {
    bool is_ours = name.starts_with("_Z") && name.find("7kelvane") != name.npos;
    EXPECT_TRUE(is_ours || listed.count(name) == 1) << name;
  }
}

TEST(Exports, TheLibraryStaysLoadedAfterItsLastClose) {
  void* library = dlopen(KVTEST_KERNEL32, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(library, nullptr) << dlerror();
  dlclose(library);
  EXPECT_EQ(dlopen(KVTEST_KERNEL32, RTLD_NOW | RTLD_NOLOAD), library);
}

}  // namespace
