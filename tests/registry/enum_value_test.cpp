// Listing values: name, type and data, and the second call for text that had no room.
#include "tests/registry/fronts.h"

namespace kvtest {
namespace {

constexpr DWORD untouched_type = 0x7E7E7E7E;

struct Item {
  DWORD type = REG_SZ;
  std::string data = stored_hello;
  DWORD name_length = 2;
  std::string name = "\0v\0w\0\0"s;
};

// The whole item with a result.
Behaviour answer_item(std::uint64_t code, const Item& item) {
  return [=](const Call& call) {
    call.store("name_count", item.name_length);
    call.write("name", item.name);
    call.store("out_type", item.type);
    call.store<DWORD>("data_size", static_cast<DWORD>(item.data.size()));
    call.write("data", item.data);
    return code;
  };
}

// The item when its data has no room: 234 with type and size, the name count as it was.
Behaviour answer_no_room(DWORD type, DWORD size) {
  return [=](const Call& call) {
    call.store("out_type", type);
    call.store("data_size", size);
    return 234;
  };
}

class Enum_Value : public Fronts {
 protected:
  BYTE* bytes() { return reinterpret_cast<BYTE*>(data); }
  LSTATUS read() { return RegEnumValueA(key, 3, name, &name_size, nullptr, &type, bytes(), &size); }
  LSTATUS read_size() { return RegEnumValueA(key, 3, name, &name_size, nullptr, &type, nullptr, &size); }
  void expect_name_untouched() {
    EXPECT_EQ(name_size, 16u);
    EXPECT_STREQ(name, "###############");
  }
  void expect_name() {
    EXPECT_EQ(name_size, 2u);
    EXPECT_EQ(std::string(name, 4), "vw\0#"s);
  }

