// Reading .reg text: what each form of statement says, odd files that are taken all the same, and the line and words
// with which wrong ones are refused.
#include <gtest/gtest.h>

#include <string>

#include "tests/tools/statements.h"
#include "tools/kvreg/reg_text/units.h"

namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;
using Kind = Statement::Kind;

const std::string five = "Windows Registry Editor Version 5.00\r\n\r\n";
const std::string four = "REGEDIT4\r\n\r\n";

std::optional<kvreg::Wrong_Line> read(std::string_view bytes, Statements& out) {
  return kvreg::read_reg_text(kvreg::decode_reg_file(bytes), out);
}

// All statements of a text that must be good.
std::vector<Statement> statements(std::string_view bytes) {
  Statements out;
  const auto wrong = read(bytes, out);
  EXPECT_FALSE(wrong) << wrong->line << ": " << wrong->what;
  return out.all;
}

// The first wrong line, "3: what is wrong"; empty for a good text.
std::string wrong_line(std::string_view bytes) {
  Statements out;
  const auto wrong = read(bytes, out);
  return wrong ? std::to_string(wrong->line) + ": " + wrong->what : "";
}

// The only value of a text with one key.
Statement value_of(const std::string& header, const std::string& line) {
  const auto all = statements(header + "[HKLM\\K]\r\n" + line);
  EXPECT_EQ(all.size(), 2u);
  return all.empty() ? Statement{} : all.back();
}

std::string utf16(std::u16string_view units, bool high_first) {
  std::string bytes;
  for (const char16_t unit : units) {
    const char high = static_cast<char>(unit >> 8), low = static_cast<char>(unit & 0xFF);
    bytes += high_first ? std::string{high, low} : std::string{low, high};
  }
  return bytes;
}

TEST(RegText, AKeyIsOpenedByItsWholePath) {
  EXPECT_EQ(statements(five + "[HKEY_CURRENT_USER\\Software\\A b]\r\n"),
            (std::vector<Statement>{{Kind::open, u"HKEY_CURRENT_USER\\Software\\A b"}}));
}

TEST(RegText, AMinusBeforeThePathDeletesTheKey) {
  EXPECT_EQ(statements(five + "[-HKLM\\Gone]\r\n"), (std::vector<Statement>{{Kind::remove, u"HKLM\\Gone"}}));
}

TEST(RegText, AMinusAsDataDeletesTheValue) {
  EXPECT_EQ(value_of(five, "\"v\"=-\r\n"), (Statement{Kind::unset, u"v"}));
  EXPECT_EQ(value_of(five, "@=-\r\n"), (Statement{Kind::unset, u""}));
}

TEST(RegText, AQuotedTextIsStoredAsUnitsWithItsTerminator) {
  EXPECT_EQ(value_of(five, "\"v\"=\"Ab\"\r\n"), (Statement{Kind::set, u"v", REG_SZ, "\0A\0b\0\0"s}));
}

TEST(RegText, AnEmptyTextIsItsTerminator) {
  EXPECT_EQ(value_of(five, "@=\"\"\r\n"), (Statement{Kind::set, u"", REG_SZ, "\0\0"s}));
}

TEST(RegText, BackslashAndQuoteAreEscapedByABackslash) {
  EXPECT_EQ(value_of(five, R"("a\\\"b"="C:\\x\"")"),
            (Statement{Kind::set, u"a\\\"b", REG_SZ, "\0C\0:\0\\\0x\0\"\0\0"s}));
}

TEST(RegText, AQuotedTextMaySpanLinesAndKeepsTheirEnds) {
  EXPECT_EQ(value_of(five, "\"v\"=\"a\r\nb\"\r\n"), (Statement{Kind::set, u"v", REG_SZ, "\0a\0\r\0\n\0b\0\0"s}));
}

// QUIRK reg-text-unit-escape
TEST(RegText, AnyUnitOfANameMayBeWrittenByItsNumber) {
  EXPECT_EQ(statements(five + R"([HKLM\a\\x000A;b\\\x0001;c])"
                              "\r\n"
                              R"("n\x000D;\\x0041;"=dword:1)"),
            (std::vector<Statement>{{Kind::open,
                                     u"HKLM\\a\nb\\\x01"
                                     u"c"},
                                    {Kind::set, u"n\r\\x0041;", REG_DWORD, "\1\0\0\0"s}}));
}

TEST(RegText, ANumberIsStoredLowByteFirst) {
  EXPECT_EQ(value_of(five, "\"v\"=dword:0001f0aB\r\n"), (Statement{Kind::set, u"v", REG_DWORD, "\xab\xf0\x01\0"s}));
  EXPECT_EQ(value_of(five, "\"v\"=DWORD:7\r\n"), (Statement{Kind::set, u"v", REG_DWORD, "\7\0\0\0"s}));
}

