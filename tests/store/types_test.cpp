// Types and sizes of values: what is no text is bytes, whatever its type says.
#include "tests/store/store_test.h"

namespace kvtest {
namespace {

class Types : public Store_Test {};

TEST_F(Types, BinaryOfNoBytesAndANullPointerKeepsItsType) {
  ASSERT_EQ(RegSetValueEx(key, "v", 0, REG_BINARY, nullptr, 0), 0);
  Answer answer = query(key, "v", 4);
  EXPECT_EQ(answer.code, 0);
  EXPECT_EQ(answer.type, REG_BINARY);
  EXPECT_EQ(answer.size, 0u);
  EXPECT_EQ(answer.buffer, "####");
  EXPECT_EQ(value_names(key), std::vector<std::string>{"v"});
}

TEST_F(Types, EveryTypeKeepsNoBytes) {
  for (DWORD type : {0u, 1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 9u, 10u, 11u, 12u, 0x80000000u, 0xFFFFFFFFu}) {
    ASSERT_EQ(RegSetValueEx(key, "v", 0, type, nullptr, 0), 0) << type;
    Answer answer = query_size(key, "v");
    EXPECT_EQ(answer.code, 0) << type;
    EXPECT_EQ(answer.type, type);
    EXPECT_EQ(answer.size, 0u) << type;
  }
}

TEST_F(Types, WhatIsNoTextIsBytes) {
  const std::string bytes = "\0\xFF\x80\xC3(\xED\xA0\x80"s;
  for (DWORD type : {REG_NONE, REG_BINARY, REG_DWORD, REG_DWORD_BIG_ENDIAN, REG_LINK, REG_RESOURCE_LIST,
                     REG_FULL_RESOURCE_DESCRIPTOR, REG_RESOURCE_REQUIREMENTS_LIST, REG_QWORD, 12u, 33u, 34u, 39u, 99u,
                     0x80000001u, 0xFFFFFFFFu}) {
    ASSERT_EQ(set_value(key, "v", type, bytes), 0) << type;
    Answer answer = query(key, "v", 9);
    EXPECT_EQ(answer.code, 0) << type;
    EXPECT_EQ(answer.type, type);
    EXPECT_EQ(answer.size, 8u) << type;
    EXPECT_EQ(answer.buffer, bytes + "#") << type;
  }
}

TEST_F(Types, NumbersComeBackAsTheWriterLaidThemOut) {
  ASSERT_EQ(set_number(key, "d", 0x12345678), 0);
  EXPECT_EQ(value_of(key, "d").data(), "\x78\x56\x34\x12");
  unsigned long long wide = 0x1122334455667788;
  ASSERT_EQ(RegSetValueEx(key, "q", 0, REG_QWORD, reinterpret_cast<BYTE*>(&wide), sizeof wide), 0);
  unsigned long long back = 0;
  DWORD size = sizeof back;
  EXPECT_EQ(RegQueryValueEx(key, "q", nullptr, nullptr, reinterpret_cast<BYTE*>(&back), &size), 0);
  EXPECT_EQ(back, 0x1122334455667788u);
  ASSERT_EQ(set_value(key, "b", REG_DWORD_BIG_ENDIAN, "\1\2\3\4"), 0);
  EXPECT_EQ(value_of(key, "b").data(), "\1\2\3\4");
}

TEST_F(Types, ANewTypeReplacesAnOldOneWithItsData) {
  ASSERT_EQ(set_value(key, "v", REG_SZ, "a long text\0"s), 0);
  ASSERT_EQ(set_number(key, "v", 7), 0);
  Answer number = query(key, "v", 6);
  EXPECT_EQ(number.code, 0);
  EXPECT_EQ(number.type, REG_DWORD);
  EXPECT_EQ(number.buffer, "\7\0\0\0##"s);
  ASSERT_EQ(set_value(key, "v", REG_BINARY, std::string(100000, 'x')), 0);
  ASSERT_EQ(set_value(key, "v", REG_SZ, "t\0"s), 0);
  Answer text = query(key, "v", 4);
  EXPECT_EQ(text.code, 0);
  EXPECT_EQ(text.type, REG_SZ);
  EXPECT_EQ(text.buffer, "t\0##"s);
  EXPECT_EQ(value_names(key), std::vector<std::string>{"v"});
}

TEST_F(Types, ManySizesComeBackWhole) {
  std::string data;
  for (DWORD size : {1u, 255u, 511u, 512u, 513u, 1024u, 4095u, 4096u, 4097u, 65535u, 65536u, 1000003u}) {
    while (data.size() < size) data += static_cast<char>(data.size() * 31 + data.size() / 251);
    ASSERT_EQ(set_value(key, "v", REG_BINARY, data), 0) << size;
    EXPECT_EQ(query_size(key, "v").size, size);
    EXPECT_TRUE(value_of(key, "v").data() == data) << size;
  }
}

constexpr DWORD largest = 64 * 1024 * 1024;

class Large_Values : public Store_Test {};

TEST_F(Large_Values, Of64MiBComeBackWhole) {
  std::string data(largest, 'm');
  for (DWORD place = 0; place < largest; place += 4093) data[place] = static_cast<char>(place / 4093);
  ASSERT_EQ(RegSetValueEx(key, "v", 0, REG_BINARY, bytes_of(data), largest), 0);
  EXPECT_EQ(query_size(key, "v").size, largest);
  Answer answer = query(key, "v", largest);
  EXPECT_EQ(answer.code, 0);
  EXPECT_EQ(answer.size, largest);
  EXPECT_TRUE(answer.buffer == data);
}

TEST_F(Large_Values, OfOneByteMoreAre87AndTheOldValueStays) {
  ASSERT_EQ(set_value(key, "v", REG_BINARY, "old"), 0);
  std::string data(largest + 1, 'm');
  EXPECT_EQ(RegSetValueEx(key, "v", 0, REG_BINARY, bytes_of(data), largest + 1), 87);
  EXPECT_EQ(RegSetValueEx(key, "new", 0, REG_BINARY, bytes_of(data), largest + 1), 87);
  EXPECT_EQ(value_of(key, "v").data(), "old");
  EXPECT_EQ(value_names(key), std::vector<std::string>{"v"});
}

TEST_F(Large_Values, OfTextHaveTheirLimitInStoredUnits) {
  std::string text(largest / 2 - 1, 't');
  text += '\0';
  ASSERT_EQ(set_value(key, "v", REG_SZ, text), 0);
  EXPECT_EQ(query_size(key, "v").size, largest / 2);
  ASSERT_EQ(set_number(key, "v", 1), 0);
  EXPECT_EQ(set_value(key, "v", REG_SZ, "t" + text), 87);
  EXPECT_EQ(query_size(key, "v").type, REG_DWORD);
}

TEST_F(Large_Values, ThatAreRefusedAreNotRead) {
  const BYTE few[4] = {1, 2, 3, 4};
  for (DWORD size : {largest + 1, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
    EXPECT_EQ(RegSetValueEx(key, "v", 0, REG_BINARY, few, size), 87) << size;
  }
  EXPECT_EQ(value_names(key).size(), 0u);
}

TEST_F(Large_Values, MayBeClaimedByReadersWithLessRoom) {
  ASSERT_EQ(set_value(key, "t", REG_SZ, "hello\0"s), 0);
  ASSERT_EQ(set_value(key, "b", REG_BINARY, "hello"), 0);
  for (const char* name : {"t", "b"}) {
    BYTE room[8] = "#######";
    DWORD size = 16 * 1024 * 1024;
    EXPECT_EQ(RegQueryValueEx(key, name, nullptr, nullptr, room, &size), 0);
    EXPECT_EQ(size, *name == 't' ? 6u : 5u);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(room), 7), *name == 't' ? "hello\0#"s : "hello##"s);
  }
}

}  // namespace
}  // namespace kvtest
