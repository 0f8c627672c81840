// The text temporaries in UTF-8, the code page of the environment that the tests run in.
#include <gtest/gtest.h>
#include <kelvane/text.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

std::wstring decoded(const std::string& text) {
  const KvUnicodeStringWithLength wide(text.data(), static_cast<int>(text.size()));
  EXPECT_EQ(wide.text()[wide.length()], L'\0');
  return std::wstring(wide.text(), static_cast<size_t>(wide.length()));
}

std::string encoded(const std::wstring& text) {
  const KvAnsiStringWithLength narrow(text.data(), static_cast<int>(text.size()));
  EXPECT_EQ(narrow.text()[narrow.size()], '\0');
  return std::string(narrow.text(), static_cast<size_t>(narrow.size()));
}

std::wstring wide(std::initializer_list<unsigned> characters) {
  std::wstring text;
  for (unsigned character : characters) text.push_back(static_cast<wchar_t>(character));
  return text;
}

template <typename Object>
bool is_inside(const Object& object, const void* pointer) {
  const auto* start = reinterpret_cast<const char*>(&object);
  const auto* at = static_cast<const char*>(pointer);
  return at >= start && at < start + sizeof object;
}

std::string random_bytes(std::mt19937& random, size_t size) {
  // Bytes that begin, continue and break sequences come more often than by chance alone.
  static const unsigned char likely[] = {0x41, 0x80, 0x9F, 0xA0, 0xB2, 0xBF, 0xC0, 0xC3, 0xDF, 0xE0,
                                         0xE2, 0xED, 0xEF, 0xF0, 0xF3, 0xF4, 0xF5, 0xFE, 0xFF, 0x00};
  std::string text;
  while (text.size() < size) {
    const bool any = random() % 4 == 0;
    text.push_back(static_cast<char>(any ? random() % 256 : likely[random() % sizeof likely]));
  }
  return text;
}

wchar_t random_character(std::mt19937& random) {
  switch (random() % 6) {
    case 0:
      return static_cast<wchar_t>(random() % 0x80);
    case 1:
      return static_cast<wchar_t>(random() % 0x800);
    case 2:
      return static_cast<wchar_t>(0xD800 + random() % 0x800);
    case 3:
      return static_cast<wchar_t>(random() % 0x10000);
    default:
      return static_cast<wchar_t>(random() % 0x110000);
  }
}

bool stands_for_byte(wchar_t character) { return character >= 0xDC80 && character <= 0xDCFF; }

}  // namespace

TEST(UnicodeString, DecodesOneToFourByteCharactersIntoOneWideCharacterEach) {
  EXPECT_EQ(decoded("A\xC3\xA9\xE8\xA8\xAD\xF0\x9F\x98\x80"), wide({'A', 0xE9, 0x8A2D, 0x1F600}));
}

TEST(UnicodeString, DecodesTheFirstAndLastCharacterOfEachSize) {
  EXPECT_EQ(decoded("\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"),
            wide({0x7F, 0x80, 0x7FF, 0x800, 0xFFFF, 0x10000, 0x10FFFF}));
}

TEST(UnicodeString, ConvertsExactlyTheGivenLengthWithZeroCharacters) {
  EXPECT_EQ(decoded(std::string("a\0b\0", 4)), wide({'a', 0, 'b', 0}));
  const KvUnicodeStringWithLength cut("abcdef", 3);
  EXPECT_EQ(cut.length(), 3);
  EXPECT_STREQ(cut.text(), L"abc");
}

TEST(UnicodeString, GivesNullTextForNullText) {
  const KvUnicodeStringWithLength nothing(nullptr, 5);
  EXPECT_EQ(nothing.text(), nullptr);
  EXPECT_EQ(nothing.length(), 0);
}

TEST(UnicodeString, GivesEmptyTextForALengthOfZero) {
  const KvUnicodeStringWithLength empty("abc", 0);
  EXPECT_STREQ(empty.text(), L"");
  EXPECT_EQ(empty.length(), 0);
}

TEST(UnicodeString, CarriesAnUndecodableByteAsALoneSurrogate) {
  EXPECT_EQ(decoded("a\x80z"), wide({'a', 0xDC80, 'z'}));
  EXPECT_EQ(decoded("\xFF\xFE"), wide({0xDCFF, 0xDCFE}));
}

TEST(UnicodeString, CarriesASequenceThatTheLengthCutsByteForByte) {
  EXPECT_EQ(decoded("a\xC3"), wide({'a', 0xDCC3}));
  EXPECT_EQ(decoded("\xE8\xA8"), wide({0xDCE8, 0xDCA8}));
  EXPECT_EQ(decoded("\xF0\x9F\x98"), wide({0xDCF0, 0xDC9F, 0xDC98}));
}

