// The conversion classes by themselves: text into the saveable form, values for the implementation, output
// buffers and the caller's size rule.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "registry/ansi_buffers.h"
#include "registry/win_char.h"
#include "tests/registry/guarded_page.h"

namespace {

using namespace std::string_literals;

// The bytes of count units.
std::string bytes_of(const WinChar* units, std::size_t count) {
  return std::string(reinterpret_cast<const char*>(units), 2 * count);
}

std::string bytes_of_ascii(const std::string& text) {
  std::string bytes;
  for (char character : text) bytes += {'\0', character};
  return bytes;
}

std::string converted(const char* text, int length) {
  Buffer<WinChar> out;
  unsigned count = 0xEEEEEEEE;
  char_to_saveable(text, out, length, &count);
  return bytes_of(out.data, count);
}

const BYTE* as_data(const char* text) { return reinterpret_cast<const BYTE*>(text); }

// A buffer as the implementation leaves it: the units are there and the count is told.
void implementation_writes(WinBuffer& buffer, const std::string& units, unsigned count) {
  memcpy(buffer.buffer.data, units.data(), units.size());
  buffer.count = count;
}

const std::string hello = "\0h\0e\0l\0l\0o\0\0"s;

// Names of every length, with what may stand on both sides of the terminator.
TEST(SaveableName, EndsWithItsTerminatorWhateverStandsBehindIt) {
  const std::string behind = "\xE4\xF6 more text than fits into any block of its own";
  for (std::size_t length = 0; length <= 70; ++length) {
    const std::string text(length, 'n');
    const std::string with_more = text + '\0' + behind;
    const Saveable_Name name(with_more.c_str());
    EXPECT_EQ(bytes_of(name.data(), length + 1), bytes_of_ascii(text + '\0')) << length;
  }
}

TEST(SaveableName, OfEveryLengthMayEndWhereItsPageDoes) {
  kvtest::Guarded_Page page;
  for (std::size_t length = 0; length <= 70; ++length) {
    const std::string text = std::string(length, 'n') + '\0';
    const Saveable_Name name(page.ending_with(text));
    EXPECT_EQ(bytes_of(name.data(), length + 1), bytes_of_ascii(text)) << length;
  }
}

TEST(SaveableName, LongerThanAnyInlineRoomIsWhole) {
  const std::string text(5000, 'n');
  const Saveable_Name name(text.c_str());
  EXPECT_EQ(bytes_of(name.data(), 5001), bytes_of_ascii(text + '\0'));
}

TEST(IsStringType, HoldsForThreeTypesOnly) {
  for (unsigned type : {1u, 2u, 7u}) EXPECT_TRUE(is_string_type(type)) << type;
  for (unsigned type : {0u, 3u, 4u, 5u, 6u, 8u, 11u, 32u, 33u, 34u, 39u, 65u, 0x80000001u, 0xFFFFFFE1u, 0xFFFFFFFFu}) {
    EXPECT_FALSE(is_string_type(type)) << type;
  }
}

TEST(CharToSaveable, OneLetterGivesFourBytesAndACountOfTwo) {
  Buffer<WinChar> out;
  unsigned count = 0;
  char_to_saveable("A", out, -1, &count);
  EXPECT_EQ(count, 2u);
  EXPECT_EQ(bytes_of(out.data, 2), "\x00\x41\x00\x00"s);
}

TEST(CharToSaveable, EmptyTextIsItsTerminator) { EXPECT_EQ(converted("", -1), "\0\0"s); }

TEST(CharToSaveable, AGivenLengthIsExactAndKeepsZeros) {
  EXPECT_EQ(converted("a\0bc", 3), "\0a\0\0\0b"s);
  EXPECT_EQ(converted("abc", 2), "\0a\0b"s);
}

TEST(CharToSaveable, ALengthOfZeroGivesNoUnitsButData) {
  Buffer<WinChar> out;
  unsigned count = 0xEEEEEEEE;
  char_to_saveable("abc", out, 0, &count);
  EXPECT_EQ(count, 0u);
  EXPECT_NE(out.data, nullptr);
}

TEST(CharToSaveable, TheCountMayBeLeftOut) {
  Buffer<WinChar> out;
  char_to_saveable("A", out, -1, nullptr);
  EXPECT_EQ(bytes_of(out.data, 2), "\x00\x41\x00\x00"s);
  char_to_saveable(nullptr, out, -1, nullptr);
  EXPECT_EQ(out.data, nullptr);
}

TEST(CharToSaveable, NullTextReleasesWhatWasThere) {
  for (std::size_t length : {3u, 5000u}) {
    Buffer<WinChar> out;
    unsigned count = 0xEEEEEEEE;
    char_to_saveable(std::string(length, 'x').c_str(), out, -1, nullptr);
    char_to_saveable(nullptr, out, 7, &count);
    EXPECT_EQ(out.data, nullptr);
    EXPECT_EQ(count, 0u);
  }
}

TEST(CharToSaveable, TextUpTo4095BytesStaysInTheObject) {
  const std::string text(3000, 'x');
  Buffer<WinChar> out;
  const auto inside = [&out] {
    const char* const object = reinterpret_cast<const char*>(&out);
    const char* const data = reinterpret_cast<const char*>(out.data);
    return data >= object && data < object + sizeof out;
  };
  char_to_saveable(text.c_str(), out, 2047, nullptr);
  EXPECT_TRUE(inside());
  char_to_saveable(text.c_str(), out, 2048, nullptr);
  EXPECT_FALSE(inside());
  char_to_saveable(text.c_str(), out, 2, nullptr);
  EXPECT_TRUE(inside());
}

TEST(CharToSaveable, TextOfAnyLengthArrivesWhole) {
  for (int length : {1, 7, 8, 15, 16, 17, 31, 32, 33, 1023, 2047, 2048, 4096, 70001}) {
    std::string text, expected;
    for (int i = 0; i < length; ++i) text += static_cast<char>('a' + i % 26), expected += "\0"s + text.back();
    EXPECT_EQ(converted(text.c_str(), length), expected) << length;
  }
}

TEST(CharToSaveable, OtherCharactersAreFoundAtAnyPlaceOfARun) {
  for (std::size_t place = 0; place < 40; ++place) {
    std::string text = std::string(place, 'x') + "\xE2\x82\xAC" + std::string(40 - place, 'y'), expected;
    for (std::size_t i = 0; i < place; ++i) expected += "\0x"s;
    expected += "\x20\xAC";
    for (std::size_t i = place; i < 40; ++i) expected += "\0y"s;
    EXPECT_EQ(converted(text.c_str(), static_cast<int>(text.size())), expected) << place;
  }
}

// QUIRK wide-characters-truncated
TEST(CharToSaveable, ACharacterAboveTheSixteenBitsLosesItsUpperBits) {
  EXPECT_EQ(converted("\xF0\x9F\x98\x80", 4), "\xF6\x00"s);
}

TEST(CharToSaveable, UndecodableBytesBecomeUnitsOfTheirOwn) {
  EXPECT_EQ(converted("\x80z\xFF", 3), "\xDC\x80\0z\xDC\xFF"s);
  EXPECT_EQ(converted("\xC3", 1), "\xDC\xC3"s);
  EXPECT_EQ(converted("\xE2\x82", 2), "\xDC\xE2\xDC\x82"s);
}

TEST(WinVal, ANumberPassesThroughUnchanged) {
  const BYTE number[] = {1, 2, 3, 4};
  const WinVal value(REG_DWORD, number, 4);
  EXPECT_EQ(value.data, number);
  EXPECT_EQ(value.length, 4u);
}

TEST(WinVal, AnyOtherTypeKeepsTheCallersPointerAndLength) {
  for (unsigned type : {0u, 3u, 6u, 33u, 0xFFFFFFFFu}) {
    const BYTE* const nowhere = reinterpret_cast<const BYTE*>(std::uintptr_t{0x10});
    const WinVal value(type, nowhere, 0xFFFFFFFF);
    EXPECT_EQ(value.data, nowhere);
    EXPECT_EQ(value.length, 0xFFFFFFFFu);
  }
}

TEST(WinVal, TextIsConvertedAndItsLengthCountsBytes) {
  for (unsigned type : {1u, 2u, 7u}) {
    const WinVal value(type, as_data("ab"), 3);
    EXPECT_EQ(value.length, 6u);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(value.data), 6), "\0a\0b\0\0"s);
  }
}

