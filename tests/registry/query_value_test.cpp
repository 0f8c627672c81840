// Reading one value: the room offered to the entry, the second call for text, sizes and bytes on the way back.
#include "tests/registry/fronts.h"

#include <new>

namespace kvtest {
namespace {

constexpr DWORD untouched_type = 0x7E7E7E7E;

// A caller's variables of RegQueryValueExA, with marks that show what was written.
struct Reader {
  explicit Reader(DWORD room) : size(room) { memset(data, '#', sizeof data); }
  BYTE* bytes() { return reinterpret_cast<BYTE*>(data); }
  std::string first(std::size_t count) const { return std::string(data, count); }

  DWORD type = untouched_type;
  DWORD size;
  char data[64];
};

class Query_Value_Ex : public Fronts {
 protected:
  LSTATUS read(Reader& reader) {
    return RegQueryValueExA(key, "n", nullptr, &reader.type, reader.bytes(), &reader.size);
  }
  LSTATUS read_size(Reader& reader) { return RegQueryValueExA(key, "n", nullptr, &reader.type, nullptr, &reader.size); }
};

TEST_F(Query_Value_Ex, HandsItsArgumentsOn) {
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_BINARY, "abcd"));
  Reader reader(10);
  EXPECT_EQ(RegQueryValueExA(key, "n\xC3\xA4me", unreadable<DWORD>(0x8400000485000005), &reader.type, reader.bytes(),
                             &reader.size),
            0);
  ASSERT_EQ(entries(), "KvIRegQueryValueEx ");
  ASSERT_EQ(call().arguments.size(), 7u);
  EXPECT_EQ(call().raw("key"), 0x1122334455667788u);
  EXPECT_EQ(call()["value_name"].text, u"n\u00E4me");
  EXPECT_EQ(call().raw("reserved"), 0x8400000485000005u);
  EXPECT_NE(call().raw("out_type"), 0u);
  EXPECT_NE(call().raw("out_type"), number_of(&reader.type));
  EXPECT_NE(call().raw("data"), 0u);
  EXPECT_NE(call().raw("data"), number_of(reader.data));
  EXPECT_NE(call().raw("data_size"), number_of(&reader.size));
  EXPECT_EQ(call()["data_size"].count, 20u);
  EXPECT_EQ(call().raw("null"), 0u);
}

TEST_F(Query_Value_Ex, ANullNameStaysNull) {
  recording.script("KvIRegQueryValueEx", answer(2));
  EXPECT_EQ(RegQueryValueExA(key, nullptr, nullptr, nullptr, nullptr, nullptr), 2);
  EXPECT_EQ(call().raw("value_name"), 0u);
}

TEST_F(Query_Value_Ex, BytesComeBackAsTheyAre) {
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_BINARY, "a\0\xFF\x80"s));
  Reader reader(10);
  EXPECT_EQ(read(reader), 0);
  EXPECT_EQ(reader.type, 3u);
  EXPECT_EQ(reader.size, 4u);
  EXPECT_EQ(reader.first(5), "a\0\xFF\x80#"s);
}

TEST_F(Query_Value_Ex, UnknownTypesAreBytes) {
  for (DWORD type : {0u, 6u, 11u, 33u, 34u, 39u, 0x80000001u, 0xFFFFFFFFu}) {
    recording.script("KvIRegQueryValueEx", answer_value(0, type, stored_hello));
    Reader reader(12);
    EXPECT_EQ(read(reader), 0);
    EXPECT_EQ(reader.type, type);
    EXPECT_EQ(reader.size, 12u);
    EXPECT_EQ(reader.first(13), stored_hello + "#");
  }
}

TEST_F(Query_Value_Ex, TheThreeTextTypesAreConverted) {
  for (DWORD type : {1u, 2u, 7u}) {
    recording.script("KvIRegQueryValueEx", answer_value(0, type, stored_hello));
    Reader reader(12);
    EXPECT_EQ(read(reader), 0);
    EXPECT_EQ(reader.type, type);
    EXPECT_EQ(reader.size, 6u);
    EXPECT_EQ(reader.first(7), "hello\0#"s);
  }
}