TEST(UnicodeString, TakesNoLongFormForAShortOne) {
  EXPECT_EQ(decoded("\xC0\x80"), wide({0xDCC0, 0xDC80}));
  EXPECT_EQ(decoded("\xE0\x9F\xBF"), wide({0xDCE0, 0xDC9F, 0xDCBF}));
  EXPECT_EQ(decoded("\xF0\x8F\xBF\xBF"), wide({0xDCF0, 0xDC8F, 0xDCBF, 0xDCBF}));
}

TEST(UnicodeString, TakesNothingBeyondTheLastCharacter) {
  EXPECT_EQ(decoded("\xF4\x90\x80\x80"), wide({0xDCF4, 0xDC90, 0xDC80, 0xDC80}));
  EXPECT_EQ(decoded("\xF8\x88\x80\x80\x80"), wide({0xDCF8, 0xDC88, 0xDC80, 0xDC80, 0xDC80}));
}

TEST(UnicodeString, DecodesAThreeByteSurrogateToThatSurrogate) {
  EXPECT_EQ(decoded("\xED\xA0\x80\xED\xB1\xBF\xED\xB4\x80\xED\xBF\xBF"), wide({0xD800, 0xDC7F, 0xDD00, 0xDFFF}));
}

TEST(UnicodeString, CarriesTheThreeByteFormOfASurrogateThatStandsForAByteByteForByte) {
  EXPECT_EQ(decoded("\xED\xB2\x80"), wide({0xDCED, 0xDCB2, 0xDC80}));
  EXPECT_EQ(decoded("\xED\xB3\xBF"), wide({0xDCED, 0xDCB3, 0xDCBF}));
}

TEST(UnicodeString, FindsTheCharacterBeyondAsciiAtEveryPlaceOfALongText) {
  for (size_t place = 0; place < 70; ++place) {
    std::string text(70, 'x');
    text.replace(place, 1, "\xC3\xA9");
    std::wstring expected(70, L'x');
    expected[place] = L'\x00E9';
    EXPECT_EQ(decoded(text), expected) << place;
    EXPECT_EQ(encoded(expected), text) << place;
  }
}

TEST(UnicodeString, ConvertsAsciiTextOfEveryShortLength) {
  for (size_t length = 0; length < 130; ++length) {
    std::string text;
    std::wstring expected;
    for (size_t i = 0; i < length; ++i) {
      text.push_back(static_cast<char>(i % 128));
      expected.push_back(static_cast<wchar_t>(i % 128));
    }
    EXPECT_EQ(decoded(text), expected);
    EXPECT_EQ(encoded(expected), text);
  }
}

TEST(UnicodeString, KeepsUpTo2048CharactersInsideTheObject) {
  const std::string ascii(2048, 'k');
  const KvUnicodeStringWithLength short_text(ascii.data(), 2048);
  EXPECT_TRUE(is_inside(short_text, short_text.text()));
  EXPECT_EQ(short_text.length(), 2048);
  std::string emoji;
  for (int i = 0; i < 2048; ++i) emoji += "\xF0\x9F\x98\x80";
  const KvUnicodeStringWithLength wide_text(emoji.data(), 8192);
  EXPECT_TRUE(is_inside(wide_text, wide_text.text()));
  EXPECT_EQ(wide_text.length(), 2048);
}

TEST(UnicodeString, TakesABlockForLongerText) {
  const std::string ascii(2049, 'k');
  const KvUnicodeStringWithLength long_text(ascii.data(), 2049);
  EXPECT_FALSE(is_inside(long_text, long_text.text()));
  EXPECT_EQ(std::wstring(long_text.text()), std::wstring(2049, L'k'));
}

TEST(UnicodeString, ConvertsAVeryLongText) {
  std::string text;
  for (int i = 0; i < 100000; ++i) text += "k\xD0\x9A";
  const std::wstring result = decoded(text);
  EXPECT_EQ(result.size(), 200000u);
  EXPECT_EQ(result.substr(199998), L"k\x041A");
  EXPECT_EQ(encoded(result), text);
}

TEST(AnsiString, EncodesOneToFourBytes) {
  EXPECT_EQ(encoded(wide({'A', 0x7F, 0x80, 0x7FF, 0x800, 0xFFFF, 0x10000, 0x10FFFF})),
            "A\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF");
}

TEST(AnsiString, ConvertsExactlyTheGivenLengthWithZeroCharacters) {
  EXPECT_EQ(encoded(wide({'a', 0, 'b', 0})), std::string("a\0b\0", 4));
}

TEST(AnsiString, GivesNullTextForNullText) {
  const KvAnsiStringWithLength nothing(nullptr, 5);
  EXPECT_EQ(nothing.text(), nullptr);
  EXPECT_EQ(nothing.size(), 0);
}

