// What is answered without the implementation library: packages, logon processes, network connections.
#include <gtest/gtest.h>
#include <ntsecapi.h>
#include <sspi.h>
#include <windows.h>

#include <cstring>
#include <string>

#include "tests/support/child.h"

namespace {

struct Found {
  NTSTATUS status;
  ULONG package;
};

Found look_up(std::string name, USHORT length) {
  LSA_STRING counted = {length, length, name.data()};
  Found found = {-1, 0xFFFFFFFF};
  found.status = LsaLookupAuthenticationPackage(nullptr, &counted, &found.package);
  return found;
}

Found look_up(const std::string& name) { return look_up(name, static_cast<USHORT>(name.size())); }

constexpr NTSTATUS invalid_parameter = static_cast<NTSTATUS>(0xC000000D);

TEST(AuthenticationPackage, IsFoundByItsName) {
  EXPECT_EQ(look_up("MICROSOFT_AUTHENTICATION_PACKAGE_V1_0").status, 0);
  EXPECT_EQ(look_up("MICROSOFT_AUTHENTICATION_PACKAGE_V1_0").package, 0u);
}

// QUIRK package-name-prefix
TEST(AuthenticationPackage, IsFoundByEveryPrefix) {
  const std::string name = "MICROSOFT_AUTHENTICATION_PACKAGE_V1_0";
  for (size_t length = 0; length <= name.size(); ++length) {
    EXPECT_EQ(look_up(name.substr(0, length)).status, 0) << length;
    EXPECT_EQ(look_up(name.substr(0, length)).package, 0u) << length;
  }
  EXPECT_EQ(look_up("MICROSOFT", 9).status, 0);
  EXPECT_EQ(look_up("MICROSOFT WHATEVER", 9).status, 0);
}

TEST(AuthenticationPackage, OfAnotherNameIsRefusedAndTheNumberIsStillZero) {
  for (const char* name : {"microsoft", "NTLM", "MICROSOFT_AUTHENTICATION_PACKAGE_V1_0x", "MICROSOFT KERBEROS"}) {
    EXPECT_EQ(look_up(name).status, invalid_parameter) << name;
    EXPECT_EQ(look_up(name).package, 0u) << name;
  }
}

TEST(LogonProcess, CallsReturnZeroAndTouchNothing) {
  auto* const nowhere = reinterpret_cast<void*>(std::uintptr_t{0x10});
  EXPECT_EQ(LsaRegisterLogonProcess(static_cast<PLSA_STRING>(nowhere), static_cast<PHANDLE>(nowhere),
                                    static_cast<PLSA_OPERATIONAL_MODE>(nowhere)),
            0);
  EXPECT_EQ(LsaDeregisterLogonProcess(nowhere), 0);
  EXPECT_EQ(LsaFreeReturnBuffer(nowhere), 0);
}

TEST(SecurityPackages, AreOneRecord) {
  ULONG count = 0;
  PSecPkgInfoW packages = nullptr;
  ASSERT_EQ(EnumerateSecurityPackagesW(&count, &packages), 0);
  EXPECT_EQ(count, 1u);
  EXPECT_EQ(packages->fCapabilities, 0x37u);
  EXPECT_EQ(packages->wVersion, 1);
  EXPECT_EQ(packages->wRPCID, 10);
  EXPECT_EQ(packages->cbMaxToken, 768u);
  EXPECT_STREQ(packages->Name, L"NTLM");
  EXPECT_STREQ(packages->Comment, L"NTLM Security Package");
  EXPECT_EQ(FreeContextBuffer(packages), 0);
}

TEST(SecurityPackages, LieInOneBlockTheNameFirst) {
  ULONG count = 0;
  PSecPkgInfoW packages = nullptr;
  ASSERT_EQ(EnumerateSecurityPackagesW(&count, &packages), 0);
  EXPECT_EQ(static_cast<void*>(packages->Name), packages + 1);
  EXPECT_EQ(packages->Comment, packages->Name + 5);
  FreeContextBuffer(packages);
}

TEST(SecurityPackages, NothingIsReleasedTwiceOfNull) { EXPECT_EQ(FreeContextBuffer(nullptr), 0); }

TEST(NetworkConnections, SayThatTheyWereCalledAndAnswer50) {
  const auto child = kvtest::run_child([] {
    auto* const nowhere = reinterpret_cast<char*>(std::uintptr_t{0x10});
    const DWORD first = WNetGetConnectionA(nowhere, nowhere, nullptr);
    const DWORD second = WNetGetUniversalNameA(nowhere, 1, nowhere, nullptr);
    printf("%u %u\n", first, second);
  });
  EXPECT_EQ(child.out, "Called WNetGetConnectionA\nCalled WNetGetUniversalNameA\n50 50\n");
}

}  // namespace
