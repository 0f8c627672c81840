// Listing sub-keys by wide names.
#include "tests/registry/fronts.h"
#include "tests/registry/wide_text.h"

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

class Wide_Enum_Key_Ex : public Fronts {
 protected:
  LSTATUS read(DWORD* size) { return RegEnumKeyExW(key, 0, name.text, size, nullptr, nullptr, nullptr, nullptr); }

  Wide_Room name;
  Wide_Room class_name;
};

class Wide_Enum_Key : public Fronts {
 protected:
  Wide_Room name;
};

TEST_F(Wide_Enum_Key_Ex, HandsNineArgumentsOnAndTheCallersOwnCounts) {
  recording.script("KvIRegEnumKeyEx", answer(259));
  DWORD size = 16, class_size = 10;
  EXPECT_EQ(RegEnumKeyExW(key, 0x89ABCDEF, name.text, &size, unreadable<DWORD>(0x8000000000000001), class_name.text,
                          &class_size, unreadable<FILETIME>(0x8000000000000002)),
            259);
  ASSERT_EQ(entries(), "KvIRegEnumKeyEx ");
  ASSERT_EQ(call().arguments.size(), 9u);
  EXPECT_EQ(call().raw("key"), 0x1122334455667788u);
  EXPECT_EQ(call().raw("index"), 0x89ABCDEFu);
  EXPECT_NE(call().raw("name"), 0u);
  EXPECT_NE(call().raw("name"), number_of(name.text));
  EXPECT_EQ(call().raw("name_count"), number_of(&size));
  EXPECT_EQ(call()["name_count"].count, 16u);
  EXPECT_EQ(call().raw("reserved"), 0x8000000000000001u);
  EXPECT_NE(call().raw("class_name"), 0u);
  EXPECT_NE(call().raw("class_name"), number_of(class_name.text));
  EXPECT_EQ(call().raw("class_count"), number_of(&class_size));
  EXPECT_EQ(call()["class_count"].count, 10u);
  EXPECT_EQ(call().raw("out_last_write_time"), 0x8000000000000002u);
  EXPECT_EQ(call().raw("null"), 0u);
}

