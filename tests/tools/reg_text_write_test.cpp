// Writing .reg text: the literal form of each kind of value, and trees of any content that come back as they were, with
// the same bytes when they are written again.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "tests/tools/statements.h"
#include "tools/kvreg/reg_text/units.h"
#include "tools/kvreg/reg_text/writer.h"

namespace {

using namespace std::string_literals;
using kvreg::Reg_Version;
using Kind = Statement::Kind;

class Text {
 public:
  explicit Text(Reg_Version version) : writer_(version, [this](std::string_view bytes) { bytes_ += bytes; }) {}

  kvreg::Reg_Writer& writer() { return writer_; }
  std::string bytes() {
    writer_.finish();
    return bytes_;
  }

 private:
  std::string bytes_;
  kvreg::Reg_Writer writer_;
};

// The line of one value in version 5, as UTF-8.
std::string line_of(std::u16string_view name, std::uint32_t type, std::string_view data) {
  Text text(Reg_Version::units);
  EXPECT_TRUE(text.writer().key(u"HKLM"));
  EXPECT_TRUE(text.writer().value(name, type, data));
  const std::string all = kvreg::utf8_of(kvreg::decode_reg_file(text.bytes()).units);
  const std::string before = "Windows Registry Editor Version 5.00\r\n\r\n[HKLM]\r\n";
  EXPECT_EQ(all.substr(0, before.size()), before);
  return all.substr(before.size(), all.size() - before.size() - 4);
}

TEST(WrittenRegText, OfVersionFiveIsUtf16WithAMarkAndCarriageReturns) {
  Text text(Reg_Version::units);
  text.writer().key(u"HK");
  const std::string bytes = text.bytes();
  EXPECT_EQ(bytes.substr(0, 6), "\xFF\xFEW\0i\0"s);
  EXPECT_EQ(bytes.substr(bytes.size() - 16), "[\0H\0K\0]\0\r\0\n\0\r\0\n\0"s);
}

TEST(WrittenRegText, OfVersionFourIsInTheCodePage) {
  Text text(Reg_Version::code_page);
  EXPECT_TRUE(text.writer().key(u"HKLM\\\u00e9"));
  EXPECT_TRUE(text.writer().value(u"\u00e9", REG_SZ, "\0\xe9\0\0"s));
  EXPECT_TRUE(text.writer().value(u"", REG_EXPAND_SZ, "\0\xe9\0\0"s));
  EXPECT_EQ(text.bytes(), "REGEDIT4\r\n\r\n[HKLM\\\u00e9]\r\n\"\u00e9\"=\"\u00e9\"\r\n@=hex(2):c3,a9,00\r\n\r\n");
}

TEST(WrittenRegText, OfVersionFourRefusesWhatTheCodePageCannotTell) {
  Text text(Reg_Version::code_page);
  EXPECT_TRUE(text.writer().key(u"HKLM"));
  EXPECT_FALSE(text.writer().value(u"odd", REG_SZ, "\0A\0"s));
  EXPECT_FALSE(text.writer().value(u"lone", REG_SZ, "\xDC\xC3\xDC\xA9\0\0"s));
  EXPECT_EQ(text.bytes(), "REGEDIT4\r\n\r\n[HKLM]\r\n\r\n");
}

TEST(WrittenRegText, QuotesPlainTextsAndEscapesThem) {
  EXPECT_EQ(line_of(u"v", REG_SZ, "\0A\0\\\0\"\0\0"s), R"("v"="A\\\"")");
  EXPECT_EQ(line_of(u"a\\\"b", REG_SZ, "\0\0"s), R"("a\\\"b"="")");
  EXPECT_EQ(line_of(u"", REG_SZ, "\0x\0\0"s), R"(@="x")");
  EXPECT_EQ(line_of(u"@", REG_SZ, "\0x\0\0"s), R"("@"="x")");
}

TEST(WrittenRegText, GivesTextsThatAreNotPlainAsBytes) {
  EXPECT_EQ(line_of(u"v", REG_SZ, "\0A"s), R"("v"=hex(1):41,00)");
  EXPECT_EQ(line_of(u"v", REG_SZ, ""), R"("v"=hex(1):)");
  EXPECT_EQ(line_of(u"v", REG_SZ, "\0A\0\0\0\0"s), R"("v"=hex(1):41,00,00,00,00,00)");
  EXPECT_EQ(line_of(u"v", REG_SZ, "\0\n\0\0"s), R"("v"=hex(1):0a,00,00,00)");
}

TEST(WrittenRegText, GivesNumbersAndBytes) {
  EXPECT_EQ(line_of(u"v", REG_DWORD, "\xab\xf0\1\0"s), R"("v"=dword:0001f0ab)");
  EXPECT_EQ(line_of(u"v", REG_DWORD, "\xab"s), R"("v"=hex(4):ab)");
  EXPECT_EQ(line_of(u"v", REG_BINARY, "\0\xff"s), R"("v"=hex:00,ff)");
  EXPECT_EQ(line_of(u"v", REG_NONE, ""), R"("v"=hex(0):)");
  EXPECT_EQ(line_of(u"v", REG_QWORD, "\1\2\3\4\5\6\7\x8"s), R"("v"=hex(b):01,02,03,04,05,06,07,08)");
  EXPECT_EQ(line_of(u"v", 0xFFFFFFFFu, "a"), R"("v"=hex(ffffffff):61)");
}

TEST(WrittenRegText, BreaksLinesOfBytes) {
  EXPECT_EQ(line_of(u"v", REG_BINARY, std::string(25, '\1')),
            "\"v\"=hex:01,01,01,01,01,01,01,01,01,01,01,01,01,01,01,01,01,01,01,01,01,01,01,\\\r\n  01,01");
}

// QUIRK reg-text-unit-escape
TEST(WrittenRegText, GivesControlCharactersOfNamesByTheirNumber) {
  EXPECT_EQ(line_of(u"a\nb", REG_SZ, "\0\0"s), R"("a\x000A;b"="")");
  Text text(Reg_Version::units);
  text.writer().key(u"HKLM\\a\r]\nb");
  EXPECT_NE(kvreg::decode_reg_file(text.bytes()).units.find(u"\r\n[HKLM\\a\\\\x000D;]\\\\x000A;b]\r\n"),
            std::u16string::npos);
}

// Trees whose names and data are drawn from what is hard to write.
class Random_Tree {
 public:
  explicit Random_Tree(unsigned seed) : random_(seed) {}

