// Entries that are not provided, or have nothing to do in this process: each says so and writes nothing.
#include "tests/impl/module.h"

namespace {

using namespace kvtest;

class NotProvided : public Store_Test {};

TEST_F(NotProvided, SecurityIs120) {
  DWORD size = 77;
  char descriptor[8] = "#######";
  EXPECT_EQ(entries().KvIRegGetKeySecurity(base, 1, descriptor, &size, nullptr), 120u);
  EXPECT_EQ(entries().KvIRegSetKeySecurity(base, 1, descriptor, nullptr), 120u);
  EXPECT_EQ(size, 77u);
  EXPECT_STREQ(descriptor, "#######");
}

TEST_F(NotProvided, LogSettingsServiceDataAndShutDownAre120) {
  EXPECT_EQ(entries().KvIRegUxGetLogSettings(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 120);
  EXPECT_EQ(entries().KvISetServiceData(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 120);
  EXPECT_EQ(entries().KvIGetServiceData(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 120);
  EXPECT_EQ(entries().KvIRegShutDown(), 120u);
}

TEST_F(NotProvided, SecurityAuthorityAnswersNotSupported) {
  constexpr NTSTATUS not_supported = static_cast<NTSTATUS>(0xC00000BB);
  void* out = &out;
  wchar_t domain[4] = L"###";
  DWORD length = 4;
  EXPECT_EQ(entries().KvILsaQueryInformationPolicy(nullptr, 1, &out), not_supported);
  EXPECT_EQ(entries().KvILsaCallAuthenticationPackage(nullptr, 0, nullptr, 0, &out, nullptr, nullptr, nullptr, nullptr),
            not_supported);
  EXPECT_EQ(entries().KvILsaLogonUser(nullptr, nullptr, 0, 0, nullptr, 0, nullptr, nullptr, &out, nullptr, nullptr,
                                      nullptr, nullptr, nullptr),
            not_supported);
  EXPECT_EQ(entries().KvILsaInit(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), not_supported);
  EXPECT_EQ(entries().KvIGetImpersonatedUserInfo(L"user", domain, &length), not_supported);
  EXPECT_EQ(out, &out);
  EXPECT_EQ(length, 4u);
  EXPECT_EQ(domain[0], L'#');
}

TEST_F(NotProvided, QuestionsAboutUsersAreAnsweredNoWithTheLastError) {
  SetLastError(0);
  EXPECT_EQ(entries().KvIIsAdministrator(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(GetLastError(), 120u);
  SetLastError(0);
  EXPECT_EQ(entries().KvIMapImpersonatedUser(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(GetLastError(), 120u);
  EXPECT_EQ(entries().KvIRefreshSecData(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 120);
}

TEST(Connected, NobodyIsWithoutAServer) {
  DWORD count = 77;
  EXPECT_EQ(entries().KvIRegListConnected(nullptr, &count, nullptr), 0u);
  EXPECT_EQ(count, 0u);
  EXPECT_EQ(entries().KvIRegListConnected(nullptr, nullptr, nullptr), 87u);
}

TEST(ProcessStarting, Succeeds) { EXPECT_EQ(entries().KvIRegProcessStarting(), 0u); }

}  // namespace