TEST_F(Query_Value_Ex, TextInABufferOfItsExactSizeIsReadByOneCall) {
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_SZ, stored_hello));
  Reader reader(6);
  EXPECT_EQ(read(reader), 0);
  EXPECT_EQ(reader.size, 6u);
  EXPECT_EQ(reader.first(7), "hello\0#"s);
  ASSERT_EQ(entries(), "KvIRegQueryValueEx ");
  EXPECT_EQ(call()["data_size"].count, 12u);
}

TEST_F(Query_Value_Ex, TextThatDoesNotFitTellsItsSizeAndWritesNothing) {
  recording.script("KvIRegQueryValueEx", answer_value_size(234, REG_SZ, 12));
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_SZ, stored_hello));
  Reader reader(5);
  EXPECT_EQ(read(reader), 234);
  EXPECT_EQ(reader.type, 1u);
  EXPECT_EQ(reader.size, 6u);
  EXPECT_EQ(reader.first(7), "#######");
  ASSERT_EQ(entries(), "KvIRegQueryValueEx KvIRegQueryValueEx ");
  EXPECT_EQ(call(0)["data_size"].count, 10u);
  EXPECT_EQ(call(1)["data_size"].count, 12u);
}

TEST_F(Query_Value_Ex, TheSecondCallHasTheSameArgumentsButNoReserved) {
  recording.script("KvIRegQueryValueEx", answer_value_size(234, REG_SZ, 12));
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_SZ, stored_hello));
  Reader reader(5);
  EXPECT_EQ(RegQueryValueExA(key, "n", unreadable<DWORD>(0x40), &reader.type, reader.bytes(), &reader.size), 234);
  EXPECT_EQ(call(0).raw("reserved"), 0x40u);
  EXPECT_EQ(call(1).raw("reserved"), 0u);
  for (const char* same : {"key", "value_name", "out_type", "data_size", "null"}) {
    EXPECT_EQ(call(1).raw(same), call(0).raw(same)) << same;
  }
  EXPECT_EQ(call(1)["value_name"].text, u"n");
  EXPECT_NE(call(1).raw("data"), 0u);
}

TEST_F(Query_Value_Ex, TheSizeOfTextIsFoundByReadingIt) {
  recording.script("KvIRegQueryValueEx", answer_value_size(0, REG_SZ, 8));
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_SZ, "\0\xFC\x20\xAC\0x\0\0"s));
  Reader reader(0xCDCDCDCD);
  EXPECT_EQ(read_size(reader), 0);
  EXPECT_EQ(reader.type, 1u);
  EXPECT_EQ(reader.size, 7u);
  ASSERT_EQ(entries(), "KvIRegQueryValueEx KvIRegQueryValueEx ");
  EXPECT_EQ(call(0).raw("data"), 0u);
  EXPECT_NE(call(0).raw("data_size"), 0u);
  EXPECT_NE(call(1).raw("data"), 0u);
  EXPECT_EQ(call(1)["data_size"].count, 8u);
}

TEST_F(Query_Value_Ex, TheSizeOfBytesIsToldByOneCall) {
  recording.script("KvIRegQueryValueEx", answer_value_size(0, REG_DWORD, 4));
  Reader reader(0xCDCDCDCD);
  EXPECT_EQ(read_size(reader), 0);
  EXPECT_EQ(reader.type, 4u);
  EXPECT_EQ(reader.size, 4u);
  EXPECT_EQ(entries(), "KvIRegQueryValueEx ");
}

TEST_F(Query_Value_Ex, TheSecondCallsSizeCounts) {
  recording.script("KvIRegQueryValueEx", answer_value_size(0, REG_SZ, 20));
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_SZ, stored_hello));
  Reader reader(0);
  EXPECT_EQ(read_size(reader), 0);
  EXPECT_EQ(reader.size, 6u);
}

