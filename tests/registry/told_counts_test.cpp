// Counts that an entry tells beyond the room that it was offered, as an entry does that leaves out a terminator or is
// at fault: nothing but the room is brought back, and the caller learns what was told.
#include "tests/registry/fronts.h"
#include "tests/registry/wide_text.h"

namespace kvtest {
namespace {

const std::string five_units = "\0h\0e\0l\0l\0o"s;  // without a terminator

class Told_Name : public Fronts {
 protected:
  // Lists a key whose entry tells this count.
  LSTATUS list(DWORD told, const std::string& units) {
    recording.script("KvIRegEnumKeyEx", [=](const Call& call) {
      call.store("name_count", told);
      call.write("name", units);
      return 0;
    });
    return RegEnumKeyExA(key, 0, name, &size, nullptr, nullptr, nullptr, nullptr);
  }

  char name[16] = "###############";
  DWORD size = 5;
};

class Told_Class : public Fronts {
 protected:
  // Lists a key whose class has this many units, of which the first 4096 are there.
  LSTATUS list(DWORD told, char* class_name, DWORD* class_size) {
    recording.script("KvIRegEnumKeyEx", [=](const Call& call) {
      call.store<DWORD>("class_count", told);
      call.write("class_name", crossing(std::u16string(4096, u'c')));
      return 0;
    });
    return RegEnumKeyExA(key, 0, nullptr, nullptr, nullptr, class_name, class_size, nullptr);
  }
};

class Told_Value : public Fronts {
 protected:
  void script(const char* entry, DWORD type, DWORD told, const std::string& bytes) {
    recording.script(entry, [=](const Call& call) {
      call.store("out_type", type);
      call.store("data_size", told);
      call.write("data", bytes);
      return 0;
    });
  }

