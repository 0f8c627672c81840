// The implementation table: its rows, and how they are filled from one library.
#include <gtest/gtest.h>

#include "tests/bootstrap/in_child.h"

namespace kvtest {
namespace {

const char* const names[] = {
    "KvIRegCreateKeyEx",
    "KvIRegDeleteKey",
    "KvIRegDeleteValue",
    "KvIRegEnumKeyEx",
    "KvIRegEnumValue",
    "KvIRegOpenKeyEx",
    "KvIRegQueryInfoKey",
    "KvIRegQueryValueEx",
    "KvIRegSetValueEx",
    "KvIRegCloseKey",
    "KvIRegLoadKey",
    "KvIRegGetKeySecurity",
    "KvIRegSaveKey",
    "KvIRegNotifyChangeKeyValue",
    "KvIRegFlushKey",
    "KvIRegConnectRegistry",
    "KvIRegSetKeySecurity",
    "KvIRegProcessStarting",
    "KvIRegProcessEnding",
    "KvIRegShutDown",
    "KvIRegBackup",
    "KvIRegGetHKCU",
    "KvIRegListConnected",
    "KvIRegUxChmod",
    "KvIRegUxChown",
    "KvIRegUxChgrp",
    "KvIRegUxDescribeKey",
    "KvIRegUxGetLogSettings",
    "KvISetServiceData",
    "KvIGetServiceData",
    "KvILsaCallAuthenticationPackage",
    "KvILsaLogonUser",
    "KvILsaQueryInformationPolicy",
    "KvILsaInit",
    "KvIIsAdministrator",
    "KvIMapImpersonatedUser",
    "KvIGetImpersonatedUserInfo",
    "KvIRefreshSecData",
    "KvIOnLoadDll",
    "KvIRequestNotification",
    "KvIReportNotification",
    "KvIAutoReportNotification",
};

TEST(Table, HasFortyTwoUnboundRowsAndAnEndMarker) {
  ASSERT_EQ(std::size(names), 42u);
  for (int i = 0; i < 42; ++i) {
    EXPECT_STREQ(KvIRegFunctions[i].name, names[i]);
    EXPECT_EQ(KvIRegFunctions[i].entry, nullptr) << names[i];
  }
  EXPECT_STREQ(KvIRegFunctions[42].name, "LastFunc");
  EXPECT_EQ(KvIRegFunctions[42].entry, nullptr);
}

TEST(Table, IsFilledInOrderByLookingUpEveryNameButTheEndMarker) {
  const Child_Result child = run_child([] {
    choose_witness("1");
    HMODULE library = LoadLibraryA("advapi32impl.dll");
    tell_lookups();
    KvRegInitializeWrappers(library, "advapi32impl.dll");
  });
  std::string lookups;
  for (const char* name : names) lookups += name + std::string("\n");
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, lookups);
}

TEST(Table, HoldsTheAddressesOfTheLibrarysEntries) {
  const Child_Result child = run_child([] {
    choose_witness("1");
    HMODULE library = LoadLibraryA("advapi32impl.dll");
    KvRegInitializeWrappers(library, "advapi32impl.dll");
    int right = 0;
    for (int i = 0; i < 42; ++i)
      right += KvIRegFunctions[i].entry == reinterpret_cast<void*>(GetProcAddress(library, names[i]));
    say("%d %s\n", right, KvIRegFunctions[42].entry == nullptr ? "null" : "bound");
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "42 null\n");
}

TEST(Table, FillingItNeitherCallsTheLibraryNorBringsTheRegistryToLife) {
  Temp_Folder folder;
  const Child_Result child = run_child([&] {
    setenv("KVTEST_RECORD", (folder / "record").c_str(), 1);
    choose_witness("1");
    KvRegInitializeWrappers(LoadLibraryA("advapi32impl.dll"), "advapi32impl.dll");
    say("%d %d\n", KvRegistryIsInitialized, KvRegistryIsAlive());
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "0 0\n");
  EXPECT_FALSE(std::filesystem::exists(folder / "record"));
}

TEST(Table, EveryEntryOfASecondLibraryReplacesThatOfTheFirst) {
  const Child_Result child = run_child([] {
    choose_witness("1");
    KvRegInitializeWrappers(LoadLibraryA("advapi32impl.dll"), "advapi32impl.dll");
    HMODULE second = LoadLibraryA("advapi32client.dll");
    KvRegInitializeWrappers(second, "advapi32client.dll");
    int right = 0;
    for (int i = 0; i < 42; ++i)
      right += KvIRegFunctions[i].entry == reinterpret_cast<void*>(GetProcAddress(second, names[i]));
    say("%d\n", right);
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "42\n");
}

}  // namespace
}  // namespace kvtest
