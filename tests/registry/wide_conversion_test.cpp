// The wide conversion classes by themselves: text into the saveable form, names and values that the
// implementation writes in place of the caller's, and what comes back of them.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "registry/wide_buffers.h"
#include "tests/registry/guarded_page.h"
#include "tests/registry/wide_text.h"

namespace {

using kvtest::Wide_Room;
using namespace std::string_literals;

std::string bytes_of(const WinChar* units, std::size_t count) {
  return std::string(reinterpret_cast<const char*>(units), 2 * count);
}

TEST(WinCharString, NullTextGivesNullData) {
  for (int length : {-1, 0, 7}) EXPECT_EQ(WinCharString(nullptr, length).data, nullptr);
}

TEST(WinCharString, ALengthBelowOneMeansUpToAndIncludingTheTerminator) {
  for (int length : {-1, 0, -77}) {
    const WinCharString text(L"a\u20AC\0x", length);
    EXPECT_EQ(bytes_of(text.data, 3), "\0a\x20\xAC\0\0"s) << length;
  }
}

TEST(WinCharString, EmptyTextIsItsTerminator) { EXPECT_EQ(bytes_of(WinCharString(L"", -1).data, 1), "\0\0"s); }

TEST(WinCharString, AGivenLengthIsExactAndKeepsZeros) {
  EXPECT_EQ(bytes_of(WinCharString(L"a\0bc", 3).data, 3), "\0a\0\0\0b"s);
  EXPECT_EQ(bytes_of(WinCharString(L"abc", 1).data, 1), "\0a"s);
}

TEST(WinCharString, OneZeroUnitStandsBehindTheText) {
  for (int length : {1, 2, 3}) {
    const WinCharString text(L"abcdef", length);
    EXPECT_EQ(bytes_of(text.data + length, 1), "\0\0"s) << length;
  }
}

TEST(WinCharString, OnlyTheLowSixteenBitsOfACharacterAreKept) {
  const wchar_t text[] = {0x1F600, 0x7FFF1234, 0x10000, 0xD83D, 0};
  EXPECT_EQ(bytes_of(WinCharString(text, 4).data, 4), "\xF6\x00\x12\x34\x00\x00\xD8\x3D"s);
}

TEST(WinCharString, TheTextNeedNotBeAligned) {
  for (std::size_t shift : {1u, 2u, 3u}) {
    char room[32] = {};
    memcpy(room + shift, L"a\u20AC", 12);
    const wchar_t* const text = reinterpret_cast<const wchar_t*>(room + shift);
    EXPECT_EQ(bytes_of(WinCharString(text, 2).data, 2), "\0a\x20\xAC"s);
    EXPECT_EQ(bytes_of(WinCharString(text, -1).data, 3), "\0a\x20\xAC\0\0"s);
  }
}

TEST(WinCharString, TextOfAnyLengthArrivesWhole) {
  for (std::size_t length : {1u, 3u, 4u, 5u, 7u, 8u, 9u, 15u, 16u, 17u, 2047u, 2048u, 70000u}) {
    std::wstring text;
    std::u16string units;
    for (std::size_t i = 0; i < length; ++i) {
      text += static_cast<wchar_t>(1 + i);
      units += static_cast<char16_t>(1 + i);
    }
    EXPECT_EQ(bytes_of(WinCharString(text.c_str(), static_cast<int>(length)).data, length), kvtest::crossing(units));
  }
}

// Characters whose two lower bytes differ from each other and from those around.
std::wstring some_text(std::size_t length) {
  std::wstring text;
  for (std::size_t i = 0; i < length; ++i) text += static_cast<wchar_t>(0x5A000101 + 0x0107 * i);
  return text;
}

std::u16string low_halves(const std::wstring& text) {
  std::u16string units;
  for (wchar_t character : text) units += static_cast<char16_t>(character);
  return units;
}

TEST(WinCharString, TextOfAnyLengthAndAtAnyAddressIsReadNoFurtherThanItsTerminator) {
  kvtest::Guarded_Page page;
  for (std::size_t length = 0; length < 600; ++length) {
    for (std::size_t from_end : {0u, 1u, 2u, 3u}) {
      const std::wstring text = some_text(length);
      std::string bytes(reinterpret_cast<const char*>(text.c_str()), (length + 1) * sizeof(wchar_t));
      bytes.append(from_end, 'x');
      const auto* const placed = reinterpret_cast<const wchar_t*>(page.ending_with(bytes));
      const WinCharString whole(placed, -1);
      ASSERT_EQ(bytes_of(whole.data, length + 2), kvtest::crossing(low_halves(text)) + "\0\0\0\0"s) << length;
      if (length == 0) continue;
      const WinCharString counted(placed, static_cast<int>(length));
      ASSERT_EQ(bytes_of(counted.data, length + 1), kvtest::crossing(low_halves(text)) + "\0\0"s) << length;
    }
  }
}

TEST(WinCharBufferString, WithoutTheCallersBufferThereIsNoData) {
  unsigned count = 5;
  const WinCharBufferString counted(nullptr, &count), nothing(nullptr, nullptr);
  EXPECT_EQ(counted.data, nullptr);
  EXPECT_EQ(counted.out, nullptr);
  EXPECT_EQ(counted.countPointer, &count);
  EXPECT_EQ(nothing.data, nullptr);
  EXPECT_EQ(nothing.countPointer, nullptr);
}

TEST(WinCharBufferString, RoomIsTheCallersCountOrOneUnit) {
  Wide_Room room;
  unsigned five = 5, none = 0;
  const WinCharBufferString counted(room.text, &five), empty(room.text, &none), uncounted(room.text, nullptr);
  memset(counted.data, 'x', 10);
  memset(empty.data, 'x', 2);
  memset(uncounted.data, 'x', 2);
  EXPECT_EQ(counted.out, room.text);
  EXPECT_EQ(counted.countPointer, &five);
  EXPECT_EQ(empty.countPointer, &none);
  EXPECT_EQ(uncounted.countPointer, nullptr);
  EXPECT_EQ(five, 5u);
  EXPECT_EQ(none, 0u);
}

// A buffer of six units as the implementation leaves it, given back with a result.
struct Name_Back : Wide_Room {
  Name_Back(DWORD result, unsigned left) {
    WinCharBufferString buffer(text, &count);
    memcpy(buffer.data, "\0h\xF6\x00\x20\xACl\0\0\0\0o"s.data(), 12);
    count = left;
    buffer.replace(result);
  }
  unsigned count = 6;
};

TEST(WinCharBufferStringReplace, BringsTheCountAndOneMore) {
  EXPECT_EQ(Name_Back(0, 0).first(2), L"h#");
  EXPECT_EQ(Name_Back(0, 2).first(4), L"h\uF600\u20AC#");
  EXPECT_EQ(Name_Back(0, 4).first(6), L"h\uF600\u20AC\u6C00\0#"s);
  EXPECT_EQ(Name_Back(0, 5).first(7), L"h\uF600\u20AC\u6C00\0o#"s);
  EXPECT_EQ(Name_Back(0, 4).count, 4u);
}

TEST(WinCharBufferStringReplace, NeverBringsMoreThanWasOffered) {
  for (unsigned left : {6u, 70000u, 0x80000000u, 0xFFFFFFFEu}) {
    const Name_Back back(0, left);
    EXPECT_EQ(back.first(7), L"h\uF600\u20AC\u6C00\0o#"s) << left;
    EXPECT_EQ(back.count, left);
  }
  EXPECT_EQ(Name_Back(0, 0xFFFFFFFF).text[6], L'#');
}

TEST(WinCharBufferStringReplace, DoesNothingForAnyOtherResult) {
  for (DWORD result : {2u, 234u, 259u, 0xFFFFFFFFu}) {
    const Name_Back back(result, 4);
    EXPECT_TRUE(back.untouched()) << result;
    EXPECT_EQ(back.count, 4u);
  }
}

TEST(WinCharBufferStringReplace, DoesNothingWithoutBufferOrCount) {
  Wide_Room room;
  unsigned count = 3;
  WinCharBufferString no_buffer(nullptr, &count), no_count(room.text, nullptr);
  no_buffer.replace(0);
  no_count.replace(0);
  EXPECT_EQ(count, 3u);
  EXPECT_TRUE(room.untouched());
}

TEST(WinCharBufferValue, OffersTheCallersCount) {
  Wide_Room room;
  unsigned caller = 5;
  const WinCharBufferValue value(room.bytes(), &caller);
  EXPECT_EQ(value.out, room.bytes());
  EXPECT_EQ(value.callerCount, &caller);
  EXPECT_EQ(value.countPointer, &value.count);
  EXPECT_EQ(value.count, 5u);
  ASSERT_NE(value.data, nullptr);
  memset(value.data, 'x', 5);
}

TEST(WinCharBufferValue, ACountOfZeroOrNoneOffersOneByte) {
  Wide_Room room;
  unsigned caller = 0;
  const WinCharBufferValue empty(room.bytes(), &caller), uncounted(room.bytes(), nullptr);
  ASSERT_NE(empty.data, nullptr);
  empty.data[0] = 'x';
  EXPECT_EQ(empty.countPointer, &empty.count);
  EXPECT_EQ(empty.count, 0u);
  ASSERT_NE(uncounted.data, nullptr);
  uncounted.data[0] = 'x';
  EXPECT_EQ(uncounted.countPointer, nullptr);
  EXPECT_EQ(uncounted.count, 0u);
}

TEST(WinCharBufferValue, WithoutTheCallersBufferThereIsNoData) {
  unsigned caller = 5;
  const WinCharBufferValue counted(nullptr, &caller), nothing(nullptr, nullptr);
  EXPECT_EQ(counted.data, nullptr);
  EXPECT_EQ(counted.countPointer, &counted.count);
  EXPECT_EQ(counted.count, 5u);
  EXPECT_EQ(nothing.data, nullptr);
  EXPECT_EQ(nothing.countPointer, nullptr);
  EXPECT_EQ(nothing.count, 0u);
}

// A value as the implementation leaves it, given back to a caller with this room.
struct Value_Back : Wide_Room {
  Value_Back(unsigned caller_room, DWORD result_in, DWORD type, const std::string& units, bool has_room = true)
      : caller(caller_room), result(result_in) {
    WinCharBufferValue value(has_room ? bytes() : nullptr, &caller);
    if (has_room && units.size() <= caller) memcpy(value.data, units.data(), units.size());
    value.count = static_cast<unsigned>(units.size());
    value.replace(&type, result);
  }
  unsigned caller;
  DWORD result;
};

const std::string hello = "\0h\0e\0l\0l\0o\0\0"s;

TEST(WinCharBufferValueReplace, TextDoublesOnTheWayBack) {
  for (DWORD type : {1u, 2u, 7u}) {
    for (unsigned room : {24u, 25u, 64u}) {
      const Value_Back back(room, 0, type, hello);
      EXPECT_EQ(back.result, 0u);
      EXPECT_EQ(back.caller, 24u);
      EXPECT_EQ(back.first(7), L"hello\0#"s);
    }
  }
}

TEST(WinCharBufferValueReplace, TextThatHasNoRoomTurnsSuccessInto234) {
  for (DWORD type : {1u, 2u, 7u}) {
    for (unsigned room : {12u, 20u, 23u}) {
      const Value_Back back(room, 0, type, hello);
      EXPECT_EQ(back.result, 234u);
      EXPECT_EQ(back.caller, 24u);
      EXPECT_TRUE(back.untouched());
    }
  }
}

TEST(WinCharBufferValueReplace, TheRoomForTextIsComparedAsAnUnsignedNumber) {
  unsigned caller = 24;
  Wide_Room room;
  WinCharBufferValue value(room.bytes(), &caller);
  memcpy(value.data, hello.data(), 12);
  value.count = 12;
  caller = 0x80000000;
  const DWORD type = REG_SZ;
  DWORD result = 0;
  value.replace(&type, result);
  EXPECT_EQ(result, 0u);
  EXPECT_EQ(caller, 24u);
  EXPECT_EQ(room.first(7), L"hello\0#"s);
}

TEST(WinCharBufferValueReplace, After234OnlyTheSizeIsTold) {
  const Value_Back text(64, 234, REG_SZ, hello), no_room(10, 234, REG_SZ, hello), bytes(64, 234, REG_BINARY, hello);
  EXPECT_EQ(text.result, 234u);
  EXPECT_EQ(text.caller, 24u);
  EXPECT_TRUE(text.untouched());
  EXPECT_EQ(no_room.result, 234u);
  EXPECT_EQ(no_room.caller, 24u);
  EXPECT_EQ(bytes.result, 234u);
  EXPECT_EQ(bytes.caller, 12u);
  EXPECT_TRUE(bytes.untouched());
}

TEST(WinCharBufferValueReplace, AnyOtherResultIsLeftAlone) {
  for (DWORD result : {2u, 5u, 259u, 0xFFFFFFFFu}) {
    for (DWORD type : {1u, 3u}) {
      const Value_Back back(64, result, type, hello);
      EXPECT_EQ(back.result, result);
      EXPECT_EQ(back.caller, 64u);
      EXPECT_TRUE(back.untouched());
    }
  }
}

TEST(WinCharBufferValueReplace, WithoutTheCallersBufferOnlyTheSizeIsTold) {
  const Value_Back text(0, 0, REG_SZ, hello, false), bytes(0, 0, REG_BINARY, hello, false);
  EXPECT_EQ(text.result, 0u);
  EXPECT_EQ(text.caller, 24u);
  EXPECT_EQ(bytes.result, 0u);
  EXPECT_EQ(bytes.caller, 12u);
}

TEST(WinCharBufferValueReplace, BytesComeBackAsTheyAre) {
  for (DWORD type : {0u, 3u, 4u, 33u, 34u, 39u, 0x80000001u}) {
    const Value_Back back(12, 0, type, hello);
    EXPECT_EQ(back.result, 0u);
    EXPECT_EQ(back.caller, 12u);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(back.text), 12), hello);
    EXPECT_EQ(back.text[3], L'#');
  }
}