TEST_F(Wide_Enum_Key_Ex, NullPointersStayNull) {
  EXPECT_EQ(RegEnumKeyExW(key, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
  ASSERT_EQ(entries(), "KvIRegEnumKeyEx ");
  for (const auto& argument : call().arguments) {
    if (argument.name == "key") continue;
    EXPECT_EQ(argument.raw, 0u) << argument.name;
  }
}

TEST_F(Wide_Enum_Key_Ex, NameClassAndTimeComeBack) {
  recording.script("KvIRegEnumKeyEx", [](const Call& in) {
    in.store("out_last_write_time", FILETIME{18, 19});
    return answer_names(5, stored_hello, 3, "\0\xE4\x20\xAC\xF6\x00\0\0"s)(in);
  });
  DWORD size = 16, class_size = 4;
  FILETIME time = {};
  EXPECT_EQ(RegEnumKeyExW(key, 0, name.text, &size, nullptr, class_name.text, &class_size, &time), 0);
  EXPECT_EQ(size, 5u);
  EXPECT_EQ(name.first(7), L"hello\0#"s);
  EXPECT_EQ(class_size, 3u);
  EXPECT_EQ(class_name.first(5), L"\u00E4\u20AC\uF600\0#"s);
  EXPECT_EQ(time.dwLowDateTime, 18u);
  EXPECT_EQ(time.dwHighDateTime, 19u);
}

TEST_F(Wide_Enum_Key_Ex, RoomOfTheLengthAndOneIsEnough) {
  recording.script("KvIRegEnumKeyEx", answer_names(5, stored_hello));
  DWORD size = 6;
  EXPECT_EQ(read(&size), 0);
  EXPECT_EQ(size, 5u);
  EXPECT_EQ(name.first(7), L"hello\0#"s);
}

TEST_F(Wide_Enum_Key_Ex, An234OfTheEntryIsNeitherRetriedNorConverted) {
  recording.script("KvIRegEnumKeyEx", answer(234));
  DWORD size = 5;
  EXPECT_EQ(read(&size), 234);
  EXPECT_EQ(size, 5u);
  EXPECT_TRUE(name.untouched());
  EXPECT_EQ(entries(), "KvIRegEnumKeyEx ");
}

TEST_F(Wide_Enum_Key_Ex, ErrorsLeaveTheBuffersAndTheCountsOfTheEntry) {
  for (DWORD code : {5u, 234u, 259u, 1018u}) {
    recording.script("KvIRegEnumKeyEx", [=](const Call& in) {
      answer_names(5, stored_hello, 4, stored_hello)(in);
      return code;
    });
    DWORD size = 16, class_size = 15;
    EXPECT_EQ(RegEnumKeyExW(key, 0, name.text, &size, nullptr, class_name.text, &class_size, nullptr),
              static_cast<LSTATUS>(code));
    EXPECT_EQ(size, 5u);
    EXPECT_EQ(class_size, 4u);
    EXPECT_TRUE(name.untouched());
    EXPECT_TRUE(class_name.untouched());
  }
}

TEST_F(Wide_Enum_Key_Ex, ABufferWithoutCountIsOfferedAndNeverWritten) {
  recording.script("KvIRegEnumKeyEx", [](const Call& in) {
    in.write("name", "\0h"s);
    in.write("class_name", "\0h"s);
    return 0;
  });
  EXPECT_EQ(RegEnumKeyExW(key, 0, name.text, nullptr, nullptr, class_name.text, nullptr, nullptr), 0);
  EXPECT_NE(call().raw("name"), 0u);
  EXPECT_EQ(call().raw("name_count"), 0u);
  EXPECT_NE(call().raw("class_name"), 0u);
  EXPECT_EQ(call().raw("class_count"), 0u);
  EXPECT_TRUE(name.untouched());
  EXPECT_TRUE(class_name.untouched());
}

TEST_F(Wide_Enum_Key_Ex, ACountWithoutBufferIsHandedOn) {
  recording.script("KvIRegEnumKeyEx", answer_names(5, "", 3, ""));
  DWORD size = 0xCDCDCDCD, class_size = 7;
  EXPECT_EQ(RegEnumKeyExW(key, 0, nullptr, &size, nullptr, nullptr, &class_size, nullptr), 0);
  EXPECT_EQ(call().raw("name"), 0u);
  EXPECT_EQ(call().raw("name_count"), number_of(&size));
  EXPECT_EQ(call().raw("class_name"), 0u);
  EXPECT_EQ(call().raw("class_count"), number_of(&class_size));
  EXPECT_EQ(size, 5u);
  EXPECT_EQ(class_size, 3u);
}

TEST_F(Wide_Enum_Key_Ex, ACountOfZeroOffersABufferAndACountOfZero) {
  recording.script("KvIRegEnumKeyEx", answer(234));
  DWORD size = 0;
  EXPECT_EQ(read(&size), 234);
  EXPECT_NE(call().raw("name"), 0u);
  EXPECT_EQ(call()["name_count"].count, 0u);
  EXPECT_TRUE(name.untouched());
}

TEST_F(Wide_Enum_Key_Ex, NamesOfAnyLengthComeBackWhole) {
  for (std::size_t length : {0u, 31u, 32u, 2047u, 2048u, 70000u}) {
    recording.script("KvIRegEnumKeyEx",
                     answer_names(static_cast<DWORD>(length), crossing(std::u16string(length, u'\u20AC') + u'\0')));
    std::wstring text(length + 2, L'#');
    DWORD size = static_cast<DWORD>(length + 1);
    EXPECT_EQ(RegEnumKeyExW(key, 0, text.data(), &size, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(size, length);
    EXPECT_EQ(text, std::wstring(length, L'\u20AC') + L"\0#"s);
  }
}

TEST_F(Wide_Enum_Key, ThePerformanceKeyIsRefused) {
  EXPECT_EQ(RegEnumKeyW(HKEY_PERFORMANCE_DATA, 0, unreadable<wchar_t>(0x10), 5), 6);
  EXPECT_EQ(entries(), "");
}

TEST_F(Wide_Enum_Key, HandsTheNameAndACopyOfTheSizeOn) {
  recording.script("KvIRegEnumKeyEx", answer_names(5, stored_hello));
  EXPECT_EQ(RegEnumKeyW(key, 0x89ABCDEF, name.text, 6), 0);
  EXPECT_EQ(name.first(7), L"hello\0#"s);
  ASSERT_EQ(entries(), "KvIRegEnumKeyEx ");
  EXPECT_EQ(call().raw("key"), 0x1122334455667788u);
  EXPECT_EQ(call().raw("index"), 0x89ABCDEFu);
  EXPECT_EQ(call()["name_count"].count, 6u);
  for (const char* null : {"reserved", "class_name", "class_count", "out_last_write_time", "null"}) {
    EXPECT_EQ(call().raw(null), 0u) << null;
  }
}

TEST_F(Wide_Enum_Key, ANullNameIsHandedOnWithACount) {
  recording.script("KvIRegEnumKeyEx", answer(234));
  EXPECT_EQ(RegEnumKeyW(key, 0, nullptr, 8), 234);
  EXPECT_EQ(call().raw("name"), 0u);
  EXPECT_NE(call().raw("name_count"), 0u);
  EXPECT_EQ(call()["name_count"].count, 8u);
}

TEST_F(Wide_Enum_Key, AnErrorLeavesTheName) {
  recording.script("KvIRegEnumKeyEx", answer(259));
  EXPECT_EQ(RegEnumKeyW(key, 9, name.text, 8), 259);
  EXPECT_TRUE(name.untouched());
}

TEST_F(Wide_Enum_Key, TheSignExtendedPerformanceKeyIsAnOrdinaryHandle) {
  recording.script("KvIRegEnumKeyEx", answer(6));
  EXPECT_EQ(RegEnumKeyW(key_of(0xFFFFFFFF80000004), 0, name.text, 5), 6);
  EXPECT_EQ(call().raw("key"), 0xFFFFFFFF80000004u);
}

}  // namespace
}  // namespace kvtest
