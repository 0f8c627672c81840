// Reading one wide value: the caller's own bytes offered, one call only, text that doubles on the way back.
#include <vector>

#include "tests/registry/fronts.h"
#include "tests/registry/wide_text.h"

namespace kvtest {
namespace {

constexpr DWORD untouched_type = 0x7E7E7E7E;

// A caller's variables of RegQueryValueExW.
struct Wide_Reader : Wide_Room {
  explicit Wide_Reader(DWORD room) : size(room) {}
  DWORD type = untouched_type;
  DWORD size;
};

class Wide_Query_Value_Ex : public Fronts {
 protected:
  LSTATUS read(Wide_Reader& reader) {
    return RegQueryValueExW(key, L"n", nullptr, &reader.type, reader.bytes(), &reader.size);
  }
  LSTATUS read_size(Wide_Reader& reader) {
    return RegQueryValueExW(key, L"n", nullptr, &reader.type, nullptr, &reader.size);
  }
};

TEST_F(Wide_Query_Value_Ex, HandsItsArgumentsOnAndOffersTheCallersOwnBytes) {
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_BINARY, "abcd"));
  Wide_Reader reader(10);
  EXPECT_EQ(RegQueryValueExW(key, L"n\u00E4me", unreadable<DWORD>(0x8400000485000005), &reader.type, reader.bytes(),
                             &reader.size),
            0);
  ASSERT_EQ(entries(), "KvIRegQueryValueEx ");
  ASSERT_EQ(call().arguments.size(), 7u);
  EXPECT_EQ(call().raw("key"), 0x1122334455667788u);
  EXPECT_EQ(call()["value_name"].text, u"n\u00E4me");
  EXPECT_EQ(call().raw("reserved"), 0x8400000485000005u);
  EXPECT_EQ(call().raw("out_type"), number_of(&reader.type));
  EXPECT_NE(call().raw("data"), 0u);
  EXPECT_NE(call().raw("data"), number_of(reader.text));
  EXPECT_NE(call().raw("data_size"), 0u);
  EXPECT_NE(call().raw("data_size"), number_of(&reader.size));
  EXPECT_EQ(call()["data_size"].count, 10u);
  EXPECT_EQ(call().raw("null"), 0u);
}

TEST_F(Wide_Query_Value_Ex, NullPointersStayNullButTheType) {
  recording.script("KvIRegQueryValueEx", answer(2));
  EXPECT_EQ(RegQueryValueExW(key, nullptr, nullptr, nullptr, nullptr, nullptr), 2);
  for (const char* name : {"value_name", "reserved", "data", "data_size", "null"}) {
    EXPECT_EQ(call().raw(name), 0u) << name;
  }
  EXPECT_NE(call().raw("out_type"), 0u);
}

TEST_F(Wide_Query_Value_Ex, BytesComeBackAsTheyAre) {
  for (DWORD type : {0u, 3u, 4u, 6u, 11u, 33u, 34u, 39u, 0x80000001u, 0xFFFFFFFFu}) {
    recording.script("KvIRegQueryValueEx", answer_value(0, type, "\0a\0b\0\0\xFF"s));
    Wide_Reader reader(7);
    EXPECT_EQ(read(reader), 0);
    EXPECT_EQ(reader.type, type);
    EXPECT_EQ(reader.size, 7u);
    EXPECT_EQ(memcmp(reader.bytes(), "\0a\0b\0\0\xFF\0#", 9), 0) << type;
  }
}

TEST_F(Wide_Query_Value_Ex, TheThreeTextTypesAreConverted) {
  for (DWORD type : {1u, 2u, 7u}) {
    recording.script("KvIRegQueryValueEx", answer_value(0, type, "\0\xE4\x20\xAC\0\0"s));
    Wide_Reader reader(32);
    EXPECT_EQ(read(reader), 0);
    EXPECT_EQ(reader.type, type);
    EXPECT_EQ(reader.size, 12u);
    EXPECT_EQ(reader.first(4), L"\u00E4\u20AC\0#"s);
  }
}

