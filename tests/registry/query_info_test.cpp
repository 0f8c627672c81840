// Counts, longest lengths and the class of a key.
#include "tests/registry/fronts.h"

namespace kvtest {
namespace {

class Query_Info_Key : public Fronts {
 protected:
  LSTATUS read_class(char* class_name, DWORD* size) {
    return RegQueryInfoKeyA(key, class_name, size, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                            nullptr, nullptr);
  }

  char room[16] = "###############";
};

// A class of this length, and its units and terminator when there are any.
Behaviour answer_class(std::uint64_t code, DWORD length, const std::string& units = "") {
  return [=](const Call& call) {
    call.store("class_count", length);
    if (!units.empty()) call.write("class_name", units);
    return code;
  };
}

TEST_F(Query_Info_Key, HandsThirteenArgumentsOn) {
  recording.script("KvIRegQueryInfoKey", answer(5));
  DWORD size = 16;
  EXPECT_EQ(RegQueryInfoKeyA(key, room, &size, unreadable<DWORD>(0x8000000000000001),
                             unreadable<DWORD>(0x8000000000000002), unreadable<DWORD>(0x8000000000000003),
                             unreadable<DWORD>(0x8000000000000004), unreadable<DWORD>(0x8000000000000005),
                             unreadable<DWORD>(0x8000000000000006), unreadable<DWORD>(0x8000000000000007),
                             unreadable<DWORD>(0x8000000000000008), unreadable<FILETIME>(0x8000000000000009)),
            5);
  ASSERT_EQ(entries(), "KvIRegQueryInfoKey ");
  ASSERT_EQ(call().arguments.size(), 13u);
  EXPECT_EQ(call().raw("key"), 0x1122334455667788u);
  EXPECT_NE(call().raw("class_name"), 0u);
  EXPECT_NE(call().raw("class_name"), number_of(room));
  EXPECT_NE(call().raw("class_count"), number_of(&size));
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
  EXPECT_STREQ(room, "###############");
}

TEST_F(Query_Info_Key, NullPointersStayNull) {
  EXPECT_EQ(read_class(nullptr, nullptr), 0);
  ASSERT_EQ(entries(), "KvIRegQueryInfoKey ");
  for (const auto& argument : call().arguments) {
    if (argument.name == "key") continue;
    EXPECT_EQ(argument.raw, 0u) << argument.name;
  }
}

TEST_F(Query_Info_Key, TheEntrysNumbersAreNotRecomputed) {
  recording.script("KvIRegQueryInfoKey", [](const Call& in) {
    in.store<DWORD>("out_sub_keys", 11);
    in.store<DWORD>("out_max_sub_key_count", 12);
    in.store<DWORD>("out_max_class_count", 13);
    in.store<DWORD>("out_values", 14);
    in.store<DWORD>("out_max_value_name_count", 15);
    in.store<DWORD>("out_max_value_size", 16);
    in.store<DWORD>("out_security_descriptor_size", 17);
    in.store("out_last_write_time", FILETIME{18, 19});
    return 0;
  });
  DWORD out[7] = {};
  FILETIME time = {};
  EXPECT_EQ(RegQueryInfoKeyA(key, nullptr, nullptr, nullptr, &out[0], &out[1], &out[2], &out[3], &out[4], &out[5],
                             &out[6], &time),
            0);
  for (DWORD i = 0; i < 7; ++i) EXPECT_EQ(out[i], 11 + i);
  EXPECT_EQ(time.dwLowDateTime, 18u);
  EXPECT_EQ(time.dwHighDateTime, 19u);
}

TEST_F(Query_Info_Key, AClassThatFitsIsReadByOneCall) {
  recording.script("KvIRegQueryInfoKey", answer_class(0, 5, stored_hello));
  DWORD size = 6;
  EXPECT_EQ(read_class(room, &size), 0);
  EXPECT_EQ(size, 5u);
  EXPECT_EQ(std::string(room, 7), "hello\0#"s);
  ASSERT_EQ(entries(), "KvIRegQueryInfoKey ");
  EXPECT_EQ(call()["class_count"].count, 6u);
}

TEST_F(Query_Info_Key, AClassThatDoesNotFitAnswersSuccessAndItsLength) {
  recording.script("KvIRegQueryInfoKey", answer_class(234, 5));
  recording.script("KvIRegQueryInfoKey", answer_class(0, 5, stored_hello));
  DWORD size = 3;
  EXPECT_EQ(read_class(room, &size), 0);
  EXPECT_EQ(size, 5u);
  EXPECT_STREQ(room, "###############");
  ASSERT_EQ(entries(), "KvIRegQueryInfoKey KvIRegQueryInfoKey ");
  EXPECT_EQ(call(0)["class_count"].count, 3u);
  EXPECT_EQ(call(1)["class_count"].count, 6u);
}

TEST_F(Query_Info_Key, TheSecondCallHasTheSameArguments) {
  recording.script("KvIRegQueryInfoKey", answer_class(234, 5));
  recording.script("KvIRegQueryInfoKey", answer_class(0, 5, stored_hello));
  DWORD size = 3, values = 0;
  FILETIME time = {};
  EXPECT_EQ(RegQueryInfoKeyA(key, room, &size, unreadable<DWORD>(0x40), nullptr, nullptr, nullptr, &values, nullptr,
                             nullptr, nullptr, &time),
            0);
  for (const auto& argument : call(0).arguments) {
    if (argument.name == "class_name") continue;
    EXPECT_EQ(call(1).raw(argument.name.c_str()), argument.raw) << argument.name;
  }
  EXPECT_NE(call(1).raw("class_name"), 0u);
}

TEST_F(Query_Info_Key, TheSecondCallsResultIsTheResult) {
  for (DWORD second : {5u, 234u, 1018u}) {
    recording.script("KvIRegQueryInfoKey", answer_class(234, 5));
    recording.script("KvIRegQueryInfoKey", answer(second));
    DWORD size = 3;
    EXPECT_EQ(read_class(room, &size), static_cast<LSTATUS>(second));
    EXPECT_STREQ(room, "###############");
  }
}

TEST_F(Query_Info_Key, TheLengthOfAClassIsFoundByReadingIt) {
  recording.script("KvIRegQueryInfoKey", answer_class(0, 2));
  recording.script("KvIRegQueryInfoKey", answer_class(0, 2, "\0\xFC\x20\xAC\0\0"s));
  DWORD size = 0xCDCDCDCD;
  EXPECT_EQ(read_class(nullptr, &size), 0);
  EXPECT_EQ(size, 5u);
  ASSERT_EQ(entries(), "KvIRegQueryInfoKey KvIRegQueryInfoKey ");
  EXPECT_EQ(call(0).raw("class_name"), 0u);
  EXPECT_NE(call(0).raw("class_count"), 0u);
  EXPECT_NE(call(1).raw("class_name"), 0u);
  EXPECT_EQ(call(1)["class_count"].count, 3u);
}

TEST_F(Query_Info_Key, AnEmptyClassHasTheLengthZero) {
  recording.script("KvIRegQueryInfoKey", answer_class(0, 0));
  recording.script("KvIRegQueryInfoKey", answer_class(0, 0, "\0\0"s));
  DWORD size = 0xCDCDCDCD;
  EXPECT_EQ(read_class(nullptr, &size), 0);
  EXPECT_EQ(size, 0u);
  EXPECT_EQ(call(1)["class_count"].count, 1u);
}

TEST_F(Query_Info_Key, AClassBufferWithoutSizeIsNeverWritten) {
  recording.script("KvIRegQueryInfoKey", answer_class(0, 0));
  EXPECT_EQ(read_class(room, nullptr), 0);
  EXPECT_STREQ(room, "###############");
  ASSERT_EQ(entries(), "KvIRegQueryInfoKey ");
  EXPECT_NE(call().raw("class_name"), 0u);
  EXPECT_EQ(call().raw("class_count"), 0u);
}

TEST_F(Query_Info_Key, ASizeOfZeroOffersATwoByteBufferAndACountOfZero) {
  std::string offered;
  recording.script("KvIRegQueryInfoKey", [&](const Call& in) {
    offered.assign(in.pointer<char>("class_name"), 2);
    return answer_class(234, 5)(in);
  });
  recording.script("KvIRegQueryInfoKey", answer_class(0, 5, stored_hello));
  DWORD size = 0;
  EXPECT_EQ(read_class(room, &size), 0);
  EXPECT_EQ(size, 5u);
  EXPECT_STREQ(room, "###############");
  EXPECT_EQ(offered, "\0\0"s);
  EXPECT_EQ(call(0)["class_count"].count, 0u);
  EXPECT_EQ(call(1)["class_count"].count, 6u);
}

TEST_F(Query_Info_Key, AClassLongerInBytesThanTheRoomAnswersSuccessAndItsLength) {
  recording.script("KvIRegQueryInfoKey", answer_class(0, 2, "\0\xFC\0\xFC\0\0"s));
  DWORD size = 3;
  EXPECT_EQ(read_class(room, &size), 0);
  EXPECT_EQ(size, 4u);
  EXPECT_STREQ(room, "###############");
  EXPECT_EQ(entries(), "KvIRegQueryInfoKey ");
}

TEST_F(Query_Info_Key, ErrorsLeaveEverythingAsItWas) {
  recording.script("KvIRegQueryInfoKey", answer_class(1018, 2, "\0h\0i\0\0"s));
  DWORD size = 6;
  EXPECT_EQ(read_class(room, &size), 1018);
  EXPECT_EQ(size, 6u);
  EXPECT_STREQ(room, "###############");
  EXPECT_EQ(entries(), "KvIRegQueryInfoKey ");
}

TEST_F(Query_Info_Key, AClassOfAnyLengthIsReadWhole) {
  for (std::size_t length : {2046u, 2047u, 2048u, 5000u}) {
    std::string stored;
    for (std::size_t i = 0; i < length; ++i) stored += "\0k"s;
    recording.script("KvIRegQueryInfoKey", answer_class(0, static_cast<DWORD>(length), stored + "\0\0"s));
    std::string text(length + 2, '#');
    DWORD size = static_cast<DWORD>(length + 1);
    EXPECT_EQ(read_class(text.data(), &size), 0);
    EXPECT_EQ(size, length);
    EXPECT_EQ(text, std::string(length, 'k') + "\0#"s);
  }
}

}  // namespace
}  // namespace kvtest
