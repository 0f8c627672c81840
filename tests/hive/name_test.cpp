#include "hive/name.h"

#include <gtest/gtest.h>

#include "hive/case_fold.h"

namespace {

using hive::fold_case;
using namespace std::string_literals;
using namespace std::string_view_literals;

TEST(StoredForm, APairOfSurrogatesIsOneCharacterOfFourBytes) {
  EXPECT_EQ(hive::stored_form(u"\xD83D\xDE00"sv), "\xF0\x9F\x98\x80"s);
}

TEST(StoredForm, LoneSurrogatesHaveThreeBytesAndComeBack) {
  std::u16string units =
      u"a\xDC80"
      u"b\xD800";
  EXPECT_EQ(hive::stored_form(units),
            "a\xED\xB2\x80"
            "b\xED\xA0\x80"s);
  EXPECT_EQ(hive::units_of(hive::stored_form(units)), units);
}

TEST(StoredForm, EveryUnitAndZeroComeBack) {
  std::u16string units;
  for (unsigned unit = 0; unit < 0x10000; ++unit) units.push_back(static_cast<char16_t>(unit));
  std::string stored = hive::stored_form(units);
  EXPECT_EQ(hive::units_of(stored), units);
  EXPECT_EQ(hive::count_units(stored), 0x10000u);
}

TEST(StoredForm, BytesOfNoCharacterBecomeReplacements) { EXPECT_EQ(hive::units_of("a\xFF\xC3"), u"a\xFFFD\xFFFD"); }

TEST(FoldCase, GoesBeyondLatin) { EXPECT_EQ(fold_case(u"straße äöÿ жук ωμέγα"sv), u"STRAßE ÄÖŸ ЖУК ΩΜΈΓΑ"); }

TEST(FoldCase, NeverLeadsFromOutsideIntoAscii) {
  EXPECT_EQ(fold_case(char16_t{0x0131}), 0x0131);  // dotless i
  EXPECT_EQ(fold_case(char16_t{0x017F}), 0x017F);  // long s
  for (unsigned unit = 0x80; unit < 0x10000; ++unit) EXPECT_GE(fold_case(static_cast<char16_t>(unit)), 0x80);
}

TEST(FoldCase, FoldingTwiceChangesNothingMore) {
  for (unsigned unit = 0; unit < 0x10000; ++unit) {
    char16_t once = fold_case(static_cast<char16_t>(unit));
    EXPECT_EQ(fold_case(once), once) << unit;
  }
}

// The table is part of the stored form. A changed sum means that hives in use would lose names.
TEST(FoldCase, TheTableIsTheOneThatHivesAreStoredWith) {
  std::uint64_t sum = 0;
  for (unsigned unit = 0; unit < 0x10000; ++unit) sum = sum * 31 + fold_case(static_cast<char16_t>(unit));
  EXPECT_EQ(sum, 0x5478dca263afc82ull);
}

TEST(PathParts, EmptyPartsAreSkipped) {
  hive::Path_Parts parts(u"\\\\a\\\\bc\\");
  ASSERT_TRUE(parts.more());
  EXPECT_EQ(parts.next(), u"a");
  ASSERT_TRUE(parts.more());
  EXPECT_EQ(parts.next(), u"bc");
  EXPECT_FALSE(parts.more());
}

TEST(PathParts, SeparatorsAloneAreNoPart) {
  EXPECT_FALSE(hive::Path_Parts(u"\\\\").more());
  EXPECT_FALSE(hive::Path_Parts(u"").more());
}

}  // namespace
