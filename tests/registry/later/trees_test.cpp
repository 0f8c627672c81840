// Trees deleted and copied.
#include "tests/store/store_test.h"

namespace {

using namespace kvtest;

using Names = std::vector<std::string>;

class Trees : public Store_Test {
 protected:
  // "top" with a value and, below it, "a\deep" and "b" with values of their own.
  Key made_tree() {
    Key top = created(key, "top");
    set_number(top, "n", 1);
    set_value(created(key, "top\\a\\deep"), "", REG_SZ, "bottom\0"s);
    set_value(created(key, "top\\b"), "bytes", REG_BINARY, "\0\1\2"s);
    return top;
  }
};

TEST_F(Trees, AreDeletedWithTheirTop) {
  made_tree();
  created(key, "other");
  EXPECT_EQ(RegDeleteTreeA(key, "top"), 0);
  EXPECT_EQ(sub_keys(key), Names({"other"}));
}

TEST_F(Trees, AreEmptiedWithoutAName) {
  for (const char* no_name : {static_cast<const char*>(nullptr), ""}) {
    const Key top = made_tree();
    EXPECT_EQ(RegDeleteTreeA(top, no_name), 0);
    EXPECT_EQ(sub_keys(top), Names());
    EXPECT_EQ(value_names(top), Names());
    EXPECT_EQ(set_number(top, "still here", 1), 0);
  }
}

TEST_F(Trees, AreDeletedByTheWideForm) {
  created(key, "d\xC3\xA9\\e");
  EXPECT_EQ(RegDeleteTreeW(key, L"d\u00E9"), 0);
  EXPECT_EQ(sub_keys(key), Names());
}

TEST_F(Trees, ThatAreNotThereAreNotFound) {
  EXPECT_EQ(RegDeleteTreeA(key, "none"), 2);
  EXPECT_EQ(RegCopyTreeA(key, "none", key), 2);
  EXPECT_EQ(RegDeleteTreeA(handle_of(0x1234), "none"), 6);
}

TEST_F(Trees, AreNotEmptiedThroughAHandleWithoutTheRight) {
  made_tree();
  EXPECT_EQ(RegDeleteTreeA(opened(key, "top", KEY_QUERY_VALUE), nullptr), 5);
  EXPECT_EQ(sub_keys(opened(key, "top")), Names({"a", "b"}));
}

TEST_F(Trees, OfTwoHundredLevelsAreDeleted) {
  std::string path = "deep";
  for (int level = 0; level < 200; ++level) path += "\\k";
  created(key, path);
  EXPECT_EQ(RegDeleteTreeA(key, "deep"), 0);
  EXPECT_EQ(sub_keys(key), Names());
}

TEST_F(Trees, AreCopiedWithAllTheirValues) {
  made_tree();
  const Key copy = created(key, "copy");
  EXPECT_EQ(RegCopyTreeA(key, "top", copy), 0);
  EXPECT_EQ(sub_keys(copy), Names({"a", "b"}));
  EXPECT_EQ(value_of(copy, "n").data(), "\1\0\0\0"s);
  EXPECT_EQ(value_of(copy, "n").type, REG_DWORD);
  EXPECT_EQ(value_of(opened(copy, "a\\deep"), "").data(), "bottom\0"s);
  EXPECT_EQ(value_of(opened(copy, "b"), "bytes").data(), "\0\1\2"s);
  EXPECT_EQ(sub_keys(opened(key, "top")), Names({"a", "b"}));
}

TEST_F(Trees, AreCopiedIntoWhatStandsThere) {
  const Key top = made_tree();
  const Key copy = created(key, "copy");
  set_number(copy, "n", 9);
  set_number(copy, "own", 9);
  created(copy, "a\\own");
  EXPECT_EQ(RegCopyTreeW(top, nullptr, copy), 0);
  EXPECT_EQ(value_of(copy, "n").data(), "\1\0\0\0"s);
  EXPECT_EQ(value_of(copy, "own").data(), "\x9\0\0\0"s);
  EXPECT_EQ(sub_keys(opened(copy, "a")), Names({"deep", "own"}));
}

TEST_F(Trees, AreCopiedBelowThemselvesOnce) {
  const Key top = made_tree();
  const Key deep = opened(top, "a\\deep");
  EXPECT_EQ(RegCopyTreeA(top, nullptr, deep), 0);
  EXPECT_EQ(sub_keys(deep), Names({"a", "b"}));
  EXPECT_EQ(value_of(deep, "n").data(), "\1\0\0\0"s);
  const Key copied = opened(deep, "a\\deep");
  EXPECT_EQ(value_of(copied, "").data(), "bottom\0"s);
  EXPECT_EQ(sub_keys(copied), Names()) << "what was made is not copied again";
}

TEST_F(Trees, KeepTheClassesOfTheirKeysAndLargeValues) {
  Key classy;
  char class_name[] = "a class";
  RegCreateKeyExA(key, "top\\c", 0, class_name, 0, KEY_ALL_ACCESS, nullptr, classy.out(), nullptr);
  const std::string large(200000, 'x');
  set_value(classy, "large", REG_BINARY, large);
  const Key copy = created(key, "copy");
  EXPECT_EQ(RegCopyTreeA(key, "top", copy), 0);
  const Key copied = opened(copy, "c");
  char found[32] = "";
  DWORD length = sizeof found;
  RegQueryInfoKeyA(copied, found, &length, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                   nullptr);
  EXPECT_STREQ(found, "a class");
  EXPECT_EQ(value_of(copied, "large").data(), large);
}

TEST_F(Trees, KeepAClassOfOneCharacter) {
  Key classy;
  char class_name[] = "c";
  RegCreateKeyExA(key, "top\\c", 0, class_name, 0, KEY_ALL_ACCESS, nullptr, classy.out(), nullptr);
  const Key copy = created(key, "copy");
  EXPECT_EQ(RegCopyTreeA(key, "top", copy), 0);
  char found[32] = "";
  DWORD length = sizeof found;
  RegQueryInfoKeyA(opened(copy, "c"), found, &length, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                   nullptr, nullptr);
  EXPECT_STREQ(found, "c");
}

TEST_F(Trees, WithHundredsOfKeysAreCopied) {
  const Key top = created(key, "top");
  for (int number = 0; number < 400; ++number) created(top, "key " + std::to_string(number));
  const Key copy = created(key, "copy");
  EXPECT_EQ(RegCopyTreeA(top, nullptr, copy), 0);
  EXPECT_EQ(sub_keys(copy).size(), 400u);
  EXPECT_EQ(RegDeleteTreeA(key, nullptr), 0);
}

}  // namespace
