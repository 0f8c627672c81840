// Counts, longest lengths and the wide class of a key; one call, and the class also after 234.
#include <new>

#include "tests/registry/fronts.h"
#include "tests/registry/heap_use.h"
#include "tests/registry/wide_text.h"

namespace kvtest {
namespace {

class Wide_Query_Info_Key : public Fronts {
 protected:
  LSTATUS read_class(wchar_t* class_name, DWORD* size) {
    return RegQueryInfoKeyW(key, class_name, size, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                            nullptr, nullptr);
  }

  Wide_Room room;
};

// A class of this length, and its units when there are any.
Behaviour answer_class(std::uint64_t code, DWORD length, const std::string& units = "") {
  return [=](const Call& call) {
    call.store("class_count", length);
    if (!units.empty()) call.write("class_name", units);
    return code;
  };
}

TEST_F(Wide_Query_Info_Key, HandsThirteenArgumentsOn) {
  recording.script("KvIRegQueryInfoKey", answer(5));
  DWORD size = 16;
  EXPECT_EQ(RegQueryInfoKeyW(key, room.text, &size, unreadable<DWORD>(0x8000000000000001),
                             unreadable<DWORD>(0x8000000000000002), unreadable<DWORD>(0x8000000000000003),
                             unreadable<DWORD>(0x8000000000000004), unreadable<DWORD>(0x8000000000000005),
                             unreadable<DWORD>(0x8000000000000006), unreadable<DWORD>(0x8000000000000007),
                             unreadable<DWORD>(0x8000000000000008), unreadable<FILETIME>(0x8000000000000009)),
            5);
  ASSERT_EQ(entries(), "KvIRegQueryInfoKey ");
  ASSERT_EQ(call().arguments.size(), 13u);
  EXPECT_EQ(call().raw("key"), 0x1122334455667788u);
  EXPECT_NE(call().raw("class_name"), 0u);
  EXPECT_NE(call().raw("class_name"), number_of(room.text));
  EXPECT_EQ(call().raw("class_count"), number_of(&size));
  EXPECT_EQ(call()["class_count"].count, 16u);
  EXPECT_EQ(call().raw("reserved"), 0x8000000000000001u);
  EXPECT_EQ(call().raw("out_sub_keys"), 0x8000000000000002u);
  EXPECT_EQ(call().raw("out_max_sub_key_count"), 0x8000000000000003u);
  EXPECT_EQ(call().raw("out_max_class_count"), 0x8000000000000004u);
  EXPECT_EQ(call().raw("out_values"), 0x8000000000000005u);
  EXPECT_EQ(call().raw("out_max_value_name_count"), 0x8000000000000006u);
  EXPECT_EQ(call().raw("out_max_value_size"), 0x8000000000000007u);
  EXPECT_EQ(call().raw("out_security_descriptor_size"), 0x8000000000000008u);
  EXPECT_EQ(call().raw("out_last_write_time"), 0x8000000000000009u);
  EXPECT_EQ(call().raw("null"), 0u);
  EXPECT_EQ(size, 16u);
  EXPECT_TRUE(room.untouched());
}

TEST_F(Wide_Query_Info_Key, NullPointersStayNull) {
  EXPECT_EQ(read_class(nullptr, nullptr), 0);
  ASSERT_EQ(entries(), "KvIRegQueryInfoKey ");
  for (const auto& argument : call().arguments) {
    if (argument.name == "key") continue;
    EXPECT_EQ(argument.raw, 0u) << argument.name;
  }
}

TEST_F(Wide_Query_Info_Key, TheEntrysNumbersReachTheCaller) {
  recording.script("KvIRegQueryInfoKey", [](const Call& in) {
    in.store<DWORD>("out_sub_keys", 11);
    in.store<DWORD>("out_max_sub_key_count", 12);
    in.store<DWORD>("out_max_class_count", 13);
    in.store<DWORD>("out_values", 14);
    in.store<DWORD>("out_max_value_name_count", 15);
    in.store<DWORD>("out_max_value_size", 16);
    in.store<DWORD>("out_security_descriptor_size", 17);
    in.store("out_last_write_time", FILETIME{18, 19});
    return 234;
  });
  DWORD out[7] = {};
  FILETIME time = {};
  EXPECT_EQ(RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &out[0], &out[1], &out[2], &out[3], &out[4], &out[5],
                             &out[6], &time),
            234);
  for (DWORD i = 0; i < 7; ++i) EXPECT_EQ(out[i], 11 + i);
  EXPECT_EQ(time.dwLowDateTime, 18u);
  EXPECT_EQ(time.dwHighDateTime, 19u);
}

TEST_F(Wide_Query_Info_Key, AClassThatFitsComesBackWithItsTerminator) {
  recording.script("KvIRegQueryInfoKey", answer_class(0, 5, "\0h\0\xE4\x20\xAC\xF6\x00\0o\0\0"s));
  DWORD size = 6;
  EXPECT_EQ(read_class(room.text, &size), 0);
  EXPECT_EQ(size, 5u);
  EXPECT_EQ(room.first(7), L"h\u00E4\u20AC\uF600o\0#"s);
  ASSERT_EQ(entries(), "KvIRegQueryInfoKey ");
}

TEST_F(Wide_Query_Info_Key, AnEmptyClassComesBackAsItsTerminator) {
  recording.script("KvIRegQueryInfoKey", answer_class(0, 0, "\0\0"s));
  DWORD size = 1;
  EXPECT_EQ(read_class(room.text, &size), 0);
  EXPECT_EQ(size, 0u);
  EXPECT_EQ(room.first(2), L"\0#"s);
}

TEST_F(Wide_Query_Info_Key, AClassThatDoesNotFitAnswers234WithWhatHasRoom) {
  recording.script("KvIRegQueryInfoKey", answer_class(234, 5, "\0h\0e\0l"s));
  DWORD size = 3;
  EXPECT_EQ(read_class(room.text, &size), 234);
  EXPECT_EQ(size, 5u);
  EXPECT_EQ(room.first(4), L"hel#");
  ASSERT_EQ(entries(), "KvIRegQueryInfoKey ");
  EXPECT_EQ(call()["class_count"].count, 3u);
}

TEST_F(Wide_Query_Info_Key, AfterA234TheCountLeftDecidesHowMuchComesBack) {
  recording.script("KvIRegQueryInfoKey", answer_class(234, 1, "\0h\0\0\0x\0y"s));
  DWORD size = 4;
  EXPECT_EQ(read_class(room.text, &size), 234);
  EXPECT_EQ(size, 1u);
  EXPECT_EQ(room.first(3), L"h\0#"s);
}

TEST_F(Wide_Query_Info_Key, NoMoreCharactersComeBackThanWereOfferedWhateverTheCountLeft) {
  for (DWORD code : {0u, 234u}) {
    for (DWORD left : {3u, 4u, 70000u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFEu}) {
      recording.script("KvIRegQueryInfoKey", answer_class(code, left, "\0h\0e\0l"s));
      Wide_Room fresh;
      DWORD size = 3;
      EXPECT_EQ(read_class(fresh.text, &size), static_cast<LSTATUS>(code));
      EXPECT_EQ(size, left);
      EXPECT_EQ(fresh.first(4), L"hel#") << left;
    }
  }
}

TEST_F(Wide_Query_Info_Key, TheLargestCountLeftWritesNothingBehindTheRoom) {
  for (DWORD code : {0u, 234u}) {
    recording.script("KvIRegQueryInfoKey", answer_class(code, 0xFFFFFFFF, "\0h\0e\0l"s));
    DWORD size = 3;
    EXPECT_EQ(read_class(room.text, &size), static_cast<LSTATUS>(code));
    EXPECT_EQ(size, 0xFFFFFFFFu);
    EXPECT_EQ(room.text[3], L'#');
  }
}

TEST_F(Wide_Query_Info_Key, AfterA234ARoomOfNothingIsLeftAlone) {
  recording.script("KvIRegQueryInfoKey", answer_class(234, 5, "\0h"s));
  DWORD size = 0;
  EXPECT_EQ(read_class(room.text, &size), 234);
  EXPECT_EQ(size, 5u);
  EXPECT_TRUE(room.untouched());
  EXPECT_NE(call().raw("class_name"), 0u);
  EXPECT_EQ(call()["class_count"].count, 0u);
}

TEST_F(Wide_Query_Info_Key, AfterSuccessARoomOfNothingIsLeftAloneToo) {
  recording.script("KvIRegQueryInfoKey", answer_class(0, 0, "\0\0"s));
  DWORD size = 0;
  EXPECT_EQ(read_class(room.text, &size), 0);
  EXPECT_EQ(size, 0u);
  EXPECT_TRUE(room.untouched());
}

TEST_F(Wide_Query_Info_Key, AfterA234ARoomThatIsNegativeAsASignedNumberIsLeftAlone) {
#ifdef KVTEST_ADDRESS_SANITIZER
  GTEST_SKIP() << "the address sanitizer clears half a gibibyte for a room of this size";
#endif
  recording.script("KvIRegQueryInfoKey", answer_class(234, 1, "\0h\0\0"s));
  DWORD size = 0x80000000;
  EXPECT_EQ(read_class(room.text, &size), 234);
  EXPECT_EQ(size, 1u);
  EXPECT_TRUE(room.untouched());
}

TEST_F(Wide_Query_Info_Key, TheLengthOfAClassIsToldByOneCall) {
  for (DWORD code : {0u, 234u}) {
    recording.reset();
    recording.script("KvIRegQueryInfoKey", answer_class(code, 5));
    DWORD size = 0xCDCDCDCD;
    EXPECT_EQ(read_class(nullptr, &size), static_cast<LSTATUS>(code));
    EXPECT_EQ(size, 5u);
    ASSERT_EQ(entries(), "KvIRegQueryInfoKey ");
    EXPECT_EQ(call().raw("class_name"), 0u);
    EXPECT_EQ(call().raw("class_count"), number_of(&size));
  }
}

TEST_F(Wide_Query_Info_Key, AClassBufferWithoutSizeIsNeverWritten) {
  for (DWORD code : {0u, 234u}) {
    recording.script("KvIRegQueryInfoKey", answer_class(code, 0, "\0h"s));
    EXPECT_EQ(read_class(room.text, nullptr), static_cast<LSTATUS>(code));
    EXPECT_TRUE(room.untouched());
  }
  EXPECT_NE(call().raw("class_name"), 0u);
  EXPECT_EQ(call().raw("class_count"), 0u);
}

TEST_F(Wide_Query_Info_Key, ErrorsLeaveTheClassAndTheCountOfTheEntry) {
  recording.script("KvIRegQueryInfoKey", answer_class(1018, 2, "\0h\0i\0\0"s));
  DWORD size = 6;
  EXPECT_EQ(read_class(room.text, &size), 1018);
  EXPECT_EQ(size, 2u);
  EXPECT_TRUE(room.untouched());
}

TEST_F(Wide_Query_Info_Key, AClassOfAnyLengthIsReadWhole) {
  for (std::size_t length : {31u, 32u, 2047u, 2048u, 70000u}) {
    recording.script("KvIRegQueryInfoKey",
                     answer_class(0, static_cast<DWORD>(length), crossing(std::u16string(length, u'\u20AC') + u'\0')));
    std::wstring text(length + 2, L'#');
    DWORD size = static_cast<DWORD>(length + 1);
    EXPECT_EQ(read_class(text.data(), &size), 0);
    EXPECT_EQ(size, length);
    EXPECT_EQ(text, std::wstring(length, L'\u20AC') + L"\0#"s);
  }
}

}  // namespace
}  // namespace kvtest
