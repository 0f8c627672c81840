// What the root keys stand for, and which of them are the same place.
#include <unistd.h>

#include "tests/store/store_test.h"

namespace kvtest {
namespace {

class Roots : public Store_Test {
 protected:
  // Writes below one root and reads below the other, both ways.
  void expect_same(HKEY one, const std::string& one_path, HKEY other, const std::string& other_path) {
    Key first = created(one, one_path + "\\mark");
    ASSERT_NE(first, nullptr) << one_path;
    ASSERT_EQ(set_value(first, "v", REG_BINARY, "x"), 0);
    Key second = opened(other, other_path + "\\mark");
    ASSERT_NE(second, nullptr) << other_path;
    EXPECT_EQ(value_of(second, "v").data(), "x");
    ASSERT_EQ(RegDeleteKey(other, (other_path + "\\mark").c_str()), 0);
    EXPECT_EQ(open_result(one, one_path + "\\mark"), 2);
    EXPECT_EQ(query_size(first, "v").code, 1018);
  }
};

// Below a key, the path of the first key with this name; empty when there is none.
std::string path_of(HKEY at, const std::string& name) {
  for (const std::string& sub_key : sub_keys(at)) {
    if (sub_key == name) return sub_key;
    std::string below = path_of(opened(at, sub_key, KEY_READ), name);
    if (!below.empty()) return sub_key + "\\" + below;
  }
  return "";
}

TEST_F(Roots, OfClassesIsSoftwareClassesOfTheMachine) {
  expect_same(HKEY_CLASSES_ROOT, ".kvtest", HKEY_LOCAL_MACHINE, "Software\\Classes\\.kvtest");
  expect_same(HKEY_LOCAL_MACHINE, "SOFTWARE\\CLASSES\\.other", HKEY_CLASSES_ROOT, ".other");
}

TEST_F(Roots, OfClassesHasNothingOfTheUsers) {
  ASSERT_NE(created(HKEY_CURRENT_USER, "Software\\Classes\\.mine"), nullptr);
  EXPECT_EQ(open_result(HKEY_CLASSES_ROOT, ".mine"), 2);
}

TEST_F(Roots, OfTheCurrentConfigurationLiesBelowSystemOfTheMachine) {
  ASSERT_NE(created(HKEY_CURRENT_CONFIG, "ConfigurationMark"), nullptr);
  EXPECT_NE(path_of(opened(HKEY_LOCAL_MACHINE, "System", KEY_READ), "ConfigurationMark"), "");
}

TEST_F(Roots, OfUsersShowTheDefaultUserAndThisOne) {
  ASSERT_NE(created(HKEY_USERS, ".DEFAULT\\Software"), nullptr);
  std::vector<std::string> users = sub_keys(HKEY_USERS);
  ASSERT_EQ(users.size(), 2u);
  EXPECT_EQ(users[0], ".DEFAULT");
  EXPECT_EQ(users[1].substr(0, 4), "S-1-");
  expect_same(HKEY_CURRENT_USER, "Software\\Shared", HKEY_USERS, users[1] + "\\Software\\Shared");
  expect_same(HKEY_USERS, users[1] + "\\Top", HKEY_CURRENT_USER, "Top");
}

TEST_F(Roots, OfTheDefaultUserIsNotThisUsers) {
  Key mark = created(HKEY_USERS, ".DEFAULT\\OnlyDefault");
  ASSERT_NE(mark, nullptr);
  EXPECT_EQ(open_result(HKEY_CURRENT_USER, "OnlyDefault"), 2);
}

TEST_F(Roots, OfMachineAndUserAreApart) {
  ASSERT_NE(created(HKEY_LOCAL_MACHINE, "Software\\Apart"), nullptr);
  EXPECT_EQ(open_result(HKEY_CURRENT_USER, "Software\\Apart"), 2);
  EXPECT_EQ(open_result(HKEY_LOCAL_MACHINE, path()), 2);
}

TEST_F(Roots, HoldValuesThemselves) {
  for (HKEY root : {HKEY_CLASSES_ROOT, HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE, HKEY_CURRENT_CONFIG}) {
    ASSERT_EQ(set_value(root, "on the root", REG_BINARY, "x"), 0);
    EXPECT_EQ(value_of(root, "on the root").data(), "x");
    EXPECT_EQ(RegDeleteValue(root, "on the root"), 0);
  }
}

TEST_F(Roots, OfPerformanceHaveNothing) {
  for (HKEY root : {HKEY_PERFORMANCE_DATA, HKEY_PERFORMANCE_TEXT, HKEY_PERFORMANCE_NLSTEXT}) {
    EXPECT_EQ(query_size(root, "Counter 9").code, 2);
    EXPECT_EQ(open_result(root, "x"), 2);
    EXPECT_EQ(value_names(root), std::vector<std::string>{});
  }
  char text[4];
  LONG size = 4;
  EXPECT_EQ(RegQueryValue(HKEY_PERFORMANCE_DATA, nullptr, text, &size), 6);
  EXPECT_EQ(RegSetValue(HKEY_PERFORMANCE_DATA, nullptr, REG_SZ, "x", 1), 6);
}

TEST_F(Roots, AreReachedThroughThisMachinesName) {
  ASSERT_EQ(set_value(HKEY_LOCAL_MACHINE, "mark", REG_BINARY, "x"), 0);
  char host[256] = "\\\\";
  ASSERT_EQ(gethostname(host + 2, sizeof host - 3), 0);
  for (const char* machine : {static_cast<const char*>(nullptr), static_cast<const char*>(host)}) {
    Key root;
    ASSERT_EQ(RegConnectRegistry(machine, HKEY_LOCAL_MACHINE, root.out()), 0);
    EXPECT_EQ(value_of(root, "mark").data(), "x");
  }
}

}  // namespace
}  // namespace kvtest
