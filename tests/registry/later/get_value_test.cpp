// RegGetValue: types taken, text made ready, sizes, failures.
#include <cstdlib>

#include "tests/store/store_test.h"

namespace {

using namespace kvtest;

class Get_Value : public Store_Test {
 protected:
  struct Got {
    LSTATUS code;
    DWORD type;
    DWORD size;
    std::string data;  // the whole room
  };

  Got get(const char* name, DWORD flags, DWORD room, const char* sub_key = nullptr) {
    Got got{-1, untouched, room, std::string(room + 4, '#')};
    got.code = RegGetValueA(key, sub_key, name, flags, &got.type, got.data.data(), &got.size);
    EXPECT_EQ(got.data.substr(room), "####") << "written behind the room";
    got.data.resize(room);
    return got;
  }
};

TEST_F(Get_Value, DeliversTextWithTheTerminatorThatWasNotStored) {
  set_value(key, "text", REG_SZ, "abc");
  const Got got = get("text", RRF_RT_REG_SZ, 6);
  EXPECT_EQ(got.code, 0);
  EXPECT_EQ(got.type, REG_SZ);
  EXPECT_EQ(got.size, 4u);
  EXPECT_EQ(got.data, "abc\0##"s);
}

TEST_F(Get_Value, AddsNoSecondTerminator) {
  set_value(key, "text", REG_SZ, "abc\0"s);
  EXPECT_EQ(get("text", RRF_RT_REG_SZ, 4).size, 4u);
  set_value(key, "empty", REG_SZ, "\0"s);
  EXPECT_EQ(get("empty", RRF_RT_REG_SZ, 4).size, 1u);
  set_value(key, "list", REG_MULTI_SZ, "\0\0"s);
  EXPECT_EQ(get("list", RRF_RT_REG_MULTI_SZ, 4).size, 2u);
}

TEST_F(Get_Value, EndsAListByTwoTerminators) {
  set_value(key, "list", REG_MULTI_SZ, "a\0b"s);
  const Got got = get("list", RRF_RT_REG_MULTI_SZ, 5);
  EXPECT_EQ(got.code, 0);
  EXPECT_EQ(got.data, "a\0b\0\0"s);
}

TEST_F(Get_Value, ReadsBelowASubKeyThatItOpensForTheCall) {
  set_value(created(key, "sub\\deep"), "n", REG_DWORD, "\1\0\0\0"s);
  EXPECT_EQ(get("n", RRF_RT_DWORD, 4, "sub\\deep").data, "\1\0\0\0"s);
  EXPECT_EQ(get("n", RRF_RT_DWORD, 4, "sub\\none").code, 2);
  EXPECT_EQ(get("n", RRF_RT_DWORD, 4, "").code, 2);
}

TEST_F(Get_Value, RefusesOtherTypes) {
  set_value(key, "text", REG_SZ, "abc\0"s);
  set_number(key, "number", 7);
  const Got got = get("text", RRF_RT_REG_DWORD | RRF_RT_REG_BINARY | RRF_RT_REG_MULTI_SZ, 4);
  EXPECT_EQ(got.code, 1630);
  EXPECT_EQ(got.data, "####");
  EXPECT_EQ(got.size, 4u);
  EXPECT_EQ(get("number", RRF_RT_REG_SZ | RRF_RT_REG_QWORD, 8).code, 1630);
  EXPECT_EQ(get("number", RRF_RT_ANY, 4).type, REG_DWORD);
}

TEST_F(Get_Value, TakesEachTypeByItsOwnFlagAlone) {
  struct Kind {
    DWORD type;
    DWORD flag;
  };
  const std::vector<Kind> kinds = {{REG_NONE, 0x01},  {REG_SZ, 0x02},       {REG_EXPAND_SZ, 0x04}, {REG_BINARY, 0x08},
                                   {REG_DWORD, 0x10}, {REG_MULTI_SZ, 0x20}, {REG_QWORD, 0x40}};
  for (const Kind& stored : kinds) {
    set_value(key, "value", stored.type, "ab\0\0"s);
    for (const Kind& asked : kinds) {
      const LSTATUS expected = stored.type == asked.type ? 0 : 1630;
      EXPECT_EQ(get("value", asked.flag | RRF_NOEXPAND, 8).code, expected) << stored.type << ' ' << asked.flag;
    }
  }
}

TEST_F(Get_Value, TakesAnyTypeIncludingThoseWithoutAFlag) {
  set_value(key, "link", REG_LINK, "xyz");
  EXPECT_EQ(get("link", RRF_RT_ANY, 3).data, "xyz");
  EXPECT_EQ(get("link", RRF_RT_ANY & ~RRF_RT_REG_NONE, 3).code, 87) << "the text type is among single types";
  EXPECT_EQ(get("link", RRF_RT_REG_BINARY | RRF_RT_REG_NONE, 3).code, 1630);
}

TEST_F(Get_Value, TakesBytesOfANumbersSizeInAGroup) {
  set_value(key, "four", REG_BINARY, "1234");
  set_value(key, "eight", REG_BINARY, "12345678");
  EXPECT_EQ(get("four", RRF_RT_DWORD, 4).code, 0);
  EXPECT_EQ(get("eight", RRF_RT_DWORD, 8).code, 1630);
  EXPECT_EQ(get("four", RRF_RT_QWORD, 4).code, 1630);
  EXPECT_EQ(get("eight", RRF_RT_QWORD, 8).code, 0);
  EXPECT_EQ(get("eight", RRF_RT_REG_BINARY, 8).code, 0);
}

TEST_F(Get_Value, ExpandsTextAndTellsItAsPlainText) {
  setenv("KvGetValue", "expanded", 1);
  set_value(key, "text", REG_EXPAND_SZ, "<%KvGetValue%>");
  const Got got = get("text", RRF_RT_REG_SZ, 12);
  EXPECT_EQ(got.code, 0);
  EXPECT_EQ(got.type, REG_SZ);
  EXPECT_EQ(got.size, 11u);
  EXPECT_EQ(got.data, "<expanded>\0#"s);
  EXPECT_EQ(get("text", RRF_RT_ANY, 12).type, REG_SZ);
}

TEST_F(Get_Value, LeavesTextAsItIsOnRequest) {
  setenv("KvGetValue", "expanded", 1);
  set_value(key, "text", REG_EXPAND_SZ, "%KvGetValue%");
  const Got got = get("text", RRF_RT_REG_EXPAND_SZ | RRF_NOEXPAND, 13);
  EXPECT_EQ(got.code, 0);
  EXPECT_EQ(got.type, REG_EXPAND_SZ);
  EXPECT_EQ(got.data, "%KvGetValue%\0"s);
  EXPECT_EQ(get("text", RRF_RT_REG_SZ | RRF_NOEXPAND, 13).code, 1630);
}

TEST_F(Get_Value, TellsTheSizeThatItWouldDeliver) {
  set_value(key, "text", REG_SZ, "abc");
  DWORD size = 0;
  EXPECT_EQ(RegGetValueA(key, nullptr, "text", RRF_RT_REG_SZ, nullptr, nullptr, &size), 0);
  EXPECT_EQ(size, 4u);
  const Got got = get("text", RRF_RT_REG_SZ, 3);
  EXPECT_EQ(got.code, 234);
  EXPECT_EQ(got.size, 4u);
  EXPECT_EQ(got.data, "###");
  DWORD type = untouched;
  EXPECT_EQ(RegGetValueA(key, nullptr, "text", RRF_RT_REG_SZ, &type, nullptr, nullptr), 0);
  EXPECT_EQ(type, REG_SZ);
}

TEST_F(Get_Value, ReadsValuesLongerThanItsFirstRoom) {
  const std::string bytes(100000, 'x');
  set_value(key, "long", REG_BINARY, bytes);
  EXPECT_EQ(get("long", RRF_RT_REG_BINARY, 100000).data, bytes);
  set_value(key, "text", REG_SZ, bytes);
  EXPECT_EQ(get("text", RRF_RT_REG_SZ, 100001).data, bytes + '\0');
}

TEST_F(Get_Value, ClearsTheRoomOfAFailureOnRequest) {
  EXPECT_EQ(get("none", RRF_RT_ANY | RRF_ZEROONFAILURE, 4).data, "\0\0\0\0"s);
  EXPECT_EQ(get("none", RRF_RT_ANY | RRF_ZEROONFAILURE, 4).code, 2);
  EXPECT_EQ(get("none", RRF_RT_ANY, 4).data, "####");
  EXPECT_EQ(get("none", RRF_ZEROONFAILURE, 4).data, "\0\0\0\0"s);
}

TEST_F(Get_Value, ClearsNothingOfASuccess) {
  set_value(key, "b", REG_BINARY, "1234");
  const Got got = get("b", RRF_RT_ANY | RRF_ZEROONFAILURE, 6);
  EXPECT_EQ(got.code, 0);
  EXPECT_EQ(got.data, "1234##");
}

TEST_F(Get_Value, RefusesWhatIsNoRequest) {
  char data[4];
  set_value(key, "b", REG_BINARY, "1234");
  EXPECT_EQ(RegGetValueA(key, nullptr, "b", RRF_RT_ANY, nullptr, data, nullptr), 87);
  EXPECT_EQ(get("b", 0, 4).code, 87);
  EXPECT_EQ(get("b", RRF_RT_REG_EXPAND_SZ | RRF_RT_REG_BINARY, 4).code, 87);
  EXPECT_EQ(get("b", RRF_RT_ANY | RRF_SUBKEY_WOW6432KEY | RRF_SUBKEY_WOW6464KEY, 4).code, 87);
  EXPECT_EQ(get("b", RRF_RT_ANY | RRF_SUBKEY_WOW6432KEY, 4).code, 0);
}

TEST_F(Get_Value, CountsBytesOfWideCharactersInTheWideForm) {
  setenv("KvGetValue", "dé", 1);
  set_value(key, "text", REG_EXPAND_SZ, "%KvGetValue%!");
  wchar_t data[8] = L"#######";
  DWORD size = sizeof data;
  DWORD type = untouched;
  EXPECT_EQ(RegGetValueW(key, nullptr, L"text", RRF_RT_REG_SZ, &type, data, &size), 0);
  EXPECT_EQ(type, REG_SZ);
  EXPECT_EQ(size, 16u);
  EXPECT_STREQ(data, L"dé!");
  size = 15;
  EXPECT_EQ(RegGetValueW(key, L"", L"text", RRF_RT_REG_SZ, nullptr, data, &size), 234);
  EXPECT_EQ(size, 16u);
}

}  // namespace
