// Policy and the calling user as the library in this process knows them.
#include <ntsecapi.h>
#include <sys/utsname.h>

#include "tests/impl/module.h"
#include "tests/support/child.h"

namespace {

using namespace kvtest;

NTSTATUS query(int information_class, void** out) {
  return entries().KvILsaQueryInformationPolicy(nullptr, information_class, out);
}

std::wstring text_of(const LSA_UNICODE_STRING& text) {
  EXPECT_EQ(text.MaximumLength, text.Length + 4);
  EXPECT_EQ(text.Buffer[text.Length / 4], L'\0');
  return {text.Buffer, text.Length / 4u};
}

TEST(Policy, OfTheAccountDomainIsTheHostsNameAndTheSidOfItsUsers) {
  POLICY_ACCOUNT_DOMAIN_INFO* domain = nullptr;
  ASSERT_EQ(query(5, reinterpret_cast<void**>(&domain)), 0);
  utsname host;
  uname(&host);
  const std::string name = host.nodename;
  EXPECT_EQ(text_of(domain->DomainName), std::wstring(name.begin(), name.end()));
  const std::string sid(static_cast<const char*>(domain->DomainSid), 24);
  EXPECT_EQ(sid, std::string("\1\4\0\0\0\0\0\5\25\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 24));
}

TEST(Policy, OfThePrimaryDomainIsAWorkgroupWithoutASid) {
  POLICY_PRIMARY_DOMAIN_INFO* domain = nullptr;
  ASSERT_EQ(query(3, reinterpret_cast<void**>(&domain)), 0);
  EXPECT_EQ(text_of(domain->Name), L"WORKGROUP");
  EXPECT_EQ(domain->Sid, nullptr);
}

TEST(Policy, KeepsItsRecords) {
  void* first = nullptr;
  void* second = nullptr;
  query(5, &first);
  query(5, &second);
  EXPECT_EQ(first, second);
}

TEST(Policy, OfOtherClassesIsNotTold) {
  void* out = &out;
  for (int known : {1, 2, 4, 6, 12}) EXPECT_EQ(query(known, &out), static_cast<NTSTATUS>(0xC00000BB)) << known;
  for (int unknown : {0, -1, 13}) EXPECT_EQ(query(unknown, &out), static_cast<NTSTATUS>(0xC000000D)) << unknown;
  EXPECT_EQ(out, &out);
}

TEST(CallingUser, IsAnAdministratorWhenItsNumberIsZero) {
  DWORD number = 77;
  EXPECT_EQ(entries().KvIMapImpersonatedUser(nullptr, &number, nullptr, nullptr, nullptr, nullptr), 1);
  EXPECT_EQ(number, geteuid());
  EXPECT_EQ(entries().KvIIsAdministrator(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), geteuid() == 0 ? 1 : 0);
}

TEST(NamedUser, RootIsAnAdministratorAndNobodyHereIsNot) {
  wchar_t root[] = L"root";
  wchar_t nobody[] = L"no-such-user-here";
  EXPECT_EQ(entries().KvIIsAdministrator(root, nullptr, nullptr, nullptr, nullptr, nullptr), 1);
  SetLastError(0);
  EXPECT_EQ(entries().KvIIsAdministrator(nobody, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(GetLastError(), 1317u);
}

}  // namespace