TEST(WinVal, MultiByteTextIsShorterThanTwiceItsLength) {
  const WinVal value(REG_SZ, as_data("\xC3\xBC\xE2\x82\xAC"), 6);
  EXPECT_EQ(value.length, 6u);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(value.data), 6), "\0\xFC\x20\xAC\0\0"s);
}

TEST(WinVal, NullTextHasNoData) {
  const WinVal value(REG_SZ, nullptr, 5);
  EXPECT_EQ(value.data, nullptr);
  EXPECT_EQ(value.length, 0u);
}

TEST(WinVal, TheLargestLengthMeansUpToTheTerminator) {
  const WinVal value(REG_SZ, as_data("ab"), 0xFFFFFFFF);
  EXPECT_EQ(value.length, 6u);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(value.data), 6), "\0a\0b\0\0"s);
}

TEST(WinBuffer, WithoutCountAndDestinationOffersNothing) {
  for (int initial : {-1, 4096}) {
    const WinBuffer buffer(nullptr, nullptr, 1, initial);
    EXPECT_EQ(buffer.buffer.data, nullptr);
    EXPECT_EQ(buffer.countPointer, nullptr);
  }
}

TEST(WinBuffer, WithoutCountOffersTwoZeroBytes) {
  char dest[1];
  const WinBuffer buffer(dest, nullptr, 1, -1);
  ASSERT_NE(buffer.buffer.data, nullptr);
  EXPECT_EQ(bytes_of(buffer.buffer.data, 1), "\0\0"s);
  EXPECT_EQ(buffer.countPointer, nullptr);
}