TEST(WinCharBufferValueReplace, TextOfAnOddSizeGivesItsWholeCharacters) {
  const Value_Back three(6, 0, REG_SZ, "\0a\0"s), one(2, 0, REG_SZ, "\0"s), none(0, 0, REG_SZ, ""s);
  EXPECT_EQ(three.caller, 6u);
  EXPECT_EQ(three.first(2), L"a#");
  EXPECT_EQ(one.result, 0u);
  EXPECT_EQ(one.caller, 2u);
  EXPECT_TRUE(one.untouched());
  EXPECT_EQ(none.result, 0u);
  EXPECT_EQ(none.caller, 0u);
  EXPECT_TRUE(none.untouched());
}

TEST(WinCharBufferValueReplace, WithoutTheCallersCountNothingComesBack) {
  for (DWORD type : {1u, 3u}) {
    Wide_Room room;
    WinCharBufferValue value(room.bytes(), nullptr);
    DWORD result = 0;
    value.replace(&type, result);
    EXPECT_EQ(result, 0u);
    EXPECT_TRUE(room.untouched());
  }
}

TEST(WinCharBufferValueReplace, TheCallersBytesNeedNotBeAligned) {
  for (std::size_t shift : {1u, 2u, 3u}) {
    BYTE room[32];
    memset(room, '#', sizeof room);
    unsigned caller = 24;
    WinCharBufferValue value(room + shift, &caller);
    memcpy(value.data, hello.data(), 12);
    value.count = 12;
    const DWORD type = REG_SZ;
    DWORD result = 0;
    value.replace(&type, result);
    EXPECT_EQ(memcmp(room + shift, L"hello", 24), 0);
    EXPECT_EQ(room[shift + 24], '#');
  }
}

}  // namespace
