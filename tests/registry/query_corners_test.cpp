// Corners of reading and storing: answers of 234 where nothing was offered, what stays behind a refused default value,
// and the order of looks and calls.
#include <signal.h>

#include "tests/registry/fronts.h"
#include "tests/registry/wide_text.h"
#include "tests/support/child.h"

namespace kvtest {
namespace {

class Corners : public Fronts {
 protected:
  BYTE* bytes() { return reinterpret_cast<BYTE*>(data); }

  char data[16] = "###############";
  DWORD type = 0x7E7E7E7E;
};

TEST_F(Corners, A234ForTextWithoutDataAndSizeIsAskedAgainWithABuffer) {
  recording.script("KvIRegQueryValueEx", answer_value_size(234, REG_SZ, 12));
  recording.script("KvIRegQueryValueEx", answer_value_size(0, REG_SZ, 12));
  EXPECT_EQ(RegQueryValueExA(key, "n", nullptr, &type, nullptr, nullptr), 234);
  EXPECT_EQ(type, 1u);
  ASSERT_EQ(entries(), "KvIRegQueryValueEx KvIRegQueryValueEx ");
  EXPECT_EQ(call(0).raw("data"), 0u);
  EXPECT_NE(call(1).raw("data"), 0u);
  EXPECT_EQ(call(1).raw("data_size"), 0u);
}

TEST_F(Corners, A234ForTextWithDataAndWithoutSizeIsAskedAgainAndWritesNothing) {
  recording.script("KvIRegQueryValueEx", answer_value_size(234, REG_SZ, 12));
  recording.script("KvIRegQueryValueEx", answer_value_size(0, REG_SZ, 12));
  EXPECT_EQ(RegQueryValueExA(key, "n", nullptr, &type, bytes(), nullptr), 234);
  EXPECT_EQ(type, 1u);
  EXPECT_STREQ(data, "###############");
  EXPECT_EQ(entries(), "KvIRegQueryValueEx KvIRegQueryValueEx ");
}

TEST_F(Corners, A234ForTextWithoutDataAndSizeIsTheResultWhenTheSecondCallFails) {
  recording.script("KvIRegQueryValueEx", answer_value_size(234, REG_SZ, 12));
  recording.script("KvIRegQueryValueEx", answer_value_size(87, REG_SZ, 12));
  EXPECT_EQ(RegQueryValueExA(key, "n", nullptr, &type, nullptr, nullptr), 234);
  EXPECT_EQ(type, 0x7E7E7E7Eu);
}

TEST_F(Corners, A234ForBytesWithoutDataAndSizeTellsTheType) {
  recording.script("KvIRegQueryValueEx", answer_value_size(234, REG_BINARY, 12));
  EXPECT_EQ(RegQueryValueExA(key, "n", nullptr, &type, nullptr, nullptr), 234);
  EXPECT_EQ(type, 3u);
  EXPECT_EQ(entries(), "KvIRegQueryValueEx ");
}

TEST_F(Corners, ASizeWithoutDataIsOfferedAsZero) {
  DWORD size = 77;
  recording.script("KvIRegQueryValueEx", answer_value_size(0, REG_BINARY, 5));
  EXPECT_EQ(RegQueryValueExA(key, "n", nullptr, nullptr, nullptr, &size), 0);
  EXPECT_EQ(call()["data_size"].count, 0u);
  EXPECT_EQ(size, 5u);
}

TEST_F(Corners, TheTypeOfTheSecondCallCounts) {
  recording.script("KvIRegQueryValueEx", answer_value_size(0, REG_SZ, 6));
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_BINARY, "123456"));
  DWORD size = 0;
  EXPECT_EQ(RegQueryValueExA(key, "n", nullptr, &type, nullptr, &size), 0);
  EXPECT_EQ(type, 3u);
  EXPECT_EQ(size, 6u);
}

TEST_F(Corners, ADefaultValueOfAnotherTypeIs13WithWhatWasRead) {
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_EXPAND_SZ, stored_hello));
  LONG size = 15;
  EXPECT_EQ(RegQueryValueA(key, nullptr, data, &size), 13);
  EXPECT_EQ(size, 6);
  EXPECT_EQ(std::string(data, 7), "hello\0#"s);
}

