// COM permissions in a real registry, one edit after the other.
#include <kelvane/security.h>

#include "tests/security/guarded.h"

namespace kvtest {
namespace {

class Stored_Permissions : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(RegCreateKeyA(HKEY_LOCAL_MACHINE, "Software\\Microsoft\\Ole", &machine), 0);
    for (const char* name : {"DefaultAccessPermission", "DefaultLaunchPermission"}) RegDeleteValueA(machine, name);
    SetLastError(0x5A5A);
  }
  void TearDown() override { RegCloseKey(machine); }

  static std::string value(HKEY key, const char* name) {
    Guarded room(bytes("ee*4096"));
    DWORD size = 4096, type = 0;
    const LSTATUS result = RegQueryValueExA(key, name, nullptr, &type, room.as<BYTE>(), &size);
    if (result != 0) return "code " + std::to_string(result);
    EXPECT_EQ(type, 3u);
    return hex(room.content().substr(0, size));
  }

  HKEY machine = nullptr;
};

std::string in_hex(const char* content) { return hex(bytes(content)); }

const char* const header_of_64 = "01 00 80 00 00*4  00 00 00 28 00*4  00 00 00 34 00*4  00*16 ";

TEST_F(Stored_Permissions, BeginWithTheFirstUserOfTheMachine) {
  const DWORD user = 500;
  EXPECT_EQ(KvSecDescAddPrincipal(nullptr, &user, 1, nullptr, 0, KV_COM_ACCESS, KV_COM_STORED_OR_NEW), 1);
  EXPECT_EQ(GetLastError(), 0x5A5Au);
  EXPECT_EQ(value(machine, "DefaultAccessPermission"),
            in_hex((std::string(header_of_64) + "01 01 00*6 00 00 01 f4  01 01 00*6 ff ff ff f0").c_str()));
  EXPECT_EQ(value(machine, "DefaultLaunchPermission"), "code 2");
}

TEST_F(Stored_Permissions, AreEditedAgainAndAgain) {
  const DWORD users[] = {500, 501}, groups[] = {100};
  ASSERT_EQ(KvSecDescAddPrincipal(nullptr, users, 2, groups, 1, 3, KV_COM_NEW), 1);
  ASSERT_EQ(KvSecDescRemovePrincipal(nullptr, users, 1, groups, 1, 3, KV_COM_STORED), 1);
  const std::string only_501 = std::string(header_of_64) + "01 01 00*6 00 00 01 f5  01 01 00*6 ff ff ff f0";
  EXPECT_EQ(value(machine, "DefaultAccessPermission"), in_hex(only_501.c_str()));
  EXPECT_EQ(value(machine, "DefaultLaunchPermission"), in_hex(only_501.c_str()));
  ASSERT_EQ(KvSecDescAddPrincipal(nullptr, nullptr, 0, groups, 1, 2, KV_COM_STORED), 1);
  EXPECT_EQ(value(machine, "DefaultLaunchPermission"),
            in_hex((std::string(header_of_64) + "01 01 00*6 00 00 01 f5  01 01 00*6 00 00 00 64").c_str()));
  ASSERT_EQ(KvSecDescAddPrincipal(nullptr, nullptr, 0xFFFFFFFF, nullptr, 0xFFFFFFFF, 1, KV_COM_STORED), 1);
  EXPECT_EQ(value(machine, "DefaultAccessPermission"),
            in_hex((std::string(header_of_64) + "01 01 00*6 ff*4  01 01 00*6 ff*4").c_str()));
  EXPECT_EQ(KvSecDescRemovePrincipal(nullptr, users, 1, nullptr, 0, 1, KV_COM_STORED), 0);
  EXPECT_EQ(GetLastError(), 0x80070057u);
}

TEST_F(Stored_Permissions, OfAnApplicationLieInItsOwnKey) {
  const GUID id = {0x00112233, 0x4455, 0x6677, {0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0x0F}};
  const DWORD user = 500;
  EXPECT_EQ(KvSecDescAddPrincipal(&id, &user, 1, nullptr, 0, KV_COM_LAUNCH, KV_COM_NEW), 0);
  EXPECT_EQ(GetLastError(), 2u);
  HKEY application = nullptr;
  ASSERT_EQ(RegCreateKeyA(HKEY_CLASSES_ROOT, "AppID\\{00112233-4455-6677-8899-aabbccddee0f}", &application), 0);
  EXPECT_EQ(KvSecDescAddPrincipal(&id, &user, 1, nullptr, 0, KV_COM_LAUNCH, KV_COM_NEW), 1);
  EXPECT_EQ(value(application, "LaunchPermission"),
            in_hex((std::string(header_of_64) + "01 01 00*6 00 00 01 f4  01 01 00*6 ff ff ff f0").c_str()));
  EXPECT_EQ(value(application, "AccessPermission"), "code 2");
  EXPECT_EQ(value(machine, "DefaultLaunchPermission"), "code 2");
  RegCloseKey(application);
}

TEST_F(Stored_Permissions, HoldTwoHundredAndFiftyFiveUsersAndGroups) {
  DWORD ids[256];
  for (DWORD i = 0; i < 256; ++i) ids[i] = 1000 + i;
  EXPECT_EQ(KvSecDescAddPrincipal(nullptr, ids, 255, ids, 255, KV_COM_ACCESS, KV_COM_NEW), 1);
  EXPECT_EQ(value(machine, "DefaultAccessPermission").size(), 3u * (40 + 1028 + 1028));
  EXPECT_EQ(KvSecDescAddPrincipal(nullptr, ids + 255, 1, nullptr, 0, KV_COM_ACCESS, KV_COM_STORED), 0);
  EXPECT_EQ(GetLastError(), 84u);
  EXPECT_EQ(KvSecDescRemovePrincipal(nullptr, ids, 255, ids, 255, KV_COM_ACCESS, KV_COM_STORED), 1);
  EXPECT_EQ(value(machine, "DefaultAccessPermission"),
            in_hex((std::string(header_of_64) + "01 01 00*6 ff ff ff f0  01 01 00*6 ff ff ff f0").c_str()));
}

TEST_F(Stored_Permissions, ThatAreNoDescriptorsAreRefusedAndKept) {
  ASSERT_EQ(RegSetValueExA(machine, "DefaultAccessPermission", 0, REG_BINARY,
                           reinterpret_cast<const BYTE*>("no descriptor at all"), 20),
            0);
  const DWORD user = 500;
  EXPECT_EQ(KvSecDescAddPrincipal(nullptr, &user, 1, nullptr, 0, KV_COM_ACCESS, KV_COM_STORED), 0);
  EXPECT_EQ(GetLastError(), 0x80040153u);
  EXPECT_EQ(value(machine, "DefaultAccessPermission"), hex("no descriptor at all"));
}

}  // namespace
}  // namespace kvtest