TEST_F(Query_Value_Ex, WithoutDataAndSizeOnlyTheTypeIsTold) {
  for (DWORD type : {1u, 3u}) {
    recording.reset();
    recording.script("KvIRegQueryValueEx", answer_value_size(0, type, 12));
    DWORD out_type = untouched_type;
    EXPECT_EQ(RegQueryValueExA(key, "n", nullptr, &out_type, nullptr, nullptr), 0);
    EXPECT_EQ(out_type, type);
    ASSERT_EQ(entries(), "KvIRegQueryValueEx ");
    EXPECT_EQ(call().raw("data"), 0u);
    EXPECT_EQ(call().raw("data_size"), 0u);
  }
}

TEST_F(Query_Value_Ex, DataWithoutSizeOffersABufferWithoutCount) {
  recording.script("KvIRegQueryValueEx", answer(87));
  Reader reader(0);
  EXPECT_EQ(RegQueryValueExA(key, "n", nullptr, &reader.type, reader.bytes(), nullptr), 87);
  EXPECT_EQ(reader.type, untouched_type);
  EXPECT_NE(call().raw("data"), 0u);
  EXPECT_NE(call().raw("data"), number_of(reader.data));
  EXPECT_EQ(call().raw("data_size"), 0u);
}

TEST_F(Query_Value_Ex, DataWithoutSizeIsNeverWritten) {
  recording.script("KvIRegQueryValueEx", answer_value_size(0, REG_BINARY, 4));
  Reader reader(0);
  EXPECT_EQ(RegQueryValueExA(key, "n", nullptr, &reader.type, reader.bytes(), nullptr), 0);
  EXPECT_EQ(reader.type, 3u);
  EXPECT_EQ(reader.first(4), "####");
}

TEST_F(Query_Value_Ex, ASizeOfZeroOffersATwoByteBufferAndACountOfZero) {
  std::string offered;
  recording.script("KvIRegQueryValueEx", [&](const Call& in) {
    offered.assign(in.pointer<char>("data"), 2);
    return answer_value_size(234, REG_BINARY, 3)(in);
  });
  Reader reader(0);
  EXPECT_EQ(read(reader), 234);
  EXPECT_EQ(offered, "\0\0"s);
  EXPECT_EQ(call()["data_size"].count, 0u);
  EXPECT_EQ(reader.size, 3u);
  EXPECT_EQ(reader.first(3), "###");
}

TEST_F(Query_Value_Ex, RoomOfUpTo4095BytesIsZeroed) {
  for (DWORD size : {1u, 100u, 2047u}) {
    std::string offered;
    recording.script("KvIRegQueryValueEx", [&](const Call& in) {
      offered.assign(in.pointer<char>("data"), 2 * std::size_t{size});
      memset(in.pointer<char>("data"), 'x', 2 * std::size_t{size});
      return answer_value_size(0, REG_BINARY, 0)(in);
    });
    std::string room(size, '#');
    DWORD count = size;
    EXPECT_EQ(RegQueryValueExA(key, "n", nullptr, nullptr, reinterpret_cast<BYTE*>(room.data()), &count), 0);
    EXPECT_EQ(offered, std::string(2 * std::size_t{size}, '\0')) << size;
  }
}

TEST_F(Query_Value_Ex, AValueFillsAnyRoomToItsLastByte) {
  for (std::size_t size : {2047u, 2048u, 4095u, 4096u, 65536u}) {
    const std::string bytes = std::string(size - 1, 'b') + "!";
    recording.reset();
    recording.script("KvIRegQueryValueEx", answer_value(0, REG_BINARY, bytes));
    std::string room(size, '#');
    DWORD count = static_cast<DWORD>(size);
    EXPECT_EQ(RegQueryValueExA(key, "n", nullptr, nullptr, reinterpret_cast<BYTE*>(room.data()), &count), 0);
    EXPECT_EQ(room, bytes);
    EXPECT_EQ(count, size);
    EXPECT_EQ(call()["data_size"].count, 2 * size);
  }
}