TEST(WinBuffer, ACountOfZeroOffersTwoZeroBytes) {
  char dest[1];
  for (int initial : {-1, 4096}) {
    unsigned room = 0;
    const WinBuffer buffer(dest, &room, 1, initial);
    ASSERT_NE(buffer.buffer.data, nullptr);
    EXPECT_EQ(bytes_of(buffer.buffer.data, 1), "\0\0"s);
    EXPECT_EQ(buffer.countPointer, &buffer.count);
    EXPECT_EQ(buffer.count, 0u);
  }
}

TEST(WinBuffer, WithoutDestinationOffersACountOnly) {
  unsigned room = 77;
  const WinBuffer buffer(nullptr, &room, 0, -1);
  EXPECT_EQ(buffer.buffer.data, nullptr);
  EXPECT_EQ(buffer.countPointer, &buffer.count);
}

TEST(WinBuffer, NamesCountUnitsAndValuesBytes) {
  char dest[10];
  unsigned room = 10;
  const WinBuffer name(dest, &room, 1, -1), value(dest, &room, 0, -1);
  EXPECT_EQ(name.count, 10u);
  EXPECT_EQ(name.inWinChars, 1);
  EXPECT_EQ(value.count, 20u);
  EXPECT_EQ(value.inWinChars, 0);
  EXPECT_EQ(bytes_of(name.buffer.data, 10), std::string(20, '\0'));
  EXPECT_EQ(bytes_of(value.buffer.data, 10), std::string(20, '\0'));
}

TEST(WinBuffer, AnInitialCountReplacesTheCallers) {
  char dest[10];
  unsigned room = 10;
  const WinBuffer given(dest, &room, 1, 4096), bytes(dest, &room, 0, 4096), null(nullptr, &room, 1, 4096);
  EXPECT_EQ(given.count, 4096u);
  EXPECT_EQ(bytes.count, 8192u);
  EXPECT_EQ(null.count, 4096u);
  EXPECT_NE(null.buffer.data, nullptr);
}

TEST(WinBuffer, RoomUpTo4095BytesIsInTheObjectAndZeroed) {
  std::string dest(2048, '#');
  for (unsigned size : {2047u, 2048u}) {
    unsigned room = size;
    const WinBuffer buffer(dest.data(), &room, 1, -1);
    const char* const object = reinterpret_cast<const char*>(&buffer);
    const char* const data = reinterpret_cast<const char*>(buffer.buffer.data);
    EXPECT_EQ(data >= object && data < object + sizeof buffer, size == 2047);
    if (size == 2047) {
      EXPECT_EQ(std::string(data, 4094), std::string(4094, '\0'));
    }
  }
}

