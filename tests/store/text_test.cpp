// Text in and out of the store: terminators as they were stored, zeros inside, multi-byte text, bytes that are
// no text, and the case of names.
#include "tests/store/store_test.h"

namespace kvtest {
namespace {

class Text : public Store_Test {
 protected:
  // Stores and reads text.
  std::string there_and_back(std::string_view text, DWORD type = REG_SZ) {
    EXPECT_EQ(set_value(key, "text", type, text), 0);
    Answer answer = value_of(key, "text");
    EXPECT_EQ(answer.code, 0);
    EXPECT_EQ(answer.type, type);
    return answer.data();
  }
};

TEST_F(Text, ComesBackWithTheTerminatorThatWasStored) { EXPECT_EQ(there_and_back("hello\0"s), "hello\0"s); }

// The wide form looks for a terminator inside the text, and takes one character more when it finds a zero byte.
#ifndef KVTEST_WIDE
TEST_F(Text, WithoutATerminatorComesBackWithoutOne) {
  char text[] = "helloX";
  ASSERT_EQ(RegSetValueEx(key, "text", 0, REG_SZ, reinterpret_cast<BYTE*>(text), 5), 0);
  Answer answer = query(key, "text", 16);
  EXPECT_EQ(answer.code, 0);
  EXPECT_EQ(answer.size, 5u);
  EXPECT_EQ(answer.buffer, "hello###########");
}
#else
TEST_F(Text, WithoutATerminatorTakesTheCharacterBehindItOrNot) {
  EXPECT_EQ(set_value(key, "text", REG_SZ, "hello"), 0);
  EXPECT_EQ(value_of(key, "text").data(), "hello#");
  // The byte at a quarter of the size is the low one of a character.
  EXPECT_EQ(set_value(key, "text", REG_SZ, "four"), 0);
  EXPECT_EQ(value_of(key, "text").data(), "four");
}
#endif

TEST_F(Text, WhoseSizeDoesNotCountTheTerminatorBehindItGetsIt) {
  ASSERT_EQ(RegSetValueEx(key, "text", 0, REG_SZ, bytes_of("hello\0"s), 5), 0);
  EXPECT_EQ(value_of(key, "text").data(), "hello\0"s);
}

TEST_F(Text, OfTwoTerminatorsKeepsBoth) { EXPECT_EQ(there_and_back("a\0\0"s), "a\0\0"s); }

TEST_F(Text, ThatIsEmptyKeepsItsTerminator) { EXPECT_EQ(there_and_back("\0"s), "\0"s); }

TEST_F(Text, OfNoBytesStaysTextOfNoBytes) {
  for (DWORD type : {REG_SZ, REG_EXPAND_SZ, REG_MULTI_SZ}) {
    ASSERT_EQ(RegSetValueEx(key, "none", 0, type, nullptr, 0), 0);
    Answer answer = query(key, "none", 4);
    EXPECT_EQ(answer.code, 0);
    EXPECT_EQ(answer.type, type);
    EXPECT_EQ(answer.size, 0u);
    EXPECT_EQ(query_size(key, "none").size, 0u);
  }
}

TEST_F(Text, KeepsZerosInside) { EXPECT_EQ(there_and_back("a\0b\0\0c\0"s), "a\0b\0\0c\0"s); }

TEST_F(Text, OfSeveralLanguagesComesBack) {
  const std::string text =
      "Gr\xC3\xBC\xC3\x9F"
      "e, \xCE\xB3\xCE\xB5\xCE\xB9\xCE\xAC, \xE6\x97\xA5\xE6\x9C\xAC, \xEF\xBF\xBD\0"s;
  EXPECT_EQ(there_and_back(text), text);
  EXPECT_EQ(there_and_back(text, REG_EXPAND_SZ), text);
}

TEST_F(Text, AboveTheSixteenthBitBecomesTheCharacterOfItsLowBits) {
  EXPECT_EQ(there_and_back("\xF0\x9F\x98\x80\0"s), "\xEF\x98\x80\0"s);
}

TEST_F(Text, OfBytesThatAreNoTextComesBackTheSame) {
  for (const std::string& text : {"\xFF\xFE\x80"
                                  "abc\xC3\0"s,
                                  "\xED\xB2\x80\0"s, "\xED\xA0\x80x\0"s, "\xC0\xAF\0"s, "\xF4\x90\x80\x80\0"s,
                                  "\xE2\x82\0"s, "\xF8\x88\x80\x80\x80\0"s}) {
    EXPECT_EQ(there_and_back(text), text);
  }
}

std::string every_byte() {
  std::string bytes;
  for (int byte = 1; byte < 256; ++byte) bytes += static_cast<char>(byte);
  return bytes;
}

TEST_F(Text, OfEveryByteComesBackTheSameForwardsAndBackwards) {
  std::string text = every_byte() + '\0';
  EXPECT_EQ(there_and_back(text), text);
  std::string backwards(text.rbegin(), text.rend());
  EXPECT_EQ(there_and_back(backwards), backwards);
}

TEST_F(Text, OfAMillionCharactersComesBack) {
  std::string text;
  while (text.size() < 1000000) text += "line\xC3\xA4\xFFz";
  text += '\0';
  EXPECT_EQ(there_and_back(text), text);
}

TEST_F(Text, IsNeverExpanded) { EXPECT_EQ(there_and_back("%HOME%\\x\0"s, REG_EXPAND_SZ), "%HOME%\\x\0"s); }

class Lists : public Text {};

TEST_F(Lists, ComeBackAsTheyWereStored) {
  EXPECT_EQ(there_and_back("one\0two\0\xC3\xA4\0\0"s, REG_MULTI_SZ), "one\0two\0\xC3\xA4\0\0"s);
}
TEST_F(Lists, ThatAreEmptyComeBackAsTheyWereStored) {
  EXPECT_EQ(there_and_back("\0"s, REG_MULTI_SZ), "\0"s);
  EXPECT_EQ(there_and_back("\0\0"s, REG_MULTI_SZ), "\0\0"s);
}
TEST_F(Lists, WithAnEmptyEntryKeepIt) { EXPECT_EQ(there_and_back("a\0\0b\0\0"s, REG_MULTI_SZ), "a\0\0b\0\0"s); }
TEST_F(Lists, WithOneTerminatorGetNoSecond) { EXPECT_EQ(there_and_back("a\0b\0"s, REG_MULTI_SZ), "a\0b\0"s); }

class Names_As_Text : public Store_Test {};

TEST_F(Names_As_Text, OfBytesThatAreNoTextComeBackTheSame) {
  // Without the separator of paths, which a value name may hold.
  std::string bytes = every_byte();
  ASSERT_EQ(set_value(key, bytes.c_str(), REG_SZ, "x\0"s), 0);
  EXPECT_EQ(value_names(key), std::vector<std::string>{bytes});
  EXPECT_EQ(value_of(key, bytes.c_str()).data(), "x\0"s);

  bytes.erase(bytes.find('\\'), 1);
  ASSERT_NE(created(key, bytes), nullptr);
  EXPECT_EQ(sub_keys(key), std::vector<std::string>{bytes});
  EXPECT_EQ(open_result(key, bytes), 0);
}

TEST_F(Names_As_Text, OfBytesThatAreNoTextHaveNoCase) {
  ASSERT_EQ(set_value(key, "\xE4", REG_SZ, "small\0"s), 0);
  ASSERT_EQ(set_value(key, "\xC4", REG_SZ, "large\0"s), 0);
  EXPECT_EQ(value_of(key, "\xE4").data(), "small\0"s);
  EXPECT_EQ(value_of(key, "\xC4").data(), "large\0"s);
}

struct Pair {
  const char* first;
  const char* second;
};
// Latin, accents, a pair beyond Latin-1, Greek, Cyrillic, Armenian.
constexpr Pair same_names[] = {{"Window", "wINDOW"},
                               {"\xC3\x84\xC3\xB6\xC3\x9C", "\xC3\xA4\xC3\x96\xC3\xBC"},
                               {"\xC5\xB8", "\xC3\xBF"},
                               {"\xCE\x91\xCE\x92\xCE\x93", "\xCE\xB1\xCE\xB2\xCE\xB3"},
                               {"\xD0\x96\xD0\xAF", "\xD0\xB6\xD1\x8F"},
                               {"\xD4\xB1", "\xD5\xA1"}};

TEST_F(Names_As_Text, OfValuesAreFoundInAnyCaseAndKeepTheirFirstWriting) {
  for (const Pair& names : same_names) {
    ASSERT_EQ(set_value(key, names.first, REG_SZ, "1\0"s), 0);
    ASSERT_EQ(set_value(key, names.second, REG_SZ, "2\0"s), 0);
    EXPECT_EQ(value_of(key, names.first).data(), "2\0"s) << names.first;
    EXPECT_EQ(value_names(key), std::vector<std::string>{names.first});
    EXPECT_EQ(RegDeleteValue(key, names.second), 0);
    EXPECT_EQ(query_size(key, names.first).code, 2);
  }
}

TEST_F(Names_As_Text, OfKeysAreFoundInAnyCaseAndKeepTheirFirstWriting) {
  for (const Pair& names : same_names) {
    DWORD disposition = untouched;
    Key first, second;
    ASSERT_EQ(RegCreateKeyEx(key, names.first, 0, nullptr, 0, KEY_READ, nullptr, first.out(), &disposition), 0);
    EXPECT_EQ(disposition, REG_CREATED_NEW_KEY);
    ASSERT_EQ(RegCreateKeyEx(key, names.second, 0, nullptr, 0, KEY_READ, nullptr, second.out(), &disposition), 0);
    EXPECT_EQ(disposition, REG_OPENED_EXISTING_KEY);
    EXPECT_EQ(sub_keys(key), std::vector<std::string>{names.first});
    EXPECT_EQ(RegDeleteKey(key, names.second), 0);
    EXPECT_EQ(open_result(key, names.first), 2);
  }
}

TEST_F(Names_As_Text, DeletedAndMadeAgainTakeTheNewWriting) {
  ASSERT_EQ(set_value(key, "Name", REG_SZ, "1\0"s), 0);
  ASSERT_EQ(RegDeleteValue(key, "NAME"), 0);
  ASSERT_EQ(set_value(key, "nAmE", REG_SZ, "2\0"s), 0);
  EXPECT_EQ(value_names(key), std::vector<std::string>{"nAmE"});
}

}  // namespace
}  // namespace kvtest
