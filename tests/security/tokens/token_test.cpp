// The plain token, and the token that is a user.
#include <gtest/gtest.h>
#include <kelvane/token.h>
#include <unistd.h>

#include "tests/support/child.h"
#include "tests/support/ordinary_user.h"

namespace {

HANDLE token_of(UINT_PTR number) { return reinterpret_cast<HANDLE>(number); }

// QUIRK process-token-one
TEST(PlainTokens, AreOneForEveryProcessAndThread) {
  HANDLE token = nullptr;
  EXPECT_EQ(OpenProcessToken(nullptr, 0, &token), TRUE);
  EXPECT_EQ(token, token_of(1));
  token = nullptr;
  EXPECT_EQ(OpenThreadToken(token_of(0x77), TOKEN_QUERY, TRUE, &token), TRUE);
  EXPECT_EQ(token, token_of(1));
}

TEST(PlainTokens, StayOneWhileAUserIsImpersonated) {
  KvSetThreadToken(nullptr, token_of(500));
  HANDLE token = nullptr;
  OpenThreadToken(nullptr, 0, FALSE, &token);
  EXPECT_EQ(token, token_of(1));
  KvSetThreadToken(nullptr, token_of(0xFFFFFFFF));
}

TEST(NativeTokens, AreTheSameWithStatus0) {
  HANDLE token = nullptr;
  SetLastError(77);
  EXPECT_EQ(NtOpenProcessToken(nullptr, 0, &token), 0);
  EXPECT_EQ(token, token_of(1));
  token = nullptr;
  EXPECT_EQ(NtOpenThreadToken(nullptr, 0, 1, &token), 0);
  EXPECT_EQ(token, token_of(1));
  EXPECT_EQ(GetLastError(), 77u);
}

TEST(UserTokens, AreTheEffectiveUserWhenNobodyIsImpersonated) {
  HANDLE token = token_of(77);
  EXPECT_EQ(KvOpenThreadToken(nullptr, 0, FALSE, &token), TRUE);
  EXPECT_EQ(token, token_of(geteuid()));
  EXPECT_EQ(KvGetClientId(), geteuid());
}

TEST(UserTokens, AreTheEffectiveNotTheRealUser) {
  const kvtest::Child_Result child = kvtest::run_child([] {
    if (geteuid() != 0) {
      printf("skip: only root can take another effective user");
      return;
    }
    if (seteuid(kvtest::ordinary_id) != 0) printf("seteuid");
    printf("%u", KvGetClientId());
  });
  if (child.out.starts_with("skip: ")) GTEST_SKIP() << child.out;
  EXPECT_EQ(child.out, "65534");
}

TEST(UserTokens, AreTheImpersonatedUserUntilItEnds) {
  EXPECT_EQ(KvSetThreadToken(nullptr, token_of(500)), TRUE);
  HANDLE token = nullptr;
  EXPECT_EQ(KvOpenThreadToken(token_of(0x77), TOKEN_QUERY, TRUE, &token), TRUE);
  EXPECT_EQ(token, token_of(500));
  EXPECT_EQ(KvGetClientId(), 500u);
  EXPECT_EQ(KvSetThreadToken(nullptr, token_of(0xFFFFFFFF)), TRUE);
  KvOpenThreadToken(nullptr, 0, FALSE, &token);
  EXPECT_EQ(token, token_of(geteuid()));
}

TEST(UserTokens, AreZeroExtendedAndMayBeRoot) {
  HANDLE token = token_of(~UINT_PTR{0});
  KvSetThreadToken(nullptr, token_of(0xFFFFFFFE));
  KvOpenThreadToken(nullptr, 0, FALSE, &token);
  EXPECT_EQ(token, token_of(0xFFFFFFFE));
  KvSetThreadToken(nullptr, token_of(0));
  KvOpenThreadToken(nullptr, 0, FALSE, &token);
  EXPECT_EQ(token, token_of(0));
  EXPECT_EQ(KvGetClientId(), 0u);
  KvSetThreadToken(nullptr, token_of(~UINT_PTR{0}));
  EXPECT_EQ(KvGetClientId(), geteuid());
}

}  // namespace
