// The checks that grant everything and report it. The program's own KvStub stands in place of the base library's.
#include <gtest/gtest.h>
#include <kelvane/report.h>
#include <kelvane/token.h>

#include <string>

namespace {

std::string reports;

}  // namespace

extern "C" int KvStub(int level, const KvStubCategory* category, const char* text) {
  reports += std::to_string(level) + (category == &AdvSecurity ? " security " : " other ") + text + ";";
  return 0;
}

namespace {

// QUIRK plain-checks-grant
TEST(PlainAccessCheck, GrantsWhatIsDesiredAndReports) {
  reports.clear();
  DWORD size = 99;
  DWORD granted = 0;
  BOOL status = FALSE;
  SetLastError(77);
  EXPECT_EQ(AccessCheck(nullptr, nullptr, 0x1F01FF, nullptr, nullptr, &size, &granted, &status), TRUE);
  EXPECT_EQ(status, TRUE);
  EXPECT_EQ(granted, 0x1F01FFu);
  EXPECT_EQ(size, 0u);
  EXPECT_EQ(GetLastError(), 77u);
  EXPECT_EQ(reports, "40 security AccessCheck;");
}

TEST(PlainPrivilegeCheck, FindsEveryPrivilegeAndReports) {
  reports.clear();
  BOOL result = FALSE;
  SetLastError(77);
  EXPECT_EQ(PrivilegeCheck(nullptr, nullptr, &result), TRUE);
  EXPECT_EQ(result, TRUE);
  EXPECT_EQ(GetLastError(), 77u);
  EXPECT_EQ(reports, "40 security PrivilegeCheck;");
}

}  // namespace
