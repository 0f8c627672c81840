// Impersonation and ids as the library hands them on.
#include <gtest/gtest.h>
#include <kelvane/impersonation.h>
#include <kelvane/token.h>

#include <thread>

namespace {

HANDLE token_of(UINT_PTR number) { return reinterpret_cast<HANDLE>(number); }

TEST(Impersonation, IsKeptByTheBaseLibraryAsTheUserPlusOne) {
  KvSetThreadToken(nullptr, token_of(500));
  EXPECT_EQ(KvTTGetUid(), 501u);
  KvSetThreadToken(nullptr, token_of(0xFFFFFFFF));
  EXPECT_EQ(KvTTGetUid(), 0u);
}

TEST(Impersonation, IsTheThreadsOwnWhateverThreadIsNamed) {
  HANDLE other_thread = token_of(0x77);
  KvSetThreadToken(&other_thread, token_of(500));
  DWORD in_thread = 77;
  std::thread([&] { in_thread = KvGetClientId(); }).join();
  EXPECT_NE(in_thread, 500u);
  EXPECT_EQ(KvGetClientId(), 500u);
  EXPECT_EQ(other_thread, token_of(0x77));
  KvSetThreadToken(nullptr, token_of(0xFFFFFFFF));
}

TEST(LocallyUniqueIds, AreTheBaseLibrarys) {
  LUID first = {0, 0};
  LUID second = {0, 0};
  EXPECT_EQ(AllocateLocallyUniqueId(&first), TRUE);
  EXPECT_EQ(AllocateLocallyUniqueId(&second), TRUE);
  EXPECT_TRUE(first.LowPart != second.LowPart || first.HighPart != second.HighPart);
  SetLastError(0);
  EXPECT_EQ(AllocateLocallyUniqueId(nullptr), FALSE);
  EXPECT_EQ(GetLastError(), 87u);
}

}  // namespace
