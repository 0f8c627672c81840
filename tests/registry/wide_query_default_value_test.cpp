// Reading the default value of a key as wide text, the old way.
#include "tests/registry/fronts.h"
#include "tests/registry/wide_text.h"

namespace kvtest {
namespace {

class Wide_Query_Value : public Fronts {
 protected:
  // Makes the next call meet a key of its own with this default value.
  void script_value(const Behaviour& value) {
    recording.reset();
    recording.script("KvIRegOpenKeyEx", answer_key(key_of(0x99)));
    recording.script("KvIRegQueryValueEx", value);
  }
  const char* const open_read_close = "KvIRegOpenKeyEx KvIRegQueryValueEx KvIRegCloseKey ";

  Wide_Room data;
  LONG size = 64;
};

TEST_F(Wide_Query_Value, ThePerformanceKeyAndANullKeyAreInvalidHandles) {
  EXPECT_EQ(RegQueryValueW(HKEY_PERFORMANCE_DATA, unreadable<wchar_t>(0x10), unreadable<wchar_t>(0x20), &size), 6);
  EXPECT_EQ(RegQueryValueW(nullptr, unreadable<wchar_t>(0x10), unreadable<wchar_t>(0x20), &size), 6);
  EXPECT_EQ(size, 64);
  EXPECT_EQ(entries(), "");
}

TEST_F(Wide_Query_Value, TheSignExtendedPerformanceKeyIsAnOrdinaryHandle) {
  recording.script("KvIRegOpenKeyEx", answer(6));
  EXPECT_EQ(RegQueryValueW(key_of(0xFFFFFFFF80000004), nullptr, nullptr, nullptr), 6);
  EXPECT_EQ(call().raw("key"), 0xFFFFFFFF80000004u);
}

TEST_F(Wide_Query_Value, OpensReadsAndCloses) {
  script_value(answer_value(0, REG_SZ, stored_hello));
  recording.script("KvIRegCloseKey", answer(6));
  EXPECT_EQ(RegQueryValueW(key, L"s\u20AC", data.text, &size), 0);
  EXPECT_EQ(size, 24);
  EXPECT_EQ(data.first(7), L"hello\0#"s);
  ASSERT_EQ(entries(), open_read_close);
  EXPECT_EQ(call(0).raw("key"), 0x1122334455667788u);
  EXPECT_EQ(call(0)["sub_key"].text, u"s\u20AC");
  EXPECT_EQ(call(0).raw("options"), 0u);
  EXPECT_EQ(call(0).raw("access"), 1u);
  EXPECT_EQ(call(1).raw("key"), 0x99u);
  EXPECT_EQ(call(1).raw("value_name"), 0u);
  EXPECT_EQ(call(1).raw("reserved"), 0u);
  EXPECT_EQ(call(1)["data_size"].count, 64u);
  EXPECT_EQ(call(1).raw("null"), 0u);
  EXPECT_EQ(call(2).raw("key"), 0x99u);
}

TEST_F(Wide_Query_Value, AlsoOpensWithoutSubKey) {
  for (int i = 0; i < 2; ++i) {
    recording.script("KvIRegOpenKeyEx", answer_key(key_of(0x99)));
    recording.script("KvIRegQueryValueEx", answer_value(0, REG_SZ, stored_hello));
  }
  EXPECT_EQ(RegQueryValueW(key, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(RegQueryValueW(HKEY_USERS, L"", nullptr, nullptr), 0);
  EXPECT_EQ(call(0).raw("sub_key"), 0u);
  EXPECT_TRUE(call(3)["sub_key"].has_text);
  EXPECT_EQ(call(3)["sub_key"].text, u"");
  EXPECT_EQ(call(3).raw("key"), 0x80000003u);
}

TEST_F(Wide_Query_Value, AKeyThatCannotBeOpenedEndsTheCall) {
  recording.script("KvIRegOpenKeyEx", answer(2));
  EXPECT_EQ(RegQueryValueW(key, L"sub", data.text, &size), 2);
  EXPECT_EQ(size, 64);
  EXPECT_TRUE(data.untouched());
  EXPECT_EQ(entries(), "KvIRegOpenKeyEx ");
}

TEST_F(Wide_Query_Value, AKeyOpenedAsItselfIsNotClosed) {
  recording.script("KvIRegOpenKeyEx", answer_key(key));
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_SZ, stored_hello));
  EXPECT_EQ(RegQueryValueW(key, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(entries(), "KvIRegOpenKeyEx KvIRegQueryValueEx ");
}

TEST_F(Wide_Query_Value, ADefaultValueOfAnotherTypeIsInvalidData) {
  for (DWORD type : {0u, 2u, 3u, 7u, 33u}) {
    script_value(answer_value(0, type, stored_hello));
    size = 64;
    EXPECT_EQ(RegQueryValueW(key, L"sub", data.text, &size), 13) << type;
    EXPECT_EQ(entries(), open_read_close);
  }
}

TEST_F(Wide_Query_Value, AMissingDefaultValueReadsAsOneZeroCharacter) {
  for (LONG room : {64, 4, 0}) {
    script_value(answer(2));
    Wide_Room fresh;
    size = room;
    EXPECT_EQ(RegQueryValueW(key, L"sub", fresh.text, &size), 0);
    EXPECT_EQ(size, 4);
    EXPECT_EQ(fresh.first(2), L"\0#"s);
    EXPECT_EQ(entries(), open_read_close);
  }
}

TEST_F(Wide_Query_Value, AMissingDefaultValueNeedsNeitherBufferNorSize) {
  for (int i = 0; i < 3; ++i) recording.script("KvIRegQueryValueEx", answer(2));
  EXPECT_EQ(RegQueryValueW(key, nullptr, nullptr, &size), 0);
  EXPECT_EQ(size, 4);
  EXPECT_EQ(RegQueryValueW(key, nullptr, data.text, nullptr), 0);
  EXPECT_EQ(data.first(2), L"\0#"s);
  EXPECT_EQ(RegQueryValueW(key, nullptr, nullptr, nullptr), 0);
}

TEST_F(Wide_Query_Value, TextThatDoesNotFitAnswers234WithItsSize) {
  for (LONG room : {8, 12, 23}) {
    script_value(room < 12 ? answer_value_size(234, REG_SZ, 12) : answer_value(0, REG_SZ, stored_hello));
    size = room;
    EXPECT_EQ(RegQueryValueW(key, L"sub", data.text, &size), 234);
    EXPECT_EQ(size, 24);
    EXPECT_TRUE(data.untouched());
    EXPECT_EQ(entries(), open_read_close);
  }
}

TEST_F(Wide_Query_Value, WithoutBufferTheSizeIsTold) {
  script_value(answer_value_size(0, REG_SZ, 12));
  EXPECT_EQ(RegQueryValueW(key, L"sub", nullptr, &size), 0);
  EXPECT_EQ(size, 24);
}

TEST_F(Wide_Query_Value, OtherErrorsPassThrough) {
  script_value(answer(5));
  EXPECT_EQ(RegQueryValueW(key, L"sub", data.text, &size), 5);
  EXPECT_EQ(size, 64);
  EXPECT_TRUE(data.untouched());
  EXPECT_EQ(entries(), open_read_close);
}

}  // namespace
}  // namespace kvtest
