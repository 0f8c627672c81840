// Entries for values over a service of the test's own: null data and counts, sizes, what is written and what stays.
#include "tests/impl/scripted_service.h"
#include "tests/registry/guarded_page.h"

namespace {

using namespace kvtest;

class EntriesForValues : public Entries_Test {};

TEST_F(EntriesForValues, NamesOfEveryLengthMayEndWhereTheirPageDoes) {
  Guarded_Page page;
  for (std::size_t length = 0; length <= 40; ++length) {
    std::string units;
    for (std::size_t i = 0; i < length; ++i) units += {'\x01', 'n'};
    units += {'\0', '\0'};
    KvIRegQueryValueEx(key, reinterpret_cast<const WinChar*>(page.ending_with(units)), nullptr, nullptr, nullptr,
                       nullptr, nullptr);
    EXPECT_EQ(scripted.path, std::u16string(length, u'\x016E')) << length;
  }
}

TEST_F(EntriesForValues, NamesLongerThanAnyBlockAreWhole) {
  for (std::size_t length : {511u, 512u, 513u, 2000u}) {
    const std::vector<WinChar> units = [&] {
      std::vector<WinChar> made(length + 1, WinChar{1, 'n'});
      made.back() = WinChar{0, 0};
      return made;
    }();
    KvIRegQueryValueEx(key, units.data(), nullptr, nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(scripted.path, std::u16string(length, u'\x016E')) << length;
  }
}

TEST_F(EntriesForValues, ListedValueIsDeliveredWithNameTypeAndData) {
  Win_Buffer name(6);
  char data[16] = "###############";
  DWORD count = 6, type = 0, size = 12;
  EXPECT_EQ(KvIRegEnumValue(key, 0, name.data(), &count, nullptr, &type, reinterpret_cast<BYTE*>(data), &size, nullptr),
            0u);
  EXPECT_EQ(name.text(), "hello.");
  EXPECT_EQ(count, 5u);
  EXPECT_EQ(type, 1u);
  EXPECT_EQ(size, 12u);
  EXPECT_STREQ(data, "0123456789ab###");
}

TEST_F(EntriesForValues, ListedValueWhoseNameHasNoRoomStillDeliversTypeAndData) {
  Win_Buffer name(5);
  char data[16] = "###############";
  DWORD count = 5, type = 0, size = 15;
  EXPECT_EQ(KvIRegEnumValue(key, 0, name.data(), &count, nullptr, &type, reinterpret_cast<BYTE*>(data), &size, nullptr),
            234u);
  EXPECT_EQ(name.text(), "#####");
  EXPECT_EQ(count, 5u);
  EXPECT_EQ(type, 1u);
  EXPECT_EQ(size, 12u);
  EXPECT_STREQ(data, "0123456789ab###");
}

TEST_F(EntriesForValues, ListedValueWhoseDataHasNoRoomTellsTypeAndSizeAndLeavesTheName) {
  Win_Buffer name(8);
  char data[16] = "###############";
  DWORD count = 8, type = 0, size = 11;
  EXPECT_EQ(KvIRegEnumValue(key, 0, name.data(), &count, nullptr, &type, reinterpret_cast<BYTE*>(data), &size, nullptr),
            234u);
  EXPECT_EQ(name.text(), "########");
  EXPECT_EQ(count, 8u);
  EXPECT_EQ(type, 1u);
  EXPECT_EQ(size, 12u);
  EXPECT_STREQ(data, "###############");
}

TEST_F(EntriesForValues, ListedValueWithoutANameDeliversTheDataOnly) {
  char data[16] = "###############";
  DWORD type = 0, size = 12;
  EXPECT_EQ(KvIRegEnumValue(key, 0, nullptr, nullptr, nullptr, &type, reinterpret_cast<BYTE*>(data), &size, nullptr),
            0u);
  EXPECT_EQ(type, 1u);
  EXPECT_STREQ(data, "0123456789ab###");
}

TEST_F(EntriesForValues, ListedValueTellsSizeOrTypeAloneWithoutData) {
  Win_Buffer name(8);
  DWORD count = 8, type = 0, size = 0;
  EXPECT_EQ(KvIRegEnumValue(key, 0, name.data(), &count, nullptr, &type, nullptr, &size, nullptr), 0u);
  EXPECT_EQ(size, 12u);
  EXPECT_EQ(type, 1u);
  type = 0;
  count = 8;
  EXPECT_EQ(KvIRegEnumValue(key, 0, name.data(), &count, nullptr, &type, nullptr, nullptr, nullptr), 0u);
  EXPECT_EQ(type, 1u);
}

TEST_F(EntriesForValues, ListedValueWithDataOrNameButNoCountIs87) {
  Win_Buffer name(8);
  BYTE data[16] = {};
  DWORD count = 8, size = 16;
  EXPECT_EQ(KvIRegEnumValue(key, 0, name.data(), nullptr, nullptr, nullptr, data, &size, nullptr), 87u);
  EXPECT_EQ(KvIRegEnumValue(key, 0, name.data(), &count, nullptr, nullptr, data, nullptr, nullptr), 87u);
  EXPECT_EQ(name.text(), "########");
}

TEST_F(EntriesForValues, LongValueNamesGoThroughWhole) {
  scripted.stored_name = std::u16string(16383, u'n');
  Win_Buffer name(16385);
  DWORD count = 16384;
  EXPECT_EQ(KvIRegEnumValue(key, 0, name.data(), &count, nullptr, nullptr, nullptr, nullptr, nullptr), 0u);
  EXPECT_EQ(count, 16383u);
  EXPECT_EQ(name.text(), std::string(16383, 'n') + ".#");
  count = 16383;
  EXPECT_EQ(KvIRegEnumValue(key, 0, name.data(), &count, nullptr, nullptr, nullptr, nullptr, nullptr), 234u);
}

TEST_F(EntriesForValues, ValueOfExactlyTheRoomIsDelivered) {
  char data[16] = "###############";
  DWORD type = 99, size = 12;
  EXPECT_EQ(KvIRegQueryValueEx(key, win(u"v").data(), nullptr, &type, reinterpret_cast<BYTE*>(data), &size, nullptr),
            0u);
  EXPECT_EQ(scripted.path, u"v");
  EXPECT_EQ(type, 1u);
  EXPECT_EQ(size, 12u);
  EXPECT_STREQ(data, "0123456789ab###");
}

TEST_F(EntriesForValues, ValueWithoutRoomTellsTypeAndSizeAndWritesNoData) {
  for (DWORD room : {0u, 10u, 11u}) {
    char data[16] = "###############";
    DWORD type = 99, size = room;
    EXPECT_EQ(KvIRegQueryValueEx(key, nullptr, nullptr, &type, reinterpret_cast<BYTE*>(data), &size, nullptr), 234u);
    EXPECT_EQ(type, 1u);
    EXPECT_EQ(size, 12u);
    EXPECT_STREQ(data, "###############");
  }
}

TEST_F(EntriesForValues, ValueSizeIsToldWithoutDataAndTheCountIsNotRead) {
  for (DWORD start : {0u, 1u, 0xFFFFFFFFu}) {
    DWORD type = 99, size = start;
    EXPECT_EQ(KvIRegQueryValueEx(key, nullptr, nullptr, &type, nullptr, &size, nullptr), 0u);
    EXPECT_EQ(type, 1u);
    EXPECT_EQ(size, 12u);
  }
}

TEST_F(EntriesForValues, ValueTypeAloneIsTold) {
  DWORD type = 99;
  EXPECT_EQ(KvIRegQueryValueEx(key, nullptr, nullptr, &type, nullptr, nullptr, nullptr), 0u);
  EXPECT_EQ(type, 1u);
  EXPECT_EQ(KvIRegQueryValueEx(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 0u);
}

TEST_F(EntriesForValues, ValueDataWithoutACountIs87AndWritesNothing) {
  char data[16] = "###############";
  DWORD type = 99;
  EXPECT_EQ(KvIRegQueryValueEx(key, nullptr, nullptr, &type, reinterpret_cast<BYTE*>(data), nullptr, nullptr), 87u);
  EXPECT_EQ(type, 99u);
  EXPECT_STREQ(data, "###############");
}

TEST_F(EntriesForValues, OtherCodesOfAQueryWriteNothing) {
  scripted.code = ERROR_FILE_NOT_FOUND;
  DWORD type = 99, size = 77;
  EXPECT_EQ(KvIRegQueryValueEx(key, nullptr, nullptr, &type, nullptr, &size, nullptr), 2u);
  EXPECT_EQ(type, 99u);
  EXPECT_EQ(size, 77u);
}

TEST_F(EntriesForValues, TextOfAnOddSizeIsStoredWithoutItsLastByte) {
  const BYTE data[] = {0, 'a', 0, 'b', 0};
  for (DWORD type : {1u, 2u, 7u}) {
    EXPECT_EQ(KvIRegSetValueEx(key, win(u"v").data(), 0, type, data, 5, nullptr), 0u);
    EXPECT_EQ(scripted.set_data, (std::vector<BYTE>{0, 'a', 0, 'b'})) << type;
  }
}

TEST_F(EntriesForValues, BytesOfAnOddSizeAreStoredWhole) {
  const BYTE data[] = {1, 2, 3, 4, 5};
  for (DWORD type : {0u, 3u, 4u, 6u, 11u, 33u, 0xFFFFFFFFu}) {
    EXPECT_EQ(KvIRegSetValueEx(key, nullptr, 0, type, data, 5, nullptr), 0u);
    EXPECT_EQ(scripted.set_data.size(), 5u) << type;
    EXPECT_EQ(scripted.set_type, type);
  }
}

TEST_F(EntriesForValues, NoDataIsStoredAsNoBytesAndBytesWithoutDataAre87) {
  EXPECT_EQ(KvIRegSetValueEx(key, nullptr, 0, REG_BINARY, nullptr, 0, nullptr), 0u);
  EXPECT_TRUE(scripted.set_data.empty());
  scripted.path = u"(not asked)";
  EXPECT_EQ(KvIRegSetValueEx(key, nullptr, 0, REG_BINARY, nullptr, 1, nullptr), 87u);
  EXPECT_EQ(scripted.path, u"(not asked)");
}

}  // namespace
