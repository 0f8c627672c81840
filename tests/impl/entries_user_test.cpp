// The entry that tells a user's domain: what it hands to its service, and how the answer comes back.
#include "tests/impl/scripted_service.h"

namespace {

using namespace kvtest;

class UserInfo : public Entries_Test {
 protected:
  NTSTATUS ask(DWORD room) {
    length = room;
    return KvIGetImpersonatedUserInfo(L"anna", domain, &length);
  }

  wchar_t domain[8] = L"#######";
  DWORD length = 0;
};

TEST_F(UserInfo, IsTheDomainWithItsTerminatorCounted) {
  EXPECT_EQ(ask(5), 0);
  EXPECT_EQ(scripted.asked_user, L"anna");
  EXPECT_STREQ(domain, L"HOST");
  EXPECT_EQ(length, 5u);
  EXPECT_EQ(domain[5], L'#');
}

TEST_F(UserInfo, WithoutRoomIs105AndTellsTheRoomNeeded) {
  EXPECT_EQ(ask(4), 0x105);
  EXPECT_EQ(length, 5u);
  EXPECT_STREQ(domain, L"#######");
  length = 8;
  EXPECT_EQ(KvIGetImpersonatedUserInfo(L"anna", nullptr, &length), 0x105);
  EXPECT_EQ(length, 5u);
}

TEST_F(UserInfo, OfAnUnknownUserIsC0000225AndWritesNothing) {
  scripted.code = ERROR_NO_SUCH_USER;
  EXPECT_EQ(ask(8), static_cast<NTSTATUS>(0xC0000225));
  EXPECT_EQ(length, 8u);
  EXPECT_STREQ(domain, L"#######");
}

TEST_F(UserInfo, ThatMayNotBeToldIsC0000022) {
  scripted.code = ERROR_ACCESS_DENIED;
  EXPECT_EQ(ask(8), static_cast<NTSTATUS>(0xC0000022));
}

TEST_F(UserInfo, WithoutMemoryOrForAnyOtherCauseIsC0000001) {
  scripted.code = ERROR_BADDB;
  EXPECT_EQ(ask(8), static_cast<NTSTATUS>(0xC0000001));
  scripted.no_memory = true;
  EXPECT_EQ(ask(8), static_cast<NTSTATUS>(0xC0000001));
  EXPECT_EQ(length, 8u);
}

TEST_F(UserInfo, WithoutANameOrALengthIsC000000D) {
  EXPECT_EQ(KvIGetImpersonatedUserInfo(nullptr, domain, &length), static_cast<NTSTATUS>(0xC000000D));
  EXPECT_EQ(KvIGetImpersonatedUserInfo(L"anna", domain, nullptr), static_cast<NTSTATUS>(0xC000000D));
}

}  // namespace