TEST_F(Corners, AWideDefaultValueOfAnotherTypeIs13WithWhatWasRead) {
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_EXPAND_SZ, stored_hello));
  Wide_Room room;
  LONG size = 64;
  EXPECT_EQ(RegQueryValueW(key, nullptr, room.text, &size), 13);
  EXPECT_EQ(size, 24);
  EXPECT_EQ(room.first(7), L"hello\0#"s);
}

TEST_F(Corners, ADefaultValueOfAnotherTypeWithoutRoomIs234) {
  for (int i = 0; i < 2; ++i) recording.script("KvIRegQueryValueEx", answer_value_size(234, REG_BINARY, 40));
  LONG size = 5, wide_size = 5;
  Wide_Room room;
  EXPECT_EQ(RegQueryValueA(key, nullptr, data, &size), 234);
  EXPECT_EQ(RegQueryValueW(key, nullptr, room.text, &wide_size), 234);
  EXPECT_EQ(size, 40);
  EXPECT_EQ(wide_size, 40);
  EXPECT_STREQ(data, "###############");
  EXPECT_TRUE(room.untouched());
}

// In a child: ends with 41 when the first fault is at this address and no entry was called, with 42 else.
void end_at_fault_before_calls(const void* address, kvrecording::Control& recording) {
  static const void* expected;
  static kvrecording::Control* log;
  expected = address;
  log = &recording;
  struct sigaction action = {};
  action.sa_flags = SA_SIGINFO;
  action.sa_sigaction = [](int, siginfo_t* info, void*) {
    _exit(info->si_addr == expected && log->calls().empty() ? 41 : 42);
  };
  sigaction(SIGSEGV, &action, nullptr);
}

TEST_F(Corners, ADefaultValueIsMeasuredBeforeItsKeyIsCreated) {
  Guarded_Page page;
  const Child_Result child = run_child([&] {
    end_at_fault_before_calls(page.end(), recording);
    RegSetValueA(key, "sub", REG_SZ, page.end(), 0);
  });
  EXPECT_EQ(child.exit_status, 41);
  const Child_Result wide_child = run_child([&] {
    end_at_fault_before_calls(page.end(), recording);
    RegSetValueW(key, L"sub", REG_SZ, reinterpret_cast<wchar_t*>(page.end()), 0);
  });
  EXPECT_EQ(wide_child.exit_status, 41);
}

TEST_F(Corners, AFileToSaveToMayBeNull) {
  recording.script("KvIRegSaveKey", answer(87));
  EXPECT_EQ(RegSaveKeyA(key, nullptr, nullptr), 87);
  EXPECT_EQ(call().raw("file"), 0u);
  EXPECT_EQ(call().raw("security"), 0u);
}

TEST_F(Corners, A234WhileListingWithDataAndWithoutSizeNeedsNoSecondCall) {
  recording.script("KvIRegEnumValue", answer_value_size(234, REG_SZ, 12));
  char name[] = "####";
  DWORD name_size = 4;
  EXPECT_EQ(RegEnumValueA(key, 0, name, &name_size, nullptr, &type, bytes(), nullptr), 234);
  EXPECT_EQ(type, 1u);
  EXPECT_EQ(name_size, 4u);
  EXPECT_STREQ(name, "####");
  EXPECT_STREQ(data, "###############");
  EXPECT_EQ(entries(), "KvIRegEnumValue ");
}

TEST_F(Corners, AClassSizeOfZeroWithoutBufferOffers4096Units) {
  DWORD size = 0;
  recording.script("KvIRegEnumKeyEx", answer_empty(0));
  EXPECT_EQ(RegEnumKeyExA(key, 0, nullptr, nullptr, nullptr, nullptr, &size, nullptr), 0);
  EXPECT_NE(call().raw("class_name"), 0u);
  EXPECT_EQ(call()["class_count"].count, 4096u);
  EXPECT_EQ(size, 0u);
}

