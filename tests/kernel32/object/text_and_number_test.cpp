// Atoms, strings and numbers: their texts and their written forms.
#include <gtest/gtest.h>
#include <kelvane/atom.h>
#include <kelvane/number.h>
#include <stdlib.h>

#include <limits>
#include <memory>

#include "tests/kernel32/object/written_text.h"

namespace {

using kvtest::written;

TEST(Atom, KeepsACopyOfItsTextAndWritesItBare) {
  char text[] = "name";
  clAtom atom(text);
  text[0] = 'x';
  clAtom copy(atom);
  EXPECT_STREQ(atom.text(), "name");
  EXPECT_STREQ(copy.text(), "name");
  EXPECT_NE(copy.text(), atom.text());
  EXPECT_TRUE(atom.is_atom());
  EXPECT_EQ(written(atom), "name");
}

TEST(Atom, OfNoTextIsEmpty) { EXPECT_STREQ(clAtom(static_cast<const char*>(nullptr)).text(), ""); }

TEST(AtomCmp, TellsUpperFromLowerCaseAndOrdersByBytes) {
  EXPECT_EQ(atom_cmp("true", "true"), 0);
  EXPECT_EQ(atom_cmp("TRUE", "true"), -1);
  EXPECT_EQ(atom_cmp("b", "a"), 1);
  EXPECT_EQ(atom_cmp("a", "ab"), -1);
  EXPECT_EQ(atom_cmp("\xff", "a"), 1);
}

TEST(AtomHash, IsTheSameForEqualTextsInEveryProcess) {
  EXPECT_EQ(atom_hash(""), 2166136261u);
  EXPECT_EQ(atom_hash("a"), 0xE40C292Cu);
  EXPECT_EQ(atom_hash("foobar"), 0xBF9CF968u);
}

TEST(String, WritesItselfInQuotesWithItsContentAsItIs) {
  EXPECT_EQ(written(clString("")), "\"\"");
  EXPECT_EQ(written(clString("two words")), "\"two words\"");
  EXPECT_EQ(written(clString("a \\\"quoted\\\" word")), "\"a \\\"quoted\\\" word\"");
  EXPECT_EQ(written(clString("C:\\dir\\file")), "\"C:\\dir\\file\"");
}

TEST(String, WritesWhatNoReaderGivesSoThatItStaysReadable) {
  EXPECT_EQ(written(clString("a\"b")), "\"a\\\"b\"");
  EXPECT_EQ(written(clString("a\nb")), "\"a b\"");
}

// Another quote on the same line would be drawn into the string.
TEST(String, ThatEndsWithABackslashEndsItsLine) { EXPECT_EQ(written(clString("C:\\dir\\")), "\"C:\\dir\\\"\n"); }

TEST(Atom, KeepsTextsOfEveryLength) {
  for (size_t length : {0, 1, 22, 23, 24, 25, 1000}) {
    const std::string text(length, 'x');
    const clAtom atom(text.c_str());
    const clAtom copy(atom);
    EXPECT_EQ(atom.text(), text);
    EXPECT_EQ(copy.text(), text);
    EXPECT_NE(copy.text(), atom.text());
  }
}

TEST(ConcatStrings, JoinsTwoTextsAndTakesNullForNone) {
  EXPECT_STREQ(Concat_Strings("a\t", "\tb").text(), "a\t\tb");
  EXPECT_STREQ(Concat_Strings(nullptr, "b").text(), "b");
  EXPECT_STREQ(Concat_Strings("a", nullptr).text(), "a");
  EXPECT_STREQ(Concat_Strings(nullptr, nullptr).text(), "");
}

TEST(String, IsNoAtom) { EXPECT_FALSE(clString("x").is_atom()); }

TEST(String, TakesOverAnArrayThatWasMadeForIt) {
  char* text = clString::allocate(6);
  EXPECT_EQ(std::string(text, 6), std::string(6, '\0'));
  memcpy(text, "hello", 5);
  std::unique_ptr<clString> string(clString::adopt(text));
  EXPECT_EQ(string->text(), text);
  EXPECT_STREQ(clString(*string).text(), "hello");
}

TEST(Integer, IsWrittenInDecimal) {
  EXPECT_EQ(written(Integer(0)), "0");
  EXPECT_EQ(written(Integer(-12)), "-12");
  EXPECT_EQ(written(Integer(std::numeric_limits<int>::min())), "-2147483648");
  EXPECT_EQ(Integer(-12).value(), -12.0);
}

TEST(Real, IsWrittenInTheFormThatReadersKnow) {
  EXPECT_EQ(written(Real(1)), "1.0");
  EXPECT_EQ(written(Real(-0.5)), "-0.5");
  EXPECT_EQ(written(Real(2.9)), "2.9");
  EXPECT_EQ(written(Real(1e300)), "1.0e300");
  EXPECT_EQ(written(Real(1.5e-20)), "1.5e-20");
  EXPECT_EQ(Real(2.9).value(), 2.9);
}

TEST(Real, ReadsBackAsTheSameNumber) {
  for (double number : {0.1, 1.0 / 3, 2.2250738585072014e-308, 1.7976931348623157e308, 123456789012345678.0,
                        std::numeric_limits<double>::infinity()}) {
    std::string text = written(Real(number));
    EXPECT_EQ(strtod(text.c_str(), nullptr), number) << text;
    EXPECT_EQ(text.find('+'), std::string::npos) << text;
  }
}

}  // namespace