  DWORD type = 0;
};

TEST_F(Told_Name, WithoutRoomForItsTerminatorIsLeftOut) {
  EXPECT_EQ(list(5, five_units), 0);
  EXPECT_EQ(size, 5u);
  EXPECT_STREQ(name, "###############");
}

TEST_F(Told_Name, WithoutRoomForItsTerminatorTellsItsLengthInBytes) {
  size = 3;
  EXPECT_EQ(list(3, "\0\xFC\0\xFC\x20\xAC"s), 0);
  EXPECT_EQ(size, 7u);
  EXPECT_STREQ(name, "###############");
}

TEST_F(Told_Name, LongerThanTheRoomIsLeftOutAndItsLengthTold) {
  for (DWORD told : {6u, 50u, 70000u, 0x7FFFFFFEu, 0x7FFFFFFFu, 0xFFFFFFFDu}) {
    size = 5;
    EXPECT_EQ(list(told, five_units), 0);
    EXPECT_EQ(size, told);
    EXPECT_STREQ(name, "###############");
  }
}

TEST_F(Told_Name, InNoRoomIsLeftOutAndItsLengthTold) {
  size = 0;
  EXPECT_EQ(list(7, ""), 0);
  EXPECT_EQ(size, 7u);
  EXPECT_STREQ(name, "###############");
}

TEST_F(Told_Name, WithoutABufferIsTheLengthTold) {
  recording.script("KvIRegEnumKeyEx", [](const Call& call) {
    call.store<DWORD>("name_count", 7);
    return 0;
  });
  EXPECT_EQ(RegEnumKeyExA(key, 0, nullptr, &size, nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(size, 7u);
}

TEST_F(Told_Name, OfAValueWithoutRoomForItsTerminatorIsLeftOutAndTheDataIsNot) {
  recording.script("KvIRegEnumValue", [](const Call& call) {
    call.store<DWORD>("name_count", 5);
    call.write("name", five_units);
    call.store<DWORD>("out_type", REG_SZ);
    call.store<DWORD>("data_size", 12);
    call.write("data", stored_hello);
    return 0;
  });
  char data[] = "########";
  DWORD type = 0, data_size = 8;
  EXPECT_EQ(RegEnumValueA(key, 0, name, &size, nullptr, &type, reinterpret_cast<BYTE*>(data), &data_size), 0);
  EXPECT_EQ(size, 5u);
  EXPECT_STREQ(name, "###############");
  EXPECT_EQ(data_size, 6u);
  EXPECT_EQ(std::string(data, 8), "hello\0##"s);
}

TEST_F(Told_Class, OfTheWholeRoomGetsItsTerminatorFromTheFront) {
  std::string text(5000, '#');
  DWORD size = 4097;
  EXPECT_EQ(list(4096, text.data(), &size), 0);
  EXPECT_EQ(size, 4096u);
  EXPECT_EQ(text.substr(0, 4098), std::string(4096, 'c') + "\0#"s);
}

TEST_F(Told_Class, BeyondTheRoomIsFilledWithZeros) {
  std::string text(6000, '#');
  DWORD size = 6000;
  EXPECT_EQ(list(5000, text.data(), &size), 0);
  EXPECT_EQ(size, 5000u);
  EXPECT_EQ(text.substr(0, 5002), std::string(4096, 'c') + std::string(905, '\0') + "#");
}

TEST_F(Told_Class, BeyondTheRoomOfBothIsLeftOut) {
  std::string text(6000, '#');
  DWORD size = 6000;
  EXPECT_EQ(list(6000, text.data(), &size), 0);
  EXPECT_EQ(size, 6000u);
  EXPECT_EQ(text, std::string(6000, '#'));
}

TEST_F(Told_Class, OfAKeysNumbersWithoutRoomForItsTerminatorIsLeftOut) {
  recording.script("KvIRegQueryInfoKey", [](const Call& call) {
    call.store<DWORD>("class_count", 5);
    call.write("class_name", five_units);
    return 0;
  });
  char text[] = "########";
  DWORD size = 5;
  EXPECT_EQ(RegQueryInfoKeyA(key, text, &size, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                             nullptr),
            0);
  EXPECT_EQ(size, 5u);
  EXPECT_STREQ(text, "########");
}

TEST_F(Told_Value, OfTextBeyondTheRoomIs234WithItsSize) {
  for (DWORD told : {14u, 20u, 0x80000000u, 0xFFFFFFFFu}) {
    script("KvIRegQueryValueEx", REG_SZ, told, stored_hello);
    char data[] = "########";
    DWORD size = 6;
    EXPECT_EQ(RegQueryValueExA(key, "n", nullptr, &type, reinterpret_cast<BYTE*>(data), &size), 234);
    EXPECT_EQ(size, told / 2);
    EXPECT_STREQ(data, "########");
  }
}

TEST_F(Told_Value, OfTextBeyondTheRoomIs234WithoutItsName) {
  script("KvIRegEnumValue", REG_SZ, 20, stored_hello);
  char name[] = "####", data[] = "########";
  DWORD name_size = 4, size = 6;
  EXPECT_EQ(RegEnumValueA(key, 0, name, &name_size, nullptr, &type, reinterpret_cast<BYTE*>(data), &size), 234);
  EXPECT_EQ(size, 10u);
  EXPECT_STREQ(data, "########");
  EXPECT_EQ(name_size, 4u);
  EXPECT_STREQ(name, "####");
}

TEST_F(Told_Value, OfASecondCallBeyondItsRoomIsFilledWithZeros) {
  recording.script("KvIRegQueryValueEx", answer_value_size(234, REG_SZ, 10));
  script("KvIRegQueryValueEx", REG_SZ, 14, five_units);
  char data[] = "########";
  DWORD size = 8;
  EXPECT_EQ(RegQueryValueExA(key, "n", nullptr, &type, reinterpret_cast<BYTE*>(data), &size), 234);
  EXPECT_EQ(size, 7u);
  EXPECT_EQ(std::string(data, 8), "hello\0\0#"s);
}

TEST_F(Told_Value, OfTheSizeAloneBeyondTheSecondCallsRoomIsTold) {
  recording.script("KvIRegQueryValueEx", answer_value_size(0, REG_SZ, 10));
  script("KvIRegQueryValueEx", REG_SZ, 14, five_units);
  DWORD size = 0;
  EXPECT_EQ(RegQueryValueExA(key, "n", nullptr, &type, nullptr, &size), 0);
  EXPECT_EQ(size, 7u);
}

// The room of the second call has four bytes; forty are told.
TEST_F(Told_Value, OfBytesBeyondTheSecondCallsRoomIsLeftOut) {
  recording.script("KvIRegQueryValueEx", answer_value_size(234, REG_SZ, 4));
  script("KvIRegQueryValueEx", REG_BINARY, 40, "bbbb");
  std::string data(100, '#');
  DWORD size = 100;
  EXPECT_EQ(RegQueryValueExA(key, "n", nullptr, &type, reinterpret_cast<BYTE*>(data.data()), &size), 234);
  EXPECT_EQ(type, 3u);
  EXPECT_EQ(size, 40u);
  EXPECT_EQ(data, std::string(100, '#'));
}

TEST_F(Told_Value, OfWideBytesBeyondTheRoomBringsTheRoomsBytes) {
  Guarded_Page page;
  script("KvIRegQueryValueEx", REG_BINARY, 70000, "12345");
  char* const data = page.ending_with("#####");
  DWORD size = 5;
  EXPECT_EQ(RegQueryValueExW(key, L"n", nullptr, &type, reinterpret_cast<BYTE*>(data), &size), 0);
  EXPECT_EQ(size, 70000u);
  EXPECT_EQ(std::string(data, 5), "12345");
}

// Twice the size told does not fit 32 bits and looks like a size that fits.
TEST_F(Told_Value, OfWideTextWhoseSizeWrapsWritesNothingBehindTheRoom) {
  Guarded_Page page;
  script("KvIRegQueryValueEx", REG_SZ, 0x80000004, stored_hello);
  char* const data = page.ending_with(std::string(24, '#'));
  DWORD size = 24;
  EXPECT_EQ(RegQueryValueExW(key, L"n", nullptr, &type, reinterpret_cast<BYTE*>(data), &size), 0);
  EXPECT_EQ(size, 8u);
  EXPECT_EQ(memcmp(data, L"hello", 24), 0);
}

}  // namespace
}  // namespace kvtest
