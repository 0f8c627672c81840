// Opening, creating and deleting keys by wide names, and the other wide fronts that only hand their arguments
// on or do nothing.
#include <signal.h>

#include "tests/registry/fronts.h"
#include "tests/support/child.h"

namespace kvtest {
namespace {

class Wide_Open_Key_Ex : public Fronts {};
class Wide_Create_Key_Ex : public Fronts {};
class Wide_Open_Key : public Fronts {};
class Wide_Create_Key : public Fronts {};
class Wide_Forwarded : public Fronts {};
class Wide_Not_Implemented : public Fronts {
 protected:
  std::string reports() const {
    std::string names;
    for (const std::string& name : reported_names()) names += name + " ";
    return names;
  }
  const wchar_t* const nowhere = unreadable<const wchar_t>(0x10);
};

constexpr std::uint64_t root_keys[] = {0x80000000, 0x80000001, 0x80000002, 0x80000003, 0x80000004,
                                       0x80000005, 0x80000006, 0x80000050, 0x80000060};

constexpr std::uint64_t other_keys[] = {0x1234,     0x80000007, 0x8000004F,         0x80000051,         0x80000061,
                                        0x85000000, 0x2,        0xFFFFFFFF80000002, 0x0000000180000002, 0};

TEST_F(Wide_Open_Key_Ex, HandsEveryArgumentOn) {
  recording.script("KvIRegOpenKeyEx", answer_key(key_of(0xABCDEF0123456789)));
  HKEY opened = nullptr;
  EXPECT_EQ(RegOpenKeyExW(key, L"Soft\\w\u00E4re", 0x89ABCDEF, 0xF003F, &opened), 0);
  EXPECT_EQ(number_of(opened), 0xABCDEF0123456789u);
  ASSERT_EQ(entries(), "KvIRegOpenKeyEx ");
  ASSERT_EQ(call().arguments.size(), 6u);
  EXPECT_EQ(call().raw("key"), 0x1122334455667788u);
  EXPECT_EQ(call()["sub_key"].text, u"Soft\\w\u00E4re");
  EXPECT_EQ(call().raw("options"), 0x89ABCDEFu);
  EXPECT_EQ(call().raw("access"), 0xF003Fu);
  EXPECT_EQ(call().raw("out_key"), number_of(&opened));
  EXPECT_EQ(call().raw("null"), 0u);
}

TEST_F(Wide_Open_Key_Ex, ReturnsTheEntrysResultUnchanged) {
  for (DWORD code : {2u, 1018u, 0xFFFFFFFFu}) {
    recording.script("KvIRegOpenKeyEx", answer(code));
    HKEY opened = key_of(77);
    EXPECT_EQ(RegOpenKeyExW(key, L"a", 0, 0, &opened), static_cast<LSTATUS>(code));
    EXPECT_EQ(opened, key_of(77));
  }
}

TEST_F(Wide_Open_Key_Ex, ANullSubKeyStaysNullAndAnEmptyOneIsAnEmptyText) {
  EXPECT_EQ(RegOpenKeyExW(key, nullptr, 0, 0, nullptr), 0);
  EXPECT_EQ(RegOpenKeyExW(key, L"", 0, 0, nullptr), 0);
  EXPECT_EQ(call(0).raw("sub_key"), 0u);
  EXPECT_TRUE(call(1)["sub_key"].has_text);
  EXPECT_EQ(call(1)["sub_key"].text, u"");
}

TEST_F(Wide_Open_Key_Ex, ChecksNeitherHandleNorResultPointer) {
  EXPECT_EQ(RegOpenKeyExW(nullptr, L"a", 0, 0, nullptr), 0);
  EXPECT_EQ(RegOpenKeyExW(key, L"a", 0, 0, unreadable<HKEY>(0x18)), 0);
  EXPECT_EQ(call(0).raw("key"), 0u);
  EXPECT_EQ(call(0).raw("out_key"), 0u);
  EXPECT_EQ(call(1).raw("out_key"), 0x18u);
}

TEST_F(Wide_Open_Key_Ex, TheTextHandedOnIsHighByteFirstAndTerminated) {
  std::string raw;
  recording.script("KvIRegOpenKeyEx", [&](const Call& in) {
    raw.assign(in.pointer<char>("sub_key"), 6);
    return 0;
  });
  RegOpenKeyExW(key, L"A\u20AC", 0, 0, nullptr);
  EXPECT_EQ(raw, "\x00\x41\x20\xAC\x00\x00"s);
}

TEST_F(Wide_Open_Key_Ex, ACharacterAboveTheSixteenBitsLosesItsUpperBits) {
  RegOpenKeyExW(key, L"a\U0001F600z", 0, 0, nullptr);
  EXPECT_EQ(call()["sub_key"].text, u"a\xF600z");
}

TEST_F(Wide_Open_Key_Ex, LoneSurrogatesAreKept) {
  const wchar_t name[] = {0xDCFF, 0xD83D, 0};
  RegOpenKeyExW(key, name, 0, 0, nullptr);
  EXPECT_EQ(call()["sub_key"].text, (std::u16string{0xDCFF, 0xD83D}));
}

TEST_F(Wide_Open_Key_Ex, NamesOfAnyLengthArriveWhole) {
  for (std::size_t length : {1u, 15u, 16u, 17u, 2046u, 2047u, 2048u, 16383u, 100000u}) {
    recording.reset();
    EXPECT_EQ(RegOpenKeyExW(key, (std::wstring(length - 1, L'n') + L"!").c_str(), 0, 0, nullptr), 0);
    EXPECT_EQ(call()["sub_key"].text, std::u16string(length - 1, u'n') + u"!") << length;
  }
}

TEST_F(Wide_Open_Key_Ex, ANameIsReadNoFurtherThanItsTerminator) {
  Guarded_Page page;
  const wchar_t name[] = L"ab";
  char* const at_the_end = page.ending_with(std::string(reinterpret_cast<const char*>(name), sizeof name));
  EXPECT_EQ(RegOpenKeyExW(key, reinterpret_cast<const wchar_t*>(at_the_end), 0, 0, nullptr), 0);
  EXPECT_EQ(call()["sub_key"].text, u"ab");
}

TEST_F(Wide_Create_Key_Ex, HandsElevenArgumentsOn) {
  recording.script("KvIRegCreateKeyEx", [](const Call& in) {
    in.store("out_key", key_of(0x77));
    in.store<DWORD>("out_disposition", 1);
    return 0;
  });
  HKEY created = nullptr;
  DWORD disposition = 0;
  wchar_t class_name[] = L"Kl\u00E4sse";
  EXPECT_EQ(RegCreateKeyExW(key, L"s\u00FC", 0x81000001, class_name, 0x82000002, 0x83000003,
                            unreadable<SECURITY_ATTRIBUTES>(0x8400000485000005), &created, &disposition),
            0);
  EXPECT_EQ(created, key_of(0x77));
  EXPECT_EQ(disposition, 1u);
  ASSERT_EQ(entries(), "KvIRegCreateKeyEx ");
  ASSERT_EQ(call().arguments.size(), 11u);
  EXPECT_EQ(call().raw("key"), 0x1122334455667788u);
  EXPECT_EQ(call()["sub_key"].text, u"s\u00FC");
  EXPECT_EQ(call().raw("reserved"), 0x81000001u);
  EXPECT_EQ(call()["class_name"].text, u"Kl\u00E4sse");
  EXPECT_EQ(call().raw("options"), 0x82000002u);
  EXPECT_EQ(call().raw("access"), 0x83000003u);
  EXPECT_EQ(call().raw("security"), 0x8400000485000005u);
  EXPECT_EQ(call().raw("out_key"), number_of(&created));
  EXPECT_EQ(call().raw("out_disposition"), number_of(&disposition));
  EXPECT_EQ(call().raw("zero"), 0u);
  EXPECT_EQ(call().raw("null"), 0u);
}

TEST_F(Wide_Create_Key_Ex, NullPointersStayNull) {
  recording.script("KvIRegCreateKeyEx", answer(87));
  EXPECT_EQ(RegCreateKeyExW(nullptr, nullptr, 0, nullptr, 0, 0, nullptr, nullptr, nullptr), 87);
  for (const auto& argument : call().arguments) EXPECT_EQ(argument.raw, 0u) << argument.name;
}

// In a child: ends with 41 when the first fault is at this address, with 42 when it is elsewhere.
void end_at_fault(void* address) {
  static void* expected;
  expected = address;
  struct sigaction action = {};
  action.sa_flags = SA_SIGINFO;
  action.sa_sigaction = [](int, siginfo_t* info, void*) { _exit(info->si_addr == expected ? 41 : 42); };
  sigaction(SIGSEGV, &action, nullptr);
}

TEST_F(Wide_Create_Key_Ex, TheClassIsConvertedBeforeTheSubKey) {
  Guarded_Page sub_key, class_name;
  const Child_Result child = run_child([&] {
    end_at_fault(class_name.end());
    RegCreateKeyExW(key, reinterpret_cast<wchar_t*>(sub_key.end()), 0, reinterpret_cast<wchar_t*>(class_name.end()), 0,
                    0, nullptr, nullptr, nullptr);
  });
  EXPECT_EQ(child.exit_status, 41);
}

TEST_F(Wide_Open_Key, ANullResultIsRefused) {
  EXPECT_EQ(RegOpenKeyW(key, L"sub", nullptr), 87);
  EXPECT_EQ(RegOpenKeyW(HKEY_LOCAL_MACHINE, nullptr, nullptr), 87);
  EXPECT_EQ(RegOpenKeyW(key, unreadable<wchar_t>(0x10), nullptr), 87);
  EXPECT_EQ(entries(), "");
}

TEST_F(Wide_Open_Key, ASubKeyIsOpenedWithAllTheRightsThereAre) {
  recording.script("KvIRegOpenKeyEx", answer_key(key_of(0x99)));
  HKEY opened = nullptr;
  EXPECT_EQ(RegOpenKeyW(key, L"s\u20AC", &opened), 0);
  EXPECT_EQ(opened, key_of(0x99));
  ASSERT_EQ(entries(), "KvIRegOpenKeyEx ");
  EXPECT_EQ(call().raw("key"), 0x1122334455667788u);
  EXPECT_EQ(call()["sub_key"].text, u"s\u20AC");
  EXPECT_EQ(call().raw("options"), 0u);
  EXPECT_EQ(call().raw("access"), 0x2000000u);
  EXPECT_EQ(call().raw("out_key"), number_of(&opened));
  EXPECT_EQ(call().raw("null"), 0u);
}

TEST_F(Wide_Open_Key, AFailureLeavesTheResultAsItWas) {
  recording.script("KvIRegOpenKeyEx", answer(5));
  HKEY opened = key_of(77);
  EXPECT_EQ(RegOpenKeyW(key, L"sub", &opened), 5);
  EXPECT_EQ(opened, key_of(77));
}

TEST_F(Wide_Open_Key, ARootKeyWithoutSubKeyIsOpenedAnew) {
  for (std::uint64_t root : root_keys) {
    recording.reset();
    recording.script("KvIRegOpenKeyEx", answer_key(key_of(0x55)));
    recording.script("KvIRegOpenKeyEx", answer_key(key_of(0x56)));
    HKEY first = nullptr, second = nullptr;
    EXPECT_EQ(RegOpenKeyW(key_of(root), nullptr, &first), 0);
    EXPECT_EQ(RegOpenKeyW(key_of(root), L"", &second), 0);
    EXPECT_EQ(first, key_of(0x55));
    EXPECT_EQ(second, key_of(0x56));
    ASSERT_EQ(entries(), "KvIRegOpenKeyEx KvIRegOpenKeyEx ") << std::hex << root;
    EXPECT_EQ(call(0).raw("key"), root);
    EXPECT_EQ(call(0).raw("sub_key"), 0u);
    EXPECT_EQ(call(0).raw("access"), 0x2000000u);
    EXPECT_TRUE(call(1)["sub_key"].has_text);
    EXPECT_EQ(call(1)["sub_key"].text, u"");
  }
}

TEST_F(Wide_Open_Key, AnyOtherHandleWithoutSubKeyIsHandedBack) {
  for (std::uint64_t other : other_keys) {
    HKEY first = key_of(1), second = key_of(1);
    EXPECT_EQ(RegOpenKeyW(key_of(other), nullptr, &first), 0);
    EXPECT_EQ(RegOpenKeyW(key_of(other), L"", &second), 0);
    EXPECT_EQ(number_of(first), other);
    EXPECT_EQ(number_of(second), other);
  }
  EXPECT_EQ(entries(), "");
}

TEST_F(Wide_Create_Key, ASubKeyIsCreatedWithAllTheRightsThereAre) {
  recording.script("KvIRegCreateKeyEx", answer_key(key_of(0x99)));
  HKEY created = nullptr;
  EXPECT_EQ(RegCreateKeyW(key, L"s\u20AC", &created), 0);
  EXPECT_EQ(created, key_of(0x99));
  ASSERT_EQ(entries(), "KvIRegCreateKeyEx ");
  EXPECT_EQ(call().raw("key"), 0x1122334455667788u);
  EXPECT_EQ(call()["sub_key"].text, u"s\u20AC");
  EXPECT_EQ(call().raw("access"), 0x2000000u);
  EXPECT_EQ(call().raw("out_key"), number_of(&created));
  for (const char* name : {"reserved", "class_name", "options", "security", "out_disposition", "zero", "null"}) {
    EXPECT_EQ(call().raw(name), 0u) << name;
  }
}

TEST_F(Wide_Create_Key, AFailureLeavesTheResultAsItWas) {
  recording.script("KvIRegCreateKeyEx", answer(5));
  HKEY created = key_of(77);
  EXPECT_EQ(RegCreateKeyW(key, L"sub", &created), 5);
  EXPECT_EQ(created, key_of(77));
}

// QUIRK create-key-wide-unchecked
TEST_F(Wide_Create_Key, NothingIsCheckedAndEverythingIsForwarded) {
  EXPECT_EQ(RegCreateKeyW(key, L"sub", nullptr), 0);
  EXPECT_EQ(call().raw("out_key"), 0u);
  for (HKEY which : {key, HKEY_LOCAL_MACHINE, key_of(0)}) {
    recording.reset();
    recording.script("KvIRegCreateKeyEx", answer_key(key_of(0x55)));
    recording.script("KvIRegCreateKeyEx", answer(1010));
    HKEY first = nullptr, second = key_of(77);
    EXPECT_EQ(RegCreateKeyW(which, nullptr, &first), 0);
    EXPECT_EQ(RegCreateKeyW(which, L"", &second), 1010);
    EXPECT_EQ(first, key_of(0x55));
    EXPECT_EQ(second, key_of(77));
    ASSERT_EQ(entries(), "KvIRegCreateKeyEx KvIRegCreateKeyEx ");
    EXPECT_EQ(call(0).raw("key"), number_of(which));
    EXPECT_EQ(call(0).raw("sub_key"), 0u);
    EXPECT_EQ(call(0).raw("access"), 0x2000000u);
    EXPECT_TRUE(call(1)["sub_key"].has_text);
    EXPECT_EQ(call(1)["sub_key"].text, u"");
  }
}

TEST_F(Wide_Forwarded, DeleteKeyHandsTheNameOn) {
  recording.script("KvIRegDeleteKey", answer(5));
  recording.script("KvIRegDeleteKey", answer(87));
  EXPECT_EQ(RegDeleteKeyW(key, L"old\\n\u00E4me"), 5);
  EXPECT_EQ(RegDeleteKeyW(key, nullptr), 87);
  ASSERT_EQ(entries(), "KvIRegDeleteKey KvIRegDeleteKey ");
  EXPECT_EQ(call(0).raw("key"), 0x1122334455667788u);
  EXPECT_EQ(call(0)["sub_key"].text, u"old\\n\u00E4me");
  EXPECT_EQ(call(0).raw("null"), 0u);
  EXPECT_EQ(call(1).raw("sub_key"), 0u);
}

TEST_F(Wide_Forwarded, DeleteValueHandsTheNameOn) {
  recording.script("KvIRegDeleteValue", answer(2));
  EXPECT_EQ(RegDeleteValueW(key, L"V\u00E4lue"), 2);
  EXPECT_EQ(RegDeleteValueW(key, nullptr), 0);
  ASSERT_EQ(entries(), "KvIRegDeleteValue KvIRegDeleteValue ");
  EXPECT_EQ(call(0).raw("key"), 0x1122334455667788u);
  EXPECT_EQ(call(0)["value_name"].text, u"V\u00E4lue");
  EXPECT_EQ(call(0).raw("null"), 0u);
  EXPECT_EQ(call(1).raw("value_name"), 0u);
}

TEST_F(Wide_Forwarded, SaveKeyHandsFileAndSecurityOn) {
  recording.script("KvIRegSaveKey", answer(183));
  EXPECT_EQ(RegSaveKeyW(key, L"/tmp/\u00E9.hive", unreadable<SECURITY_ATTRIBUTES>(0x8400000485000005)), 183);
  EXPECT_EQ(RegSaveKeyW(key, nullptr, nullptr), 0);
  ASSERT_EQ(entries(), "KvIRegSaveKey KvIRegSaveKey ");
  EXPECT_EQ(call(0).raw("key"), 0x1122334455667788u);
  EXPECT_EQ(call(0)["file"].text, u"/tmp/\u00E9.hive");
  EXPECT_EQ(call(0).raw("security"), 0x8400000485000005u);
  EXPECT_EQ(call(0).raw("null"), 0u);
  EXPECT_EQ(call(1).raw("file"), 0u);
  EXPECT_EQ(call(1).raw("security"), 0u);
}

TEST_F(Wide_Forwarded, ConnectRegistryHandsTheMachineOn) {
  recording.script("KvIRegConnectRegistry", answer_key(key_of(0x66)));
  recording.script("KvIRegConnectRegistry", answer(53));
  HKEY connected = nullptr;
  EXPECT_EQ(RegConnectRegistryW(L"\\\\h\u00F6st\u20AC", key, &connected), 0);
  EXPECT_EQ(connected, key_of(0x66));
  EXPECT_EQ(RegConnectRegistryW(nullptr, key, nullptr), 53);
  ASSERT_EQ(entries(), "KvIRegConnectRegistry KvIRegConnectRegistry ");
  EXPECT_EQ(call(0)["machine"].text, u"\\\\h\u00F6st\u20AC");
  EXPECT_EQ(call(0).raw("key"), 0x1122334455667788u);
  EXPECT_EQ(call(0).raw("out_key"), number_of(&connected));
  EXPECT_EQ(call(0).raw("null"), 0u);
  EXPECT_EQ(call(1).raw("machine"), 0u);
  EXPECT_EQ(call(1).raw("out_key"), 0u);
}

TEST_F(Wide_Forwarded, AMachineOfAnyLengthArrivesWhole) {
  for (std::size_t length : {0u, 1u, 2047u, 2048u, 70000u}) {
    recording.reset();
    EXPECT_EQ(RegConnectRegistryW(std::wstring(length, L'\u20AC').c_str(), key, nullptr), 0);
    EXPECT_TRUE(call()["machine"].has_text);
    EXPECT_EQ(call()["machine"].text, std::u16string(length, u'\u20AC')) << length;
  }
}

// Two units that stand for the bytes of one character become that character.
TEST_F(Wide_Forwarded, AMachineGoesThroughMultiByteText) {
  const wchar_t machine[] = {L'm', 0xDCC3, 0xDCA9, 0};
  EXPECT_EQ(RegConnectRegistryW(machine, key, nullptr), 0);
  EXPECT_EQ(call()["machine"].text, u"m\u00E9");
}

// QUIRK load-key-ansi-name
TEST_F(Wide_Not_Implemented, LoadKeyReportsTheAnsiName) {
  EXPECT_EQ(RegLoadKeyW(key, L"sub", L"file"), 0);
  EXPECT_EQ(reports(), "RegLoadKeyA ");
  EXPECT_EQ(entries(), "");
}

TEST_F(Wide_Not_Implemented, LoadKeyTakesNullAndMultiByteNamesOfAnyLength) {
  EXPECT_EQ(RegLoadKeyW(nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(RegLoadKeyW(key, L"sch\u00F6n", L"/tmp/\u20AC\U0001F600.hive"), 0);
  const std::wstring name(70000, L'\u20AC');
  EXPECT_EQ(RegLoadKeyW(key, name.c_str(), name.c_str()), 0);
  EXPECT_EQ(reports(), "RegLoadKeyA RegLoadKeyA RegLoadKeyA ");
  EXPECT_EQ(entries(), "");
}

TEST_F(Wide_Not_Implemented, ReplaceKeyReportsItsName) {
  EXPECT_EQ(RegReplaceKeyW(key, nowhere, nowhere, nowhere), 0);
  EXPECT_EQ(reports(), "RegReplaceKeyW ");
  EXPECT_EQ(entries(), "");
}

TEST_F(Wide_Not_Implemented, RestoreKeyReportsItsName) {
  EXPECT_EQ(RegRestoreKeyW(key, nowhere, 0xFFFFFFFF), 0);
  EXPECT_EQ(reports(), "RegRestoreKeyW ");
  EXPECT_EQ(entries(), "");
}

TEST_F(Wide_Not_Implemented, UnLoadKeyReportsItsName) {
  EXPECT_EQ(RegUnLoadKeyW(key, nowhere), 0);
  EXPECT_EQ(reports(), "RegUnLoadKeyW ");
  EXPECT_EQ(entries(), "");
}

TEST_F(Wide_Not_Implemented, EveryCallReports) {
  for (int i = 0; i < 2; ++i) {
    RegRestoreKeyW(nullptr, nullptr, 0);
    RegUnLoadKeyW(nullptr, nullptr);
  }
  EXPECT_EQ(reports(), "RegRestoreKeyW RegUnLoadKeyW RegRestoreKeyW RegUnLoadKeyW ");
}

}  // namespace
}  // namespace kvtest
