// Comparison of text without case.
#include <gtest/gtest.h>

#include <kelvane/advapi32.h>

namespace {

TEST(Lstrncmpi, LettersCompareWithoutCase) {
  EXPECT_EQ(lstrncmpiA("hello", "HeLLo", 5), 0);
  EXPECT_EQ(lstrncmpiA("AbC", "aBc", 3), 0);
}

TEST(Lstrncmpi, StopsAtTheEndWhenBothMatchToThere) { EXPECT_EQ(lstrncmpiA("ab", "AB", 5), 0); }

TEST(Lstrncmpi, AnythingMatchesWithoutCharacters) {
  EXPECT_EQ(lstrncmpiA("a", "b", 0), 0);
  EXPECT_EQ(lstrncmpiA("a", "b", -1), 0);
}

TEST(Lstrncmpi, ReadsNothingWithoutCharacters) { EXPECT_EQ(lstrncmpiA(nullptr, nullptr, 0), 0); }

TEST(Lstrncmpi, GivesTheDifferenceOfTheFirstLoweredCharactersThatDiffer) {
  EXPECT_EQ(lstrncmpiA("abcx", "ABDa", 4), 'c' - 'd');
  EXPECT_EQ(lstrncmpiA("Z", "a", 1), 'z' - 'a');
  EXPECT_EQ(lstrncmpiA("[", "A", 1), '[' - 'a');
}

TEST(Lstrncmpi, AShorterFirstTextIsBelowByTheOthersCharacter) {
  EXPECT_EQ(lstrncmpiA("ab", "abC", 5), -'c');
  EXPECT_EQ(lstrncmpiA("", "A", 5), -'a');
}

TEST(Lstrncmpi, AShorterSecondTextIsBelowByTheFirstsCharacter) { EXPECT_EQ(lstrncmpiA("abC", "ab", 5), 'c'); }

TEST(Lstrncmpi, LooksAtNoMoreThanTheCharactersAsked) {
  const char first[] = {'a', 'b'};
  const char second[] = {'A', 'B'};
  EXPECT_EQ(lstrncmpiA(first, second, 2), 0);
  EXPECT_EQ(lstrncmpiA("abc", "abd", 2), 0);
}

TEST(Lstrncmpi, BytesAboveAsciiAreAboveIt) { EXPECT_EQ(lstrncmpiA("\xE9", "a", 1), 0xE9 - 'a'); }

}  // namespace