  std::vector<Statement> make() {
    std::vector<Statement> tree;
    for (int keys = 1 + below(6); keys > 0; --keys) {
      tree.push_back({Kind::open, u"HKEY_CURRENT_USER\\" + name(true)});
      for (int values = below(6); values > 0; --values) tree.push_back(value());
    }
    return tree;
  }

 private:
  int below(int most) { return static_cast<int>(random_() % static_cast<unsigned>(most)); }

  char16_t unit(bool is_key) {
    static const std::u16string hard = u"\\\"@[];-=x0;\n\r\t\x01\x7f \u00e9\u2028\uFEFF\uFFFF\xD800\xDBFF\xDC41\xDFFF";
    const char16_t drawn = below(4) == 0 ? static_cast<char16_t>(1 + random_() % 0xFFFF)
                                         : hard[static_cast<std::size_t>(below(static_cast<int>(hard.size())))];
    return is_key && drawn == u'\\' ? u'/' : drawn;
  }

  std::u16string name(bool is_key) {
    std::u16string text;
    for (int length = 1 + below(12); length > 0; --length) text += unit(is_key);
    return text;
  }

  // Text is whole units, as the registry stores it.
  Statement value() {
    Statement made{Kind::set, below(5) == 0 ? u"" : name(false), type(), data()};
    if (kvreg::is_stored_as_units(made.type) && made.data.size() % 2 != 0) made.data.pop_back();
    return made;
  }

  std::uint32_t type() {
    return below(8) == 0 ? static_cast<std::uint32_t>(random_()) : static_cast<std::uint32_t>(below(13));
  }

  std::string data() {
    std::string bytes;
    for (int length = below(10) == 0 ? below(5000) : below(40); length > 0; --length) {
      bytes.push_back(below(3) == 0 ? '\0' : static_cast<char>(random_() & 0xFF));
    }
    return bytes;
  }

  std::mt19937 random_;
};

std::string written(const std::vector<Statement>& tree, Reg_Version version) {
  Text text(version);
  for (const Statement& each : tree) {
    if (each.kind == Kind::open) {
      EXPECT_TRUE(text.writer().key(each.name));
    } else {
      EXPECT_TRUE(text.writer().value(each.name, each.type, each.data));
    }
  }
  return text.bytes();
}

std::vector<Statement> read_back(const std::string& bytes, unsigned seed) {
  Statements read;
  const auto wrong = kvreg::read_reg_text(kvreg::decode_reg_file(bytes), read);
  EXPECT_FALSE(wrong) << "seed " << seed << ", line " << wrong->line << ": " << wrong->what;
  return read.all;
}

TEST(WrittenRegText, OfAnyTreeReadsBackAndIsWrittenAgainWithTheSameBytes) {
  for (unsigned seed = 0; seed < 120; ++seed) {
    const std::vector<Statement> tree = Random_Tree(seed).make();
    const std::string bytes = written(tree, Reg_Version::units);
    const std::vector<Statement> again = read_back(bytes, seed);
    ASSERT_EQ(again, tree) << "seed " << seed;
    ASSERT_EQ(written(again, Reg_Version::units), bytes) << "seed " << seed;
  }
}

TEST(WrittenRegText, OfVersionFourReadsBackWhereverItWasNotRefused) {
  for (unsigned seed = 0; seed < 120; ++seed) {
    std::vector<Statement> told;
    Text text(Reg_Version::code_page);
    for (const Statement& each : Random_Tree(seed).make()) {
      const bool is_told =
          each.kind == Kind::open ? text.writer().key(each.name) : text.writer().value(each.name, each.type, each.data);
      if (is_told) told.push_back(each);
    }
    if (told.empty() || told.front().kind != Kind::open) continue;
    ASSERT_EQ(read_back(text.bytes(), seed), told) << "seed " << seed;
  }
}

}  // namespace
