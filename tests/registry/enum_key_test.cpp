// Listing sub-keys.
#include "tests/registry/fronts.h"

#include <new>

namespace kvtest {
namespace {

// A key of this name; the units come with their terminator.
Behaviour answer_names(DWORD length, const std::string& units, DWORD class_length = 0,
                       const std::string& class_units = "\0\0"s) {
  return [=](const Call& call) {
    call.store("name_count", length);
    call.write("name", units);
    call.store("class_count", class_length);
    call.write("class_name", class_units);
    return 0;
  };
}

class Enum_Key_Ex : public Fronts {
 protected:
  LSTATUS read(DWORD* size) { return RegEnumKeyExA(key, 0, name, size, nullptr, nullptr, nullptr, nullptr); }

  char name[16] = "###############";
  char class_name[16] = "###############";
};

class Enum_Key : public Fronts {};

TEST_F(Enum_Key_Ex, HandsNineArgumentsOn) {
  recording.script("KvIRegEnumKeyEx", answer(259));
  DWORD size = 16, class_size = 10;
  EXPECT_EQ(RegEnumKeyExA(key, 0x89ABCDEF, name, &size, unreadable<DWORD>(0x8000000000000001), class_name, &class_size,
                          unreadable<FILETIME>(0x8000000000000002)),
            259);
  ASSERT_EQ(entries(), "KvIRegEnumKeyEx ");
  ASSERT_EQ(call().arguments.size(), 9u);
  EXPECT_EQ(call().raw("key"), 0x1122334455667788u);
  EXPECT_EQ(call().raw("index"), 0x89ABCDEFu);
  EXPECT_NE(call().raw("name"), 0u);
  EXPECT_NE(call().raw("name"), number_of(name));
  EXPECT_NE(call().raw("name_count"), number_of(&size));
  EXPECT_EQ(call()["name_count"].count, 16u);
  EXPECT_EQ(call().raw("reserved"), 0x8000000000000001u);
  EXPECT_NE(call().raw("class_name"), 0u);
  EXPECT_NE(call().raw("class_name"), number_of(class_name));
  EXPECT_NE(call().raw("class_count"), number_of(&class_size));
  EXPECT_EQ(call()["class_count"].count, 4096u);
  EXPECT_EQ(call().raw("out_last_write_time"), 0x8000000000000002u);
  EXPECT_EQ(call().raw("null"), 0u);
}

TEST_F(Enum_Key_Ex, NullPointersStayNull) {
  EXPECT_EQ(RegEnumKeyExA(key, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
  ASSERT_EQ(entries(), "KvIRegEnumKeyEx ");
  for (const auto& argument : call().arguments) {
    if (argument.name == "key") continue;
    EXPECT_EQ(argument.raw, 0u) << argument.name;
  }
}

TEST_F(Enum_Key_Ex, NameAndClassComeBackWithTheirLengths) {
  recording.script("KvIRegEnumKeyEx", answer_names(5, stored_hello, 2, "\0\xFC\0z\0\0"s));
  DWORD size = 16, class_size = 16;
  EXPECT_EQ(RegEnumKeyExA(key, 0, name, &size, nullptr, class_name, &class_size, nullptr), 0);
  EXPECT_EQ(size, 5u);
  EXPECT_EQ(std::string(name, 7), "hello\0#"s);
  EXPECT_EQ(class_size, 3u);
  EXPECT_EQ(std::string(class_name, 5), "\xC3\xBCz\0#"s);
}

TEST_F(Enum_Key_Ex, RoomOfTheLengthAndOneIsEnough) {
  recording.script("KvIRegEnumKeyEx", answer_names(5, stored_hello));
  DWORD size = 6;
  EXPECT_EQ(read(&size), 0);
  EXPECT_EQ(call()["name_count"].count, 6u);
  EXPECT_EQ(size, 5u);
  EXPECT_EQ(std::string(name, 7), "hello\0#"s);
}

TEST_F(Enum_Key_Ex, An234OfTheEntryIsNeitherRetriedNorConverted) {
  recording.script("KvIRegEnumKeyEx", answer(234));
  DWORD size = 5;
  EXPECT_EQ(read(&size), 234);
  EXPECT_EQ(size, 5u);
  EXPECT_STREQ(name, "###############");
  EXPECT_EQ(entries(), "KvIRegEnumKeyEx ");
}

TEST_F(Enum_Key_Ex, ErrorsLeaveEverythingAsItWas) {
  for (DWORD code : {5u, 234u, 259u, 1018u}) {
    recording.script("KvIRegEnumKeyEx", [=](const Call& in) {
      answer_names(5, stored_hello, 5, stored_hello)(in);
      return code;
    });
    DWORD size = 16, class_size = 15;
    EXPECT_EQ(RegEnumKeyExA(key, 0, name, &size, nullptr, class_name, &class_size, nullptr),
              static_cast<LSTATUS>(code));
    EXPECT_EQ(size, 16u);
    EXPECT_EQ(class_size, 15u);
    EXPECT_STREQ(name, "###############");
    EXPECT_STREQ(class_name, "###############");
  }
}

// QUIRK enum-name-untouched-zero
TEST_F(Enum_Key_Ex, ANameLongerInBytesThanTheRoomIsLeftOutAndStillAnswersSuccess) {
  recording.script("KvIRegEnumKeyEx", answer_names(2, "\0\xFC\0\xFC\0\0"s));
  DWORD size = 4;
  EXPECT_EQ(read(&size), 0);
  EXPECT_EQ(size, 4u);
  EXPECT_STREQ(name, "###############");
  EXPECT_EQ(entries(), "KvIRegEnumKeyEx ");
}

TEST_F(Enum_Key_Ex, AClassThatDoesNotFitIsLeftOutAndTheNameIsNot) {
  recording.script("KvIRegEnumKeyEx", answer_names(1, "\0k\0\0"s, 5, stored_hello));
  DWORD size = 16, class_size = 5;
  EXPECT_EQ(RegEnumKeyExA(key, 0, name, &size, nullptr, class_name, &class_size, nullptr), 0);
  EXPECT_STREQ(name, "k");
  EXPECT_EQ(class_size, 5u);
  EXPECT_STREQ(class_name, "###############");
}

TEST_F(Enum_Key_Ex, AClassOfUpTo4095UnitsIsReadWhole) {
  std::string units;
  for (int i = 0; i < 4095; ++i) units += "\0c"s;
  recording.script("KvIRegEnumKeyEx", answer_names(1, "\0k\0\0"s, 4095, units + "\0\0"s));
  std::string text(4097, '#');
  DWORD size = 16, class_size = 4096;
  EXPECT_EQ(RegEnumKeyExA(key, 0, name, &size, nullptr, text.data(), &class_size, nullptr), 0);
  EXPECT_EQ(class_size, 4095u);
  EXPECT_EQ(text, std::string(4095, 'c') + "\0#"s);
}

TEST_F(Enum_Key_Ex, TheClassIsReturnedAfterTheName) {
  recording.script("KvIRegEnumKeyEx", answer_names(5, stored_hello, 1, "\0k\0\0"s));
  DWORD size = 16, class_size = 16;
  EXPECT_EQ(RegEnumKeyExA(key, 0, name, &size, nullptr, name, &class_size, nullptr), 0);
  EXPECT_EQ(std::string(name, 6), "k\0llo\0"s);
}

TEST_F(Enum_Key_Ex, AClassSizeOfZeroOffersNoRoom) {
  recording.script("KvIRegEnumKeyEx", answer(234));
  DWORD size = 16, class_size = 0;
  EXPECT_EQ(RegEnumKeyExA(key, 0, name, &size, nullptr, class_name, &class_size, nullptr), 234);
  EXPECT_NE(call().raw("class_name"), 0u);
  EXPECT_EQ(call()["class_count"].count, 0u);
}

TEST_F(Enum_Key_Ex, AClassSizeWithoutBufferStillOffers4096Units) {
  recording.script("KvIRegEnumKeyEx", answer_names(1, "\0k\0\0"s, 5, stored_hello));
  DWORD size = 16, class_size = 3;
  EXPECT_EQ(RegEnumKeyExA(key, 0, name, &size, nullptr, nullptr, &class_size, nullptr), 0);
  EXPECT_NE(call().raw("class_name"), 0u);
  EXPECT_EQ(call()["class_count"].count, 4096u);
  EXPECT_EQ(class_size, 5u);
}

TEST_F(Enum_Key_Ex, AClassBufferWithoutSizeIsNeverWritten) {
  recording.script("KvIRegEnumKeyEx", answer_names(1, "\0k\0\0"s));
  DWORD size = 16;
  EXPECT_EQ(RegEnumKeyExA(key, 0, name, &size, nullptr, class_name, nullptr, nullptr), 0);
  EXPECT_NE(call().raw("class_name"), 0u);
  EXPECT_EQ(call().raw("class_count"), 0u);
  EXPECT_STREQ(class_name, "###############");
}

TEST_F(Enum_Key_Ex, ANameBufferWithoutSizeIsNeverWritten) {
  recording.script("KvIRegEnumKeyEx", answer_names(0, "\0\0"s));
  EXPECT_EQ(read(nullptr), 0);
  EXPECT_NE(call().raw("name"), 0u);
  EXPECT_NE(call().raw("name"), number_of(name));
  EXPECT_EQ(call().raw("name_count"), 0u);
  EXPECT_STREQ(name, "###############");
}

TEST_F(Enum_Key_Ex, ANameSizeOfZeroOffersATwoByteBufferAndACountOfZero) {
  std::string offered;
  recording.script("KvIRegEnumKeyEx", [&](const Call& in) {
    offered.assign(in.pointer<char>("name"), 2);
    return 234;
  });
  DWORD size = 0;
  EXPECT_EQ(read(&size), 234);
  EXPECT_EQ(offered, "\0\0"s);
  EXPECT_EQ(call()["name_count"].count, 0u);
}

TEST_F(Enum_Key_Ex, ASizeWithoutNameBufferOffersACountOnly) {
  recording.script("KvIRegEnumKeyEx", answer(234));
  DWORD size = 16;
  EXPECT_EQ(RegEnumKeyExA(key, 0, nullptr, &size, nullptr, nullptr, nullptr, nullptr), 234);
  EXPECT_EQ(call().raw("name"), 0u);
  EXPECT_NE(call().raw("name_count"), 0u);
  EXPECT_NE(call().raw("name_count"), number_of(&size));
}

TEST_F(Enum_Key_Ex, UndecodableBytesComeBackAsTheyWere) {
  recording.script("KvIRegEnumKeyEx", answer_names(2, "\0a\xDC\xE4\0\0"s));
  DWORD size = 16;
  EXPECT_EQ(read(&size), 0);
  EXPECT_EQ(size, 2u);
  EXPECT_EQ(std::string(name, 4), "a\xE4\0#"s);
}

// The size is compared as a signed number; room of 4 GiB is made, of which nothing is touched.
TEST_F(Enum_Key_Ex, ASizeAboveTwoGigaIsNegative) {
  recording.script("KvIRegEnumKeyEx", answer_names(5, stored_hello));
  DWORD size = 0x80000000;
  try {
    EXPECT_EQ(read(&size), 0);
  } catch (const std::bad_alloc&) {
    recording.reset();
    GTEST_SKIP() << "this machine does not give 4 GiB of address space";
  }
  EXPECT_EQ(call()["name_count"].count, 0x80000000u);
  EXPECT_EQ(size, 5u);
  EXPECT_STREQ(name, "###############");
}

TEST_F(Enum_Key, ThePerformanceKeyIsAnInvalidHandle) {
  char name[] = "####";
  EXPECT_EQ(RegEnumKeyA(HKEY_PERFORMANCE_DATA, 0, name, 5), 6);
  EXPECT_STREQ(name, "####");
  EXPECT_EQ(entries(), "");
}

TEST_F(Enum_Key, AsksForTheNameAlone) {
  recording.script("KvIRegEnumKeyEx", answer_names(5, stored_hello));
  char name[] = "########";
  EXPECT_EQ(RegEnumKeyA(key, 0x89ABCDEF, name, 8), 0);
  EXPECT_EQ(std::string(name, 8), "hello\0##"s);
  ASSERT_EQ(entries(), "KvIRegEnumKeyEx ");
  EXPECT_EQ(call().raw("key"), 0x1122334455667788u);
  EXPECT_EQ(call().raw("index"), 0x89ABCDEFu);
  EXPECT_NE(call().raw("name"), 0u);
  EXPECT_EQ(call()["name_count"].count, 8u);
  for (const char* null : {"reserved", "class_name", "class_count", "out_last_write_time", "null"}) {
    EXPECT_EQ(call().raw(null), 0u) << null;
  }
}

TEST_F(Enum_Key, ReturnsTheInnerResult) {
  recording.script("KvIRegEnumKeyEx", answer(259));
  recording.script("KvIRegEnumKeyEx", answer(234));
  char name[] = "####";
  EXPECT_EQ(RegEnumKeyA(key, 0, name, 5), 259);
  EXPECT_EQ(RegEnumKeyA(key, 0, name, 1), 234);
  EXPECT_STREQ(name, "####");
}

TEST_F(Enum_Key, ASizeOfZeroIsACountOfZero) {
  recording.script("KvIRegEnumKeyEx", answer(234));
  char name[] = "####";
  EXPECT_EQ(RegEnumKeyA(key, 0, name, 0), 234);
  EXPECT_NE(call().raw("name"), 0u);
  EXPECT_EQ(call()["name_count"].count, 0u);
}

TEST_F(Enum_Key, ANullNameStillHasACount) {
  recording.script("KvIRegEnumKeyEx", answer(234));
  EXPECT_EQ(RegEnumKeyA(key, 0, nullptr, 8), 234);
  EXPECT_EQ(call().raw("name"), 0u);
  EXPECT_NE(call().raw("name_count"), 0u);
}

TEST_F(Enum_Key, TheSignExtendedPerformanceKeyIsAnOrdinaryHandle) {
  recording.script("KvIRegEnumKeyEx", answer(6));
  char name[] = "####";
  EXPECT_EQ(RegEnumKeyA(key_of(0xFFFFFFFF80000004), 0, name, 5), 6);
  EXPECT_EQ(call().raw("key"), 0xFFFFFFFF80000004u);
}

}  // namespace
}  // namespace kvtest
