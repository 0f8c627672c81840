// Once the registry is closed the later functions do not return either; arguments that are refused without asking the
// registry are refused all the same.
#include "tests/registry/fronts.h"
#include "tests/support/child.h"

namespace kvtest {
namespace {

// What a child prints and ends with that calls the function when the registry is closed.
Child_Result called_when_closed(const std::function<void()>& function) {
  return run_child([&] {
    Parking::print_and_end();
    KvRegistryClosed = 1;
    function();
    printf("returned\n");
  });
}

class Closed : public Fronts {};

TEST_F(Closed, ParksEveryLaterFunction) {
  const HKEY k = key;
  HKEY out = nullptr;
  BOOL flag = FALSE;
  char data[8] = "";
  wchar_t wide[8] = L"";
  DWORD size = sizeof data;
  const std::vector<std::function<void()>> calls = {
      [&] { RegGetValueA(k, nullptr, "n", RRF_RT_ANY, nullptr, data, &size); },
      [&] { RegGetValueW(k, L"s", L"n", RRF_RT_ANY, nullptr, data, &size); },
      [&] { RegSetKeyValueA(k, "s", "n", REG_BINARY, data, 1); },
      [&] { RegSetKeyValueW(k, nullptr, L"n", REG_BINARY, data, 1); },
      [&] { RegDeleteKeyValueA(k, nullptr, "n"); },
      [&] { RegDeleteKeyValueW(k, L"s", L"n"); },
      [&] { RegDeleteKeyExA(k, "s", 0, 0); },
      [&] { RegDeleteKeyExW(k, L"s", 0, 0); },
      [&] { RegDeleteTreeA(k, "s"); },
      [&] { RegDeleteTreeW(k, nullptr); },
      [&] { RegCopyTreeA(k, nullptr, k); },
      [&] { RegCopyTreeW(k, L"s", k); },
      [&] { RegRenameKey(k, L"s", L"t"); },
      [&] { RegQueryReflectionKey(k, &flag); },
      [&] { RegEnableReflectionKey(k); },
      [&] { RegDisableReflectionKey(k); },
      [&] { RegOpenCurrentUser(KEY_READ, &out); },
      [&] { RegLoadMUIStringW(k, L"n", wide, sizeof wide, nullptr, 0, nullptr); },
  };
  ASSERT_EQ(calls.size(), 18u);
  for (std::size_t index = 0; index < calls.size(); ++index) {
    const Child_Result child = called_when_closed(calls[index]);
    EXPECT_EQ(child.exit_status, Parking::parked_status) << index;
    EXPECT_EQ(child.out, "unblock\nsleep 100\nsleep 100\nsleep 100\n") << index;
  }
}

TEST_F(Closed, StillRefusesArgumentsThatNobodyIsAskedAbout) {
  const HKEY k = key;
  const Child_Result child = called_when_closed([k] {
    if (RegGetValueA(k, nullptr, "n", 0, nullptr, nullptr, nullptr) != 87) _exit(1);
    if (RegDeleteKeyExA(k, nullptr, 0, 0) != 87) _exit(2);
    if (RegOpenCurrentUser(KEY_READ, nullptr) != 87) _exit(3);
  });
  EXPECT_EQ(child.exit_status, 0);
  EXPECT_EQ(child.out, "returned\n");
}

class Failing_Entries : public Fronts {};

// The first error ends a call; keys that were opened are closed.
TEST_F(Failing_Entries, EndATreesDeletionAndCloseWhatWasOpened) {
  recording.script("KvIRegOpenKeyEx", answer_key(key_of(0x77)));
  recording.script("KvIRegEnumKeyEx", answer(259));
  recording.script("KvIRegDeleteKey", answer(5));
  EXPECT_EQ(RegDeleteTreeA(key, "top"), 5);
  EXPECT_EQ(entries(), "KvIRegOpenKeyEx KvIRegEnumKeyEx KvIRegCloseKey KvIRegDeleteKey ");
  EXPECT_EQ(call(2).raw("key"), 0x77u);
  EXPECT_EQ(call(3).raw("key"), 0x1122334455667788u);
}

TEST_F(Failing_Entries, EndACopyAndCloseWhatWasOpened) {
  recording.script("KvIRegOpenKeyEx", answer_key(key_of(0x77)));
  recording.script("KvIRegEnumKeyEx", answer(1009));
  EXPECT_EQ(RegCopyTreeW(key, L"top", key), 1009);
  EXPECT_EQ(entries(), "KvIRegOpenKeyEx KvIRegEnumKeyEx KvIRegCloseKey ");
}

class Copied_Trees : public Fronts {};

TEST_F(Copied_Trees, MakeEachKeyOnce) {
  recording.script("KvIRegEnumKeyEx", [](const Call& call) {
    call.store<DWORD>("name_count", 1);
    call.write("name", "\0k\0\0"s);
    return 0;
  });
  recording.script("KvIRegEnumKeyEx", answer(259));
  recording.script("KvIRegEnumKeyEx", answer(259));
  recording.script("KvIRegQueryInfoKey", answer_empty(0));
  recording.script("KvIRegEnumValue", answer(259));
  recording.script("KvIRegEnumValue", answer(259));
  for (const std::uint64_t opened : {0x71, 0x72, 0x74, 0x75})
    recording.script("KvIRegOpenKeyEx", answer_key(key_of(opened)));
  recording.script("KvIRegCreateKeyEx", answer_key(key_of(0x73)));
  EXPECT_EQ(RegCopyTreeA(key, nullptr, key_of(0x99)), 0);
  EXPECT_EQ(entries(),
            "KvIRegEnumKeyEx KvIRegEnumKeyEx KvIRegOpenKeyEx KvIRegEnumKeyEx KvIRegCloseKey "
            "KvIRegOpenKeyEx KvIRegQueryInfoKey KvIRegCreateKeyEx KvIRegCloseKey KvIRegCloseKey "
            "KvIRegOpenKeyEx KvIRegOpenKeyEx KvIRegEnumValue KvIRegCloseKey KvIRegCloseKey KvIRegEnumValue ");
  EXPECT_EQ(call(7).raw("key"), 0x99u);
  EXPECT_EQ(call(7)["sub_key"].text, u"k");
}

TEST_F(Failing_Entries, OfTheValueAreTheAnswerOfStoringIt) {
  recording.script("KvIRegCreateKeyEx", answer_key(key_of(0x77)));
  recording.script("KvIRegSetValueEx", answer(112));
  EXPECT_EQ(RegSetKeyValueA(key, "s", "n", REG_BINARY, "1", 1), 112);
  EXPECT_EQ(entries(), "KvIRegCreateKeyEx KvIRegSetValueEx KvIRegCloseKey ");
  EXPECT_EQ(call(0).raw("access"), 2u);
}

TEST_F(Failing_Entries, OfMakingTheKeyLeaveTheValueAlone) {
  recording.script("KvIRegCreateKeyEx", answer(1018));
  recording.script("KvIRegCreateKeyEx", answer(5));
  EXPECT_EQ(RegSetKeyValueA(key, "s", "n", REG_BINARY, "1", 1), 1018);
  EXPECT_EQ(RegSetKeyValueW(key, L"s", L"n", REG_BINARY, "1", 1), 5);
  EXPECT_EQ(entries(), "KvIRegCreateKeyEx KvIRegCreateKeyEx ");
}

TEST_F(Failing_Entries, OfOpeningTheKeyLeaveTheValueAlone) {
  recording.script("KvIRegOpenKeyEx", answer(1018));
  EXPECT_EQ(RegDeleteKeyValueA(key, "s", "n"), 1018);
  EXPECT_EQ(entries(), "KvIRegOpenKeyEx ");
  EXPECT_EQ(call(0).raw("access"), 2u);
}

TEST_F(Failing_Entries, OfOpeningTellWhichViewWasAskedFor) {
  for (const DWORD view : {DWORD{0}, DWORD{RRF_SUBKEY_WOW6464KEY}, DWORD{RRF_SUBKEY_WOW6432KEY}}) {
    recording.script("KvIRegOpenKeyEx", answer(5));
    EXPECT_EQ(RegGetValueW(key, L"s", L"n", RRF_RT_ANY | view, nullptr, nullptr, nullptr), 5);
  }
  EXPECT_EQ(call(0).raw("access"), 0x001u);
  EXPECT_EQ(call(1).raw("access"), 0x101u);
  EXPECT_EQ(call(2).raw("access"), 0x201u);
}

TEST_F(Failing_Entries, OfOpeningEndAQuestionForAValue) {
  recording.script("KvIRegOpenKeyEx", answer(5));
  DWORD size = 9;
  EXPECT_EQ(RegGetValueA(key, "s", "n", RRF_RT_ANY | RRF_SUBKEY_WOW6464KEY, nullptr, nullptr, &size), 5);
  EXPECT_EQ(entries(), "KvIRegOpenKeyEx ");
  EXPECT_EQ(call(0).raw("access"), 0x101u);
  EXPECT_EQ(size, 9u);
}

}  // namespace
}  // namespace kvtest