TEST_F(Corners, AnEmptyNameHasNoRoomInASizeOfZero) {
  DWORD size = 0;
  recording.script("KvIRegEnumKeyEx", answer_empty(0));
  EXPECT_EQ(RegEnumKeyExA(key, 0, data, &size, nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(size, 0u);
  EXPECT_STREQ(data, "###############");
}

// The count told first and one more is what the second call was offered, and what it leaves.
TEST_F(Corners, AClassWhoseSecondReadingFailsTellsTheCountThatWasOffered) {
  const Behaviour five_needed = [](const Call& call) {
    call.store<DWORD>("class_count", 5);
    return 234;
  };
  recording.script("KvIRegQueryInfoKey", five_needed);
  recording.script("KvIRegQueryInfoKey", answer(1018));
  DWORD size = 3;
  EXPECT_EQ(RegQueryInfoKeyA(key, data, &size, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                             nullptr),
            1018);
  EXPECT_EQ(size, 6u);
  EXPECT_STREQ(data, "###############");
}

TEST_F(Corners, BytesBetweenSeveralValuesAreZeros) {
  char name_a[] = "a", name_b[] = "b";
  VALENTA values[] = {{name_a, 0, 0, 0}, {name_b, 0, 0, 0}};
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_BINARY, "12345"));
  recording.script("KvIRegQueryValueEx", answer_value(0, REG_BINARY, "6"));
  DWORD total = 15;
  EXPECT_EQ(RegQueryMultipleValuesA(key, values, 2, data, &total), 0);
  EXPECT_EQ(total, 12u);
  EXPECT_EQ(std::string(data, 13), "12345\0\0\0006\0\0\0#"s);
}

TEST_F(Corners, WithoutBufferTheRoomLeftForSeveralWideValuesIsCountedDownFromTheTotal) {
  wchar_t name_a[] = L"a", name_b[] = L"b";
  VALENTW values[] = {{name_a, 0, 0, 0}, {name_b, 0, 0, 0}};
  for (int i = 0; i < 2; ++i) recording.script("KvIRegQueryValueEx", answer_value_size(0, REG_BINARY, 5));
  DWORD total = 6;
  EXPECT_EQ(RegQueryMultipleValuesW(key, values, 2, nullptr, &total), 0);
  EXPECT_EQ(total, 16u);
  EXPECT_EQ(call(0)["data_size"].count, 6u);
  EXPECT_EQ(call(1)["data_size"].count, 0xFFFFFFFEu);
}

TEST_F(Corners, AWideClassIsReturnedAfterTheName) {
  recording.script("KvIRegEnumKeyEx", [](const Call& call) {
    call.store<DWORD>("name_count", 5);
    call.write("name", stored_hello);
    call.store<DWORD>("class_count", 1);
    call.write("class_name", "\0k\0\0"s);
    return 0;
  });
  Wide_Room room;
  DWORD size = 16, class_size = 16;
  EXPECT_EQ(RegEnumKeyExW(key, 0, room.text, &size, nullptr, room.text, &class_size, nullptr), 0);
  EXPECT_EQ(room.first(7), L"k\0llo\0#"s);
}

TEST_F(Corners, AWideValueIsReturnedBeforeItsName) {
  recording.script("KvIRegEnumValue", [](const Call& call) {
    call.store<DWORD>("name_count", 1);
    call.write("name", "\0k\0\0"s);
    call.store<DWORD>("out_type", REG_SZ);
    call.store<DWORD>("data_size", 12);
    call.write("data", stored_hello);
    return 0;
  });
  Wide_Room room;
  DWORD name_size = 16, size = 24;
  EXPECT_EQ(RegEnumValueW(key, 0, room.text, &name_size, nullptr, nullptr, room.bytes(), &size), 0);
  EXPECT_EQ(room.first(7), L"k\0llo\0#"s);
}

TEST_F(Corners, AnAnsiValueIsReturnedBeforeItsName) {
  recording.script("KvIRegEnumValue", [](const Call& call) {
    call.store<DWORD>("name_count", 1);
    call.write("name", "\0k\0\0"s);
    call.store<DWORD>("out_type", REG_SZ);
    call.store<DWORD>("data_size", 12);
    call.write("data", stored_hello);
    return 0;
  });
  DWORD name_size = 8, size = 8;
  EXPECT_EQ(RegEnumValueA(key, 0, data, &name_size, nullptr, nullptr, bytes(), &size), 0);
  EXPECT_EQ(std::string(data, 7), "k\0llo\0#"s);
}

}  // namespace
}  // namespace kvtest
