// What the server tells of its host and of its clients.
#include <ntsecapi.h>
#include <unistd.h>

#include <cstring>

#include "tests/client/served.h"

namespace {

using namespace kvtest;

class Host : public Served {};

TEST_F(Host, UsersAreKnownByTheirNames) {
  DWORD number = 77;
  EXPECT_EQ(service().user_number(L"root", &number), 0u);
  EXPECT_EQ(number, 0u);
  EXPECT_EQ(service().user_number(nullptr, &number), 0u);
  EXPECT_EQ(number, geteuid());
  EXPECT_EQ(service().user_number(L"no such user here", &number), 1317u);
  std::wstring domain = L"before";
  EXPECT_EQ(service().user_domain(L"no such user here", &domain), 1317u);
  EXPECT_EQ(domain, L"before");
  EXPECT_EQ(service().user_domain(L"root", &domain), 0u);
  char name[65] = {};
  gethostname(name, 64);
  EXPECT_EQ(domain, std::wstring(name, name + std::strlen(name)));
}

TEST_F(Host, PoliciesAreRecordsThatStay) {
  void* first = nullptr;
  void* second = nullptr;
  ASSERT_EQ(service().policy(PolicyAccountDomainInformation, &first), 0u);
  ASSERT_EQ(service().policy(PolicyAccountDomainInformation, &second), 0u);
  EXPECT_EQ(first, second);
  const auto& account = *static_cast<POLICY_ACCOUNT_DOMAIN_INFO*>(first);
  EXPECT_GT(account.DomainName.Length, 0u);
  EXPECT_EQ(account.DomainName.Buffer[account.DomainName.Length / sizeof(wchar_t)], L'\0');
  ASSERT_NE(account.DomainSid, nullptr);
  ASSERT_EQ(service().policy(PolicyPrimaryDomainInformation, &first), 0u);
  EXPECT_EQ(static_cast<POLICY_PRIMARY_DOMAIN_INFO*>(first)->Sid, nullptr);
  EXPECT_EQ(service().policy(PolicyAuditLogInformation, &first), 50u);
  EXPECT_EQ(service().policy(77, &first), 87u);
}

TEST_F(Host, ConnectedClientsAreListed) {
  DWORD count = 0;
  ASSERT_EQ(service().list_connected(nullptr, &count), 0u);
  ASSERT_GE(count, 1u);
  std::vector<RegistryConnection> list(count);
  DWORD little = 0;
  EXPECT_EQ(service().list_connected(list.data(), &little), 234u);
  EXPECT_EQ(little, count);
  ASSERT_EQ(service().list_connected(list.data(), &count), 0u);
  EXPECT_EQ(list[0].process, static_cast<DWORD>(getpid()));
  EXPECT_EQ(list[0].user, geteuid());
  EXPECT_STREQ(list[0].program, program_invocation_short_name);
  EXPECT_STRNE(list[0].host, "");
  EXPECT_GT(list[0].since, 1'600'000'000u);
}

}  // namespace