TEST_F(Wide_Query_Value_Ex, UnitsComeBackAsCharactersOfTheSameNumber) {
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_SZ, "\xF6\x00\xFF\xFF\xDC\x80\xD8\x3D"s));
  Wide_Reader reader(16);
  EXPECT_EQ(read(reader), 0);
  EXPECT_EQ(reader.size, 16u);
  EXPECT_EQ(reader.first(5), (std::wstring{0xF600, 0xFFFF, 0xDC80, 0xD83D, L'#'}));
}

TEST_F(Wide_Query_Value_Ex, TextOfThreeCharactersFitsSixteenBytes) {
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_SZ, "\0a\0b\0c\0\0"s));
  Wide_Reader reader(16);
  EXPECT_EQ(read(reader), 0);
  EXPECT_EQ(reader.size, 16u);
  EXPECT_EQ(reader.first(5), L"abc\0#"s);
}

TEST_F(Wide_Query_Value_Ex, TextThatFitsExactlyIsCopied) {
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_SZ, stored_hello));
  Wide_Reader reader(24);
  EXPECT_EQ(read(reader), 0);
  EXPECT_EQ(call()["data_size"].count, 24u);
  EXPECT_EQ(reader.size, 24u);
  EXPECT_EQ(reader.first(7), L"hello\0#"s);
}

TEST_F(Wide_Query_Value_Ex, TextThatFitsTheEntrysRoomButNotTheCallersAnswers234) {
  for (DWORD room : {12u, 20u, 23u}) {
    recording.reset();
    recording.script("KvIRegQueryValueEx", answer_value(0, REG_SZ, stored_hello));
    Wide_Reader reader(room);
    EXPECT_EQ(read(reader), 234);
    EXPECT_EQ(call()["data_size"].count, room);
    EXPECT_EQ(reader.size, 24u);
    EXPECT_EQ(reader.type, 1u);
    EXPECT_TRUE(reader.untouched());
    EXPECT_EQ(entries(), "KvIRegQueryValueEx ");
  }
}

TEST_F(Wide_Query_Value_Ex, An234OfTheEntryTellsTwiceTheSizeWithoutASecondCall) {
  for (DWORD room : {0u, 1u, 10u}) {
    recording.reset();
    recording.script("KvIRegQueryValueEx", answer_value_size(234, REG_SZ, 12));
    Wide_Reader reader(room);
    EXPECT_EQ(read(reader), 234);
    EXPECT_NE(call().raw("data"), 0u);
    EXPECT_EQ(call()["data_size"].count, room);
    EXPECT_EQ(reader.size, 24u);
    EXPECT_EQ(reader.type, 1u);
    EXPECT_TRUE(reader.untouched());
    EXPECT_EQ(entries(), "KvIRegQueryValueEx ");
  }
}

TEST_F(Wide_Query_Value_Ex, An234OfTheEntryCopiesNoTextAlsoWhenThereIsRoom) {
  recording.script("KvIRegQueryValueEx", answer_value(234, REG_SZ, stored_hello));
  Wide_Reader reader(64);
  EXPECT_EQ(read(reader), 234);
  EXPECT_EQ(reader.size, 24u);
  EXPECT_TRUE(reader.untouched());
}

TEST_F(Wide_Query_Value_Ex, TheSizeOfTextIsToldByOneCall) {
  for (DWORD garbage : {0u, 5u, 0xCDCDCDCDu}) {
    recording.reset();
    recording.script("KvIRegQueryValueEx", answer_value_size(0, REG_SZ, 12));
    Wide_Reader reader(garbage);
    EXPECT_EQ(read_size(reader), 0);
    EXPECT_EQ(reader.size, 24u);
    EXPECT_EQ(reader.type, 1u);
    ASSERT_EQ(entries(), "KvIRegQueryValueEx ");
    EXPECT_EQ(call().raw("data"), 0u);
    EXPECT_NE(call().raw("data_size"), 0u);
    EXPECT_EQ(call()["data_size"].count, garbage);
  }
}

