// The parts of the browser that need neither a screen nor a registry: cells and editors.
#include <locale.h>
#include <winnt.h>

#include "tools/kvreg/browse/cells.h"
#include "tools/kvreg/browse/edit_kind.h"
#include "tools/kvreg/browse/hex_edit.h"
#include "tools/kvreg/browse/text_edit.h"
#include "tools/kvreg/failure.h"

namespace {

using namespace kvreg;

class Browse_Parts : public testing::Test {
 protected:
  Browse_Parts() { setlocale(LC_CTYPE, "C.UTF-8"); }
};

std::wstring joined(const Cells& cells) {
  std::wstring text;
  for (const Cell& each : cells) text += each.text;
  return text;
}

std::string data(std::initializer_list<int> bytes) {
  std::string all;
  for (const int each : bytes) all.push_back(static_cast<char>(each));
  return all;
}

TEST_F(Browse_Parts, CellsCountTheColumnsOfWideCharacters) {
  EXPECT_EQ(columns_of(cells_of(u"ab")), 2);
  EXPECT_EQ(columns_of(cells_of(u"漢字")), 4);
  EXPECT_EQ(columns_of(cells_of(u"\U0001F600")), 2);
  EXPECT_EQ(cells_of(u"\U0001F600").front().units, 2u);
}

TEST_F(Browse_Parts, AMarkStandsInTheCellBeforeIt) {
  const Cells cells = cells_of(u"e\u0301x");
  ASSERT_EQ(cells.size(), 2u);
  EXPECT_EQ(cells[0].text, L"e\u0301");
  EXPECT_EQ(cells[0].columns, 1);
  EXPECT_EQ(cells[0].units, 2u);
}

TEST_F(Browse_Parts, AMarkWithNothingBeforeItAndTheFourthInACellAreWrittenByNumber) {
  EXPECT_EQ(joined(cells_of(u"\u0301x")), L"\\u0301x");
  EXPECT_EQ(joined(cells_of(u"e\u0301\u0301\u0301\u0301")), L"e\u0301\u0301\u0301\\u0301");
}

TEST_F(Browse_Parts, WhatWouldDisturbTheTerminalIsWrittenByNumber) {
  EXPECT_EQ(joined(cells_of(u"a\n\x1B[2J")), L"a\\u000A\\u001B[2J");
  EXPECT_EQ(joined(cells_of(u"\x9B\u202E")), L"\\u009B\\u202E");
  EXPECT_EQ(joined(cells_of(std::u16string(1, char16_t(0xD800)))), L"\\uD800");
  EXPECT_EQ(joined(cells_of(std::u16string(1, u'\0'))), L"\\u0000");
  EXPECT_EQ(cells_of(u"\n").front().columns, 6);
  EXPECT_TRUE(cells_of(u"\n").front().is_escape);
  EXPECT_FALSE(cells_of(u"\\u000A").front().is_escape);
}

TEST_F(Browse_Parts, ACutNeverPartsAWideCharacter) {
  EXPECT_EQ(joined(cut(cells_of(u"abcdef"), 6)), L"abcdef");
  EXPECT_EQ(joined(cut(cells_of(u"abcdef"), 5)), L"abcd\u2026");
  EXPECT_EQ(joined(cut(cells_of(u"漢字漢"), 6)), L"漢字漢");
  EXPECT_EQ(joined(cut(cells_of(u"漢字漢"), 5)), L"漢字\u2026");
  EXPECT_EQ(joined(cut(cells_of(u"漢字漢"), 4)), L"漢\u2026");
  EXPECT_EQ(columns_of(cut(cells_of(u"漢字漢"), 4)), 3);
  EXPECT_EQ(joined(cut(cells_of(u"\n\n"), 8)), L"\\u000A\u2026");
  EXPECT_EQ(joined(cut(cells_of(u"ab"), 1)), L"\u2026");
  EXPECT_EQ(joined(cut(cells_of(u"ab"), 0)), L"");
}

TEST_F(Browse_Parts, LinesAreWrappedAtBlanks) {
  const std::vector<Cells> lines = wrapped(cells_of(u"one two three"), 8);
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(joined(lines[0]), L"one two ");
  EXPECT_EQ(joined(lines[1]), L"three");
  const std::vector<Cells> long_word = wrapped(cells_of(u"abcdefgh"), 3);
  ASSERT_EQ(long_word.size(), 3u);
  EXPECT_EQ(joined(long_word[2]), L"gh");
}

TEST_F(Browse_Parts, ALineIsChangedAtItsCursor) {
  Line_Edit line(u"ac");
  EXPECT_TRUE(line.left());
  line.insert(u"b");
  EXPECT_EQ(line.text(), u"abc");
  EXPECT_EQ(line.cursor(), 2u);
  EXPECT_TRUE(line.erase_here());
  EXPECT_FALSE(line.erase_here());
  EXPECT_TRUE(line.erase_before());
  EXPECT_EQ(line.text(), u"a");
  line.erase_to_start();
  EXPECT_EQ(line.text(), u"");
  EXPECT_FALSE(line.erase_before());
  EXPECT_FALSE(line.left());
  EXPECT_FALSE(line.right());
}

TEST_F(Browse_Parts, TheCursorStandsBetweenWhatCannotBeParted) {
  Line_Edit line(u"\U0001F600e\u0301");
  EXPECT_TRUE(line.left());
  EXPECT_EQ(line.cursor(), 2u);
  EXPECT_TRUE(line.left());
  EXPECT_EQ(line.cursor(), 0u);
  EXPECT_TRUE(line.erase_here());
  EXPECT_EQ(line.text(), u"e\u0301");
  line.to_end();
  EXPECT_TRUE(line.erase_before());
  EXPECT_EQ(line.text(), u"");
}

TEST_F(Browse_Parts, ALineShowsThePartAroundItsCursor) {
  Line_Edit line(u"abcdefghij");
  EXPECT_EQ(joined(line.view(5).cells), L"ghij");
  EXPECT_EQ(line.view(5).cursor_column, 4);
  line.to_start();
  EXPECT_EQ(joined(line.view(5).cells), L"abcde");
  EXPECT_EQ(line.view(5).cursor_column, 0);
  EXPECT_EQ(joined(line.view(20).cells), L"abcdefghij");
}

TEST_F(Browse_Parts, AWideCharacterUnderTheCursorIsSeenWhole) {
  Line_Edit line(u"abc漢");
  line.left();
  EXPECT_EQ(joined(line.view(4).cells), L"bc漢");
  EXPECT_EQ(line.view(4).cursor_column, 2);
}

TEST_F(Browse_Parts, LinesArePartedAndJoined) {
  Text_Edit texts({u"ab", u"cd"});
  texts.line().to_start();
  texts.right();
  texts.new_line();
  EXPECT_EQ(texts.texts(), (std::vector<std::u16string>{u"a", u"b", u"cd"}));
  EXPECT_EQ(texts.row(), 1u);
  texts.erase_before();
  EXPECT_EQ(texts.texts(), (std::vector<std::u16string>{u"ab", u"cd"}));
  EXPECT_EQ(texts.line().cursor(), 1u);
  texts.line().to_end();
  texts.erase_here();
  EXPECT_EQ(texts.texts(), (std::vector<std::u16string>{u"abcd"}));
  EXPECT_EQ(texts.line().cursor(), 2u);
}

TEST_F(Browse_Parts, TheCursorGoesFromLineToLine) {
  Text_Edit texts({u"ab", u"cd"});
  texts.right();
  EXPECT_EQ(texts.row(), 1u);
  EXPECT_EQ(texts.line().cursor(), 0u);
  texts.left();
  EXPECT_EQ(texts.row(), 0u);
  EXPECT_EQ(texts.line().cursor(), 2u);
  texts.down(5);
  EXPECT_EQ(texts.row(), 1u);
  texts.up(5);
  EXPECT_EQ(texts.row(), 0u);
  texts.line().to_start();
  texts.left();
  texts.erase_before();
  EXPECT_EQ(texts.texts().size(), 2u);
}

TEST_F(Browse_Parts, EmptyLinesAtTheEndAreNoTexts) {
  EXPECT_EQ(Text_Edit({u"a", u"", u""}).texts(), (std::vector<std::u16string>{u"a"}));
  EXPECT_TRUE(Text_Edit({}).texts().empty());
}

TEST_F(Browse_Parts, DigitsChangeBytesAndAppendThem) {
  Hex_Edit bytes(data({0x12, 0x34}));
  bytes.digit(0xA);
  EXPECT_EQ(bytes.bytes(), data({0xA2, 0x34}));
  EXPECT_TRUE(bytes.is_inside());
  bytes.digit(0xB);
  EXPECT_EQ(bytes.bytes(), data({0xAB, 0x34}));
  EXPECT_EQ(bytes.cursor(), 1u);
  bytes.to_end();
  bytes.digit(0xC);
  EXPECT_EQ(bytes.bytes(), data({0xAB, 0x34, 0xC0}));
  bytes.digit(0xD);
  EXPECT_EQ(bytes.bytes(), data({0xAB, 0x34, 0xCD}));
}

TEST_F(Browse_Parts, BytesAreInsertedAndErased) {
  Hex_Edit bytes(data({1, 2}));
  bytes.move(1);
  bytes.insert();
  EXPECT_EQ(bytes.bytes(), data({1, 0, 2}));
  EXPECT_EQ(bytes.cursor(), 1u);
  bytes.erase_here();
  bytes.erase_before();
  EXPECT_EQ(bytes.bytes(), data({2}));
  bytes.erase_before();
  bytes.move(10);
  EXPECT_EQ(bytes.cursor(), 1u);
  bytes.erase_here();
  EXPECT_EQ(bytes.bytes(), data({2}));
  bytes.move(-10);
  EXPECT_EQ(bytes.cursor(), 0u);
}

TEST_F(Browse_Parts, AValueIsEditedByItsTypeWhenItsDataHasTheForm) {
  EXPECT_EQ(edit_kind({u"v", REG_SZ, data({0, 'a', 0, 0})}), Edit_Kind::text);
  EXPECT_EQ(edit_kind({u"v", REG_EXPAND_SZ, ""}), Edit_Kind::text);
  EXPECT_EQ(edit_kind({u"v", REG_SZ, data({0, 'a', 0})}), Edit_Kind::bytes);
  EXPECT_EQ(edit_kind({u"v", REG_DWORD, data({1, 0, 0, 0})}), Edit_Kind::number);
  EXPECT_EQ(edit_kind({u"v", REG_DWORD, data({1, 0, 0})}), Edit_Kind::bytes);
  EXPECT_EQ(edit_kind({u"v", REG_DWORD_BIG_ENDIAN, data({0, 0, 0, 1})}), Edit_Kind::number);
  EXPECT_EQ(edit_kind({u"v", REG_QWORD, data({1, 0, 0, 0, 0, 0, 0, 0})}), Edit_Kind::number);
  EXPECT_EQ(edit_kind({u"v", REG_QWORD, data({1, 0, 0, 0})}), Edit_Kind::bytes);
  EXPECT_EQ(edit_kind({u"v", REG_MULTI_SZ, data({0, 'a', 0, 0, 0, 'b', 0, 0, 0, 0})}), Edit_Kind::texts);
  EXPECT_EQ(edit_kind({u"v", REG_MULTI_SZ, data({0, 'a', 0, 0, 0, 0, 0, 'b', 0, 0, 0, 0})}), Edit_Kind::bytes);
  EXPECT_EQ(edit_kind({u"v", REG_BINARY, ""}), Edit_Kind::bytes);
  EXPECT_EQ(edit_kind({u"v", 4711, data({1, 0, 0, 0})}), Edit_Kind::bytes);
}

TEST_F(Browse_Parts, RowsShowNumbersBothWays) {
  EXPECT_EQ(data_for_row({u"v", REG_DWORD, data({0x1F, 0, 0, 0})}), u"0x1f (31)");
  EXPECT_EQ(data_for_row({u"v", REG_DWORD_BIG_ENDIAN, data({0, 0, 0, 0x1F})}), u"0x1f (31)");
  EXPECT_EQ(data_for_row({u"v", REG_MULTI_SZ, data({0, 'a', 0, 0, 0, 'b', 0, 0, 0, 0})}), u"a | b");
  EXPECT_EQ(data_for_row({u"v", REG_BINARY, data({0x0A, 0xFF})}), u"0AFF");
}

TEST_F(Browse_Parts, TextsHaveNoEmptyOneBeforeOthers) {
  EXPECT_EQ(data_of_texts({u"a"}), data({0, 'a', 0, 0, 0, 0}));
  EXPECT_EQ(data_of_texts({}), data({0, 0}));
  EXPECT_THROW(data_of_texts({u"", u"a"}), Bad_Arguments);
}

}  // namespace
