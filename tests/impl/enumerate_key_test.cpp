// Listing sub-keys over the store.
#include <algorithm>

#include "tests/impl/module.h"

namespace {

using namespace kvtest;

class EnumKey : public Store_Test {};

TEST_F(EnumKey, OfAnEmptyKeyIs259) { EXPECT_EQ(sub_key(base, 0).code, 259u); }

TEST_F(EnumKey, GivesEveryNameOnceAnd259PastTheLast) {
  for (std::u16string_view name : {u"gamma", u"Alpha", u"beta"}) close_key(made(name));
  Names names = sub_keys(base);
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (Names{u"Alpha", u"beta", u"gamma"}));
  EXPECT_EQ(sub_key(base, 3).code, 259u);
  EXPECT_EQ(sub_key(base, 0xFFFFFFFF).code, 259u);
}

TEST_F(EnumKey, NameOfFiveUnitsNeedsRoomForSix) {
  made(u"hello");
  EXPECT_EQ(sub_key(base, 0, 6).code, 0u);
  EXPECT_EQ(sub_key(base, 0, 6).count, 5u);
  EXPECT_EQ(sub_key(base, 0, 5).code, 234u);
  EXPECT_EQ(sub_key(base, 0, 5).count, 5u);
  EXPECT_EQ(sub_key(base, 0, 0).code, 234u);
  EXPECT_EQ(sub_key(base, 0, 0).count, 0u);
}

TEST_F(EnumKey, NameOfTwoUnitsOutsideLatinNeedsRoomForThree) {
  made(u"\u00e9\u00e9");
  EXPECT_EQ(sub_key(base, 0, 4).name, u"\u00e9\u00e9");
  EXPECT_EQ(sub_key(base, 0, 4).count, 2u);
}

TEST_F(EnumKey, DeliversClassAndTime) {
  HKEY key = nullptr;
  ASSERT_EQ(entries().KvIRegCreateKeyEx(base, win(u"k").data(), 0, win(u"cls").data(), 0, KEY_ALL_ACCESS, nullptr, &key,
                                        nullptr, 0, nullptr),
            0u);
  WinChar name[4], class_name[4];
  DWORD name_count = 4, class_count = 4;
  FILETIME time{};
  EXPECT_EQ(entries().KvIRegEnumKeyEx(base, 0, name, &name_count, nullptr, class_name, &class_count, &time, nullptr),
            0u);
  EXPECT_EQ(units(class_name, class_count), u"cls");
  EXPECT_GT(time.dwHighDateTime, 0x01D00000u);  // some time after 2014
}

TEST_F(EnumKey, DeletingIndexZeroAgainAndAgainEmptiesAKey) {
  for (int i = 0; i < 20; ++i) close_key(made(u"k" + std::u16string(1, static_cast<char16_t>(u'a' + i))));
  int deleted = 0;
  for (; deleted < 21; ++deleted) {
    const Listed first = sub_key(base, 0);
    if (first.code != 0) break;
    ASSERT_EQ(delete_key(base, first.name), 0u);
  }
  EXPECT_EQ(deleted, 20);
  EXPECT_EQ(sub_key(base, 0).code, 259u);
}

TEST_F(EnumKey, IsTheSameForwardsAndBackwards) {
  for (int i = 0; i < 20; ++i) close_key(made(u"k" + std::u16string(1, static_cast<char16_t>(u'a' + i))));
  const Names forwards = sub_keys(base);
  Names backwards;
  for (DWORD i = 20; i-- > 0;) backwards.insert(backwards.begin(), sub_key(base, i).name);
  EXPECT_EQ(backwards, forwards);
}

}  // namespace