TEST_F(Query_Value_Ex, TextOfAnyLengthIsReadWhole) {
  for (std::size_t length : {1022u, 1023u, 1024u, 2046u, 2047u, 2048u, 4096u, 70000u}) {
    std::string stored, expected;
    for (std::size_t i = 0; i < length; ++i) stored += "\0\xE9"s, expected += "\xC3\xA9";
    recording.script("KvIRegQueryValueEx", answer_value(0, REG_SZ, stored));
    std::string room(2 * length, '#');
    DWORD count = static_cast<DWORD>(2 * length);
    EXPECT_EQ(RegQueryValueExA(key, "n", nullptr, nullptr, reinterpret_cast<BYTE*>(room.data()), &count), 0);
    EXPECT_EQ(room, expected) << length;
    EXPECT_EQ(count, 2 * length);
  }
}

TEST_F(Query_Value_Ex, ErrorsLeaveEverythingAsItWas) {
  for (DWORD code : {2u, 5u, 6u, 87u, 1018u, 0xFFFFFFFFu}) {
    recording.reset();
    recording.script("KvIRegQueryValueEx", answer_value(code, REG_SZ, stored_hello));
    Reader reader(12);
    EXPECT_EQ(read(reader), static_cast<LSTATUS>(code));
    EXPECT_EQ(reader.type, untouched_type);
    EXPECT_EQ(reader.size, 12u);
    EXPECT_EQ(reader.first(12), "############");
    EXPECT_EQ(entries(), "KvIRegQueryValueEx ");
  }
}

TEST_F(Query_Value_Ex, AFailedSecondCallAnswersTheFirstResultAndStoresNothing) {
  for (DWORD second : {2u, 234u, 1018u}) {
    recording.script("KvIRegQueryValueEx", answer_value_size(234, REG_SZ, 12));
    recording.script("KvIRegQueryValueEx", answer_value_size(second, REG_SZ, 12));
    Reader reader(5);
    EXPECT_EQ(read(reader), 234) << second;
    EXPECT_EQ(reader.type, untouched_type);
    EXPECT_EQ(reader.size, 5u);
    EXPECT_EQ(reader.first(6), "######");
  }
}

TEST_F(Query_Value_Ex, AFailedSecondCallForTheSizeAnswersSuccessAndStoresNothing) {
  recording.script("KvIRegQueryValueEx", answer_value_size(0, REG_SZ, 12));
  recording.script("KvIRegQueryValueEx", answer(2));
  Reader reader(5);
  EXPECT_EQ(read_size(reader), 0);
  EXPECT_EQ(reader.type, untouched_type);
  EXPECT_EQ(reader.size, 5u);
}

TEST_F(Query_Value_Ex, BytesThatDoNotFitTheEntrysRoomTellTheirSizeWithoutASecondCall) {
  recording.script("KvIRegQueryValueEx", answer_value_size(234, REG_BINARY, 12));
  Reader reader(5);
  EXPECT_EQ(read(reader), 234);
  EXPECT_EQ(reader.type, 3u);
  EXPECT_EQ(reader.size, 12u);
  EXPECT_EQ(reader.first(12), "############");
  EXPECT_EQ(entries(), "KvIRegQueryValueEx ");
}

TEST_F(Query_Value_Ex, BytesThatFitTheEntrysRoomButNotTheCallersAnswer234) {
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_BINARY, "123456"));
  Reader reader(5);
  EXPECT_EQ(read(reader), 234);
  EXPECT_EQ(reader.type, 3u);
  EXPECT_EQ(reader.size, 6u);
  EXPECT_EQ(reader.first(6), "######");
}

TEST_F(Query_Value_Ex, TextThatIsLongerInBytesThanInUnitsAnswers234AfterOneCall) {
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_SZ, "\0\xFC\0\xFC\0\0"s));
  Reader reader(4);
  EXPECT_EQ(read(reader), 234);
  EXPECT_EQ(reader.type, 1u);
  EXPECT_EQ(reader.size, 5u);
  EXPECT_EQ(reader.first(5), "#####");
  EXPECT_EQ(entries(), "KvIRegQueryValueEx ");
}