TEST(RegText, HexIsBytesOfAnyType) {
  EXPECT_EQ(value_of(five, "\"v\"=hex:01,fF,0"), (Statement{Kind::set, u"v", REG_BINARY, "\1\xff\0"s}));
  EXPECT_EQ(value_of(five, "\"v\"=hex:"), (Statement{Kind::set, u"v", REG_BINARY, ""}));
  EXPECT_EQ(value_of(five, "\"v\"=hex(0):aa"), (Statement{Kind::set, u"v", REG_NONE, "\xaa"}));
  EXPECT_EQ(value_of(five, "\"v\"=hex(b):1,2,3,4,5,6,7,8"),
            (Statement{Kind::set, u"v", REG_QWORD, "\1\2\3\4\5\6\7\x8"}));
  EXPECT_EQ(value_of(five, "\"v\"=hex(ffffffff):09"), (Statement{Kind::set, u"v", 0xFFFFFFFFu, "\t"}));
}

TEST(RegText, HexOfTextIsUnitsLowByteFirstInVersionFive) {
  EXPECT_EQ(value_of(five, "\"v\"=hex(2):25,00,3d,d8,00,00"),
            (Statement{Kind::set, u"v", REG_EXPAND_SZ, "\0%\xd8\x3d\0\0"s}));
  EXPECT_EQ(value_of(five, "\"v\"=hex(1):41,00,7f"), (Statement{Kind::set, u"v", REG_SZ, "\0A"s}));
}

TEST(RegText, HexOfTextIsTheCodePageInVersionFour) {
  EXPECT_EQ(value_of(four, "\"v\"=hex(7):c3,a9,00,62,00,00"),
            (Statement{Kind::set, u"v", REG_MULTI_SZ, "\0\xe9\0\0\0b\0\0\0\0"s}));
  EXPECT_EQ(value_of(four, "\"v\"=hex(3):c3,a9"), (Statement{Kind::set, u"v", REG_BINARY, "\xc3\xa9"}));
}

TEST(RegText, HexGoesOnBehindABackslashAtTheEndOfALine) {
  EXPECT_EQ(value_of(five, "\"v\"=hex:01,\\\r\n  02,03,\\  \r\n\t04\r\n"),
            (Statement{Kind::set, u"v", REG_BINARY, "\1\2\3\4"}));
  EXPECT_EQ(value_of(five, "\"v\"=hex(1):\\\n 00,00"), (Statement{Kind::set, u"v", REG_SZ, "\0\0"s}));
}

TEST(RegText, CommentsAndBlankLinesSayNothing) {
  EXPECT_EQ(
      statements("\r\n" + five + ";[HKLM\\No]\r\n  ; no\r\n[HKLM\\K] ; yes\r\n\r\n\t\r\n\"v\"=dword:1 ; yes\r\n;"),
      (std::vector<Statement>{{Kind::open, u"HKLM\\K"}, {Kind::set, u"v", REG_DWORD, "\1\0\0\0"s}}));
}

TEST(RegText, BracketsMayStandInNamesOfKeys) {
  EXPECT_EQ(statements(five + "[HKLM\\a]b]\n[HKLM\\[x] ;]\n"),
            (std::vector<Statement>{{Kind::open, u"HKLM\\a]b"}, {Kind::open, u"HKLM\\[x] ;"}}));
}

TEST(RegText, BlanksAroundAStatementAreLeftOut) {
  EXPECT_EQ(statements(five + "  [HKLM\\K ]  \r\n  \"v\"  =  dword:1  \r\n"),
            (std::vector<Statement>{{Kind::open, u"HKLM\\K "}, {Kind::set, u"v", REG_DWORD, "\1\0\0\0"s}}));
}

TEST(RegText, TheLastLineNeedsNoEnd) {
  EXPECT_EQ(value_of(five, "\"v\"=\"x\""), (Statement{Kind::set, u"v", REG_SZ, "\0x\0\0"s}));
}

TEST(RegText, LinesMayEndWithLineFeedsAlone) {
  EXPECT_EQ(statements("Windows Registry Editor Version 5.00\n\n[HKLM\\K]\n\"v\"=dword:1\n").size(), 2u);
}

TEST(RegText, AnOldEndOfFileMarkIsTaken) {
  EXPECT_EQ(statements(four + "[HKLM\\K]\r\n\x1a").size(), 1u);
  EXPECT_EQ(wrong_line(four + "\x1a\r\n[HKLM\\K]"), "3: a control character");
}

TEST(RegText, IsReadInEveryFormOfUnicode) {
  const std::u16string text = u"Windows Registry Editor Version 5.00\r\n[HKLM\\\u00e9]\r\n";
  const std::vector<Statement> expected{{Kind::open, u"HKLM\\\u00e9"}};
  EXPECT_EQ(statements(utf16(u"\uFEFF" + text, false)), expected);
  EXPECT_EQ(statements(utf16(u"\uFEFF" + text, true)), expected);
  EXPECT_EQ(statements(utf16(text, false)), expected);
  EXPECT_EQ(statements(utf16(text, true)), expected);
  EXPECT_EQ(statements("\xEF\xBB\xBF" + kvreg::utf8_of(text)), expected);
  EXPECT_EQ(statements(kvreg::utf8_of(text)), expected);
}