  char name[16] = "###############";
  char data[16] = "###############";
  DWORD name_size = 16;
  DWORD size = 16;
  DWORD type = untouched_type;
};

TEST_F(Enum_Value, ANameAndItsSizeAreRequired) {
  EXPECT_EQ(RegEnumValueA(key, 0, nullptr, &name_size, nullptr, &type, bytes(), &size), 87);
  EXPECT_EQ(RegEnumValueA(key, 0, name, nullptr, nullptr, &type, bytes(), &size), 87);
  EXPECT_EQ(RegEnumValueA(nullptr, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 87);
  EXPECT_EQ(entries(), "");
  expect_name_untouched();
  EXPECT_EQ(size, 16u);
  EXPECT_EQ(type, untouched_type);
}

TEST_F(Enum_Value, HandsNineArgumentsOn) {
  recording.script("KvIRegEnumValue", answer(259));
  size = 10;
  EXPECT_EQ(
      RegEnumValueA(key, 0x89ABCDEF, name, &name_size, unreadable<DWORD>(0x8000000000000001), &type, bytes(), &size),
      259);
  ASSERT_EQ(entries(), "KvIRegEnumValue ");
  ASSERT_EQ(call().arguments.size(), 9u);
  EXPECT_EQ(call().raw("key"), 0x1122334455667788u);
  EXPECT_EQ(call().raw("index"), 0x89ABCDEFu);
  EXPECT_NE(call().raw("name"), 0u);
  EXPECT_NE(call().raw("name"), number_of(name));
  EXPECT_NE(call().raw("name_count"), number_of(&name_size));
  EXPECT_EQ(call()["name_count"].count, 16u);
  EXPECT_EQ(call().raw("reserved"), 0x8000000000000001u);
  EXPECT_NE(call().raw("out_type"), 0u);
  EXPECT_NE(call().raw("out_type"), number_of(&type));
  EXPECT_NE(call().raw("data"), 0u);
  EXPECT_NE(call().raw("data"), number_of(data));
  EXPECT_NE(call().raw("data_size"), number_of(&size));
  EXPECT_EQ(call()["data_size"].count, 20u);
  EXPECT_EQ(call().raw("null"), 0u);
}

TEST_F(Enum_Value, OtherResultsLeaveEverythingAsItWas) {
  for (DWORD code : {5u, 259u, 1018u}) {
    recording.reset();
    recording.script("KvIRegEnumValue", answer_item(code, {}));
    EXPECT_EQ(read(), static_cast<LSTATUS>(code));
    expect_name_untouched();
    EXPECT_EQ(type, untouched_type);
    EXPECT_EQ(size, 16u);
    EXPECT_STREQ(data, "###############");
    EXPECT_EQ(entries(), "KvIRegEnumValue ");
  }
}

TEST_F(Enum_Value, TextComesBackWithItsName) {
  recording.script("KvIRegEnumValue", answer_item(0, {}));
  EXPECT_EQ(read(), 0);
  expect_name();
  EXPECT_EQ(type, 1u);
  EXPECT_EQ(size, 6u);
  EXPECT_EQ(std::string(data, 7), "hello\0#"s);
  EXPECT_EQ(entries(), "KvIRegEnumValue ");
}

TEST_F(Enum_Value, BytesComeBackWithTheirName) {
  recording.script("KvIRegEnumValue", answer_item(0, {33, "\1\0\2"s}));
  EXPECT_EQ(read(), 0);
  expect_name();
  EXPECT_EQ(type, 33u);
  EXPECT_EQ(size, 3u);
  EXPECT_EQ(std::string(data, 4), "\1\0\2#"s);
}

TEST_F(Enum_Value, TheTypePointerMayBeNull) {
  recording.script("KvIRegEnumValue", answer_item(0, {}));
  EXPECT_EQ(RegEnumValueA(key, 0, name, &name_size, nullptr, nullptr, bytes(), &size), 0);
  EXPECT_EQ(size, 6u);
  expect_name();
}

TEST_F(Enum_Value, WithoutDataAndSizeNameAndTypeComeBack) {
  recording.script("KvIRegEnumValue", answer_item(0, {}));
  EXPECT_EQ(RegEnumValueA(key, 0, name, &name_size, nullptr, &type, nullptr, nullptr), 0);
  expect_name();
  EXPECT_EQ(type, 1u);
  ASSERT_EQ(entries(), "KvIRegEnumValue ");
  EXPECT_EQ(call().raw("data"), 0u);
  EXPECT_EQ(call().raw("data_size"), 0u);
}

TEST_F(Enum_Value, DataWithoutSizeOffersABufferWithoutCountAndIsNeverWritten) {
  Item item;
  item.data = "";
  recording.script("KvIRegEnumValue", answer_item(0, item));
  EXPECT_EQ(RegEnumValueA(key, 0, name, &name_size, nullptr, &type, bytes(), nullptr), 0);
  expect_name();
  EXPECT_STREQ(data, "###############");
  EXPECT_NE(call().raw("data"), 0u);
  EXPECT_NE(call().raw("data"), number_of(data));
  EXPECT_EQ(call().raw("data_size"), 0u);
}

TEST_F(Enum_Value, DataThatFitsTheEntrysRoomButNotTheCallersAnswers234WithoutName) {
  recording.script("KvIRegEnumValue", answer_item(0, {REG_SZ, "\0\xFC\0\xFC\0\0"s}));
  recording.script("KvIRegEnumValue", answer_item(0, {REG_BINARY, "12345"}));
  for (DWORD expected_type : {1u, 3u}) {
    size = 4;
    EXPECT_EQ(read(), 234);
    EXPECT_EQ(type, expected_type);
    EXPECT_EQ(size, 5u);
    EXPECT_STREQ(data, "###############");
    expect_name_untouched();
  }
  EXPECT_EQ(entries(), "KvIRegEnumValue KvIRegEnumValue ");
}

TEST_F(Enum_Value, ANameLongerInBytesThanTheRoomIsLeftOut) {
  Item item;
  item.name = "\0\xFC\0\xFC\0\0"s;
  recording.script("KvIRegEnumValue", answer_item(0, item));
  name_size = 4;
  EXPECT_EQ(read(), 0);
  EXPECT_EQ(name_size, 4u);
  EXPECT_STREQ(name, "###############");
  EXPECT_EQ(std::string(data, 7), "hello\0#"s);
}

TEST_F(Enum_Value, TheSizeOfTextIsFoundByReadingIt) {
  recording.script("KvIRegEnumValue", answer_item(0, {REG_SZ, "12345678"}));
  recording.script("KvIRegEnumValue", [](const Call& in) {
    in.store<DWORD>("out_type", REG_SZ);
    in.store<DWORD>("data_size", 8);
    in.write("data", "\0\xFC\x20\xAC\0x\0\0"s);
    return 0;
  });
  EXPECT_EQ(read_size(), 0);
  EXPECT_EQ(type, 1u);
  EXPECT_EQ(size, 7u);
  expect_name();
  ASSERT_EQ(entries(), "KvIRegEnumValue KvIRegEnumValue ");
  EXPECT_EQ(call(0).raw("data"), 0u);
  EXPECT_NE(call(0).raw("data_size"), 0u);
  EXPECT_NE(call(1).raw("data"), 0u);
  EXPECT_EQ(call(1)["data_size"].count, 8u);
}

TEST_F(Enum_Value, TheSecondCallAfterSuccessDoesNotAskForTheName) {
  recording.script("KvIRegEnumValue", answer_item(0, {}));
  recording.script("KvIRegEnumValue", answer_item(0, {}));
  EXPECT_EQ(read_size(), 0);
  EXPECT_EQ(call(1).raw("name"), 0u);
  EXPECT_EQ(call(1).raw("name_count"), 0u);
  for (const char* same : {"key", "index", "reserved", "out_type", "data_size", "null"}) {
    EXPECT_EQ(call(1).raw(same), call(0).raw(same)) << same;
  }
}

TEST_F(Enum_Value, TheSizeOfBytesIsToldByOneCall) {
  recording.script("KvIRegEnumValue", answer_item(0, {REG_BINARY, "12345"}));
  EXPECT_EQ(read_size(), 0);
  EXPECT_EQ(type, 3u);
  EXPECT_EQ(size, 5u);
  expect_name();
  EXPECT_EQ(entries(), "KvIRegEnumValue ");
}

TEST_F(Enum_Value, TextThatDoesNotFitTellsItsSizeAndWritesNothing) {
  recording.script("KvIRegEnumValue", answer_no_room(REG_SZ, 12));
  recording.script("KvIRegEnumValue", answer_item(0, {}));
  size = 5;
  EXPECT_EQ(read(), 234);
  EXPECT_EQ(type, 1u);
  EXPECT_EQ(size, 6u);
  EXPECT_STREQ(data, "###############");
  expect_name_untouched();
  ASSERT_EQ(entries(), "KvIRegEnumValue KvIRegEnumValue ");
  EXPECT_EQ(call(0)["data_size"].count, 10u);
  EXPECT_EQ(call(1)["data_size"].count, 12u);
}

TEST_F(Enum_Value, TheSecondCallAfter234OffersTheNameAgain) {
  recording.script("KvIRegEnumValue", answer_no_room(REG_SZ, 12));
  recording.script("KvIRegEnumValue", answer_item(0, {}));
  size = 5;
  EXPECT_EQ(read(), 234);
  for (const char* same : {"key", "index", "name", "name_count", "reserved", "out_type", "data_size", "null"}) {
    EXPECT_EQ(call(1).raw(same), call(0).raw(same)) << same;
  }
  EXPECT_EQ(call(1)["name_count"].count, 16u);
}

TEST_F(Enum_Value, ASizeOfZeroCountsAsRoom) {
  recording.script("KvIRegEnumValue", answer_no_room(REG_SZ, 12));
  recording.script("KvIRegEnumValue", answer_item(0, {}));
  size = 0;
  EXPECT_EQ(read(), 234);
  EXPECT_EQ(size, 6u);
  EXPECT_NE(call(0).raw("data"), 0u);
  EXPECT_EQ(call(0)["data_size"].count, 0u);
  EXPECT_EQ(call(1)["data_size"].count, 12u);
}

TEST_F(Enum_Value, BytesThatDoNotFitTellTheirSizeWithoutASecondCall) {
  recording.script("KvIRegEnumValue", answer_no_room(REG_BINARY, 12));
  size = 5;
  EXPECT_EQ(read(), 234);
  EXPECT_EQ(type, 3u);
  EXPECT_EQ(size, 12u);
  EXPECT_STREQ(data, "###############");
  expect_name_untouched();
  EXPECT_EQ(entries(), "KvIRegEnumValue ");
}

// QUIRK enum-value-fills-on-234
TEST_F(Enum_Value, ANameWithoutRoomAnswers234WithTheDataFilledIn) {
  recording.script("KvIRegEnumValue", answer_value(234, REG_SZ, stored_hello));
  EXPECT_EQ(read(), 234);
  EXPECT_EQ(type, 1u);
  EXPECT_EQ(size, 6u);
  EXPECT_EQ(std::string(data, 7), "hello\0#"s);
  expect_name_untouched();
  EXPECT_EQ(entries(), "KvIRegEnumValue ");
}

TEST_F(Enum_Value, DataThatFillsTheEntrysRoomExactlyNeedsNoSecondCall) {
  recording.script("KvIRegEnumValue", answer_value(234, REG_SZ, stored_hello));
  size = 6;
  EXPECT_EQ(read(), 234);
  EXPECT_EQ(size, 6u);
  EXPECT_EQ(entries(), "KvIRegEnumValue ");
}

TEST_F(Enum_Value, TextThatFitsInTheEndIsCopiedAlthough234IsAnswered) {
  recording.script("KvIRegEnumValue", answer_no_room(REG_SZ, 40));
  recording.script("KvIRegEnumValue", answer_item(0, {}));
  size = 6;
  EXPECT_EQ(read(), 234);
  EXPECT_EQ(size, 6u);
  EXPECT_EQ(std::string(data, 7), "hello\0#"s);
  expect_name_untouched();
}

TEST_F(Enum_Value, ANameWithoutRoomWhileTheSizeIsAskedForReadsTheTextWithTheNameOffered) {
  recording.script("KvIRegEnumValue", answer_no_room(REG_SZ, 12));
  recording.script("KvIRegEnumValue", answer_value(234, REG_SZ, stored_hello));
  EXPECT_EQ(read_size(), 234);
  EXPECT_EQ(type, 1u);
  EXPECT_EQ(size, 6u);
  expect_name_untouched();
  EXPECT_EQ(call(1).raw("name"), call(0).raw("name"));
  EXPECT_EQ(call(1)["name_count"].count, 16u);
}

TEST_F(Enum_Value, ANameWithoutRoomAndNoDataSizeNeedsNoSecondCall) {
  recording.script("KvIRegEnumValue", answer_no_room(REG_SZ, 12));
  EXPECT_EQ(RegEnumValueA(key, 0, name, &name_size, nullptr, &type, nullptr, nullptr), 234);
  EXPECT_EQ(type, 1u);
  expect_name_untouched();
  EXPECT_EQ(entries(), "KvIRegEnumValue ");
}

TEST_F(Enum_Value, AFailedSecondCallAnswersTheFirstResultAndStoresNothing) {
  recording.script("KvIRegEnumValue", answer_no_room(REG_SZ, 12));
  recording.script("KvIRegEnumValue", answer(1018));
  size = 5;
  EXPECT_EQ(read(), 234);
  EXPECT_EQ(type, untouched_type);
  EXPECT_EQ(size, 5u);
  EXPECT_STREQ(data, "###############");
  expect_name_untouched();
}

TEST_F(Enum_Value, AFailedSecondCallForTheSizeAnswersSuccessAndStoresNothing) {
  recording.script("KvIRegEnumValue", answer_item(0, {}));
  recording.script("KvIRegEnumValue", answer(259));
  EXPECT_EQ(read_size(), 0);
  EXPECT_EQ(type, untouched_type);
  EXPECT_EQ(size, 16u);
  expect_name_untouched();
}

TEST_F(Enum_Value, ASecond234StillTellsTheSize) {
  recording.script("KvIRegEnumValue", answer_no_room(REG_SZ, 12));
  recording.script("KvIRegEnumValue", answer_value(234, REG_SZ, "\0h\0i\0\0"s));
  size = 5;
  EXPECT_EQ(read(), 234);
  EXPECT_EQ(type, 1u);
  EXPECT_EQ(size, 3u);
  EXPECT_EQ(std::string(data, 4), "hi\0#"s);
  expect_name_untouched();
}

TEST_F(Enum_Value, TheDefaultValuesEmptyNameComesBackEmpty) {
  recording.script("KvIRegEnumValue", answer_item(0, {REG_BINARY, "", 0, "\0\0"s}));
  EXPECT_EQ(read(), 0);
  EXPECT_EQ(name_size, 0u);
  EXPECT_EQ(std::string(name, 2), "\0#"s);
  EXPECT_EQ(size, 0u);
}

}  // namespace
}  // namespace kvtest
