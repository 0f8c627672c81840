// Creating and opening keys over the store.
#include "tests/impl/module.h"

namespace {

using namespace kvtest;

class CreateKey : public Store_Test {};
class OpenKey : public Store_Test {};

TEST_F(CreateKey, TellsWhetherTheKeyWasMadeOrStood) {
  HKEY first = nullptr, second = nullptr;
  DWORD disposition = 0;
  EXPECT_EQ(create_key(base, u"k", &first, KEY_ALL_ACCESS, 0, &disposition), 0u);
  EXPECT_EQ(disposition, 1u);
  EXPECT_EQ(create_key(base, u"k", &second, KEY_ALL_ACCESS, 0, &disposition), 0u);
  EXPECT_EQ(disposition, 2u);
  EXPECT_NE(first, second);
}

TEST_F(CreateKey, MakesWhatIsMissingOfThePath) {
  made(u"a\\b\\c");
  EXPECT_EQ(sub_keys(base), (Names{u"a"}));
  HKEY parent = nullptr;
  ASSERT_EQ(open_key(base, u"a\\b", &parent), 0u);
  EXPECT_EQ(sub_keys(parent), (Names{u"c"}));
}

TEST_F(CreateKey, IgnoresDoubledAndTrailingBackslashes) {
  made(u"a\\\\b\\");
  HKEY key = nullptr;
  EXPECT_EQ(open_key(base, u"a\\b", &key), 0u);
  EXPECT_EQ(open_key(base, u"\\a\\\\\\b\\\\", &key), 0u);
}

TEST_F(CreateKey, WithoutASubKeyIsTheKeyAgain) {
  set_value(base, u"v", REG_BINARY, "x");
  const auto empty = win(u"");
  for (const WinChar* path : {static_cast<const WinChar*>(nullptr), empty.data()}) {
    HKEY key = nullptr;
    DWORD disposition = 0;
    EXPECT_EQ(
        entries().KvIRegCreateKeyEx(base, path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, &disposition, 0, nullptr),
        0u);
    EXPECT_NE(key, base);
    EXPECT_EQ(disposition, 2u);
    EXPECT_EQ(value_of(key, u"v").data, "x");
  }
}

TEST_F(CreateKey, KeepsTheFirstWritingAndFindsEveryOther) {
  made(u"MiXed \u00c4\u03a9\u0416");
  HKEY key = nullptr;
  EXPECT_EQ(open_key(base, u"mIxED \u00e4\u03c9\u0436", &key), 0u);
  made(u"MIXED \u00c4\u03c9\u0416");
  EXPECT_EQ(sub_keys(base), (Names{u"MiXed \u00c4\u03a9\u0416"}));
}

TEST_F(CreateKey, TakesNamesOf255And256UnitsAndRefusesLongerOnes) {
  made(std::u16string(255, u'a'));
  made(std::u16string(256, u'b'));
  HKEY key = nullptr;
  EXPECT_EQ(create_key(base, std::u16string(257, u'c'), &key), 87u);
  EXPECT_EQ(create_key(base, u"d\\" + std::u16string(257, u'c'), &key), 87u);
  EXPECT_EQ(key, nullptr);
  EXPECT_EQ(sub_keys(base), (Names{std::u16string(255, u'a'), std::u16string(256, u'b')}));
}

TEST_F(CreateKey, StoresTheClassOfANewKeyOnly) {
  HKEY key = nullptr;
  for (std::u16string_view class_name : {u"first", u"second"}) {
    ASSERT_EQ(entries().KvIRegCreateKeyEx(base, win(u"k").data(), 0, win(class_name).data(), 0, KEY_ALL_ACCESS, nullptr,
                                          &key, nullptr, 0, nullptr),
              0u);
  }
  WinChar text[8];
  DWORD count = 8;
  ASSERT_EQ(entries().KvIRegQueryInfoKey(key, text, &count, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                         nullptr, nullptr, nullptr, nullptr),
            0u);
  EXPECT_EQ(units(text, count), u"first");
}

TEST_F(CreateKey, RefusesALastingKeyBelowAVolatileOne) {
  const HKEY parent = made(u"gone", KEY_ALL_ACCESS, REG_OPTION_VOLATILE);
  HKEY key = nullptr;
  EXPECT_EQ(create_key(parent, u"k", &key), 1021u);
  EXPECT_EQ(create_key(parent, u"k", &key, KEY_ALL_ACCESS, REG_OPTION_VOLATILE), 0u);
}

TEST_F(CreateKey, AsksForTheRightToCreateOnlyWhenTheKeyIsNew) {
  made(u"stands");
  HKEY reader = nullptr, key = nullptr;
  ASSERT_EQ(open_key(base, u"", &reader, KEY_READ), 0u);
  EXPECT_EQ(create_key(reader, u"stands", &key, KEY_SET_VALUE), 0u);
  EXPECT_EQ(set_value(key, u"v", REG_BINARY, "x"), 0u);
  EXPECT_EQ(create_key(reader, u"new", &key), 5u);
  EXPECT_EQ(create_key(reader, u"stands\\new", &key), 5u);
  EXPECT_EQ(sub_keys(base), (Names{u"stands"}));
  ASSERT_EQ(open_key(base, u"", &reader, KEY_CREATE_SUB_KEY), 0u);
  EXPECT_EQ(create_key(reader, u"new", &key), 0u);
}

TEST_F(OpenKey, OfAMissingKeyIs2AndLeavesTheResult) {
  HKEY key = HKEY(0x77);
  EXPECT_EQ(open_key(base, u"missing", &key), 2u);
  EXPECT_EQ(open_key(base, u"missing\\too", &key), 2u);
  EXPECT_EQ(key, HKEY(0x77));
}

TEST_F(OpenKey, WithoutASubKeyGivesANewHandleOfTheSameKey) {
  HKEY by_null = nullptr, by_empty = nullptr;
  EXPECT_EQ(entries().KvIRegOpenKeyEx(base, nullptr, 0, KEY_ALL_ACCESS, &by_null, nullptr), 0u);
  EXPECT_EQ(open_key(base, u"", &by_empty), 0u);
  EXPECT_NE(by_null, base);
  EXPECT_NE(by_null, by_empty);
  EXPECT_EQ(set_value(by_null, u"v", REG_BINARY, "x"), 0u);
  EXPECT_EQ(close_key(by_null), 0u);
  EXPECT_EQ(value_of(by_empty, u"v").data, "x");
}

TEST_F(OpenKey, AsksNoRightOfTheHandleItStartsFrom) {
  made(u"k");
  HKEY nothing = nullptr, key = nullptr;
  ASSERT_EQ(open_key(base, u"", &nothing, 0), 0u);
  EXPECT_EQ(open_key(nothing, u"k", &key, KEY_ALL_ACCESS), 0u);
  EXPECT_EQ(set_value(key, u"v", REG_BINARY, "x"), 0u);
}

TEST_F(OpenKey, IgnoresReservedOptions) {
  HKEY key = nullptr;
  EXPECT_EQ(entries().KvIRegOpenKeyEx(base, nullptr, REG_OPTION_OPEN_LINK, KEY_READ, &key, nullptr), 0u);
}

}  // namespace