TEST(WinBufferExtend, MakesRoomForWhatTheCountTells) {
  char dest[2];
  unsigned room = 2;
  for (int in_win_chars : {0, 1}) {
    WinBuffer buffer(dest, &room, in_win_chars, -1);
    for (unsigned units : {5u, 3000u, 70000u, 1u}) {
      buffer.count = in_win_chars ? units : 2 * units + 1;
      buffer.extend();
      ASSERT_NE(buffer.buffer.data, nullptr);
      memset(buffer.buffer.data, 'x', 2 * std::size_t{units});
      EXPECT_EQ(buffer.count, in_win_chars ? units : 2 * units + 1);
    }
  }
}

TEST(WinBufferExtend, GivesDataWhereThereWasNone) {
  unsigned room = 0;
  WinBuffer buffer(nullptr, &room, 0, -1);
  buffer.count = 12;
  buffer.extend();
  EXPECT_NE(buffer.buffer.data, nullptr);
}

// A name of five units as the implementation reports it, given back to a caller with this room.
struct Given_Back {
  explicit Given_Back(unsigned caller_room) : room(caller_room) {
    char dest[16] = "###############";
    unsigned offered = 16;
    WinBuffer buffer(dest, &offered, 1, -1);
    implementation_writes(buffer, hello, 5);
    result = buffer.saveable_to_char(dest, &room, 0);
    text.assign(dest, 8);
  }
  unsigned room;
  DWORD result;
  std::string text;
};

TEST(SaveableToChar, ANameWithoutRoomForItsTerminatorIs234) {
  const Given_Back back(5);
  EXPECT_EQ(back.result, 234u);
  EXPECT_EQ(back.room, 5u);
  EXPECT_EQ(back.text, "########");
}

TEST(SaveableToChar, ANameWithRoomForItsTerminatorIsCopied) {
  const Given_Back back(6);
  EXPECT_EQ(back.result, 0u);
  EXPECT_EQ(back.room, 5u);
  EXPECT_EQ(back.text, "hello\0##"s);
}

TEST(SaveableToChar, TheRoomIsComparedAsASignedNumber) {
  for (unsigned room : {0x80000000u, 0xFFFFFFFFu}) {
    const Given_Back back(room);
    EXPECT_EQ(back.result, 234u);
    EXPECT_EQ(back.room, 5u);
    EXPECT_EQ(back.text, "########");
  }
  EXPECT_EQ(Given_Back(0x7FFFFFFF).result, 0u);
}

TEST(SaveableToChar, AValueCountsItsTerminator) {
  char dest[16] = "###############";
  unsigned room = 6;
  WinBuffer buffer(dest, &room, 0, -1);
  implementation_writes(buffer, hello, 12);
  EXPECT_EQ(buffer.saveable_to_char(dest, &room, 1), 0u);
  EXPECT_EQ(room, 6u);
  EXPECT_EQ(std::string(dest, 8), "hello\0##"s);
}

TEST(SaveableToChar, WithoutCountNothingHappens) {
  char dest[] = "####";
  unsigned room = 4;
  WinBuffer buffer(dest, &room, 1, -1);
  implementation_writes(buffer, "\0a\0\0"s, 1);
  EXPECT_EQ(buffer.saveable_to_char(dest, nullptr, 0), 0u);
  EXPECT_STREQ(dest, "####");
}

TEST(SaveableToChar, AValueOfNoUnitsIsACountOfZero) {
  char dest[] = "####";
  for (unsigned count : {0u, 1u}) {
    unsigned room = 4;
    WinBuffer buffer(dest, &room, 0, -1);
    buffer.count = count;
    EXPECT_EQ(buffer.saveable_to_char(dest, &room, 1), 0u);
    EXPECT_EQ(room, 0u);
    EXPECT_STREQ(dest, "####");
  }
}

