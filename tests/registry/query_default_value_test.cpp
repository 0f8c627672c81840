// Reading the default value of a key as text, the old way.
#include "tests/registry/fronts.h"

namespace kvtest {
namespace {

class Query_Value : public Fronts {};

TEST_F(Query_Value, ThePerformanceKeyAndANullKeyAreInvalidHandles) {
  LONG size = 9;
  EXPECT_EQ(RegQueryValueA(HKEY_PERFORMANCE_DATA, unreadable<char>(0x10), unreadable<char>(0x20), &size), 6);
  EXPECT_EQ(RegQueryValueA(nullptr, unreadable<char>(0x10), unreadable<char>(0x20), &size), 6);
  EXPECT_EQ(size, 9);
  EXPECT_EQ(entries(), "");
}

TEST_F(Query_Value, OpensReadsAndCloses) {
  recording.script("KvIRegOpenKeyEx", answer_key(key_of(0x99)));
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_SZ, stored_hello));
  recording.script("KvIRegCloseKey", answer(6));
  char data[] = "########";
  LONG size = 8;
  EXPECT_EQ(RegQueryValueA(key,
                           "s\xC3\xBC"
                           "b",
                           data, &size),
            0);
  EXPECT_EQ(size, 6);
  EXPECT_EQ(std::string(data, 8), "hello\0##"s);
  ASSERT_EQ(entries(), "KvIRegOpenKeyEx KvIRegQueryValueEx KvIRegCloseKey ");
  EXPECT_EQ(call(0).raw("key"), 0x1122334455667788u);
  EXPECT_EQ(call(0)["sub_key"].text,
            u"s\u00FC"
            u"b");
  EXPECT_EQ(call(0).raw("options"), 0u);
  EXPECT_EQ(call(0).raw("access"), 1u);
  EXPECT_EQ(call(1).raw("key"), 0x99u);
  EXPECT_EQ(call(1).raw("value_name"), 0u);
  EXPECT_EQ(call(1).raw("reserved"), 0u);
  EXPECT_EQ(call(1)["data_size"].count, 16u);
  EXPECT_EQ(call(2).raw("key"), 0x99u);
}

TEST_F(Query_Value, AlsoOpensWithoutSubKey) {
  for (int i = 0; i < 2; ++i) {
    recording.script("KvIRegOpenKeyEx", answer_key(key_of(0x99)));
    recording.script("KvIRegQueryValueEx", answer_value(0, REG_SZ, stored_hello));
  }
  EXPECT_EQ(RegQueryValueA(key, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(RegQueryValueA(HKEY_USERS, "", nullptr, nullptr), 0);
  EXPECT_EQ(call(0).raw("sub_key"), 0u);
  EXPECT_TRUE(call(3)["sub_key"].has_text);
  EXPECT_EQ(call(3)["sub_key"].text, u"");
  EXPECT_EQ(call(3).raw("key"), 0x80000003u);
}

TEST_F(Query_Value, AKeyThatCannotBeOpenedEndsTheCall) {
  recording.script("KvIRegOpenKeyEx", answer(2));
  char data[] = "####";
  LONG size = 4;
  EXPECT_EQ(RegQueryValueA(key, "sub", data, &size), 2);
  EXPECT_EQ(size, 4);
  EXPECT_STREQ(data, "####");
  EXPECT_EQ(entries(), "KvIRegOpenKeyEx ");
}

TEST_F(Query_Value, AKeyOpenedAsItselfIsNotClosed) {
  recording.script("KvIRegOpenKeyEx", answer_key(key));
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_SZ, stored_hello));
  EXPECT_EQ(RegQueryValueA(key, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(entries(), "KvIRegOpenKeyEx KvIRegQueryValueEx ");
}

TEST_F(Query_Value, ADefaultValueOfAnotherTypeIsInvalidData) {
  for (DWORD type : {0u, 2u, 3u, 7u}) {
    recording.reset();
    recording.script("KvIRegOpenKeyEx", answer_key(key_of(0x99)));
    recording.script("KvIRegQueryValueEx", answer_value(0, type, stored_hello));
    char data[32];
    LONG size = 32;
    EXPECT_EQ(RegQueryValueA(key, "sub", data, &size), 13) << type;
    EXPECT_EQ(entries(), "KvIRegOpenKeyEx KvIRegQueryValueEx KvIRegCloseKey ");
  }
}

TEST_F(Query_Value, AMissingDefaultValueReadsAsEmptyText) {
  recording.script("KvIRegOpenKeyEx", answer_key(key_of(0x99)));
  recording.script("KvIRegQueryValueEx", answer(2));
  char data[] = "####";
  LONG size = 4;
  EXPECT_EQ(RegQueryValueA(key, "sub", data, &size), 0);
  EXPECT_EQ(size, 1);
  EXPECT_EQ(std::string(data, 4), "\0###"s);
  EXPECT_EQ(entries(), "KvIRegOpenKeyEx KvIRegQueryValueEx KvIRegCloseKey ");
}

TEST_F(Query_Value, AMissingDefaultValueNeedsNeitherBufferNorSize) {
  for (int i = 0; i < 3; ++i) recording.script("KvIRegQueryValueEx", answer(2));
  char data[] = "####";
  LONG size = 4;
  EXPECT_EQ(RegQueryValueA(key, nullptr, nullptr, &size), 0);
  EXPECT_EQ(size, 1);
  EXPECT_EQ(RegQueryValueA(key, nullptr, data, nullptr), 0);
  EXPECT_EQ(std::string(data, 4), "\0###"s);
  EXPECT_EQ(RegQueryValueA(key, nullptr, nullptr, nullptr), 0);
}

TEST_F(Query_Value, AMissingDefaultValueIsWrittenEvenIntoNoRoom) {
  recording.script("KvIRegQueryValueEx", answer(2));
  char data[] = "####";
  LONG size = 0;
  EXPECT_EQ(RegQueryValueA(key, nullptr, data, &size), 0);
  EXPECT_EQ(size, 1);
  EXPECT_EQ(std::string(data, 4), "\0###"s);
}

TEST_F(Query_Value, TextThatDoesNotFitAnswers234WithItsSize) {
  recording.script("KvIRegOpenKeyEx", answer_key(key_of(0x99)));
  recording.script("KvIRegQueryValueEx", answer_value_size(234, REG_SZ, 12));
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_SZ, stored_hello));
  char data[] = "####";
  LONG size = 3;
  EXPECT_EQ(RegQueryValueA(key, "sub", data, &size), 234);
  EXPECT_EQ(size, 6);
  EXPECT_STREQ(data, "####");
  EXPECT_EQ(entries(), "KvIRegOpenKeyEx KvIRegQueryValueEx KvIRegQueryValueEx KvIRegCloseKey ");
}

TEST_F(Query_Value, OtherErrorsPassThrough) {
  recording.script("KvIRegOpenKeyEx", answer_key(key_of(0x99)));
  recording.script("KvIRegQueryValueEx", answer(5));
  char data[] = "####";
  LONG size = 4;
  EXPECT_EQ(RegQueryValueA(key, "sub", data, &size), 5);
  EXPECT_EQ(size, 4);
  EXPECT_STREQ(data, "####");
  EXPECT_EQ(entries(), "KvIRegOpenKeyEx KvIRegQueryValueEx KvIRegCloseKey ");
}

}  // namespace
}  // namespace kvtest
