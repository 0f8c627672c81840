// Reading several wide values into one buffer.
#include <vector>

#include "tests/registry/fronts.h"
#include "tests/registry/wide_text.h"

namespace kvtest {
namespace {

wchar_t name_a[] = L"a", name_b[] = L"\u20AC", name_c[] = L"c";

// An entry to be filled in, with marks in every field.
VALENTW wanted(wchar_t* name) { return {name, 0xEEEEEEE1, 0xEEEEEEE2, 0xEEEEEEE3}; }

class Wide_Query_Multiple_Values : public Fronts {
 protected:
  LSTATUS read(wchar_t* room, DWORD* total) {
    return RegQueryMultipleValuesW(key, values.data(), static_cast<DWORD>(values.size()), room, total);
  }
  void script(const Behaviour& behaviour) { recording.script("KvIRegQueryValueEx", behaviour); }
  void expect_untouched() {
    for (const VALENTW& value : values) {
      EXPECT_EQ(value.ve_valuelen, 0xEEEEEEE1u);
      EXPECT_EQ(value.ve_valueptr, 0xEEEEEEE2u);
      EXPECT_EQ(value.ve_type, 0xEEEEEEE3u);
    }
    EXPECT_TRUE(buffer.untouched());
  }
  void expect_value(std::size_t index, DWORD size, std::uint64_t pointer, DWORD type) {
    EXPECT_EQ(values[index].ve_valuelen, size);
    EXPECT_EQ(values[index].ve_valueptr, pointer);
    EXPECT_EQ(values[index].ve_type, type);
  }