TEST(RegText, PairsAndLoneSurrogatesArriveAsTheyAre) {
  const std::u16string text = u"Windows Registry Editor Version 5.00\n[HKLM\\\xD83D\xDE00\xD83D]";
  EXPECT_EQ(statements(utf16(u"\uFEFF" + text, false)),
            (std::vector<Statement>{{Kind::open, u"HKLM\\\xD83D\xDE00\xD83D"}}));
}

TEST(RegText, BytesThatAreNoUtf8AreKept) {
  EXPECT_EQ(statements(five + "[HKLM\\\xE9]\n"), (std::vector<Statement>{{Kind::open, u"HKLM\\\xDCE9"}}));
}

TEST(RegText, WithoutItsFirstLineIsRefused) {
  const std::string what =
      "this is no registry file: its first line is neither \"Windows Registry Editor Version 5.00\" nor \"REGEDIT4\"";
  EXPECT_EQ(wrong_line(""), "1: " + what);
  EXPECT_EQ(wrong_line("[HKLM\\K]"), "1: " + what);
  EXPECT_EQ(wrong_line("\n\nREGEDIT\n"), "3: " + what);
}

TEST(RegText, TheFirstWrongLineIsNamed) {
  EXPECT_EQ(wrong_line(five + "[HKLM\\K]\r\nv=1\r\n???\r\n"),
            "4: neither a key in brackets, nor a value that begins with a quote or @, nor a comment");
  EXPECT_EQ(wrong_line(five + "\"v\"=dword:1\r\n"), "3: a value before the first key");
  EXPECT_EQ(wrong_line(five + "[-HKLM\\K]\r\n\"v\"=dword:1\r\n"), "4: a value of a key that is deleted");
  EXPECT_EQ(wrong_line(five + "[HKLM\\K\r\n"), "3: the key is empty, or its closing bracket is missing");
  EXPECT_EQ(wrong_line(five + "[]\r\n"), "3: the key is empty, or its closing bracket is missing");
  EXPECT_EQ(wrong_line(five + "[HKLM\\K]\n\"v\" dword:1"), "4: \"=\" is missing behind the name of the value");
  EXPECT_EQ(wrong_line(five + "[HKLM\\K]\n\"v\"=12"),
            "4: the data begins with neither a quote, nor dword:, hex: or hex(...):, nor -");
  EXPECT_EQ(wrong_line(five + "[HKLM\\K]\n\"v\"=dword:123456789"), "4: a number has one to eight hexadecimal digits");
  EXPECT_EQ(wrong_line(five + "[HKLM\\K]\n\"v\"=dword:"), "4: a number has one to eight hexadecimal digits");
  EXPECT_EQ(wrong_line(five + "[HKLM\\K]\n\"v\"=hex(2:00"), "4: \"):\" is missing behind the number of the type");
  EXPECT_EQ(wrong_line(five + "[HKLM\\K]\n\"v\"=hex:01,\\\n zz"),
            "5: there is something behind the end of the statement");
  EXPECT_EQ(wrong_line(five + "[HKLM\\K]\n\"v\"=hex:01 \\ 02"),
            "4: a backslash inside the bytes: it stands at the end of a line only");
  EXPECT_EQ(wrong_line(five + "[HKLM\\K]\n\"v\"=\"x\" y"), "4: there is something behind the end of the statement");
}

TEST(RegText, ASingleBackslashBetweenQuotesIsRefused) {
  EXPECT_EQ(wrong_line(five + "[HKLM\\K]\n\"v\"=\"C:\\new\""),
            "4: a single backslash between quotes: it is written twice");
  EXPECT_EQ(wrong_line(five + "[HKLM\\K]\n\"v\"=\"a\\x0000;\""),
            "4: a single backslash between quotes: it is written twice");
}

TEST(RegText, AMissingQuoteIsNamedWithTheLineWhereTheTextBegan) {
  EXPECT_EQ(wrong_line(five + "[HKLM\\K]\n\"v\"=\"a\nb\nc\n"), "4: the closing quote is missing");
}

TEST(RegText, ANulIsRefused) {
  EXPECT_EQ(wrong_line(five + "[HKLM\\K]\n\"v\"=\"a\0b\""s), "4: a NUL character");
  EXPECT_EQ(wrong_line(five + "[HKLM\\\0K]\n"s), "3: a NUL character");
}

TEST(RegText, AFileThatIsCutInsideACharacterIsRefused) {
  const std::string whole = utf16(u"\uFEFFWindows Registry Editor Version 5.00\n[HKLM\\K]\n", false);
  EXPECT_EQ(wrong_line(whole + "["), "3: the file ends in the middle of a character: it is cut");
}

TEST(RegText, CutAnywhereIsReadOrRefusedButNeverMore) {
  const std::string whole = five + "[HKLM\\K]\r\n\"v\"=hex(7):01,\\\r\n  02\r\n@=\"a\\\\b\"\r\n[-HKCU\\X]\r\n";
  const std::vector<Statement> all = statements(whole);
  for (std::size_t size = 0; size < whole.size(); ++size) {
    Statements some;
    read(whole.substr(0, size), some);
    ASSERT_LE(some.all.size(), all.size());
  }
}

}  // namespace
