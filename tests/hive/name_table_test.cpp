// Names as look-ups in memory find them.
#include "hive/cache/name_table.h"

#include <gtest/gtest.h>

namespace {

struct alignas(64) Numbered : hive::Named {
  int number = 0;
};
using Table = hive::Name_Table<Numbered>;

std::u16string letters(std::size_t count, char16_t first) {
  std::u16string text;
  for (std::size_t i = 0; i < count; ++i) text.push_back(static_cast<char16_t>(first + i % 26));
  return text;
}

int number_of(const Table& table, std::u16string_view name) {
  const Numbered* found = table.find(hive::Folded_Name(name));
  return found == nullptr ? -1 : found->number;
}

class Names : public testing::Test {
 protected:
  void SetUp() override {
    for (int i = 0; i <= longest; ++i) table.add(letters(static_cast<std::size_t>(i), u'A')).number = i;
    table.finish();
  }

  static constexpr int longest = 70;
  Table table;
};

TEST_F(Names, OfEveryLengthAreFoundInEitherCase) {
  for (int i = 0; i <= longest; ++i) {
    EXPECT_EQ(number_of(table, letters(static_cast<std::size_t>(i), u'A')), i);
    EXPECT_EQ(number_of(table, letters(static_cast<std::size_t>(i), u'a')), i);
  }
  EXPECT_EQ(number_of(table, letters(71, u'A')), -1);
}

TEST_F(Names, ThatDifferInOneUnitAreOthers) {
  for (std::size_t i = 0; i < longest; ++i) {
    std::u16string other = letters(longest, u'A');
    other[i] = u'1';
    EXPECT_EQ(number_of(table, other), -1) << i;
  }
}

TEST_F(Names, ComeBackAsTheyWereAddedAndFolded) {
  Table mixed;
  mixed.add(u"WindowHeight");
  mixed.add(u"straße und жук, länger als ein Anfang");
  mixed.finish();
  ASSERT_EQ(mixed.size(), 2u);
  EXPECT_EQ(mixed.name(mixed[0]), u"WindowHeight");
  EXPECT_EQ(mixed.folded(mixed[0]), u"WINDOWHEIGHT");
  EXPECT_EQ(mixed.name(mixed[1]), u"straße und жук, länger als ein Anfang");
  EXPECT_EQ(mixed.folded(mixed[1]), u"STRAßE UND ЖУК, LÄNGER ALS EIN ANFANG");
}

TEST_F(Names, BeyondAsciiAreFoundInEitherCase) {
  Table mixed;
  mixed.add(u"äöü").number = 1;
  mixed.add(u"a long name, and жук behind it").number = 2;
  mixed.finish();
  EXPECT_EQ(number_of(mixed, u"ÄÖÜ"), 1);
  EXPECT_EQ(number_of(mixed, u"A LONG NAME, and ЖУК behind it"), 2);
  EXPECT_EQ(number_of(mixed, u"aou"), -1);
}

TEST_F(Names, NextToTheLettersAreNotFolded) {
  Table signs;
  signs.add(u"@[`{").number = 1;
  signs.finish();
  EXPECT_EQ(number_of(signs, u"@[`{"), 1);
  EXPECT_EQ(number_of(signs, u"`{@["), -1);
}

TEST_F(Names, WithZerosInThemAreNotTheShorterOnes) {
  Table zeros;
  zeros.add(std::u16string_view(u"ab\0", 3)).number = 1;
  zeros.finish();
  EXPECT_EQ(number_of(zeros, u"ab"), -1);
  EXPECT_EQ(number_of(zeros, std::u16string_view(u"AB\0", 3)), 1);
}

TEST(EmptyTable, FindsNothing) {
  Table table;
  table.finish();
  EXPECT_EQ(table.size(), 0u);
  EXPECT_EQ(number_of(table, u""), -1);
}

}  // namespace