TEST_F(Wide_Query_Value_Ex, TheSizeOfBytesIsToldAsItIs) {
  recording.script("KvIRegQueryValueEx", answer_value_size(0, REG_BINARY, 5));
  Wide_Reader reader(0xCDCDCDCD);
  EXPECT_EQ(read_size(reader), 0);
  EXPECT_EQ(reader.size, 5u);
  EXPECT_EQ(reader.type, 3u);
}

TEST_F(Wide_Query_Value_Ex, BytesThatDoNotFitTellTheirSize) {
  for (DWORD room : {0u, 1u, 4u}) {
    recording.reset();
    recording.script("KvIRegQueryValueEx", answer_value_size(234, REG_BINARY, 5));
    Wide_Reader reader(room);
    EXPECT_EQ(read(reader), 234);
    EXPECT_EQ(call()["data_size"].count, room);
    EXPECT_NE(call().raw("data"), 0u);
    EXPECT_EQ(reader.size, 5u);
    EXPECT_EQ(reader.type, 3u);
    EXPECT_TRUE(reader.untouched());
    EXPECT_EQ(entries(), "KvIRegQueryValueEx ");
  }
}

TEST_F(Wide_Query_Value_Ex, TheTypeMayBeNullAndStillDecides) {
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_SZ, stored_hello));
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_BINARY, stored_hello));
  Wide_Reader text(24), bytes(24);
  EXPECT_EQ(RegQueryValueExW(key, L"n", nullptr, nullptr, text.bytes(), &text.size), 0);
  EXPECT_EQ(RegQueryValueExW(key, L"n", nullptr, nullptr, bytes.bytes(), &bytes.size), 0);
  EXPECT_EQ(text.size, 24u);
  EXPECT_EQ(text.first(7), L"hello\0#"s);
  EXPECT_EQ(bytes.size, 12u);
  EXPECT_EQ(memcmp(bytes.bytes(), stored_hello.data(), 12), 0);
  EXPECT_NE(call().raw("out_type"), 0u);
}

TEST_F(Wide_Query_Value_Ex, OtherResultsLeaveSizeAndDataAsTheyWere) {
  for (DWORD code : {2u, 5u, 1018u, 0xFFFFFFFFu}) {
    recording.script("KvIRegQueryValueEx", answer_value(code, REG_SZ, stored_hello));
    Wide_Reader reader(24);
    EXPECT_EQ(read(reader), static_cast<LSTATUS>(code));
    EXPECT_EQ(reader.size, 24u);
    EXPECT_TRUE(reader.untouched());
  }
}

TEST_F(Wide_Query_Value_Ex, DataWithoutSizeOffersABufferWithoutCountAndIsNeverWritten) {
  for (DWORD type : {1u, 3u}) {
    recording.reset();
    recording.script("KvIRegQueryValueEx", answer_value(0, type, "x"));
    Wide_Reader reader(0);
    EXPECT_EQ(RegQueryValueExW(key, L"n", nullptr, &reader.type, reader.bytes(), nullptr), 0);
    EXPECT_EQ(reader.type, type);
    EXPECT_TRUE(reader.untouched());
    EXPECT_NE(call().raw("data"), 0u);
    EXPECT_NE(call().raw("data"), number_of(reader.text));
    EXPECT_EQ(call().raw("data_size"), 0u);
  }
}

TEST_F(Wide_Query_Value_Ex, WithoutDataAndSizeTheTypeComesBack) {
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_SZ, stored_hello));
  Wide_Reader reader(0);
  EXPECT_EQ(RegQueryValueExW(key, L"n", nullptr, &reader.type, nullptr, nullptr), 0);
  EXPECT_EQ(reader.type, 1u);
  EXPECT_EQ(call().raw("data"), 0u);
  EXPECT_EQ(call().raw("data_size"), 0u);
}

