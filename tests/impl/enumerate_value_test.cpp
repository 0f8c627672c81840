// Listing values over the store.
#include <algorithm>

#include "tests/impl/module.h"

namespace {

using namespace kvtest;

class EnumValue : public Store_Test {};

TEST_F(EnumValue, OfAnEmptyKeyIs259) { EXPECT_EQ(value_name(base, 0).code, 259u); }

TEST_F(EnumValue, GivesEveryNameOnceTheDefaultValueIncluded) {
  for (std::u16string_view name : {u"b", u"", u"A"}) set_value(base, name, REG_BINARY, "x");
  Names names = value_names(base);
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (Names{u"", u"A", u"b"}));
  EXPECT_EQ(value_name(base, 3).code, 259u);
}

TEST_F(EnumValue, DeliversNameTypeAndData) {
  set_value(base, u"name", REG_SZ, stored(u"hello"));
  WinChar name[5];
  BYTE data[12];
  DWORD count = 5, type = 0, size = 12;
  EXPECT_EQ(entries().KvIRegEnumValue(base, 0, name, &count, nullptr, &type, data, &size, nullptr), 0u);
  EXPECT_EQ(units(name, count), u"name");
  EXPECT_EQ(type, 1u);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(data), size), stored(u"hello"));
}

TEST_F(EnumValue, WhoseNameHasNoRoomStillDeliversTheData) {
  set_value(base, u"name", REG_SZ, stored(u"hello"));
  WinChar name[5];
  BYTE data[12];
  DWORD count = 4, type = 0, size = 12;
  EXPECT_EQ(entries().KvIRegEnumValue(base, 0, name, &count, nullptr, &type, data, &size, nullptr), 234u);
  EXPECT_EQ(count, 4u);
  EXPECT_EQ(type, 1u);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(data), size), stored(u"hello"));
}

TEST_F(EnumValue, WhoseDataHasNoRoomTellsTypeAndSizeAndCanBeAskedAgainWithTheSameCounts) {
  set_value(base, u"name", REG_SZ, stored(u"hello"));
  WinChar name[5];
  BYTE data[12] = {0xEE};
  DWORD count = 5, type = 0, size = 10;
  EXPECT_EQ(entries().KvIRegEnumValue(base, 0, name, &count, nullptr, &type, data, &size, nullptr), 234u);
  EXPECT_EQ(count, 5u);
  EXPECT_EQ(type, 1u);
  EXPECT_EQ(size, 12u);
  EXPECT_EQ(data[0], 0xEE);
  EXPECT_EQ(entries().KvIRegEnumValue(base, 0, name, &count, nullptr, &type, data, &size, nullptr), 0u);
  EXPECT_EQ(count, 4u);
}

TEST_F(EnumValue, WithoutANameDeliversTheDataOnly) {
  set_value(base, u"name", REG_SZ, stored(u"hello"));
  BYTE data[12];
  DWORD type = 0, size = 12;
  EXPECT_EQ(entries().KvIRegEnumValue(base, 0, nullptr, nullptr, nullptr, &type, data, &size, nullptr), 0u);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(data), size), stored(u"hello"));
}

TEST_F(EnumValue, LongestNameNeedsRoomForOneMore) {
  const std::u16string longest(16383, u'n');
  ASSERT_EQ(set_value(base, longest, REG_BINARY, "x"), 0u);
  EXPECT_EQ(value_name(base, 0, 16384).name, longest);
  EXPECT_EQ(value_name(base, 0, 16383).code, 234u);
}

TEST_F(EnumValue, DeletingIndexZeroAgainAndAgainEmptiesAKey) {
  for (int i = 0; i < 20; ++i) set_value(base, std::u16string(1, static_cast<char16_t>(u'a' + i)), REG_BINARY, "x");
  int deleted = 0;
  for (; deleted < 21; ++deleted) {
    const Listed first = value_name(base, 0);
    if (first.code != 0) break;
    ASSERT_EQ(delete_value(base, first.name), 0u);
  }
  EXPECT_EQ(deleted, 20);
}

}  // namespace
