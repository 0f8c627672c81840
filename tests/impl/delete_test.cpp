// Deleting keys and values over the store, and what is left of their handles.
#include "tests/impl/module.h"

namespace {

using namespace kvtest;

class DeleteKey : public Store_Test {};
class DeletedKey : public Store_Test {};
class DeleteValue : public Store_Test {};

TEST_F(DeleteKey, OfAMissingKeyIs2) {
  EXPECT_EQ(delete_key(base, u"missing"), 2u);
  EXPECT_EQ(delete_key(base, u"missing\\too"), 2u);
}

TEST_F(DeleteKey, WithSubKeysIs5AndDeletesNothing) {
  made(u"a\\b");
  EXPECT_EQ(delete_key(base, u"a"), 5u);
  HKEY key = nullptr;
  EXPECT_EQ(open_key(base, u"a\\b", &key), 0u);
}

TEST_F(DeleteKey, TakesValuesAlongAndAPathOfSeveralParts) {
  const HKEY key = made(u"a\\b");
  set_value(key, u"v", REG_BINARY, "x");
  EXPECT_EQ(delete_key(base, u"A\\\\B\\"), 0u);
  HKEY parent = nullptr;
  ASSERT_EQ(open_key(base, u"a", &parent), 0u);
  EXPECT_EQ(sub_keys(parent), Names{});
}

TEST_F(DeleteKey, WithAnEmptyNameIsTheKeyItself) {
  const HKEY key = made(u"k");
  EXPECT_EQ(delete_key(key, u""), 0u);
  EXPECT_EQ(sub_keys(base), Names{});
}

TEST_F(DeleteKey, WithoutANameIs87) { EXPECT_EQ(entries().KvIRegDeleteKey(base, nullptr, nullptr), 87u); }

TEST_F(DeleteKey, AsksNoRightOfTheParentsHandle) {
  made(u"k");
  HKEY nothing = nullptr;
  ASSERT_EQ(open_key(base, u"", &nothing, 0), 0u);
  EXPECT_EQ(delete_key(nothing, u"k"), 0u);
}

TEST_F(DeleteKey, OfARootIs5) {
  EXPECT_EQ(delete_key(HKEY_LOCAL_MACHINE, u""), 5u);
  EXPECT_EQ(delete_key(HKEY_CURRENT_USER, u""), 5u);
}

TEST_F(DeletedKey, Answers1018ToEverythingButClosing) {
  const HKEY key = made(u"k");
  set_value(key, u"v", REG_BINARY, "x");
  ASSERT_EQ(delete_key(base, u"k"), 0u);
  HKEY other = nullptr;
  unsigned mode = 0;
  EXPECT_EQ(value_of(key, u"v").code, 1018u);
  EXPECT_EQ(set_value(key, u"v", REG_BINARY, "x"), 1018u);
  EXPECT_EQ(delete_value(key, u"v"), 1018u);
  EXPECT_EQ(sub_key(key, 0).code, 1018u);
  EXPECT_EQ(value_name(key, 0).code, 1018u);
  EXPECT_EQ(entries().KvIRegQueryInfoKey(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                         nullptr, nullptr, nullptr, nullptr),
            1018u);
  EXPECT_EQ(create_key(key, u"new", &other), 1018u);
  EXPECT_EQ(open_key(key, u"new", &other), 1018u);
  EXPECT_EQ(open_key(key, u"", &other), 1018u);
  EXPECT_EQ(delete_key(key, u""), 1018u);
  EXPECT_EQ(entries().KvIRegUxDescribeKey(key, nullptr, &mode, nullptr, nullptr, nullptr), 1018u);
  EXPECT_EQ(close_key(key), 0u);
  EXPECT_EQ(close_key(key), 6u);
}

TEST_F(DeletedKey, StaysDeletedThoughAnotherOfItsNameIsMade) {
  const HKEY old_key = made(u"k");
  ASSERT_EQ(delete_key(base, u"k"), 0u);
  const HKEY new_key = made(u"k");
  EXPECT_EQ(set_value(new_key, u"v", REG_BINARY, "x"), 0u);
  EXPECT_EQ(value_of(old_key, u"v").code, 1018u);
}

TEST_F(DeleteValue, OfAMissingValueIs2) {
  EXPECT_EQ(delete_value(base, u"missing"), 2u);
  EXPECT_EQ(entries().KvIRegDeleteValue(base, nullptr, nullptr), 2u);
}

TEST_F(DeleteValue, FindsItInAnyCaseOfLetters) {
  set_value(base, u"Name", REG_BINARY, "x");
  EXPECT_EQ(delete_value(base, u"nAME"), 0u);
  EXPECT_EQ(value_names(base), Names{});
}

TEST_F(DeleteValue, WithoutANameIsTheDefaultValue) {
  set_value(base, u"", REG_BINARY, "x");
  set_value(base, u"other", REG_BINARY, "y");
  EXPECT_EQ(entries().KvIRegDeleteValue(base, nullptr, nullptr), 0u);
  EXPECT_EQ(value_names(base), (Names{u"other"}));
}

}  // namespace
