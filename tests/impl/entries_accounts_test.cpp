// The entries about users and policy over a service of the test's own.
#include "tests/impl/scripted_service.h"

namespace {

using namespace kvtest;

class Accounts : public Entries_Test {};

TEST_F(Accounts, OnlyUserZeroIsAnAdministrator) {
  wchar_t name[] = L"anna";
  scripted.stored_number = 500;
  EXPECT_EQ(KvIIsAdministrator(name, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(scripted.asked_user, L"anna");
  scripted.stored_number = 0;
  EXPECT_EQ(KvIIsAdministrator(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 1);
  EXPECT_EQ(scripted.asked_user, L"(null)");
}

TEST_F(Accounts, NobodyIsNoAdministrator) {
  wchar_t name[] = L"anna";
  scripted.code = ERROR_NO_SUCH_USER;
  SetLastError(0);
  EXPECT_EQ(KvIIsAdministrator(name, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(GetLastError(), 1317u);
}

TEST_F(Accounts, AUserIsMappedToHisNumber) {
  wchar_t name[] = L"anna";
  DWORD number = 7;
  scripted.stored_number = 500;
  EXPECT_EQ(KvIMapImpersonatedUser(name, &number, nullptr, nullptr, nullptr, nullptr), 1);
  EXPECT_EQ(number, 500u);
  EXPECT_EQ(KvIMapImpersonatedUser(name, nullptr, nullptr, nullptr, nullptr, nullptr), 1);
}

TEST_F(Accounts, NobodyIsMappedToNothing) {
  wchar_t name[] = L"anna";
  DWORD number = 7;
  scripted.code = ERROR_NO_SUCH_USER;
  SetLastError(0);
  EXPECT_EQ(KvIMapImpersonatedUser(name, &number, nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(GetLastError(), 1317u);
  EXPECT_EQ(number, 7u);
}

TEST_F(Accounts, WithoutMemoryAreToldSo) {
  scripted.no_memory = true;
  SetLastError(0);
  EXPECT_EQ(KvIIsAdministrator(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(GetLastError(), 8u);
}

TEST_F(Accounts, PolicyIsTheServicesAndItsCodesBecomeStatuses) {
  void* record = nullptr;
  EXPECT_EQ(KvILsaQueryInformationPolicy(nullptr, 5, &record), 0);
  EXPECT_EQ(record, &scripted);
  EXPECT_EQ(scripted.asked_class, 5);
  scripted.code = ERROR_INVALID_PARAMETER;
  EXPECT_EQ(KvILsaQueryInformationPolicy(nullptr, 77, &record), static_cast<NTSTATUS>(0xC000000D));
  scripted.code = ERROR_NOT_SUPPORTED;
  EXPECT_EQ(KvILsaQueryInformationPolicy(nullptr, 1, &record), static_cast<NTSTATUS>(0xC00000BB));
  EXPECT_EQ(KvILsaQueryInformationPolicy(nullptr, 5, nullptr), static_cast<NTSTATUS>(0xC000000D));
}

}  // namespace
