// Names and values in other code pages than UTF-8. A process has one code page for its life: each test starts this
// program again, for itself alone, in an environment that names another.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "registry/ansi_buffers.h"
#include "registry/win_char.h"
#include "tests/support/child.h"

namespace {

using namespace std::string_literals;

// Whether this is the program started again; else starts it, and fails when the test fails there.
bool in_code_page(const char* locale) {
  const char* const own = getenv("LC_ALL");
  if (own != nullptr && own == std::string(locale)) return true;
  const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
  const std::string filter = "--gtest_filter="s + test.test_suite_name() + "." + test.name();
  const kvtest::Child_Result again = kvtest::run_program({"/proc/self/exe", filter}, {"LC_ALL="s + locale});
  EXPECT_EQ(again.exit_status, 0) << again.out << again.err;
  EXPECT_NE(again.out.find("[  PASSED  ] 1 test."), std::string::npos) << again.out;
  return false;
}

std::string bytes_of(const WinChar* units, std::size_t count) {
  return std::string(reinterpret_cast<const char*>(units), 2 * count);
}

std::string stored(const std::string& text) {
  const WinVal value(REG_SZ, reinterpret_cast<const unsigned char*>(text.data()), static_cast<unsigned>(text.size()));
  return std::string(reinterpret_cast<const char*>(value.data), value.length);
}

// Units brought back to a caller with this room, as a value or as a name, which is told without its terminator.
struct Brought_Back {
  Brought_Back(unsigned caller_room, const std::string& units, bool is_value) : text(9, '#'), room(caller_room) {
    unsigned offered = 8;
    WinBuffer buffer(text.data(), &offered, is_value ? 0 : 1, -1);
    memcpy(buffer.buffer.data, units.data(), units.size());
    buffer.count = static_cast<unsigned>(is_value ? units.size() : units.size() / 2 - 1);
    result = buffer.saveable_to_char(text.data(), &room, is_value ? 1 : 0);
  }
  std::string text;
  unsigned room;
  DWORD result;
};

TEST(CodePage, OfSingleBytesGivesAUnitForEachByte) {
  if (!in_code_page("xx.ISO-8859-1")) return;
  EXPECT_EQ(bytes_of(Saveable_Name("Gr\xFC\xDF").data(), 5), "\0G\0r\0\xFC\0\xDF\0\0"s);
  EXPECT_EQ(stored("a\xE9\0"s), "\0a\0\xE9\0\0"s);
}

TEST(CodePage, OfSingleBytesGivesAByteForEachUnit) {
  if (!in_code_page("xx.ISO-8859-1")) return;
  const Brought_Back fits(3, "\0a\0\xE9\0\0"s, true), has_no_room(2, "\0a\0\xE9\0\0"s, true);
  EXPECT_EQ(fits.result, 0u);
  EXPECT_EQ(fits.room, 3u);
  EXPECT_EQ(fits.text, "a\xE9\0######"s);
  EXPECT_EQ(has_no_room.result, 234u);
  EXPECT_EQ(has_no_room.room, 3u);
  EXPECT_EQ(has_no_room.text, "#########");
}

// The second byte of the character is a backslash when it stands alone.
TEST(CodePage, OfTwoBytesGivesOneUnitForBoth) {
  if (!in_code_page("xx.CP932")) return;
  EXPECT_EQ(bytes_of(Saveable_Name("a\x83\x5C").data(), 3), "\0a\x30\xBD\0\0"s);
  EXPECT_EQ(stored("\x83\x5C\x83\x5C\0"s), "\x30\xBD\x30\xBD\0\0"s);
}

TEST(CodePage, OfTwoBytesNeedsRoomForBothAndTheTerminator) {
  if (!in_code_page("xx.CP932")) return;
  const Brought_Back fits(3, "\x30\xBD\0\0"s, false), has_no_room(2, "\x30\xBD\0\0"s, false);
  EXPECT_EQ(fits.result, 0u);
  EXPECT_EQ(fits.room, 2u);
  EXPECT_EQ(fits.text, "\x83\x5C\0######"s);
  EXPECT_EQ(has_no_room.result, 234u);
  EXPECT_EQ(has_no_room.room, 2u);
  EXPECT_EQ(has_no_room.text, "#########");
}

TEST(CodePage, WithLettersElsewhereThanAsciiIsNotTakenForAscii) {
  if (!in_code_page("xx.IBM037")) return;
  EXPECT_EQ(bytes_of(Saveable_Name("\xC1\xC2").data(), 3), "\0A\0B\0\0"s);
  EXPECT_EQ(stored("\xC1\x41\0"s), "\0A\0\xA0\0\0"s);
  const Brought_Back name(3, "\0A\0B\0\0"s, false);
  EXPECT_EQ(name.result, 0u);
  EXPECT_EQ(name.room, 2u);
  EXPECT_EQ(name.text, "\xC1\xC2\0######"s);
}

TEST(CodePage, ConvertsTextOnBothSidesOfTheInlineRoom) {
  if (!in_code_page("xx.IBM037")) return;
  for (std::size_t length : {2046u, 2047u, 2048u, 5000u}) {
    std::string units;
    for (std::size_t i = 0; i < length; ++i) units += "\0A"s;
    EXPECT_EQ(bytes_of(Saveable_Name(std::string(length, '\xC1').c_str()).data(), length + 1), units + "\0\0"s);
    std::string text(length + 1, '#');
    auto room = static_cast<unsigned>(length);
    WinBuffer buffer(text.data(), &room, 0, -1);
    memcpy(buffer.buffer.data, units.data(), units.size());
    EXPECT_EQ(buffer.saveable_to_char(text.data(), &room, 1), 0u);
    EXPECT_EQ(room, length);
    EXPECT_EQ(text, std::string(length, '\xC1') + "#");
  }
}

}  // namespace