TEST(AnsiString, WritesASurrogateThatStandsForAByteAsThatByte) {
  EXPECT_EQ(encoded(wide({'a', 0xDC80, 0xDCFF, 'z'})), "a\x80\xFFz");
}

TEST(AnsiString, WritesEveryOtherSurrogateAsThreeBytes) {
  EXPECT_EQ(encoded(wide({0xD800, 0xDC00, 0xDC7F, 0xDD00})), "\xED\xA0\x80\xED\xB0\x80\xED\xB1\xBF\xED\xB4\x80");
}

TEST(AnsiString, WritesAQuestionMarkForWhatIsNoCharacter) {
  EXPECT_EQ(encoded(wide({'a', 0x110000, 0x7FFFFFFF, 0xFFFFFFFF, 'z'})), "a???z");
}

TEST(AnsiString, KeepsUpTo2048CharactersInsideTheObject) {
  const std::wstring text(2048, L'\x1F600');
  const KvAnsiStringWithLength short_text(text.data(), 2048);
  EXPECT_TRUE(is_inside(short_text, short_text.text()));
  EXPECT_EQ(short_text.size(), 8192);
}

TEST(AnsiString, TakesABlockForLongerText) {
  const std::wstring text(2049, L'\x1F600');
  const KvAnsiStringWithLength long_text(text.data(), 2049);
  EXPECT_FALSE(is_inside(long_text, long_text.text()));
  EXPECT_EQ(long_text.size(), 8196);
  EXPECT_EQ(std::string(long_text.text()).substr(8188), "\xF0\x9F\x98\x80\xF0\x9F\x98\x80");
}

TEST(AnsiString, ConvertsUpToTheTerminatorWithALengthOfMinusOne) {
  const KvAnsiString text(L"k\x041A", -1);
  EXPECT_STREQ(text, "k\xD0\x9A");
}

TEST(AnsiString, ConvertsAGivenLength) {
  const KvAnsiString text(L"abcdef", 2);
  EXPECT_STREQ(text, "ab");
}

TEST(AnsiString, ConvertsToNullForNullText) {
  const KvAnsiString text(nullptr, -1);
  EXPECT_EQ(static_cast<const char*>(text), nullptr);
}

TEST(RoundTrip, EveryOneAndTwoByteTextComesBack) {
  for (unsigned first = 0; first < 256; ++first) {
    for (unsigned second = 0; second < 256; ++second) {
      const char text[] = {static_cast<char>(first), static_cast<char>(second)};
      ASSERT_EQ(encoded(decoded(std::string(text, 2))), std::string(text, 2)) << first << ' ' << second;
    }
  }
}

TEST(RoundTrip, AnyBytesComeBack) {
  std::mt19937 random(20240101);
  for (int i = 0; i < 20000; ++i) {
    const std::string text = random_bytes(random, random() % 90);
    ASSERT_EQ(encoded(decoded(text)), text) << ::testing::PrintToString(text);
  }
}

TEST(RoundTrip, EveryCharacterComesBackAlone) {
  for (unsigned character = 0; character < 0x110000; ++character) {
    const auto unit = static_cast<wchar_t>(character);
    const KvAnsiStringWithLength narrow(&unit, 1);
    const KvUnicodeStringWithLength back(narrow.text(), narrow.size());
    ASSERT_EQ(back.length(), 1) << character;
    ASSERT_EQ(back.text()[0], unit);
  }
}

TEST(RoundTrip, AnyWideTextComesBackUnlessTwoCharactersThatStandForBytesMeet) {
  std::mt19937 random(20240102);
  for (int i = 0; i < 20000; ++i) {
    std::wstring text;
    for (size_t length = random() % 60; text.size() < length;) {
      const wchar_t character = random_character(random);
      const bool meet = !text.empty() && stands_for_byte(text.back()) && stands_for_byte(character);
      text.push_back(meet ? L' ' : character);
    }
    ASSERT_EQ(decoded(encoded(text)), text);
  }
}

TEST(RoundTrip, TwoCharactersThatStandForTheBytesOfOneBecomeThatOne) {
  EXPECT_EQ(decoded(encoded(wide({0xDCC3, 0xDCA9}))), wide({0xE9}));
  EXPECT_EQ(decoded(encoded(wide({0xDCA9, 0xDCC3}))), wide({0xDCA9, 0xDCC3}));
}

TEST(RoundTrip, ASurrogatePairStaysTwoCharacters) {
  EXPECT_EQ(encoded(wide({0xD83D, 0xDE00})), "\xED\xA0\xBD\xED\xB8\x80");
  EXPECT_EQ(decoded("\xED\xA0\xBD\xED\xB8\x80"), wide({0xD83D, 0xDE00}));
}

TEST(CodePage, Utf8KeepsAscii) { EXPECT_EQ(KvCodePageKeepsAscii(), 1); }
