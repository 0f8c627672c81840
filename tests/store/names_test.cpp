// Names of keys and values: how long they may be, and how paths are taken apart.
#include "tests/store/store_test.h"

namespace kvtest {
namespace {

std::string times(int count, const std::string& piece) {
  std::string text;
  for (int i = 0; i < count; ++i) text += piece;
  return text;
}

class Key_Names : public Store_Test {
 protected:
  LSTATUS create(const std::string& name) {
    Key made;
    return RegCreateKeyEx(key, name.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, made.out(), nullptr);
  }
};

TEST_F(Key_Names, HaveUpTo256Units) {
  for (int units : {1, 255, 256}) {
    std::string name = times(units, "n");
    EXPECT_EQ(create(name), 0) << units;
    EXPECT_EQ(open_result(key, name), 0) << units;
    EXPECT_EQ(sub_keys(key), std::vector<std::string>{name});
    EXPECT_EQ(RegDeleteKey(key, name.c_str()), 0) << units;
  }
}

TEST_F(Key_Names, AreCountedInUnitsAndNotInBytes) {
  std::string name = times(256, "\xE2\x82\xAC");
  EXPECT_EQ(create(name), 0);
  EXPECT_EQ(sub_keys(key), std::vector<std::string>{name});
}

TEST_F(Key_Names, Of257UnitsAre87AndMakeNothing) {
  HKEY untouched_key = handle_of(0x77);
  EXPECT_EQ(RegCreateKeyEx(key, times(257, "n").c_str(), 0, nullptr, 0, KEY_READ, nullptr, &untouched_key, nullptr),
            87);
  EXPECT_EQ(number_of(untouched_key), 0x77u);
  EXPECT_EQ(create(times(257, "\xC3\xA4")), 87);
  EXPECT_EQ(create("a\\" + times(257, "n")), 87);
  EXPECT_EQ(open_result(key, times(257, "n")), 87);
  EXPECT_EQ(sub_keys(key), std::vector<std::string>{});
}

TEST_F(Key_Names, RoomForTheLongestPlusOneIsEnoughToList) {
  ASSERT_EQ(create(times(256, "n")), 0);
  char name[257];
  DWORD size = 257;
  EXPECT_EQ(RegEnumKeyEx(key, 0, name, &size, nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(size, 256u);
  EXPECT_EQ(std::string(name, 257), times(256, "n") + '\0');
}

TEST_F(Key_Names, InALongPathMayAllBeLong) {
  std::string path = times(20, times(256, "p") + "\\") + "end";
  EXPECT_EQ(create(path), 0);
  EXPECT_EQ(open_result(key, path), 0);
  EXPECT_EQ(sub_keys(key), std::vector<std::string>{times(256, "p")});
}

TEST_F(Key_Names, MayStandFiveHundredDeep) {
  std::string path = "d" + times(499, "\\d");
  EXPECT_EQ(create(path), 0);
  EXPECT_EQ(open_result(key, path), 0);
  EXPECT_EQ(open_result(key, path + "\\d"), 2);
}

TEST_F(Key_Names, EndAtTheirFirstZero) {
  EXPECT_EQ(create("ab\0cd"s), 0);
  EXPECT_EQ(RegCreateKeyEx(key, "ab\0ef", 0, nullptr, 0, KEY_READ, nullptr, Key().out(), nullptr), 0);
  EXPECT_EQ(sub_keys(key), std::vector<std::string>{"ab"});
}

class Paths : public Key_Names {};

TEST_F(Paths, OfSeveralPartsMakeWhatIsMissing) {
  Key made;
  DWORD disposition = untouched;
  ASSERT_EQ(RegCreateKeyEx(key, "a\\b\\c", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, made.out(), &disposition), 0);
  EXPECT_EQ(disposition, REG_CREATED_NEW_KEY);
  EXPECT_EQ(sub_keys(key), std::vector<std::string>{"a"});
  EXPECT_EQ(sub_keys(opened(key, "a")), std::vector<std::string>{"b"});
  EXPECT_EQ(sub_keys(opened(key, "a\\b")), std::vector<std::string>{"c"});
  ASSERT_EQ(RegCreateKeyEx(key, "a\\b", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, made.out(), &disposition), 0);
  EXPECT_EQ(disposition, REG_OPENED_EXISTING_KEY);
}

TEST_F(Paths, IgnoreDoubledAndTrailingBackslashes) {
  ASSERT_EQ(create("a\\\\b\\\\\\c\\"), 0);
  EXPECT_EQ(sub_keys(opened(key, "a\\b")), std::vector<std::string>{"c"});
  for (const char* path : {"a\\b\\c", "a\\b\\c\\", "a\\\\b\\c\\\\", "A\\\\\\B\\C"})
    EXPECT_EQ(open_result(key, path), 0);
  EXPECT_EQ(RegDeleteKey(key, "a\\\\b\\c\\\\"), 0);
  EXPECT_EQ(sub_keys(opened(key, "a\\b")), std::vector<std::string>{});
}

TEST_F(Paths, DeleteTheirLastPartOnly) {
  ASSERT_EQ(create("a\\b\\c"), 0);
  EXPECT_EQ(RegDeleteKey(key, "a\\b\\c"), 0);
  EXPECT_EQ(open_result(key, "a\\b"), 0);
  EXPECT_EQ(open_result(key, "a\\b\\c"), 2);
}

TEST_F(Paths, WithAMissingPartAre2) {
  ASSERT_EQ(create("a"), 0);
  HKEY out = handle_of(0x77);
  EXPECT_EQ(RegOpenKeyEx(key, "a\\b\\c", 0, KEY_READ, &out), 2);
  EXPECT_EQ(number_of(out), 0x77u);
  EXPECT_EQ(RegDeleteKey(key, "a\\b\\c"), 2);
  EXPECT_EQ(RegDeleteKey(key, "b"), 2);
}

TEST_F(Paths, KnowNoOtherSeparatorThanTheBackslash) {
  ASSERT_EQ(create("a/b.c:d"), 0);
  EXPECT_EQ(sub_keys(key), std::vector<std::string>{"a/b.c:d"});
}

class Empty_Sub_Key : public Store_Test {
 protected:
  // Another handle of the same key, which lives on its own.
  void expect_opened_anew(HKEY again) {
    EXPECT_NE(number_of(again), number_of(key));
    EXPECT_EQ(set_value(again, "v", REG_BINARY, "x"), 0);
    EXPECT_EQ(value_of(key, "v").data(), "x");
    EXPECT_EQ(RegCloseKey(again), 0);
    EXPECT_EQ(value_of(key, "v").data(), "x");
    EXPECT_EQ(query_size(again, "v").code, 6);
  }
};

TEST_F(Empty_Sub_Key, OpensTheKeyAgainAsANewHandle) {
  for (const char* sub_key : {static_cast<const char*>(nullptr), "", "\\", "\\\\"}) {
    HKEY again = nullptr;
    ASSERT_EQ(RegOpenKeyEx(key, sub_key, 0, KEY_ALL_ACCESS, &again), 0);
    expect_opened_anew(again);
  }
}

TEST_F(Empty_Sub_Key, OfACreationOpensTheKeyAgainAsANewHandle) {
  for (const char* sub_key : {static_cast<const char*>(nullptr), ""}) {
    HKEY again = nullptr;
    DWORD disposition = untouched;
    ASSERT_EQ(RegCreateKeyEx(key, sub_key, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &again, &disposition), 0);
    EXPECT_EQ(disposition, REG_OPENED_EXISTING_KEY);
    expect_opened_anew(again);
  }
}

TEST_F(Empty_Sub_Key, OfADeletionIsTheKeyItselfAndNoneIs87) {
  EXPECT_EQ(RegDeleteKey(key, nullptr), 87);
  EXPECT_EQ(set_value(key, "v", REG_BINARY, "x"), 0);
  EXPECT_EQ(RegDeleteKey(key, ""), 0);
  EXPECT_EQ(open_result(HKEY_CURRENT_USER, path()), 2);
  EXPECT_EQ(query_size(key, "v").code, 1018);
}

class Value_Names : public Store_Test {};

TEST_F(Value_Names, ThatAreNullOrEmptyAreTheDefaultValue) {
  ASSERT_EQ(set_value(key, nullptr, REG_SZ, "1\0"s), 0);
  EXPECT_EQ(value_of(key, "").data(), "1\0"s);
  ASSERT_EQ(set_value(key, "", REG_SZ, "2\0"s), 0);
  EXPECT_EQ(value_of(key, nullptr).data(), "2\0"s);
  EXPECT_EQ(value_names(key), std::vector<std::string>{""});
  EXPECT_EQ(RegDeleteValue(key, nullptr), 0);
  EXPECT_EQ(RegDeleteValue(key, ""), 2);
  EXPECT_EQ(query_size(key, nullptr).code, 2);
}

TEST_F(Value_Names, HaveUpTo16383Units) {
  for (const std::string& name :
       {times(255, "v"), times(256, "v"), times(257, "v"), times(16383, "v"), times(16383, "\xC3\xA4")}) {
    ASSERT_EQ(set_value(key, name.c_str(), REG_BINARY, "x"), 0) << name.size();
    EXPECT_EQ(value_of(key, name.c_str()).data(), "x") << name.size();
    EXPECT_EQ(value_names(key), std::vector<std::string>{name});
    EXPECT_EQ(RegDeleteValue(key, name.c_str()), 0) << name.size();
  }
}

TEST_F(Value_Names, Of16384UnitsAre87AndStoreNothing) {
  EXPECT_EQ(set_value(key, times(16384, "v").c_str(), REG_BINARY, "x"), 87);
  EXPECT_EQ(set_value(key, times(16384, "\xC3\xA4").c_str(), REG_BINARY, "x"), 87);
  EXPECT_NE(query_size(key, times(16384, "v").c_str()).code, 0);
  EXPECT_EQ(value_names(key), std::vector<std::string>{});
}

TEST_F(Value_Names, RoomForTheLongestPlusOneIsEnoughToList) {
  ASSERT_EQ(set_value(key, times(16383, "v").c_str(), REG_BINARY, "x"), 0);
  std::string name(16384, '#');
  DWORD size = 16384;
  EXPECT_EQ(RegEnumValue(key, 0, name.data(), &size, nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(size, 16383u);
  EXPECT_TRUE(name == times(16383, "v") + '\0');
}

TEST_F(Value_Names, KeepTheirBackslashes) {
  const std::vector<std::string> names = {"\\", "a\\b", "a\\b\\", "a\\\\b"};
  for (const std::string& name : names) ASSERT_EQ(set_value(key, name.c_str(), REG_BINARY, name), 0);
  for (const std::string& name : names) EXPECT_EQ(value_of(key, name.c_str()).data(), name);
  EXPECT_EQ(value_names(key).size(), 4u);
  EXPECT_EQ(sub_keys(key).size(), 0u);
}

TEST_F(Value_Names, MayBeThoseOfSubKeys) {
  ASSERT_NE(created(key, "same"), nullptr);
  ASSERT_EQ(set_value(key, "same", REG_BINARY, "x"), 0);
  EXPECT_EQ(RegDeleteValue(key, "same"), 0);
  EXPECT_EQ(open_result(key, "same"), 0);
}

}  // namespace
}  // namespace kvtest
