// Listing values by wide names: the caller's own counts offered, one call only, the data before the name.
#include "tests/registry/fronts.h"
#include "tests/registry/wide_text.h"

namespace kvtest {
namespace {

constexpr DWORD untouched_type = 0x7E7E7E7E;

struct Item {
  DWORD type = REG_SZ;
  std::string data = stored_hello;
  DWORD name_length = 2;
  std::string name = "\0v\x20\xAC\0\0"s;
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

class Wide_Enum_Value : public Fronts {
 protected:
  LSTATUS read() { return RegEnumValueW(key, 3, name.text, &name_size, nullptr, &type, data.bytes(), &size); }
  void expect_name() {
    EXPECT_EQ(name_size, 2u);
    EXPECT_EQ(name.first(4), L"v\u20AC\0#"s);
  }

  Wide_Room name;
  Wide_Room data;
  DWORD name_size = 16;
  DWORD size = 24;
  DWORD type = untouched_type;
};

TEST_F(Wide_Enum_Value, HandsNineArgumentsOnAndOffersTheCallersOwnCounts) {
  recording.script("KvIRegEnumValue", answer(259));
  size = 10;
  EXPECT_EQ(RegEnumValueW(key, 0x89ABCDEF, name.text, &name_size, unreadable<DWORD>(0x8000000000000001), &type,
                          data.bytes(), &size),
            259);
  ASSERT_EQ(entries(), "KvIRegEnumValue ");
  ASSERT_EQ(call().arguments.size(), 9u);
  EXPECT_EQ(call().raw("key"), 0x1122334455667788u);
  EXPECT_EQ(call().raw("index"), 0x89ABCDEFu);
  EXPECT_NE(call().raw("name"), 0u);
  EXPECT_NE(call().raw("name"), number_of(name.text));
  EXPECT_EQ(call().raw("name_count"), number_of(&name_size));
  EXPECT_EQ(call()["name_count"].count, 16u);
  EXPECT_EQ(call().raw("reserved"), 0x8000000000000001u);
  EXPECT_EQ(call().raw("out_type"), number_of(&type));
  EXPECT_NE(call().raw("data"), 0u);
  EXPECT_NE(call().raw("data"), number_of(data.text));
  EXPECT_NE(call().raw("data_size"), 0u);
  EXPECT_NE(call().raw("data_size"), number_of(&size));
  EXPECT_EQ(call()["data_size"].count, 10u);
  EXPECT_EQ(call().raw("null"), 0u);
}

// QUIRK enum-value-wide-unchecked
TEST_F(Wide_Enum_Value, ANullNameAndANullNameSizeAreHandedOn) {
  recording.script("KvIRegEnumValue", answer_item(0, {}));
  EXPECT_EQ(RegEnumValueW(key, 3, nullptr, nullptr, nullptr, &type, data.bytes(), &size), 0);
  EXPECT_EQ(call().raw("name"), 0u);
  EXPECT_EQ(call().raw("name_count"), 0u);
  EXPECT_EQ(type, 1u);
  EXPECT_EQ(size, 24u);
  EXPECT_EQ(data.first(7), L"hello\0#"s);
  recording.script("KvIRegEnumValue", answer(87));
  EXPECT_EQ(RegEnumValueW(nullptr, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 87);
  for (const auto& argument : call(1).arguments) {
    EXPECT_EQ(argument.raw != 0, argument.name == "out_type") << argument.name;
  }
}

TEST_F(Wide_Enum_Value, ANameWithoutSizeIsOfferedAndNeverWritten) {
  recording.script("KvIRegEnumValue", answer_item(0, {REG_SZ, stored_hello, 0, "\0h"s}));
  EXPECT_EQ(RegEnumValueW(key, 3, name.text, nullptr, nullptr, &type, data.bytes(), &size), 0);
  EXPECT_NE(call().raw("name"), 0u);
  EXPECT_EQ(call().raw("name_count"), 0u);
  EXPECT_TRUE(name.untouched());
  EXPECT_EQ(data.first(7), L"hello\0#"s);
}

TEST_F(Wide_Enum_Value, ASizeWithoutNameIsHandedOn) {
  recording.script("KvIRegEnumValue", answer_item(0, {}));
  EXPECT_EQ(RegEnumValueW(key, 3, nullptr, &name_size, nullptr, &type, data.bytes(), &size), 0);
  EXPECT_EQ(call().raw("name"), 0u);
  EXPECT_EQ(call().raw("name_count"), number_of(&name_size));
  EXPECT_EQ(name_size, 2u);
}

TEST_F(Wide_Enum_Value, OtherResultsLeaveNameSizeAndData) {
  for (DWORD code : {5u, 259u, 1018u}) {
    recording.reset();
    recording.script("KvIRegEnumValue", answer_item(code, {}));
    name_size = 16;
    size = 24;
    EXPECT_EQ(read(), static_cast<LSTATUS>(code));
    EXPECT_TRUE(name.untouched());
    EXPECT_EQ(size, 24u);
    EXPECT_TRUE(data.untouched());
    EXPECT_EQ(entries(), "KvIRegEnumValue ");
  }
}

TEST_F(Wide_Enum_Value, TextComesBackWithItsName) {
  for (DWORD text_type : {1u, 2u, 7u}) {
    Item item;
    item.type = text_type;
    recording.script("KvIRegEnumValue", answer_item(0, item));
    name_size = 3;
    size = 24;
    EXPECT_EQ(read(), 0);
    expect_name();
    EXPECT_EQ(type, text_type);
    EXPECT_EQ(size, 24u);
    EXPECT_EQ(data.first(7), L"hello\0#"s);
  }
}

TEST_F(Wide_Enum_Value, BytesComeBackWithTheirName) {
  recording.script("KvIRegEnumValue", answer_item(0, {33, "\1\0\2"s}));
  EXPECT_EQ(read(), 0);
  expect_name();
  EXPECT_EQ(type, 33u);
  EXPECT_EQ(size, 3u);
  EXPECT_EQ(memcmp(data.text, "\1\0\2\0#", 5), 0);
}

TEST_F(Wide_Enum_Value, TheTypePointerMayBeNullAndStillDecides) {
  recording.script("KvIRegEnumValue", answer_item(0, {}));
  EXPECT_EQ(RegEnumValueW(key, 0, name.text, &name_size, nullptr, nullptr, data.bytes(), &size), 0);
  EXPECT_NE(call().raw("out_type"), 0u);
  EXPECT_EQ(size, 24u);
  EXPECT_EQ(data.first(7), L"hello\0#"s);
  expect_name();
}

TEST_F(Wide_Enum_Value, WithoutDataAndSizeNameAndTypeComeBack) {
  recording.script("KvIRegEnumValue", answer_item(0, {}));
  EXPECT_EQ(RegEnumValueW(key, 0, name.text, &name_size, nullptr, &type, nullptr, nullptr), 0);
  expect_name();
  EXPECT_EQ(type, 1u);
  EXPECT_EQ(call().raw("data"), 0u);
  EXPECT_EQ(call().raw("data_size"), 0u);
}

TEST_F(Wide_Enum_Value, DataWithoutSizeOffersABufferWithoutCountAndIsNeverWritten) {
  recording.script("KvIRegEnumValue", answer_item(0, {REG_SZ, "x"}));
  EXPECT_EQ(RegEnumValueW(key, 0, name.text, &name_size, nullptr, &type, data.bytes(), nullptr), 0);
  expect_name();
  EXPECT_TRUE(data.untouched());
  EXPECT_NE(call().raw("data"), 0u);
  EXPECT_EQ(call().raw("data_size"), 0u);
}

TEST_F(Wide_Enum_Value, TheSizeOfTextIsToldByOneCallWithTheName) {
  recording.script("KvIRegEnumValue", answer_item(0, {}));
  EXPECT_EQ(RegEnumValueW(key, 0, name.text, &name_size, nullptr, &type, nullptr, &size), 0);
  EXPECT_EQ(size, 24u);
  EXPECT_EQ(type, 1u);
  expect_name();
  ASSERT_EQ(entries(), "KvIRegEnumValue ");
  EXPECT_EQ(call().raw("data"), 0u);
}

TEST_F(Wide_Enum_Value, TheSizeOfBytesIsToldAsItIs) {
  recording.script("KvIRegEnumValue", answer_item(0, {REG_BINARY, "12345"}));
  EXPECT_EQ(RegEnumValueW(key, 0, name.text, &name_size, nullptr, &type, nullptr, &size), 0);
  EXPECT_EQ(size, 5u);
  expect_name();
}

TEST_F(Wide_Enum_Value, TextThatFitsTheEntrysRoomButNotTheCallersAnswers234WithoutName) {
  recording.script("KvIRegEnumValue", answer_item(0, {}));
  size = 20;
  EXPECT_EQ(read(), 234);
  EXPECT_EQ(type, 1u);
  EXPECT_EQ(size, 24u);
  EXPECT_TRUE(data.untouched());
  EXPECT_TRUE(name.untouched());
  EXPECT_EQ(name_size, 2u);
  EXPECT_EQ(entries(), "KvIRegEnumValue ");
}

TEST_F(Wide_Enum_Value, An234OfTheEntryTellsTheSizeWithoutASecondCall) {
  for (DWORD room : {0u, 10u}) {
    recording.reset();
    recording.script("KvIRegEnumValue", answer_value_size(234, REG_SZ, 12));
    size = room;
    EXPECT_EQ(read(), 234);
    EXPECT_EQ(call()["data_size"].count, room);
    EXPECT_EQ(type, 1u);
    EXPECT_EQ(size, 24u);
    EXPECT_EQ(name_size, 16u);
    EXPECT_TRUE(data.untouched());
    EXPECT_TRUE(name.untouched());
    EXPECT_EQ(entries(), "KvIRegEnumValue ");
  }
}

TEST_F(Wide_Enum_Value, BytesThatDoNotFitTellTheirSize) {
  recording.script("KvIRegEnumValue", answer_value_size(234, REG_BINARY, 12));
  size = 5;
  EXPECT_EQ(read(), 234);
  EXPECT_EQ(type, 3u);
  EXPECT_EQ(size, 12u);
  EXPECT_TRUE(data.untouched());
  EXPECT_TRUE(name.untouched());
}

TEST_F(Wide_Enum_Value, ANameWithoutRoomAnswers234AndLeavesTheData) {
  for (DWORD any : {1u, 3u}) {
    recording.reset();
    recording.script("KvIRegEnumValue", answer_value(234, any, stored_hello));
    size = 24;
    name_size = 2;
    EXPECT_EQ(read(), 234);
    EXPECT_EQ(type, any);
    EXPECT_EQ(size, any == 1 ? 24u : 12u);
    EXPECT_EQ(name_size, 2u);
    EXPECT_TRUE(data.untouched());
    EXPECT_TRUE(name.untouched());
    EXPECT_EQ(entries(), "KvIRegEnumValue ");
  }
}

TEST_F(Wide_Enum_Value, TheDefaultValuesEmptyNameComesBackEmpty) {
  recording.script("KvIRegEnumValue", answer_item(0, {REG_BINARY, "", 0, "\0\0"s}));
  name_size = 1;
  EXPECT_EQ(read(), 0);
  EXPECT_EQ(name_size, 0u);
  EXPECT_EQ(name.first(2), L"\0#"s);
  EXPECT_EQ(size, 0u);
  EXPECT_TRUE(data.untouched());
}

}  // namespace
}  // namespace kvtest
