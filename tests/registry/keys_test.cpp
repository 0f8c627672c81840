// Opening, creating, closing and deleting keys, and the other fronts that only hand their arguments on.
#include "tests/registry/fronts.h"

#include <signal.h>

#include "tests/support/child.h"

namespace kvtest {
namespace {

class Open_Key_Ex : public Fronts {};
class Create_Key_Ex : public Fronts {};
class Open_Key : public Fronts {};
class Create_Key : public Fronts {};
class Forwarded : public Fronts {};

constexpr std::uint64_t root_keys[] = {0x80000000, 0x80000001, 0x80000002, 0x80000003, 0x80000004,
                                       0x80000005, 0x80000006, 0x80000050, 0x80000060};

constexpr std::uint64_t other_keys[] = {0x1234,     0x80000007, 0x8000004F,         0x80000051,         0x80000061,
                                        0x85000000, 0x2,        0xFFFFFFFF80000002, 0x0000000180000002, 0};

TEST_F(Open_Key_Ex, HandsEveryArgumentOn) {
  recording.script("KvIRegOpenKeyEx", answer_key(key_of(0xABCDEF0123456789)));
  HKEY opened = nullptr;
  EXPECT_EQ(RegOpenKeyExA(key, "Soft\\ware", 0x89ABCDEF, 0xF003F, &opened), 0);
  EXPECT_EQ(number_of(opened), 0xABCDEF0123456789u);
  ASSERT_EQ(entries(), "KvIRegOpenKeyEx ");
  EXPECT_EQ(call().raw("key"), 0x1122334455667788u);
  EXPECT_EQ(call()["sub_key"].text, u"Soft\\ware");
  EXPECT_EQ(call().raw("options"), 0x89ABCDEFu);
  EXPECT_EQ(call().raw("access"), 0xF003Fu);
  EXPECT_EQ(call().raw("out_key"), number_of(&opened));
  EXPECT_EQ(call().raw("null"), 0u);
}

TEST_F(Open_Key_Ex, ReturnsTheEntrysResultUnchanged) {
  recording.script("KvIRegOpenKeyEx", answer(2));
  recording.script("KvIRegOpenKeyEx", answer(1018));
  recording.script("KvIRegOpenKeyEx", answer(0xFFFFFFFF));
  HKEY opened = key_of(77);
  EXPECT_EQ(RegOpenKeyExA(key, "a", 0, 0, &opened), 2);
  EXPECT_EQ(RegOpenKeyExA(key, "a", 0, 0, &opened), 1018);
  EXPECT_EQ(RegOpenKeyExA(key, "a", 0, 0, &opened), -1);
  EXPECT_EQ(opened, key_of(77));
}

TEST_F(Open_Key_Ex, ANullSubKeyStaysNull) {
  EXPECT_EQ(RegOpenKeyExA(key, nullptr, 0, 0, nullptr), 0);
  EXPECT_EQ(call().raw("sub_key"), 0u);
}

TEST_F(Open_Key_Ex, AnEmptySubKeyIsAnEmptyText) {
  EXPECT_EQ(RegOpenKeyExA(key, "", 0, 0, nullptr), 0);
  EXPECT_TRUE(call()["sub_key"].has_text);
  EXPECT_EQ(call()["sub_key"].text, u"");
}

TEST_F(Open_Key_Ex, ChecksNeitherHandleNorResultPointer) {
  EXPECT_EQ(RegOpenKeyExA(nullptr, "a", 0, 0, nullptr), 0);
  EXPECT_EQ(RegOpenKeyExA(key, "a", 0, 0, unreadable<HKEY>(0x18)), 0);
  EXPECT_EQ(call(0).raw("key"), 0u);
  EXPECT_EQ(call(0).raw("out_key"), 0u);
  EXPECT_EQ(call(1).raw("out_key"), 0x18u);
}

TEST_F(Open_Key_Ex, MultiByteTextBecomesUnits) {
  RegOpenKeyExA(key, "Gr\xC3\xBC\xC3\x9F\xE2\x82\xAC", 0, 0, nullptr);
  EXPECT_EQ(call()["sub_key"].text, u"Gr\u00FC\u00DF\u20AC");
}

TEST_F(Open_Key_Ex, UndecodableBytesAreKeptAsUnitsOfTheirOwn) {
  RegOpenKeyExA(key, "a\xFFz\xC3", 0, 0, nullptr);
  EXPECT_EQ(call()["sub_key"].text, u"a\xDCFFz\xDCC3");
}

TEST_F(Open_Key_Ex, TheTextHandedOnIsHighByteFirst) {
  std::string raw;
  recording.script("KvIRegOpenKeyEx", [&](const Call& in) {
    raw.assign(in.pointer<char>("sub_key"), 6);
    return 0;
  });
  RegOpenKeyExA(key, "A\xE2\x82\xAC", 0, 0, nullptr);
  EXPECT_EQ(raw, "\x00\x41\x20\xAC\x00\x00"s);
}

TEST_F(Open_Key_Ex, NamesOnBothSidesOfTheInlineRoomArriveWhole) {
  for (std::size_t length : {2045u, 2046u, 2047u, 2048u, 16383u, 100000u}) {
    const std::string name = std::string(length - 1, 'n') + "!";
    recording.reset();
    EXPECT_EQ(RegOpenKeyExA(key, name.c_str(), 0, 0, nullptr), 0);
    EXPECT_EQ(call()["sub_key"].text, std::u16string(length - 1, u'n') + u"!") << length;
  }
}

TEST_F(Create_Key_Ex, HandsElevenArgumentsOn) {
  recording.script("KvIRegCreateKeyEx", [](const Call& in) {
    in.store("out_key", key_of(0x77));
    in.store<DWORD>("out_disposition", 1);
    return 0;
  });
  HKEY created = nullptr;
  DWORD disposition = 0;
  char class_name[] = "Klass";
  EXPECT_EQ(RegCreateKeyExA(key, "sub", 0x81000001, class_name, 0x82000002, 0x83000003,
                            unreadable<SECURITY_ATTRIBUTES>(0x8400000485000005), &created, &disposition),
            0);
  EXPECT_EQ(created, key_of(0x77));
  EXPECT_EQ(disposition, 1u);
  ASSERT_EQ(entries(), "KvIRegCreateKeyEx ");
  ASSERT_EQ(call().arguments.size(), 11u);
  EXPECT_EQ(call().raw("key"), 0x1122334455667788u);
  EXPECT_EQ(call()["sub_key"].text, u"sub");
  EXPECT_EQ(call().raw("reserved"), 0x81000001u);
  EXPECT_EQ(call()["class_name"].text, u"Klass");
  EXPECT_EQ(call().raw("options"), 0x82000002u);
  EXPECT_EQ(call().raw("access"), 0x83000003u);
  EXPECT_EQ(call().raw("security"), 0x8400000485000005u);
  EXPECT_EQ(call().raw("out_key"), number_of(&created));
  EXPECT_EQ(call().raw("out_disposition"), number_of(&disposition));
  EXPECT_EQ(call().raw("zero"), 0u);
  EXPECT_EQ(call().raw("null"), 0u);
}

TEST_F(Create_Key_Ex, NullPointersStayNull) {
  recording.script("KvIRegCreateKeyEx", answer(87));
  EXPECT_EQ(RegCreateKeyExA(nullptr, nullptr, 0, nullptr, 0, 0, nullptr, nullptr, nullptr), 87);
  for (const auto& argument : call().arguments) EXPECT_EQ(argument.raw, 0u) << argument.name;
}

// In a child: prints which of two addresses was read first.
void print_first_fault(char* first, const char* first_name, char* second, const char* second_name) {
  static char* addresses[2];
  static const char* names[2];
  addresses[0] = first, addresses[1] = second, names[0] = first_name, names[1] = second_name;
  struct sigaction action = {};
  action.sa_flags = SA_SIGINFO;
  action.sa_sigaction = [](int, siginfo_t* info, void*) {
    for (int i = 0; i < 2; ++i) {
      if (info->si_addr == addresses[i]) (void)!write(STDOUT_FILENO, names[i], strlen(names[i]));
    }
    _exit(0);
  };
  sigaction(SIGSEGV, &action, nullptr);
}

TEST_F(Create_Key_Ex, TheClassIsConvertedBeforeTheSubKey) {
  Guarded_Page sub_key, class_name;
  const Child_Result child = run_child([&] {
    print_first_fault(sub_key.end(), "sub-key", class_name.end(), "class");
    RegCreateKeyExA(key, sub_key.end(), 0, class_name.end(), 0, 0, nullptr, nullptr, nullptr);
  });
  EXPECT_EQ(child.out, "class");
}

TEST_F(Open_Key, ANullResultIsRefused) {
  EXPECT_EQ(RegOpenKeyA(key, "sub", nullptr), 87);
  EXPECT_EQ(RegOpenKeyA(HKEY_LOCAL_MACHINE, nullptr, nullptr), 87);
  EXPECT_EQ(RegOpenKeyA(key, unreadable<char>(0x10), nullptr), 87);
  EXPECT_EQ(entries(), "");
}

TEST_F(Open_Key, ASubKeyIsOpenedWithAllTheRightsThereAre) {
  recording.script("KvIRegOpenKeyEx", answer_key(key_of(0x99)));
  HKEY opened = nullptr;
  EXPECT_EQ(RegOpenKeyA(key, "sub", &opened), 0);
  EXPECT_EQ(opened, key_of(0x99));
  ASSERT_EQ(entries(), "KvIRegOpenKeyEx ");
  EXPECT_EQ(call().raw("key"), 0x1122334455667788u);
  EXPECT_EQ(call()["sub_key"].text, u"sub");
  EXPECT_EQ(call().raw("options"), 0u);
  EXPECT_EQ(call().raw("access"), 0x2000000u);
  EXPECT_EQ(call().raw("out_key"), number_of(&opened));
  EXPECT_EQ(call().raw("null"), 0u);
}

TEST_F(Open_Key, AFailureLeavesTheResultAsItWas) {
  recording.script("KvIRegOpenKeyEx", answer(5));
  HKEY opened = key_of(77);
  EXPECT_EQ(RegOpenKeyA(key, "sub", &opened), 5);
  EXPECT_EQ(opened, key_of(77));
}

TEST_F(Open_Key, ARootKeyWithoutSubKeyIsOpenedAnew) {
  for (std::uint64_t root : root_keys) {
    recording.reset();
    recording.script("KvIRegOpenKeyEx", answer_key(key_of(0x55)));
    recording.script("KvIRegOpenKeyEx", answer_key(key_of(0x56)));
    HKEY first = nullptr, second = nullptr;
    EXPECT_EQ(RegOpenKeyA(key_of(root), nullptr, &first), 0);
    EXPECT_EQ(RegOpenKeyA(key_of(root), "", &second), 0);
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

TEST_F(Open_Key, AnyOtherHandleWithoutSubKeyIsHandedBack) {
  for (std::uint64_t other : other_keys) {
    HKEY first = key_of(1), second = key_of(1);
    EXPECT_EQ(RegOpenKeyA(key_of(other), nullptr, &first), 0);
    EXPECT_EQ(RegOpenKeyA(key_of(other), "", &second), 0);
    EXPECT_EQ(number_of(first), other);
    EXPECT_EQ(number_of(second), other);
  }
  EXPECT_EQ(entries(), "");
}

TEST_F(Create_Key, ANullResultIsRefused) {
  EXPECT_EQ(RegCreateKeyA(key, "sub", nullptr), 87);
  EXPECT_EQ(RegCreateKeyA(key, nullptr, nullptr), 87);
  EXPECT_EQ(RegCreateKeyA(HKEY_USERS, nullptr, nullptr), 87);
  EXPECT_EQ(entries(), "");
}

TEST_F(Create_Key, ASubKeyIsCreatedWithAllTheRightsThereAre) {
  recording.script("KvIRegCreateKeyEx", answer_key(key_of(0x99)));
  HKEY created = nullptr;
  EXPECT_EQ(RegCreateKeyA(key, "sub", &created), 0);
  EXPECT_EQ(created, key_of(0x99));
  ASSERT_EQ(entries(), "KvIRegCreateKeyEx ");
  EXPECT_EQ(call().raw("key"), 0x1122334455667788u);
  EXPECT_EQ(call()["sub_key"].text, u"sub");
  EXPECT_EQ(call().raw("access"), 0x2000000u);
  EXPECT_EQ(call().raw("out_key"), number_of(&created));
  for (const char* name : {"reserved", "class_name", "options", "security", "out_disposition", "zero", "null"}) {
    EXPECT_EQ(call().raw(name), 0u) << name;
  }
}

TEST_F(Create_Key, AFailureLeavesTheResultAsItWas) {
  recording.script("KvIRegCreateKeyEx", answer(5));
  HKEY created = key_of(77);
  EXPECT_EQ(RegCreateKeyA(key, "sub", &created), 5);
  EXPECT_EQ(created, key_of(77));
}

TEST_F(Create_Key, ARootKeyWithoutSubKeyIsHandedBack) {
  for (std::uint64_t root : root_keys) {
    HKEY first = nullptr, second = nullptr;
    EXPECT_EQ(RegCreateKeyA(key_of(root), nullptr, &first), 0);
    EXPECT_EQ(RegCreateKeyA(key_of(root), "", &second), 0);
    EXPECT_EQ(number_of(first), root);
    EXPECT_EQ(number_of(second), root);
  }
  EXPECT_EQ(entries(), "");
}

TEST_F(Create_Key, AnyOtherHandleWithoutSubKeyIsABadKey) {
  for (std::uint64_t other : other_keys) {
    HKEY created = key_of(77);
    EXPECT_EQ(RegCreateKeyA(key_of(other), nullptr, &created), 1010) << std::hex << other;
    EXPECT_EQ(RegCreateKeyA(key_of(other), "", &created), 1010) << std::hex << other;
    EXPECT_EQ(created, key_of(77));
  }
  EXPECT_EQ(entries(), "");
}

// QUIRK open-create-empty-sub-key
TEST_F(Create_Key, AnEmptySubKeyIsTreatedInTheOppositeWayToOpening) {
  recording.script("KvIRegOpenKeyEx", answer_key(key_of(0x55)));
  HKEY opened_root = nullptr, created_root = nullptr, opened_key = nullptr, created_key = key_of(77);
  EXPECT_EQ(RegOpenKeyA(HKEY_LOCAL_MACHINE, "", &opened_root), 0);
  EXPECT_EQ(RegCreateKeyA(HKEY_LOCAL_MACHINE, "", &created_root), 0);
  EXPECT_EQ(RegOpenKeyA(key, "", &opened_key), 0);
  EXPECT_EQ(RegCreateKeyA(key, "", &created_key), 1010);
  EXPECT_EQ(opened_root, key_of(0x55));
  EXPECT_EQ(created_root, HKEY_LOCAL_MACHINE);
  EXPECT_EQ(opened_key, key);
  EXPECT_EQ(created_key, key_of(77));
  EXPECT_EQ(entries(), "KvIRegOpenKeyEx ");
}

TEST_F(Forwarded, DeleteKeyHandsTheNameOn) {
  recording.script("KvIRegDeleteKey", answer(5));
  EXPECT_EQ(RegDeleteKeyA(key, "old\\name"), 5);
  ASSERT_EQ(entries(), "KvIRegDeleteKey ");
  EXPECT_EQ(call().raw("key"), 0x1122334455667788u);
  EXPECT_EQ(call()["sub_key"].text, u"old\\name");
  EXPECT_EQ(call().raw("null"), 0u);
}

TEST_F(Forwarded, DeleteKeyLeavesANullNameToTheEntry) {
  recording.script("KvIRegDeleteKey", answer(87));
  EXPECT_EQ(RegDeleteKeyA(key, nullptr), 87);
  EXPECT_EQ(call().raw("sub_key"), 0u);
}

TEST_F(Forwarded, DeleteValueHandsTheNameOn) {
  recording.script("KvIRegDeleteValue", answer(2));
  EXPECT_EQ(RegDeleteValueA(key, "V\xC3\xA4lue"), 2);
  EXPECT_EQ(RegDeleteValueA(key, nullptr), 0);
  ASSERT_EQ(entries(), "KvIRegDeleteValue KvIRegDeleteValue ");
  EXPECT_EQ(call(0).raw("key"), 0x1122334455667788u);
  EXPECT_EQ(call(0)["value_name"].text, u"V\u00E4lue");
  EXPECT_EQ(call(0).raw("null"), 0u);
  EXPECT_EQ(call(1).raw("value_name"), 0u);
}

TEST_F(Forwarded, CloseKeyHandsAnyHandleOn) {
  recording.script("KvIRegCloseKey", answer(6));
  EXPECT_EQ(RegCloseKey(key), 6);
  EXPECT_EQ(RegCloseKey(HKEY_LOCAL_MACHINE), 0);
  EXPECT_EQ(RegCloseKey(nullptr), 0);
  ASSERT_EQ(entries(), "KvIRegCloseKey KvIRegCloseKey KvIRegCloseKey ");
  EXPECT_EQ(call(0).raw("key"), 0x1122334455667788u);
  EXPECT_EQ(call(0).raw("null"), 0u);
  EXPECT_EQ(call(1).raw("key"), 0x80000002u);
  EXPECT_EQ(call(2).raw("key"), 0u);
}

TEST_F(Forwarded, FlushKeyHandsTheHandleOn) {
  recording.script("KvIRegFlushKey", answer(112));
  EXPECT_EQ(RegFlushKey(key), 112);
  ASSERT_EQ(entries(), "KvIRegFlushKey ");
  EXPECT_EQ(call().raw("key"), 0x1122334455667788u);
  EXPECT_EQ(call().raw("null"), 0u);
}

TEST_F(Forwarded, SaveKeyHandsFileAndSecurityOn) {
  recording.script("KvIRegSaveKey", answer(183));
  EXPECT_EQ(RegSaveKeyA(key, "/tmp/\xC3\xA9.hive", unreadable<SECURITY_ATTRIBUTES>(0x8400000485000005)), 183);
  ASSERT_EQ(entries(), "KvIRegSaveKey ");
  EXPECT_EQ(call().raw("key"), 0x1122334455667788u);
  EXPECT_EQ(call()["file"].text, u"/tmp/\u00E9.hive");
  EXPECT_EQ(call().raw("security"), 0x8400000485000005u);
  EXPECT_EQ(call().raw("null"), 0u);
}

TEST_F(Forwarded, ConnectRegistryHandsTheMachineOn) {
  recording.script("KvIRegConnectRegistry", answer_key(key_of(0x66)));
  recording.script("KvIRegConnectRegistry", answer(53));
  HKEY connected = nullptr;
  EXPECT_EQ(RegConnectRegistryA("\\\\host", key, &connected), 0);
  EXPECT_EQ(connected, key_of(0x66));
  EXPECT_EQ(RegConnectRegistryA(nullptr, key, nullptr), 53);
  ASSERT_EQ(entries(), "KvIRegConnectRegistry KvIRegConnectRegistry ");
  EXPECT_EQ(call(0)["machine"].text, u"\\\\host");
  EXPECT_EQ(call(0).raw("key"), 0x1122334455667788u);
  EXPECT_EQ(call(0).raw("out_key"), number_of(&connected));
  EXPECT_EQ(call(0).raw("null"), 0u);
  EXPECT_EQ(call(1).raw("machine"), 0u);
  EXPECT_EQ(call(1).raw("out_key"), 0u);
}

TEST_F(Forwarded, NotifyChangeKeyValueHandsFlagsOnAsTheyAre) {
  recording.script("KvIRegNotifyChangeKeyValue", answer(6));
  EXPECT_EQ(RegNotifyChangeKeyValue(key, 7, 0x8000000F, unreadable<void>(0x8765432112345678), -1), 6);
  ASSERT_EQ(entries(), "KvIRegNotifyChangeKeyValue ");
  EXPECT_EQ(call().raw("key"), 0x1122334455667788u);
  EXPECT_EQ(call().raw("subtree"), 7u);
  EXPECT_EQ(call().raw("filter"), 0x8000000Fu);
  EXPECT_EQ(call().raw("event"), 0x8765432112345678u);
  EXPECT_EQ(call().raw("asynchronous"), 0xFFFFFFFFu);
  EXPECT_EQ(call().raw("null"), 0u);
}

}  // namespace
}  // namespace kvtest
