// Values over the store: sizes, types, names, threads.
#include <atomic>
#include <thread>

#include "tests/impl/module.h"

namespace {

using namespace kvtest;

class QueryValue : public Store_Test {
 protected:
  // One call with a buffer of this many bytes; the buffer's untouched bytes are '#'.
  DWORD query(DWORD room) {
    buffer.assign(16, '#');
    size = room;
    type = 99;
    return entries().KvIRegQueryValueEx(base, win(u"v").data(), nullptr, &type, reinterpret_cast<BYTE*>(buffer.data()),
                                        &size, nullptr);
  }

  std::string buffer;
  DWORD size = 0, type = 0;
};
class SetValue : public Store_Test {};
class Values : public Store_Test {};

// --- the sizes of a text "hello", 12 bytes ---

TEST_F(QueryValue, OfExactlyTheRoomIsDelivered) {
  set_value(base, u"v", REG_SZ, stored(u"hello"));
  EXPECT_EQ(query(12), 0u);
  EXPECT_EQ(size, 12u);
  EXPECT_EQ(type, 1u);
  EXPECT_EQ(buffer, stored(u"hello") + "####");
}

TEST_F(QueryValue, OfLessRoomTellsTheSizeAndWritesNothing) {
  set_value(base, u"v", REG_SZ, stored(u"hello"));
  for (DWORD room : {10u, 11u, 1u, 0u}) {
    EXPECT_EQ(query(room), 234u);
    EXPECT_EQ(size, 12u);
    EXPECT_EQ(type, 1u);
    EXPECT_EQ(buffer, std::string(16, '#'));
  }
}

TEST_F(QueryValue, OfMoreRoomTellsTheSizeStored) {
  set_value(base, u"v", REG_SZ, stored(u"hello"));
  for (DWORD room : {16u, 0xFFFFFFFFu}) {
    EXPECT_EQ(query(room), 0u);
    EXPECT_EQ(size, 12u);
    EXPECT_EQ(buffer, stored(u"hello") + "####");
  }
}

TEST_F(QueryValue, WithoutDataTellsSizeAndTypeWhateverTheCountWas) {
  set_value(base, u"v", REG_SZ, stored(u"hello"));
  for (DWORD start : {0u, 1u, 0xFFFFFFFFu}) {
    DWORD count = start, told = 99;
    EXPECT_EQ(entries().KvIRegQueryValueEx(base, win(u"v").data(), nullptr, &told, nullptr, &count, nullptr), 0u);
    EXPECT_EQ(count, 12u);
    EXPECT_EQ(told, 1u);
  }
}

TEST_F(QueryValue, WithoutDataAndCountTellsTheType) {
  set_value(base, u"v", REG_MULTI_SZ, "");
  DWORD told = 99;
  EXPECT_EQ(entries().KvIRegQueryValueEx(base, win(u"v").data(), nullptr, &told, nullptr, nullptr, nullptr), 0u);
  EXPECT_EQ(told, 7u);
}

TEST_F(QueryValue, DataWithoutACountIs87) {
  set_value(base, u"v", REG_DWORD, "1234");
  BYTE byte = 0xEE;
  EXPECT_EQ(entries().KvIRegQueryValueEx(base, win(u"v").data(), nullptr, nullptr, &byte, nullptr, nullptr), 87u);
  EXPECT_EQ(byte, 0xEE);
}

TEST_F(QueryValue, OfAMissingValueIs2) {
  EXPECT_EQ(query(16), 2u);
  EXPECT_EQ(type, 99u);
  EXPECT_EQ(size, 16u);
  EXPECT_EQ(entries().KvIRegQueryValueEx(base, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 2u);
}

TEST_F(QueryValue, FindsItInAnyCaseOfLetters) {
  set_value(base, u"Stra\u00dfe \u00c4\u03a3", REG_BINARY, "x");
  EXPECT_EQ(value_of(base, u"sTRA\u00dfE \u00e4\u03c3").data, "x");
}

// --- what is stored ---

TEST_F(SetValue, KeepsTextAsItIsWithAndWithoutATerminator) {
  const std::string unterminated = stored(u"ab").substr(0, 4);
  const std::string embedded = stored(std::u16string_view(u"a\0b\0", 4));
  set_value(base, u"unterminated", REG_SZ, unterminated);
  set_value(base, u"embedded", REG_MULTI_SZ, embedded);
  EXPECT_EQ(value_of(base, u"unterminated"), (Value{0, REG_SZ, unterminated}));
  EXPECT_EQ(value_of(base, u"embedded"), (Value{0, REG_MULTI_SZ, embedded}));
}

TEST_F(SetValue, StoresTextOfAnOddSizeRoundedDown) {
  set_value(base, u"v", REG_EXPAND_SZ, {"\0a\0", 3});
  EXPECT_EQ(value_of(base, u"v"), (Value{0, REG_EXPAND_SZ, {"\0a", 2}}));
}

TEST_F(SetValue, KeepsEveryTypeAndItsBytes) {
  for (DWORD type : {0u, 3u, 4u, 5u, 6u, 8u, 9u, 10u, 11u, 12u, 33u, 0x80000000u, 0xFFFFFFFFu}) {
    EXPECT_EQ(set_value(base, u"v", type, {"\xFF\0\x80", 3}), 0u);
    EXPECT_EQ(value_of(base, u"v"), (Value{0, type, {"\xFF\0\x80", 3}}));
  }
}

TEST_F(SetValue, OfNoBytesKeepsItsType) {
  for (DWORD type : {REG_BINARY, REG_SZ, REG_NONE}) {
    EXPECT_EQ(entries().KvIRegSetValueEx(base, win(u"v").data(), 0, type, nullptr, 0, nullptr), 0u);
    EXPECT_EQ(value_of(base, u"v"), (Value{0, type, ""}));
  }
}

TEST_F(SetValue, BytesWithoutDataAre87) {
  EXPECT_EQ(entries().KvIRegSetValueEx(base, win(u"v").data(), 0, REG_BINARY, nullptr, 4, nullptr), 87u);
  EXPECT_EQ(value_of(base, u"v").code, 2u);
}

TEST_F(SetValue, ReplacesTypeAndDataAndKeepsTheFirstWritingOfTheName) {
  set_value(base, u"Name", REG_SZ, stored(u"text"));
  set_value(base, u"NAME", REG_DWORD, "1234");
  EXPECT_EQ(value_of(base, u"name"), (Value{0, REG_DWORD, "1234"}));
  EXPECT_EQ(value_names(base), (Names{u"Name"}));
}

TEST_F(SetValue, TakesNamesOf16383UnitsAndRefusesLongerOnes) {
  EXPECT_EQ(set_value(base, std::u16string(16383, u'n'), REG_BINARY, "x"), 0u);
  EXPECT_EQ(set_value(base, std::u16string(16384, u'n'), REG_BINARY, "x"), 87u);
  EXPECT_EQ(value_names(base).size(), 1u);
}

TEST_F(SetValue, TakesNamesWithLoneSurrogatesAndBackslashes) {
  const std::u16string name{char16_t(0xD800), u'\\', char16_t(0xDC80)};
  EXPECT_EQ(set_value(base, name, REG_BINARY, "x"), 0u);
  EXPECT_EQ(value_of(base, name).data, "x");
  EXPECT_EQ(value_names(base), (Names{name}));
}

TEST_F(SetValue, Takes64MiBAndRefusesOneByteMore) {
  const std::string largest(64 * 1024 * 1024, 'x');
  EXPECT_EQ(set_value(base, u"v", REG_BINARY, largest + "y"), 87u);
  EXPECT_EQ(value_of(base, u"v").code, 2u);
  EXPECT_EQ(set_value(base, u"v", REG_BINARY, largest), 0u);
  EXPECT_TRUE(value_of(base, u"v").data == largest);
  EXPECT_EQ(delete_value(base, u"v"), 0u);
}

TEST_F(SetValue, WithoutANameIsTheDefaultValue) {
  EXPECT_EQ(entries().KvIRegSetValueEx(base, nullptr, 0, REG_BINARY, reinterpret_cast<const BYTE*>("x"), 1, nullptr),
            0u);
  EXPECT_EQ(value_of(base, u"").data, "x");
  EXPECT_EQ(value_names(base), (Names{u""}));
}

TEST_F(Values, AreNeverSeenTornByASecondThread) {
  set_value(base, u"v", REG_BINARY, std::string(1000, 'a'));
  std::atomic<bool> stop = false;
  std::thread writer([&] {
    for (char letter = 'a'; !stop; letter = letter == 'z' ? 'a' : static_cast<char>(letter + 1)) {
      set_value(base, u"v", REG_BINARY, std::string(1000, letter));
    }
  });
  int whole = 0;
  for (int i = 0; i < 2000; ++i) {
    const Value seen = value_of(base, u"v");
    whole += seen.code == 0 && seen.data == std::string(1000, seen.data[0]) ? 1 : 0;
  }
  stop = true;
  writer.join();
  EXPECT_EQ(whole, 2000);
}

}  // namespace