TEST(SaveableToChar, WithoutDestinationOnlyTheLengthIsTold) {
  char dest[16];
  unsigned room = 16;
  WinBuffer buffer(dest, &room, 1, -1);
  implementation_writes(buffer, "\0\xFC\x20\xAC\0\0"s, 2);
  room = 0;
  EXPECT_EQ(buffer.saveable_to_char(nullptr, &room, 0), 0u);
  EXPECT_EQ(room, 5u);
}

TEST(SaveableToChar, ACountOfMinusOneMeansUpToTheTerminator) {
  char dest[16] = "###############";
  unsigned room = 16;
  WinBuffer name(dest, &room, 1, -1);
  implementation_writes(name, hello, 0xFFFFFFFE);
  EXPECT_EQ(name.saveable_to_char(dest, &room, 0), 0u);
  EXPECT_EQ(room, 5u);
  EXPECT_EQ(std::string(dest, 7), "hello\0#"s);
}

TEST(SaveableToChar, UnitsComeBackAsTheirCharacters) {
  char dest[32];
  memset(dest, '#', sizeof dest);
  unsigned room = 20;
  WinBuffer buffer(dest, &room, 0, -1);
  const std::string units = "\xF6\x00\0\xFC\xDC\x80\xD8\x3D\0\0"s;
  implementation_writes(buffer, units, static_cast<unsigned>(units.size()));
  EXPECT_EQ(buffer.saveable_to_char(dest, &room, 1), 0u);
  EXPECT_EQ(room, 10u);
  EXPECT_EQ(std::string(dest, 11), "\xEF\x98\x80\xC3\xBC\x80\xED\xA0\xBD\0#"s);
}

TEST(SaveableToChar, OtherUnitsAreFoundAtAnyPlaceOfARun) {
  for (unsigned place = 0; place < 40; ++place) {
    char dest[64];
    unsigned room = 64;
    WinBuffer buffer(dest, &room, 0, -1);
    std::string units;
    for (unsigned i = 0; i < 40; ++i) units += i == place ? "\x20\xAC"s : "\0x"s;
    implementation_writes(buffer, units, 80);
    EXPECT_EQ(buffer.saveable_to_char(dest, &room, 1), 0u);
    EXPECT_EQ(room, 42u);
    EXPECT_EQ(std::string(dest, 42), std::string(place, 'x') + "\xE2\x82\xAC" + std::string(39 - place, 'x'));
  }
}

TEST(ReturnAsValue, WithoutCountNothingHappens) {
  char dest[] = "####";
  WinBuffer buffer(dest, nullptr, 0, -1);
  EXPECT_EQ(buffer.return_as_value(reinterpret_cast<BYTE*>(dest), nullptr, REG_BINARY), 0u);
  EXPECT_EQ(buffer.return_as_value(reinterpret_cast<BYTE*>(dest), nullptr, REG_SZ), 0u);
  EXPECT_STREQ(dest, "####");
}

// Four bytes given back to a caller with this room.
DWORD give_bytes_back(char* dest, unsigned& room, int in_win_chars, unsigned count) {
  char offered_dest[16];
  unsigned offered = 16;
  WinBuffer buffer(offered_dest, &offered, in_win_chars, -1);
  implementation_writes(buffer, "\1\2\3\4", count);
  return buffer.return_as_value(reinterpret_cast<BYTE*>(dest), &room, REG_BINARY);
}

TEST(ReturnAsValue, BytesWithoutRoomAre234) {
  char dest[] = "#####";
  unsigned room = 3;
  EXPECT_EQ(give_bytes_back(dest, room, 0, 4), 234u);
  EXPECT_EQ(room, 4u);
  EXPECT_STREQ(dest, "#####");
}

TEST(ReturnAsValue, BytesWithRoomAreCopied) {
  char dest[] = "#####";
  unsigned room = 4;
  EXPECT_EQ(give_bytes_back(dest, room, 0, 4), 0u);
  EXPECT_EQ(room, 4u);
  EXPECT_STREQ(dest, "\1\2\3\4#");
}

