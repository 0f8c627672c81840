// Reading several values into one buffer.
#include "tests/registry/fronts.h"

#include <vector>

namespace kvtest {
namespace {

char name_a[] = "a", name_b[] = "b", name_c[] = "c";

// An entry to be filled in, with marks in every field.
VALENTA wanted(char* name) { return {name, 0xEEEEEEE1, 0xEEEEEEE2, 0xEEEEEEE3}; }

class Query_Multiple_Values : public Fronts {
 protected:
  LSTATUS read(char* buffer, DWORD* total) {
    return RegQueryMultipleValuesA(key, values.data(), static_cast<DWORD>(values.size()), buffer, total);
  }
  void expect_untouched(std::size_t index) {
    EXPECT_EQ(values[index].ve_valuelen, 0xEEEEEEE1u);
    EXPECT_EQ(values[index].ve_valueptr, 0xEEEEEEE2u);
    EXPECT_EQ(values[index].ve_type, 0xEEEEEEE3u);
  }
  void expect_value(std::size_t index, DWORD size, std::uint64_t pointer, DWORD type) {
    EXPECT_EQ(values[index].ve_valuelen, size);
    EXPECT_EQ(values[index].ve_valueptr, pointer);
    EXPECT_EQ(values[index].ve_type, type);
  }

  std::vector<VALENTA> values{wanted(name_a), wanted(name_b), wanted(name_c)};
  char buffer[64] = "###############################################################";
};

TEST_F(Query_Multiple_Values, ANullTotalIsRefused) {
  EXPECT_EQ(RegQueryMultipleValuesA(key, unreadable<VALENTA>(0x10), 3, buffer, nullptr), 87);
  EXPECT_EQ(RegQueryMultipleValuesA(key, nullptr, 0, nullptr, nullptr), 87);
  EXPECT_EQ(entries(), "");
}

TEST_F(Query_Multiple_Values, ABufferOfNoBytesIsRefused) {
  DWORD total = 0;
  EXPECT_EQ(read(buffer, &total), 87);
  EXPECT_EQ(total, 0u);
  EXPECT_EQ(entries(), "");
}

TEST_F(Query_Multiple_Values, ABufferAboveOneMebibyteIsRefused) {
  for (DWORD size : {0x100001u, 0x80000000u, 0xFFFFFFFFu}) {
    DWORD total = size;
    EXPECT_EQ(read(buffer, &total), 87);
    EXPECT_EQ(total, size);
  }
  EXPECT_EQ(entries(), "");
}

TEST_F(Query_Multiple_Values, ABufferOfOneMebibyteIsTaken) {
  std::vector<char> large(0x100000, '#');
  values.resize(1);
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_BINARY, "x"));
  DWORD total = 0x100000;
  EXPECT_EQ(read(large.data(), &total), 0);
  EXPECT_EQ(total, 4u);
  EXPECT_EQ(call()["data_size"].count, 0x200000u);
}

TEST_F(Query_Multiple_Values, LaysTheValuesAtMultiplesOfFour) {
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_BINARY, "12345"));
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_DWORD, "\1\2\3\4"));
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_SZ, "\0h\0i\0\0"s));
  DWORD total = 40;
  EXPECT_EQ(read(buffer, &total), 0);
  EXPECT_EQ(total, 16u);
  EXPECT_EQ(std::string(buffer, 5), "12345");
  EXPECT_EQ(std::string(buffer + 8, 4), "\1\2\3\4");
  EXPECT_EQ(std::string(buffer + 12, 3), "hi\0"s);
  EXPECT_EQ(std::string(buffer + 16, 4), "####");
  expect_value(0, 5, number_of(buffer), 3);
  expect_value(1, 4, number_of(buffer + 8), 4);
  expect_value(2, 3, number_of(buffer + 12), 1);
  EXPECT_STREQ(values[0].ve_valuename, "a");
}

TEST_F(Query_Multiple_Values, AsksForEachValueWithTheRoomThatIsLeft) {
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_BINARY, "12345"));
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_BINARY, "1234"));
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_BINARY, "1"));
  values[2].ve_valuename = nullptr;
  DWORD total = 40;
  EXPECT_EQ(read(buffer, &total), 0);
  ASSERT_EQ(entries(), "KvIRegQueryValueEx KvIRegQueryValueEx KvIRegQueryValueEx ");
  for (std::size_t i : {0u, 1u, 2u}) {
    EXPECT_EQ(call(i).raw("key"), 0x1122334455667788u);
    EXPECT_EQ(call(i).raw("reserved"), 0u);
    EXPECT_NE(call(i).raw("data"), 0u);
  }
  EXPECT_EQ(call(0)["value_name"].text, u"a");
  EXPECT_EQ(call(1)["value_name"].text, u"b");
  EXPECT_EQ(call(2).raw("value_name"), 0u);
  EXPECT_EQ(call(0)["data_size"].count, 80u);
  EXPECT_EQ(call(1)["data_size"].count, 64u);
  EXPECT_EQ(call(2)["data_size"].count, 56u);
}