  std::vector<VALENTW> values{wanted(name_a), wanted(name_b), wanted(name_c)};
  Wide_Room buffer;
};

TEST_F(Wide_Query_Multiple_Values, ANullTotalIsRefused) {
  EXPECT_EQ(RegQueryMultipleValuesW(key, unreadable<VALENTW>(0x10), 3, buffer.text, nullptr), 87);
  EXPECT_EQ(RegQueryMultipleValuesW(key, nullptr, 0, nullptr, nullptr), 87);
  EXPECT_EQ(entries(), "");
}

TEST_F(Wide_Query_Multiple_Values, ABufferOfNoBytesOrAboveOneMebibyteIsRefused) {
  for (DWORD size : {0u, 0x100001u, 0x80000000u, 0xFFFFFFFFu}) {
    DWORD total = size;
    EXPECT_EQ(read(buffer.text, &total), 87);
    EXPECT_EQ(total, size);
  }
  EXPECT_EQ(entries(), "");
  expect_untouched();
}

TEST_F(Wide_Query_Multiple_Values, ABufferOfOneMebibyteIsTaken) {
  std::vector<wchar_t> large(0x40000, L'#');
  values.resize(1);
  script(answer_value(0, REG_BINARY, "x"));
  DWORD total = 0x100000;
  EXPECT_EQ(read(large.data(), &total), 0);
  EXPECT_EQ(total, 4u);
  EXPECT_EQ(call()["data_size"].count, 0x100000u);
}

TEST_F(Wide_Query_Multiple_Values, LaysTheValuesAtMultiplesOfFourBytes) {
  script(answer_value(0, REG_BINARY, "12345"));
  script(answer_value(0, REG_SZ, "\0h\x20\xAC\0\0"s));
  script(answer_value(0, REG_DWORD, "\1\2\3\4"));
  DWORD total = 40;
  EXPECT_EQ(read(buffer.text, &total), 0);
  EXPECT_EQ(total, 24u);
  EXPECT_EQ(memcmp(buffer.text, "12345", 5), 0);
  EXPECT_EQ(std::wstring(buffer.text + 2, 3), L"h\u20AC\0"s);
  EXPECT_EQ(memcmp(buffer.text + 5, "\1\2\3\4", 4), 0);
  EXPECT_EQ(std::wstring(buffer.text + 6, 4), L"####");
  expect_value(0, 5, number_of(buffer.text), 3);
  expect_value(1, 12, number_of(buffer.text + 2), 1);
  expect_value(2, 4, number_of(buffer.text + 5), 4);
  EXPECT_EQ(values[0].ve_valuename, name_a);
}

TEST_F(Wide_Query_Multiple_Values, AsksForEachValueWithTheRoomThatIsLeft) {
  script(answer_value(0, REG_BINARY, "12345"));
  script(answer_value(0, REG_SZ, "\0h\0i\0\0"s));
  script(answer_value(0, REG_BINARY, "1"));
  values[2].ve_valuename = nullptr;
  DWORD total = 40;
  EXPECT_EQ(read(buffer.text, &total), 0);
  EXPECT_EQ(total, 24u);
  ASSERT_EQ(entries(), "KvIRegQueryValueEx KvIRegQueryValueEx KvIRegQueryValueEx ");
  for (std::size_t i : {0u, 1u, 2u}) {
    EXPECT_EQ(call(i).raw("key"), 0x1122334455667788u);
    EXPECT_EQ(call(i).raw("reserved"), 0u);
    EXPECT_NE(call(i).raw("data"), 0u);
    EXPECT_EQ(call(i).raw("null"), 0u);
  }
  EXPECT_EQ(call(0)["value_name"].text, u"a");
  EXPECT_EQ(call(1)["value_name"].text, u"\u20AC");
  EXPECT_EQ(call(2).raw("value_name"), 0u);
  EXPECT_EQ(call(0)["data_size"].count, 40u);
  EXPECT_EQ(call(1)["data_size"].count, 32u);
  EXPECT_EQ(call(2)["data_size"].count, 20u);
}

TEST_F(Wide_Query_Multiple_Values, WithoutBufferTellsSizesAndOffsetsAndReadsEachValueOnce) {
  script(answer_value_size(0, REG_BINARY, 5));
  script(answer_value_size(0, REG_SZ, 6));
  script(answer_value_size(0, REG_DWORD, 4));
  DWORD total = 0;
  EXPECT_EQ(read(nullptr, &total), 0);
  EXPECT_EQ(total, 24u);
  expect_value(0, 5, 0, 3);
  expect_value(1, 12, 8, 1);
  expect_value(2, 4, 20, 4);
  ASSERT_EQ(entries(), "KvIRegQueryValueEx KvIRegQueryValueEx KvIRegQueryValueEx ");
  for (std::size_t i : {0u, 1u, 2u}) EXPECT_EQ(call(i).raw("data"), 0u);
}

TEST_F(Wide_Query_Multiple_Values, WithoutBufferNoTotalIsRefused) {
  for (DWORD size : {0u, 1u, 0x100001u, 0xFFFFFFFFu}) {
    for (int i = 0; i < 3; ++i) script(answer_value_size(0, REG_DWORD, 4));
    DWORD total = size;
    EXPECT_EQ(read(nullptr, &total), 0) << size;
    EXPECT_EQ(total, 12u);
  }
}

TEST_F(Wide_Query_Multiple_Values, NoValuesNeedNoBytes) {
  values.clear();
  for (wchar_t* room : {buffer.text, static_cast<wchar_t*>(nullptr)}) {
    DWORD total = 10;
    EXPECT_EQ(read(room, &total), 0);
    EXPECT_EQ(total, 0u);
  }
  EXPECT_EQ(entries(), "");
  expect_untouched();
}

TEST_F(Wide_Query_Multiple_Values, TheFirstErrorEndsTheCall) {
  script(answer_value(0, REG_BINARY, "12345"));
  script(answer(2));
  DWORD total = 40;
  EXPECT_EQ(read(buffer.text, &total), 2);
  EXPECT_EQ(total, 40u);
  EXPECT_EQ(entries(), "KvIRegQueryValueEx KvIRegQueryValueEx ");
  expect_untouched();
}

TEST_F(Wide_Query_Multiple_Values, TextThatDoesNotFitAnswers234AndLeavesTheTotal) {
  script(answer_value(0, REG_SZ, stored_hello));
  DWORD total = 20;
  EXPECT_EQ(read(buffer.text, &total), 234);
  EXPECT_EQ(total, 20u);
  EXPECT_EQ(entries(), "KvIRegQueryValueEx ");
  expect_untouched();
}

TEST_F(Wide_Query_Multiple_Values, BytesThatDoNotFitAnswer234AndLeaveTheTotal) {
  script(answer_value_size(234, REG_BINARY, 6));
  DWORD total = 5;
  EXPECT_EQ(read(buffer.text, &total), 234);
  EXPECT_EQ(total, 5u);
  expect_untouched();
}

TEST_F(Wide_Query_Multiple_Values, ABufferThatRoundingPassesAnswers87AndTheTotalNeeded) {
  values.resize(1);
  script(answer_value(0, REG_BINARY, "12345"));
  DWORD total = 5;
  EXPECT_EQ(read(buffer.text, &total), 87);
  EXPECT_EQ(total, 8u);
  expect_untouched();
}

TEST_F(Wide_Query_Multiple_Values, ValuesBehindTheEndOfTheBufferAreOnlyMeasured) {
  script(answer_value(0, REG_BINARY, "12345"));
  script(answer_value_size(0, REG_SZ, 6));
  script(answer_value_size(0, REG_BINARY, 7));
  DWORD total = 5;
  EXPECT_EQ(read(buffer.text, &total), 87);
  EXPECT_EQ(total, 28u);
  EXPECT_NE(call(0).raw("data"), 0u);
  EXPECT_EQ(call(1).raw("data"), 0u);
  EXPECT_EQ(call(2).raw("data"), 0u);
  expect_untouched();
}

TEST_F(Wide_Query_Multiple_Values, AValueOfNoBytesFitsAFullBuffer) {
  values.resize(2);
  script(answer_value(0, REG_BINARY, "1234"));
  script(answer_value(0, REG_BINARY, ""));
  DWORD total = 4;
  EXPECT_EQ(read(buffer.text, &total), 0);
  EXPECT_EQ(total, 4u);
  EXPECT_EQ(memcmp(buffer.text, "1234#", 5), 0);
  expect_value(1, 0, number_of(buffer.text + 1), 3);
  EXPECT_NE(call(1).raw("data"), 0u);
  EXPECT_EQ(call(1)["data_size"].count, 0u);
}

TEST_F(Wide_Query_Multiple_Values, TheLayoutOfAnEntryIsThePublishedOne) {
  EXPECT_EQ(sizeof(VALENTW), 32u);
  EXPECT_EQ(offsetof(VALENTW, ve_valuename), 0u);
  EXPECT_EQ(offsetof(VALENTW, ve_valuelen), 8u);
  EXPECT_EQ(offsetof(VALENTW, ve_valueptr), 16u);
  EXPECT_EQ(offsetof(VALENTW, ve_type), 24u);
}

}  // namespace
}  // namespace kvtest
