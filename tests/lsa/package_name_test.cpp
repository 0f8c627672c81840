// Names of authentication packages that are not plain text, and what reports besides their text.
#include <gtest/gtest.h>
#include <ntsecapi.h>
#include <windows.h>

#include <string>

namespace {

// 77 stands in the number before.
std::string look_up(const char* buffer, USHORT length) {
  LSA_STRING name = {length, length, const_cast<char*>(buffer)};
  ULONG package = 77;
  const NTSTATUS status = LsaLookupAuthenticationPackage(nullptr, &name, &package);
  char text[32];
  snprintf(text, sizeof text, "%x %u", static_cast<unsigned>(status), package);
  return text;
}

TEST(PackageName, ThatIsEmptyMatchesAlsoWithoutABuffer) {
  EXPECT_EQ(look_up(nullptr, 0), "0 0");
  EXPECT_EQ(look_up("", 0), "0 0");
  EXPECT_EQ(look_up("NTLM", 0), "0 0");
}

TEST(PackageName, EndsAtItsZeroByteWhateverLengthIsTold) {
  EXPECT_EQ(look_up("MICROSOFT_AUTHENTICATION_PACKAGE_V1_0", 38), "0 0");
  EXPECT_EQ(look_up("MICROSOFT_AUTHENTICATION_PACKAGE_V1_0\0behind", 44), "0 0");
  EXPECT_EQ(look_up("MICRO\0SOFT", 10), "c000000d 0");
}

TEST(PackageName, LeavesTheLastErrorAlone) {
  SetLastError(0x5A5A);
  EXPECT_EQ(look_up("NTLM", 4), "c000000d 0");
  EXPECT_EQ(GetLastError(), 0x5A5Au);
}

}  // namespace