TEST_F(Wide_Query_Value_Ex, AStoredTextOfAnOddSizeGivesItsWholeCharacters) {
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_SZ, "\0a\0b\0"s));
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_SZ, "\0"s));
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_SZ, ""s));
  Wide_Reader five(10), one(2), none(0);
  EXPECT_EQ(read(five), 0);
  EXPECT_EQ(five.size, 10u);
  EXPECT_EQ(five.first(3), L"ab#");
  EXPECT_EQ(read(one), 0);
  EXPECT_EQ(one.size, 2u);
  EXPECT_TRUE(one.untouched());
  EXPECT_EQ(read(none), 0);
  EXPECT_EQ(none.size, 0u);
  EXPECT_TRUE(none.untouched());
}

TEST_F(Wide_Query_Value_Ex, EmbeddedZerosAreTextToo) {
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_MULTI_SZ, "\0a\0\0\0b\0\0\0\0"s));
  Wide_Reader reader(20);
  EXPECT_EQ(read(reader), 0);
  EXPECT_EQ(reader.size, 20u);
  EXPECT_EQ(reader.first(6), L"a\0b\0\0#"s);
}

TEST_F(Wide_Query_Value_Ex, TextWithoutTerminatorComesBackWithoutOne) {
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_SZ, "\0a\0b"s));
  Wide_Reader reader(64);
  EXPECT_EQ(read(reader), 0);
  EXPECT_EQ(reader.size, 8u);
  EXPECT_EQ(reader.first(3), L"ab#");
}

TEST_F(Wide_Query_Value_Ex, TheCallersBytesNeedNotBeAligned) {
  const wchar_t expected[] = L"hello";
  for (std::size_t shift : {1u, 2u, 3u}) {
    recording.script("KvIRegQueryValueEx", answer_value(0, REG_SZ, stored_hello));
    BYTE room[32];
    memset(room, '#', sizeof room);
    DWORD size = 24;
    EXPECT_EQ(RegQueryValueExW(key, L"n", nullptr, nullptr, room + shift, &size), 0);
    EXPECT_EQ(size, 24u);
    EXPECT_EQ(memcmp(room + shift, expected, 24), 0);
    EXPECT_EQ(room[shift - 1], '#');
    EXPECT_EQ(room[shift + 24], '#');
  }
}

TEST_F(Wide_Query_Value_Ex, TextOfAnyLengthComesBackWhole) {
  for (std::size_t length : {1u, 7u, 8u, 9u, 31u, 32u, 33u, 2046u, 2047u, 2048u, 70000u}) {
    recording.script("KvIRegQueryValueEx",
                     answer_value(0, REG_SZ, crossing(std::u16string(length - 1, u'\u20AC') + u"z") + "\0\0"s));
    std::vector<wchar_t> room(length + 2, L'#');
    DWORD size = static_cast<DWORD>(4 * length + 4);
    EXPECT_EQ(RegQueryValueExW(key, L"n", nullptr, nullptr, reinterpret_cast<BYTE*>(room.data()), &size), 0);
    EXPECT_EQ(size, 4 * length + 4);
    EXPECT_EQ(std::wstring(room.data(), room.size()), std::wstring(length - 1, L'\u20AC') + L"z\0#"s);
  }
}

TEST_F(Wide_Query_Value_Ex, NothingBehindTheCallersRoomIsTouched) {
  Guarded_Page page;
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_SZ, stored_hello));
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_BINARY, "12345"));
  char* const text = page.ending_with(std::string(24, '#'));
  DWORD size = 24;
  EXPECT_EQ(RegQueryValueExW(key, L"n", nullptr, nullptr, reinterpret_cast<BYTE*>(text), &size), 0);
  char* const bytes = page.ending_with("#####");
  size = 5;
  EXPECT_EQ(RegQueryValueExW(key, L"n", nullptr, nullptr, reinterpret_cast<BYTE*>(bytes), &size), 0);
  EXPECT_EQ(std::string(bytes, 5), "12345");
}

}  // namespace
}  // namespace kvtest