TEST(ReturnAsValue, TheRoomForBytesIsComparedAsAnUnsignedNumber) {
  char dest[] = "#####";
  unsigned room = 0xFFFFFFFF;
  EXPECT_EQ(give_bytes_back(dest, room, 0, 4), 0u);
  EXPECT_EQ(room, 4u);
  EXPECT_STREQ(dest, "\1\2\3\4#");
}

TEST(ReturnAsValue, ACountOfUnitsIsTwiceAsManyBytes) {
  char dest[] = "#####";
  unsigned room = 3;
  EXPECT_EQ(give_bytes_back(dest, room, 1, 2), 234u);
  EXPECT_EQ(room, 4u);
  EXPECT_EQ(give_bytes_back(dest, room, 1, 2), 0u);
  EXPECT_EQ(room, 4u);
  EXPECT_STREQ(dest, "\1\2\3\4#");
}

TEST(ReturnAsValue, WithoutDestinationOnlyTheSizeIsTold) {
  unsigned room = 0;
  EXPECT_EQ(give_bytes_back(nullptr, room, 0, 4), 0u);
  EXPECT_EQ(room, 4u);
}

TEST(ReturnAsValue, TextIsConverted) {
  for (unsigned type : {1u, 2u, 7u}) {
    char dest[] = "########";
    unsigned room = 8;
    WinBuffer buffer(dest, &room, 0, -1);
    implementation_writes(buffer, hello, 12);
    EXPECT_EQ(buffer.return_as_value(reinterpret_cast<BYTE*>(dest), &room, type), 0u);
    EXPECT_EQ(room, 6u);
    EXPECT_EQ(std::string(dest, 8), "hello\0##"s);
  }
}

TEST(ReturnAsString, ANameIsCopiedAndItsLengthTold) {
  char dest[] = "########";
  unsigned room = 8;
  WinBuffer buffer(dest, &room, 1, -1);
  implementation_writes(buffer, hello, 5);
  buffer.return_as_string(dest, &room);
  EXPECT_EQ(room, 5u);
  EXPECT_EQ(std::string(dest, 8), "hello\0##"s);
}

TEST(ReturnAsString, ANameWithoutRoomShowsInTheCountOnly) {
  char dest[] = "########";
  unsigned room = 8;
  WinBuffer buffer(dest, &room, 1, -1);
  implementation_writes(buffer, "\x20\xAC\x20\xAC\x20\xAC\0\0"s, 3);
  buffer.return_as_string(dest, &room);
  EXPECT_EQ(room, 9u);
  EXPECT_STREQ(dest, "########");
}

TEST(ReturnAsString, WithoutCountNothingHappens) {
  char dest[] = "########";
  unsigned room = 8;
  WinBuffer buffer(dest, nullptr, 1, -1);
  buffer.count = 0;
  buffer.return_as_string(dest, &room);
  EXPECT_EQ(room, 8u);
  EXPECT_STREQ(dest, "########");
}

// Whatever stands where in a text of up to forty characters.
TEST(AsciiRun, EndsBeforeTheFirstOtherUnit) {
  for (std::size_t length = 0; length <= 40; ++length) {
    for (std::size_t place = 0; place <= length; ++place) {
      for (const WinChar other : {WinChar{1, 0x41}, WinChar{0, 0x80}, WinChar{0x80, 0}, WinChar{0xff, 0x7f}}) {
        std::vector<WinChar> units(length + 1, WinChar{0, 0x7f});
        units[place] = other;
        EXPECT_EQ(ascii_run(units.data(), length), place) << length;
      }
    }
  }
}

TEST(AsciiRun, EndsBeforeTheFirstOtherByte) {
  for (std::size_t length = 0; length <= 40; ++length) {
    for (std::size_t place = 0; place <= length; ++place) {
      std::string text(length + 1, '\x7f');
      text[place] = '\x80';
      EXPECT_EQ(ascii_run(text.data(), length), place) << length;
      std::vector<WinChar> units(length + 1, WinChar{0xee, 0xee});
      EXPECT_EQ(widen_ascii_run(text.data(), length, units.data()), place) << length;
      EXPECT_EQ(bytes_of(units.data(), place), bytes_of_ascii(text.substr(0, place)));
    }
  }
}

}  // namespace