TEST_F(Query_Multiple_Values, WithoutBufferTellsSizesAndOffsets) {
  recording.script("KvIRegQueryValueEx", answer_value_size(0, REG_BINARY, 5));
  recording.script("KvIRegQueryValueEx", answer_value_size(0, REG_SZ, 6));
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_SZ, "\0h\0i\0\0"s));
  recording.script("KvIRegQueryValueEx", answer_value_size(0, REG_DWORD, 4));
  DWORD total = 0;
  EXPECT_EQ(read(nullptr, &total), 0);
  EXPECT_EQ(total, 16u);
  expect_value(0, 5, 0, 3);
  expect_value(1, 3, 8, 1);
  expect_value(2, 4, 12, 4);
  EXPECT_EQ(call(0).raw("data"), 0u);
  EXPECT_EQ(call(1).raw("data"), 0u);
  EXPECT_EQ(call(3).raw("data"), 0u);
}

TEST_F(Query_Multiple_Values, WithoutBufferNoTotalIsRefused) {
  for (DWORD size : {0u, 1u, 0x100001u, 0xFFFFFFFFu}) {
    for (int i = 0; i < 3; ++i) recording.script("KvIRegQueryValueEx", answer_value_size(0, REG_DWORD, 4));
    DWORD total = size;
    EXPECT_EQ(read(nullptr, &total), 0) << size;
    EXPECT_EQ(total, 12u);
  }
}

TEST_F(Query_Multiple_Values, NoValuesNeedNoBytes) {
  values.clear();
  DWORD total = 10;
  EXPECT_EQ(read(buffer, &total), 0);
  EXPECT_EQ(total, 0u);
  EXPECT_EQ(buffer[0], '#');
  total = 10;
  EXPECT_EQ(read(nullptr, &total), 0);
  EXPECT_EQ(total, 0u);
  EXPECT_EQ(entries(), "");
}

TEST_F(Query_Multiple_Values, TheFirstErrorEndsTheCall) {
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_BINARY, "12345"));
  recording.script("KvIRegQueryValueEx", answer(2));
  DWORD total = 40;
  EXPECT_EQ(read(buffer, &total), 2);
  EXPECT_EQ(total, 40u);
  EXPECT_EQ(buffer[0], '#');
  for (std::size_t i : {0u, 1u, 2u}) expect_untouched(i);
  EXPECT_EQ(entries(), "KvIRegQueryValueEx KvIRegQueryValueEx ");
}

TEST_F(Query_Multiple_Values, AValueThatDoesNotFitAnswers234AndLeavesTheTotal) {
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_BINARY, "123456"));
  DWORD total = 5;
  EXPECT_EQ(read(buffer, &total), 234);
  EXPECT_EQ(total, 5u);
  EXPECT_EQ(buffer[0], '#');
  expect_untouched(0);
  EXPECT_EQ(entries(), "KvIRegQueryValueEx ");
}

// QUIRK multiple-values-87
TEST_F(Query_Multiple_Values, ABufferThatRoundingPassesAnswers87AndTheTotalNeeded) {
  values.resize(1);
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_BINARY, "12345"));
  DWORD total = 5;
  EXPECT_EQ(read(buffer, &total), 87);
  EXPECT_EQ(total, 8u);
  EXPECT_EQ(std::string(buffer, 8), "########");
  expect_untouched(0);
}

TEST_F(Query_Multiple_Values, ValuesBehindTheEndOfTheBufferAreOnlyMeasured) {
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_BINARY, "12345"));
  recording.script("KvIRegQueryValueEx", answer_value_size(0, REG_BINARY, 3));
  recording.script("KvIRegQueryValueEx", answer_value_size(0, REG_BINARY, 7));
  DWORD total = 5;
  EXPECT_EQ(read(buffer, &total), 87);
  EXPECT_EQ(total, 20u);
  EXPECT_EQ(std::string(buffer, 8), "########");
  EXPECT_NE(call(0).raw("data"), 0u);
  EXPECT_EQ(call(1).raw("data"), 0u);
  EXPECT_EQ(call(2).raw("data"), 0u);
  for (std::size_t i : {0u, 1u, 2u}) expect_untouched(i);
}

TEST_F(Query_Multiple_Values, AValueOfNoBytesFitsAFullBuffer) {
  values.resize(2);
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_BINARY, "1234"));
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_BINARY, ""));
  DWORD total = 4;
  EXPECT_EQ(read(buffer, &total), 0);
  EXPECT_EQ(total, 4u);
  EXPECT_EQ(std::string(buffer, 5), "1234#");
  expect_value(1, 0, number_of(buffer + 4), 3);
  EXPECT_NE(call(1).raw("data"), 0u);
  EXPECT_EQ(call(1)["data_size"].count, 0u);
}

TEST_F(Query_Multiple_Values, AValueThatMeetsAFullBufferAnswers234) {
  values.resize(2);
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_BINARY, "1234"));
  recording.script("KvIRegQueryValueEx", answer_value_size(234, REG_BINARY, 4));
  DWORD total = 4;
  EXPECT_EQ(read(buffer, &total), 234);
  EXPECT_EQ(total, 4u);
  EXPECT_EQ(buffer[0], '#');
}

TEST_F(Query_Multiple_Values, TheLayoutOfAnEntryIsThePublishedOne) {
  EXPECT_EQ(sizeof(VALENTA), 32u);
  EXPECT_EQ(offsetof(VALENTA, ve_valuename), 0u);
  EXPECT_EQ(offsetof(VALENTA, ve_valuelen), 8u);
  EXPECT_EQ(offsetof(VALENTA, ve_valueptr), 16u);
  EXPECT_EQ(offsetof(VALENTA, ve_type), 24u);
}

}  // namespace
}  // namespace kvtest
