// How sizes are asked for and told: the size only, exact room, too little room, outputs that are not wanted.
#include "tests/store/store_test.h"

namespace kvtest {
namespace {

struct Sample {
  const char* name;
  DWORD type;
  std::string data;
};

// A value of every published type, of an unknown one, and text around the sizes where buffers change.
const std::vector<Sample>& samples() {
  static const std::vector<Sample> all = {
      {"none", REG_NONE, "\x01\x02"s},
      {"sz", REG_SZ, "hello\0"s},
      {"expand", REG_EXPAND_SZ, "%HOME%\0"s},
      {"binary", REG_BINARY, "\0\1\2\3\4\5\6"s},
      {"dword", REG_DWORD, "\x78\x56\x34\x12"s},
      {"big", REG_DWORD_BIG_ENDIAN, "\x12\x34\x56\x78"s},
      {"link", REG_LINK, "odd"s},
      {"multi", REG_MULTI_SZ, "one\0two\0\0"s},
      {"resource", REG_RESOURCE_LIST, "\x09"s},
      {"descriptor", REG_FULL_RESOURCE_DESCRIPTOR, "\x0A\x0B\x0C"s},
      {"requirements", REG_RESOURCE_REQUIREMENTS_LIST, "\x0D\0"s},
      {"qword", REG_QWORD, "\1\2\3\4\5\6\7\x08"s},
      {"unknown", 0x12345, "a\0b"s},
      {"utf8", REG_SZ, "\xC3\xA4\xE2\x82\xAC\0"s},
      {"text2047", REG_SZ, std::string(2047, 'x') + '\0'},
      {"text2048", REG_SZ, std::string(2048, 'y') + '\0'},
      {"text70000", REG_EXPAND_SZ, std::string(70000, 'z') + '\0'},
      {"bytes70000", REG_BINARY, std::string(70000, '\xFE')},
  };
  return all;
}

class Sizes : public Store_Test {
 protected:
  void SetUp() override {
    Store_Test::SetUp();
    for (const Sample& sample : samples()) {
      ASSERT_EQ(set_value(key, sample.name, sample.type, sample.data), 0) << sample.name;
    }
  }
};

TEST_F(Sizes, SizeQueryAnswers0WithTheExactSizeWhateverTheSizeOnEntry) {
  for (const Sample& sample : samples()) {
    for (DWORD on_entry : {0u, 1u, 3u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
      DWORD type = untouched, size = on_entry;
      EXPECT_EQ(RegQueryValueEx(key, sample.name, nullptr, &type, nullptr, &size), 0) << sample.name;
      EXPECT_EQ(type, sample.type) << sample.name;
      EXPECT_EQ(size, sample.data.size()) << sample.name << " " << on_entry;
    }
  }
}

TEST_F(Sizes, RoomOfExactlyTheSizeIsEnough) {
  for (const Sample& sample : samples()) {
    Answer answer = query(key, sample.name, static_cast<DWORD>(sample.data.size()));
    EXPECT_EQ(answer.code, 0) << sample.name;
    EXPECT_EQ(answer.type, sample.type) << sample.name;
    EXPECT_EQ(answer.size, sample.data.size()) << sample.name;
    EXPECT_EQ(answer.buffer, sample.data) << sample.name;
  }
}

TEST_F(Sizes, OneByteLessIs234WithTheSizeAndTheRepeatedCallSucceeds) {
  for (const Sample& sample : samples()) {
    Answer answer = query(key, sample.name, static_cast<DWORD>(sample.data.size()) - 1);
    EXPECT_EQ(answer.code, 234) << sample.name;
    EXPECT_EQ(answer.type, sample.type) << sample.name;
    EXPECT_EQ(answer.size, sample.data.size()) << sample.name;
    EXPECT_EQ(answer.buffer, std::string(sample.data.size() - 1, '#')) << sample.name;
    Answer again = query(key, sample.name, answer.size);
    EXPECT_EQ(again.code, 0) << sample.name;
    EXPECT_EQ(again.buffer, sample.data) << sample.name;
  }
}

TEST_F(Sizes, ABufferWithoutAnyRoomIs234WithTheSize) {
  for (const Sample& sample : samples()) {
    Answer answer = query(key, sample.name, 0);
    EXPECT_EQ(answer.code, 234) << sample.name;
    EXPECT_EQ(answer.type, sample.type) << sample.name;
    EXPECT_EQ(answer.size, sample.data.size()) << sample.name;
  }
}

TEST_F(Sizes, MoreRoomThanNeededStaysUntouchedBehindTheData) {
  for (const Sample& sample : samples()) {
    Answer answer = query(key, sample.name, static_cast<DWORD>(sample.data.size()) + 5);
    EXPECT_EQ(answer.code, 0) << sample.name;
    EXPECT_EQ(answer.size, sample.data.size()) << sample.name;
    EXPECT_EQ(answer.buffer, sample.data + "#####") << sample.name;
  }
}

TEST_F(Sizes, TypeNeedNotBeAskedFor) {
  for (const Sample& sample : samples()) {
    std::string buffer(sample.data.size(), '#');
    DWORD size = static_cast<DWORD>(buffer.size());
    EXPECT_EQ(RegQueryValueEx(key, sample.name, nullptr, nullptr, reinterpret_cast<BYTE*>(buffer.data()), &size), 0);
    EXPECT_EQ(buffer, sample.data);
    size = untouched;
    EXPECT_EQ(RegQueryValueEx(key, sample.name, nullptr, nullptr, nullptr, &size), 0);
    EXPECT_EQ(size, sample.data.size());
  }
}

TEST_F(Sizes, WithoutDataAndSizeOnlyTheTypeIsTold) {
  for (const Sample& sample : samples()) {
    DWORD type = untouched;
    EXPECT_EQ(RegQueryValueEx(key, sample.name, nullptr, &type, nullptr, nullptr), 0) << sample.name;
    EXPECT_EQ(type, sample.type);
    EXPECT_EQ(RegQueryValueEx(key, sample.name, nullptr, nullptr, nullptr, nullptr), 0) << sample.name;
  }
}

TEST_F(Sizes, DataWithoutASizeIs87AndNothingIsWritten) {
  for (const char* name : {"sz", "binary", "missing"}) {
    DWORD type = untouched;
    std::string buffer(16, '#');
    EXPECT_EQ(RegQueryValueEx(key, name, nullptr, &type, reinterpret_cast<BYTE*>(buffer.data()), nullptr), 87) << name;
    EXPECT_EQ(type, untouched);
    EXPECT_EQ(buffer, std::string(16, '#'));
  }
}

TEST_F(Sizes, AMissingValueIs2AndLeavesTypeSizeAndBufferAlone) {
  Answer answer = query(key, "missing", 8);
  EXPECT_EQ(answer.code, 2);
  EXPECT_EQ(answer.type, untouched);
  EXPECT_EQ(answer.size, 8u);
  EXPECT_EQ(answer.buffer, "########");
  Answer size = query_size(key, "missing");
  EXPECT_EQ(size.code, 2);
  EXPECT_EQ(size.size, untouched);
}

TEST_F(Sizes, AValueWithoutBytesFitsWithoutRoom) {
  ASSERT_EQ(set_value(key, "empty", REG_BINARY, ""), 0);
  Answer answer = query(key, "empty", 0);
  EXPECT_EQ(answer.code, 0);
  EXPECT_EQ(answer.type, REG_BINARY);
  EXPECT_EQ(answer.size, 0u);
  Answer roomy = query(key, "empty", 3);
  EXPECT_EQ(roomy.code, 0);
  EXPECT_EQ(roomy.size, 0u);
  EXPECT_EQ(roomy.buffer, "###");
}

// Enumeration tells sizes in the same way. "sz" is looked up by its place among the names.
struct Listed {
  LSTATUS code = -1;
  DWORD type = untouched;
  DWORD name_size = 64;
  DWORD size = 64;
  std::string name = std::string(64, '#');
  std::string data = std::string(64, '#');
};

class Listed_Sizes : public Store_Test {
 protected:
  void SetUp() override {
    Store_Test::SetUp();
    ASSERT_EQ(set_value(key, "greeting", REG_SZ, "hello\0"s), 0);
  }
  enum Wants { nothing = 0, data = 1, size = 2 };
  Listed list(Listed listed, int wants) {
    listed.code = RegEnumValue(key, 0, listed.name.data(), &listed.name_size, nullptr, &listed.type,
                               (wants & data) != 0 ? reinterpret_cast<BYTE*>(listed.data.data()) : nullptr,
                               (wants & size) != 0 ? &listed.size : nullptr);
    return listed;
  }
};

TEST_F(Listed_Sizes, WithoutDataAndSizeTheNameAndTheTypeAreTold) {
  Listed listed = list({}, nothing);
  EXPECT_EQ(listed.code, 0);
  EXPECT_EQ(listed.type, REG_SZ);
  EXPECT_EQ(listed.name_size, 8u);
  EXPECT_EQ(listed.name.substr(0, 10), "greeting\0#"s);
}

TEST_F(Listed_Sizes, WithASizeAndNoDataTheExactSizeIsTold) {
  Listed asked;
  asked.size = 0xFFFFFFF0;
  Listed listed = list(asked, size);
  EXPECT_EQ(listed.code, 0);
  EXPECT_EQ(listed.size, 6u);
  EXPECT_EQ(listed.type, REG_SZ);
  EXPECT_EQ(listed.name.substr(0, 10), "greeting\0#"s);
  EXPECT_EQ(listed.name_size, 8u);
}

TEST_F(Listed_Sizes, DataOfExactlyTheRoomComesBack) {
  Listed asked;
  asked.size = 6;
  Listed listed = list(asked, data | size);
  EXPECT_EQ(listed.code, 0);
  EXPECT_EQ(listed.size, 6u);
  EXPECT_EQ(listed.data.substr(0, 7), "hello\0#"s);
  EXPECT_EQ(listed.name.substr(0, 9), "greeting\0"s);
}

TEST_F(Listed_Sizes, TooLittleRoomForTheDataIs234WithItsSize) {
  Listed asked;
  asked.size = 5;
  Listed listed = list(asked, data | size);
  EXPECT_EQ(listed.code, 234);
  EXPECT_EQ(listed.size, 6u);
  EXPECT_EQ(listed.type, REG_SZ);
  EXPECT_EQ(listed.data, std::string(64, '#'));
}

TEST_F(Listed_Sizes, RoomOfTheNamePlusOneIsEnough) {
  Listed asked;
  asked.name_size = 9;
  Listed listed = list(asked, nothing);
  EXPECT_EQ(listed.code, 0);
  EXPECT_EQ(listed.name_size, 8u);
  EXPECT_EQ(listed.name.substr(0, 10), "greeting\0#"s);
}

TEST_F(Listed_Sizes, ANameWithoutRoomIs234AndLeavesItsCountAndBufferAlone) {
  Listed asked;
  asked.name_size = 8;
  Listed listed = list(asked, nothing);
  EXPECT_EQ(listed.code, 234);
  EXPECT_EQ(listed.name_size, 8u);
  EXPECT_EQ(listed.name, std::string(64, '#'));
}

// The ANSI form fills in the data also when the name alone has no room, and needs a place for the name.
#ifndef KVTEST_WIDE
TEST_F(Listed_Sizes, ANameWithoutRoomKeepsTheDataNotBack) {
  Listed asked;
  asked.name_size = 3;
  Listed listed = list(asked, data | size);
  EXPECT_EQ(listed.code, 234);
  EXPECT_EQ(listed.name_size, 3u);
  EXPECT_EQ(listed.name, std::string(64, '#'));
  EXPECT_EQ(listed.type, REG_SZ);
  EXPECT_EQ(listed.size, 6u);
  EXPECT_EQ(listed.data.substr(0, 7), "hello\0#"s);
}

TEST_F(Listed_Sizes, ANameOrItsSizeThatIsNullIs87) {
  char name[16] = "########";
  DWORD size = 16;
  EXPECT_EQ(RegEnumValue(key, 0, nullptr, &size, nullptr, nullptr, nullptr, nullptr), 87);
  EXPECT_EQ(RegEnumValue(key, 0, name, nullptr, nullptr, nullptr, nullptr, nullptr), 87);
  EXPECT_EQ(size, 16u);
  EXPECT_STREQ(name, "########");
}
#else
TEST_F(Listed_Sizes, ANameWithoutRoomKeepsTheDataBackAndTellsItsSize) {
  Listed asked;
  asked.name_size = 3;
  Listed listed = list(asked, data | size);
  EXPECT_EQ(listed.code, 234);
  EXPECT_EQ(listed.name_size, 3u);
  EXPECT_EQ(listed.name, std::string(64, '#'));
  EXPECT_EQ(listed.type, REG_SZ);
  EXPECT_EQ(listed.size, 6u);
  EXPECT_EQ(listed.data, std::string(64, '#'));
}

TEST_F(Listed_Sizes, ANameAndItsSizeMayBeLeftOut) {
  DWORD size = 16, type = untouched;
  EXPECT_EQ(RegEnumValue(key, 0, nullptr, &size, nullptr, &type, nullptr, nullptr), 0);
  EXPECT_EQ(size, 8u);
  EXPECT_EQ(type, REG_SZ);
  EXPECT_EQ(RegEnumValue(key, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
}
#endif

TEST_F(Listed_Sizes, PastTheLastNothingIsWritten) {
  Listed listed;
  listed.code = RegEnumValue(key, 1, listed.name.data(), &listed.name_size, nullptr, &listed.type,
                             reinterpret_cast<BYTE*>(listed.data.data()), &listed.size);
  EXPECT_EQ(listed.code, 259);
  EXPECT_EQ(listed.type, untouched);
  EXPECT_EQ(listed.name_size, 64u);
  EXPECT_EQ(listed.size, 64u);
  EXPECT_EQ(listed.name, std::string(64, '#'));
  EXPECT_EQ(listed.data, std::string(64, '#'));
}

// The default value read in the old way, and several values at once.
class Old_Reads : public Store_Test {};

TEST_F(Old_Reads, TheDefaultValueIsTextWithItsTerminator) {
  ASSERT_EQ(RegSetValue(key, nullptr, REG_SZ, "six by", 0), 0);
  char buffer[8] = "#######";
  LONG size = 7;
  EXPECT_EQ(RegQueryValue(key, nullptr, buffer, &size), 0);
  EXPECT_EQ(size, 7);
  EXPECT_STREQ(buffer, "six by");
}

TEST_F(Old_Reads, AMissingDefaultValueReadsAsAnEmptyText) {
  char buffer[4] = "###";
  LONG size = 3;
  EXPECT_EQ(RegQueryValue(key, "", buffer, &size), 0);
  EXPECT_EQ(size, 1);
  EXPECT_EQ(std::string(buffer, 3), "\0##"s);
}

TEST_F(Old_Reads, ADefaultValueOfAnotherTypeIs13) {
  ASSERT_EQ(set_value(key, "", REG_BINARY, "ab"), 0);
  char buffer[4] = "###";
  LONG size = 3;
  EXPECT_EQ(RegQueryValue(key, nullptr, buffer, &size), 13);
}

TEST_F(Old_Reads, ADefaultValueIsSetBelowAPathThatIsMadeOnTheWay) {
  ASSERT_EQ(RegSetValue(key, "a\\b", REG_SZ, "deep", 99), 0);
  char buffer[8] = "";
  LONG size = sizeof buffer;
  EXPECT_EQ(RegQueryValue(key, "a\\b", buffer, &size), 0);
  EXPECT_STREQ(buffer, "deep");
  EXPECT_EQ(size, 5);
}

// Text takes four times the room in the wide form.
#ifndef KVTEST_WIDE
TEST_F(Old_Reads, SeveralValuesComeInOneBufferAtMultiplesOf4) {
  ASSERT_EQ(set_value(key, "n", REG_DWORD, "\1\2\3\4"), 0);
  ASSERT_EQ(set_value(key, "t", REG_SZ, "hello\0"s), 0);
  ASSERT_EQ(set_value(key, "b", REG_BINARY, "xy"), 0);
  VALENT list[3] = {};
  char names[3][2] = {"t", "n", "b"};
  for (int i = 0; i < 3; ++i) list[i].ve_valuename = names[i];
  char buffer[32];
  memset(buffer, '#', sizeof buffer);
  DWORD total = sizeof buffer;
  ASSERT_EQ(RegQueryMultipleValues(key, list, 3, buffer, &total), 0);
  EXPECT_EQ(total, 16u);
  EXPECT_EQ(list[0].ve_type, REG_SZ);
  EXPECT_EQ(list[0].ve_valuelen, 6u);
  EXPECT_EQ(list[0].ve_valueptr, reinterpret_cast<DWORD_PTR>(buffer));
  EXPECT_EQ(std::string(buffer, 6), "hello\0"s);
  EXPECT_EQ(list[1].ve_valueptr, reinterpret_cast<DWORD_PTR>(buffer + 8));
  EXPECT_EQ(std::string(buffer + 8, 4), "\1\2\3\4");
  EXPECT_EQ(list[2].ve_valueptr, reinterpret_cast<DWORD_PTR>(buffer + 12));
  EXPECT_EQ(std::string(buffer + 12, 2), "xy");
  EXPECT_EQ(list[2].ve_valuelen, 2u);
}
#else
TEST_F(Old_Reads, SeveralValuesComeInOneBufferAtMultiplesOf4) {
  ASSERT_EQ(set_value(key, "n", REG_DWORD, "\1\2\3\4"), 0);
  ASSERT_EQ(set_value(key, "t", REG_SZ, "hello\0"s), 0);
  ASSERT_EQ(set_value(key, "b", REG_BINARY, "xy"), 0);
  VALENTW list[3] = {};
  wchar_t names[3][2] = {L"t", L"n", L"b"};
  for (int i = 0; i < 3; ++i) list[i].ve_valuename = names[i];
  wchar_t buffer[16];
  DWORD total = sizeof buffer;
  ASSERT_EQ(RegQueryMultipleValuesW(key, list, 3, buffer, &total), 0);
  EXPECT_EQ(total, 32u);
  EXPECT_EQ(list[0].ve_type, REG_SZ);
  EXPECT_EQ(list[0].ve_valuelen, 24u);
  EXPECT_EQ(list[0].ve_valueptr, reinterpret_cast<DWORD_PTR>(buffer));
  EXPECT_EQ(std::wstring(buffer, 6), L"hello\0"s);
  EXPECT_EQ(list[1].ve_valueptr, reinterpret_cast<DWORD_PTR>(buffer + 6));
  EXPECT_EQ(memcmp(buffer + 6, "\1\2\3\4", 4), 0);
  EXPECT_EQ(list[2].ve_valueptr, reinterpret_cast<DWORD_PTR>(buffer + 7));
  EXPECT_EQ(memcmp(buffer + 7, "xy", 2), 0);
  EXPECT_EQ(list[2].ve_valuelen, 2u);
}
#endif

}  // namespace
}  // namespace kvtest