// QUIRK query-copies-on-234
TEST_F(Query_Value_Ex, TextThatFitsInTheEndIsCopiedAlthough234IsAnswered) {
  recording.script("KvIRegQueryValueEx", answer_value_size(234, REG_SZ, 40));
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_SZ, stored_hello));
  Reader reader(6);
  EXPECT_EQ(read(reader), 234);
  EXPECT_EQ(reader.type, 1u);
  EXPECT_EQ(reader.size, 6u);
  EXPECT_EQ(reader.first(7), "hello\0#"s);
}

TEST_F(Query_Value_Ex, TextStoredWithoutTerminatorComesBackWithoutOne) {
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_SZ, "\0h\0i"s));
  Reader reader(10);
  EXPECT_EQ(read(reader), 0);
  EXPECT_EQ(reader.size, 2u);
  EXPECT_EQ(reader.first(3), "hi#");
}

TEST_F(Query_Value_Ex, EmptyTextOfNoUnitsHasSizeZeroAndWritesNothing) {
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_SZ, ""));
  Reader reader(10);
  EXPECT_EQ(read(reader), 0);
  EXPECT_EQ(reader.type, 1u);
  EXPECT_EQ(reader.size, 0u);
  EXPECT_EQ(reader.first(1), "#");
}

TEST_F(Query_Value_Ex, AnOddByteBehindTextIsDropped) {
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_SZ, "\0h\0i\0"s));
  Reader reader(10);
  EXPECT_EQ(read(reader), 0);
  EXPECT_EQ(reader.size, 2u);
  EXPECT_EQ(reader.first(3), "hi#");
}

TEST_F(Query_Value_Ex, EmbeddedZerosStay) {
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_MULTI_SZ, "\0a\0\0\0b\0\0\0\0"s));
  Reader reader(10);
  EXPECT_EQ(read(reader), 0);
  EXPECT_EQ(reader.size, 5u);
  EXPECT_EQ(reader.first(6), "a\0b\0\0#"s);
}

TEST_F(Query_Value_Ex, UndecodableBytesComeBackAsTheyWere) {
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_SZ, "\0a\xDC\xFF\xDC\x80\0\0"s));
  Reader reader(10);
  EXPECT_EQ(read(reader), 0);
  EXPECT_EQ(reader.size, 4u);
  EXPECT_EQ(reader.first(5), "a\xFF\x80\0#"s);
}

TEST_F(Query_Value_Ex, OtherLoneSurrogatesComeBackAsThreeBytes) {
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_SZ, "\xD8\x3D\0z"s));
  Reader reader(10);
  EXPECT_EQ(read(reader), 0);
  EXPECT_EQ(reader.size, 4u);
  EXPECT_EQ(reader.first(5), "\xED\xA0\xBDz#"s);
}

TEST_F(Query_Value_Ex, TheTypePointerMayBeNull) {
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_SZ, stored_hello));
  Reader reader(6);
  EXPECT_EQ(RegQueryValueExA(key, "n", nullptr, nullptr, reader.bytes(), &reader.size), 0);
  EXPECT_EQ(reader.first(6), "hello\0"s);
}

// The largest size makes room of 8 GiB, of which nothing is touched; its double does not fit 32 bits.
TEST_F(Query_Value_Ex, TheLargestSizeIsHugeForBytesAndNegativeForText) {
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_BINARY, stored_hello));
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_SZ, stored_hello));
  Reader bytes(0xFFFFFFFF), text(0xFFFFFFFF);
  try {
    EXPECT_EQ(read(bytes), 0);
    EXPECT_EQ(read(text), 234);
  } catch (const std::bad_alloc&) {
    recording.reset();
    GTEST_SKIP() << "this machine does not give 8 GiB of address space";
  }
  EXPECT_EQ(call(0)["data_size"].count, 0xFFFFFFFEu);
  EXPECT_EQ(bytes.size, 12u);
  EXPECT_EQ(bytes.first(13), stored_hello + "#");
  EXPECT_EQ(text.size, 6u);
  EXPECT_EQ(text.first(6), "######");
}

}  // namespace
}  // namespace kvtest
