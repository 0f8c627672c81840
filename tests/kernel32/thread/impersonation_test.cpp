#include <gtest/gtest.h>
#include <kelvane/impersonation.h>
#include <string.h>
#include <winbase.h>

#include <thread>

#include "tests/support/child.h"
#include "tests/support/private_users.h"

namespace {

// Runs the function in a child that has these lines of passwd; skips the test with the reason where a process may
// have no /etc of its own.
#define RUN_WITH_USERS(result, passwd, function)                                      \
  kvtest::Temp_Folder etc_folder;                                                     \
  const kvtest::Child_Result result = kvtest::run_child([&] {                         \
    const std::string no = kvtest::put_users_over_etc(etc_folder.path(), passwd, ""); \
    if (!no.empty()) {                                                                \
      printf("skip: %s", no.c_str());                                                 \
      return;                                                                         \
    }                                                                                 \
    function();                                                                       \
  });                                                                                 \
  if (result.out.starts_with("skip: ")) GTEST_SKIP() << result.out

TEST(ImpersonationSlot, Is0InANewThreadAndKeepsWhatIsSet) {
  EXPECT_EQ(KvTTGetUid(), 0u);
  EXPECT_EQ(KvTTSetUid(501), TRUE);
  EXPECT_EQ(KvTTGetUid(), 501u);
  EXPECT_EQ(KvTTSetUid(0xFFFFFFFFu), TRUE);
  EXPECT_EQ(KvTTGetUid(), 0xFFFFFFFFu);
  EXPECT_EQ(KvTTSetUid(0), TRUE);
  EXPECT_EQ(KvTTGetUid(), 0u);
}

TEST(ImpersonationSlot, IsTheThreadsOwn) {
  KvTTSetUid(501);
  DWORD before = 77;
  DWORD after = 77;
  std::thread([&] {
    before = KvTTGetUid();
    KvTTSetUid(7);
    after = KvTTGetUid();
  }).join();
  EXPECT_EQ(before, 0u);
  EXPECT_EQ(after, 7u);
  EXPECT_EQ(KvTTGetUid(), 501u);
  KvTTSetUid(0);
}

TEST(ImpersonatedName, IsTheImpersonatedUsersWithItsTerminatorCounted) {
  RUN_WITH_USERS(result, "anna:x:500:100::/:/bin/sh\n", [] {
    KvTTSetUid(501);
    SetLastError(77);
    char name[8];
    memset(name, '#', sizeof name);
    DWORD length = 8;
    const BOOL done = KvIGetImpersonatedUserNameA(name, &length);
    printf("%d %u %u %s %c", done, length, GetLastError(), name, name[5]);
  });
  EXPECT_EQ(result.out, "1 5 77 anna #");
}

TEST(ImpersonatedName, IsTheEffectiveUsersWhenNobodyIsImpersonated) {
  RUN_WITH_USERS(result, "", [] {
    char name[16] = "";
    DWORD length = 16;
    if (geteuid() != 0) printf("skip: not root here");
    if (geteuid() != 0) return;
    const BOOL done = KvIGetImpersonatedUserNameA(name, &length);
    printf("%d %u %s", done, length, name);
  });
  EXPECT_EQ(result.out, "1 5 root");
}

TEST(ImpersonatedName, InWideFormIsDecodedFromTheCodePage) {
  RUN_WITH_USERS(result, "j\xC3\xB6rg:x:500:100::/:/bin/sh\n", [] {
    setenv("LC_ALL", "C.UTF-8", 1);
    KvTTSetUid(501);
    wchar_t name[8];
    wmemset(name, L'#', 8);
    DWORD length = 5;
    const BOOL done = KvIGetImpersonatedUserNameW(name, &length);
    printf("%d %u %x %d %c", done, length, static_cast<unsigned>(name[1]), wcsncmp(name, L"j\u00F6rg", 5) == 0,
           static_cast<char>(name[5]));
  });
  EXPECT_EQ(result.out, "1 5 f6 1 #");
}

TEST(ImpersonatedName, WithoutRoomTellsTheRoomNeededAndWritesNothing) {
  RUN_WITH_USERS(result, "anna:x:500:100::/:/bin/sh\n", [] {
    KvTTSetUid(501);
    char narrow[8] = "before";
    wchar_t wide[8] = L"before";
    DWORD length = 4;
    BOOL done = KvIGetImpersonatedUserNameA(narrow, &length);
    printf("%d %u %u %s\n", done, length, GetLastError(), narrow);
    SetLastError(0);
    length = 4;
    done = KvIGetImpersonatedUserNameW(wide, &length);
    printf("%d %u %u %d\n", done, length, GetLastError(), wcscmp(wide, L"before"));
    SetLastError(0);
    length = 100;
    done = KvIGetImpersonatedUserNameA(nullptr, &length);
    printf("%d %u %u", done, length, GetLastError());
  });
  EXPECT_EQ(result.out, "0 5 122 before\n0 5 122 0\n0 5 122");
}

TEST(ImpersonatedName, OfAUserWithoutEntryIs1317) {
  RUN_WITH_USERS(result, "", [] {
    KvTTSetUid(501);
    char name[8] = "before";
    DWORD length = 8;
    const BOOL done = KvIGetImpersonatedUserNameA(name, &length);
    printf("%d %u %u %s", done, length, GetLastError(), name);
  });
  EXPECT_EQ(result.out, "0 8 1317 before");
}

TEST(ImpersonatedName, ComesAlsoFromALongEntry) {
  const std::string entry = "long:x:500:100:" + std::string(5000, 'g') + ":/:/bin/sh\n";
  RUN_WITH_USERS(result, entry, [] {
    KvTTSetUid(501);
    char name[8] = "";
    DWORD length = 8;
    const BOOL done = KvIGetImpersonatedUserNameA(name, &length);
    printf("%d %u %s", done, length, name);
  });
  EXPECT_EQ(result.out, "1 5 long");
}

TEST(ImpersonatedName, WithoutALengthIs87) {
  char name[8];
  wchar_t wide[8];
  SetLastError(0);
  EXPECT_EQ(KvIGetImpersonatedUserNameA(name, nullptr), FALSE);
  EXPECT_EQ(GetLastError(), 87u);
  SetLastError(0);
  EXPECT_EQ(KvIGetImpersonatedUserNameW(wide, nullptr), FALSE);
  EXPECT_EQ(GetLastError(), 87u);
}

}  // namespace
