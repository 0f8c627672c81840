// Names of impersonated users with their domain: what crosses the table, every status that comes back, and the narrow
// form. The name comes from a double of the base library's function.
#include <gtest/gtest.h>
#include <kelvane/advapi32.h>
#include <kelvane/impersonation.h>
#include <kelvane/token.h>
#include <stdlib.h>
#include <wchar.h>

#include <string>

#include "tests/recording_impl/recording.h"

namespace {

using kvrecording::Call;

// What the double below answers: this name with its terminator, or this last error.
std::wstring user_name;
DWORD user_error = 0;

}  // namespace

extern "C" BOOL KvIGetImpersonatedUserNameW(LPWSTR name, LPDWORD length) {
  if (user_error != 0) {
    SetLastError(user_error);
    return FALSE;
  }
  wcscpy(name, user_name.c_str());
  *length = static_cast<DWORD>(user_name.size() + 1);
  return TRUE;
}

extern "C" BOOL KvIGetImpersonatedUserNameA(LPSTR name, LPDWORD length) {
  name[0] = 'A';
  *length = 1;
  SetLastError(55);
  return 3;
}

namespace {

kvrecording::Control& bound_recording() {
  static kvrecording::Control* const control = [] {
    setenv("KVMODULE_PATH", KV_RECORDING_FOLDER, 1);
    setenv("KVREGISTRY_MODE", "1", 1);
    const HMODULE library = LoadLibraryA("advapi32impl.dll");
    KvRegInitializeWrappers(library, "advapi32impl.dll");
    return kvrecording::control_of(library);
  }();
  return *control;
}

class Impersonated_Name : public testing::Test {
 protected:
  Impersonated_Name() : recording(bound_recording()) {
    recording.reset();
    user_name = L"anna";
    user_error = 0;
    SetLastError(77);
  }

  // The implementation answers this status, this domain (none for null) and this length.
  void answer(unsigned status, const wchar_t* domain, DWORD length) {
    recording.script("KvIGetImpersonatedUserInfo", [=](const Call& call) {
      asked_name = call.pointer<const wchar_t>("name");
      asked_length = call["domain_length"].count;
      asked_own_length = call.pointer<DWORD>("domain_length") == &domain_length;
      if (domain != nullptr) wcscpy(call.pointer<wchar_t>("domain"), domain);
      call.store<DWORD>("domain_length", length);
      return status;
    });
  }

  // Asks with this room for the domain.
  BOOL ask(DWORD room) {
    domain_length = room;
    return KvGetImpersonatedUserNameExW(name, &name_length, domain, &domain_length);
  }

  kvrecording::Control& recording;
  inline static std::wstring asked_name;
  inline static DWORD asked_length = 0;
  inline static bool asked_own_length = false;
  wchar_t name[16] = L"";
  wchar_t domain[16] = L"";
  DWORD name_length = 16;
  inline static DWORD domain_length = 0;
};

TEST_F(Impersonated_Name, IsTheBaseLibrarysWithItsResultAndLastError) {
  EXPECT_EQ(KvGetImpersonatedUserNameW(name, &name_length), TRUE);
  EXPECT_STREQ(name, L"anna");
  EXPECT_EQ(name_length, 5u);
  char narrow[4] = "";
  DWORD length = 4;
  EXPECT_EQ(KvGetImpersonatedUserNameA(narrow, &length), 3);
  EXPECT_STREQ(narrow, "A");
  EXPECT_EQ(length, 1u);
  EXPECT_EQ(GetLastError(), 55u);
}

TEST_F(Impersonated_Name, ComesWithTheDomainThatTheImplementationTells) {
  answer(0, L"HOST", 5);
  EXPECT_EQ(ask(16), TRUE);
  EXPECT_EQ(GetLastError(), 0u);
  EXPECT_STREQ(name, L"anna");
  EXPECT_EQ(name_length, 5u);
  EXPECT_STREQ(domain, L"HOST");
  EXPECT_EQ(domain_length, 5u);
  EXPECT_EQ(asked_name, L"anna");
  EXPECT_EQ(asked_length, 16u);
  EXPECT_FALSE(asked_own_length);
}

TEST_F(Impersonated_Name, ThatCannotBeToldEndsTheCallWithItsLastError) {
  user_error = 1317;
  EXPECT_EQ(ask(16), FALSE);
  EXPECT_EQ(GetLastError(), 1317u);
  EXPECT_EQ(recording.calls().size(), 0u);
  EXPECT_EQ(domain_length, 16u);
}

TEST_F(Impersonated_Name, WithADomainOfExactlyTheRoomSucceeds) {
  answer(0, nullptr, 5);
  EXPECT_EQ(ask(5), TRUE);
  EXPECT_EQ(domain_length, 5u);
  EXPECT_EQ(GetLastError(), 0u);
}

TEST_F(Impersonated_Name, WithStatus0AndALongerDomainThanTheRoomIs234) {
  answer(0, nullptr, 6);
  EXPECT_EQ(ask(5), FALSE);
  EXPECT_EQ(domain_length, 6u);
  EXPECT_EQ(GetLastError(), 234u);
}

TEST_F(Impersonated_Name, WithStatus105Is234AndTellsTheRoomNeeded) {
  answer(0x105, nullptr, 9);
  EXPECT_EQ(ask(16), FALSE);
  EXPECT_EQ(domain_length, 9u);
  EXPECT_EQ(GetLastError(), 234u);
}

TEST_F(Impersonated_Name, WithAnyOtherStatusLeavesTheLengthAndTellsItsOwnError) {
  const struct {
    unsigned status;
    DWORD error;
  } rows[] = {{0xC0000225, 1168},       {0xC0000022, 0x80070005}, {0xC0000001, 0x80004005},
              {0xC00000BB, 0x8000FFFF}, {0xC0000023, 0x8000FFFF}, {1, 0x8000FFFF}};
  for (const auto& row : rows) {
    answer(row.status, nullptr, 9);
    EXPECT_EQ(ask(16), FALSE);
    EXPECT_EQ(GetLastError(), row.error) << row.status;
    EXPECT_EQ(domain_length, 16u) << row.status;
  }
}

TEST_F(Impersonated_Name, InNarrowFormIsCopiedForTheLengthsThatWereTold) {
  answer(0, L"HOST", 5);
  char narrow_name[8] = "#######";
  char narrow_domain[8] = "#######";
  DWORD length = 8;
  domain_length = 8;
  EXPECT_EQ(KvGetImpersonatedUserNameExA(narrow_name, &length, narrow_domain, &domain_length), TRUE);
  EXPECT_EQ(std::string(narrow_name, 8), std::string("anna\0##\0", 8));
  EXPECT_EQ(std::string(narrow_domain, 8), std::string("HOST\0##\0", 8));
  EXPECT_EQ(length, 5u);
  EXPECT_EQ(domain_length, 5u);
  EXPECT_EQ(asked_length, 8u);
}

TEST_F(Impersonated_Name, InNarrowFormIsCopiedWithoutATerminatorThatIsNotCounted) {
  answer(0, L"HOST", 4);
  char narrow_name[8] = "#######";
  char narrow_domain[8] = "#######";
  DWORD length = 8;
  domain_length = 8;
  EXPECT_EQ(KvGetImpersonatedUserNameExA(narrow_name, &length, narrow_domain, &domain_length), TRUE);
  EXPECT_STREQ(narrow_domain, "HOST###");
}

// QUIRK low-byte-names
TEST_F(Impersonated_Name, InNarrowFormKeepsTheLowByteOfEachCharacter) {
  user_name = L"\u0141\u00E9";
  answer(0, L"\u20AC", 2);
  char narrow_name[8] = "#######";
  char narrow_domain[8] = "#######";
  DWORD length = 8;
  domain_length = 8;
  EXPECT_EQ(KvGetImpersonatedUserNameExA(narrow_name, &length, narrow_domain, &domain_length), TRUE);
  EXPECT_STREQ(narrow_name, "\x41\xE9");
  EXPECT_STREQ(narrow_domain, "\xAC");
}

TEST_F(Impersonated_Name, InNarrowFormThatFailsTouchesNoText) {
  answer(0x105, L"HOST", 9);
  char narrow_name[8] = "#######";
  char narrow_domain[8] = "#######";
  DWORD length = 8;
  domain_length = 8;
  EXPECT_EQ(KvGetImpersonatedUserNameExA(narrow_name, &length, narrow_domain, &domain_length), FALSE);
  EXPECT_STREQ(narrow_name, "#######");
  EXPECT_STREQ(narrow_domain, "#######");
  EXPECT_EQ(length, 5u);
  EXPECT_EQ(domain_length, 9u);
  EXPECT_EQ(GetLastError(), 234u);
}

TEST_F(Impersonated_Name, AsksTheImplementationAndHandsItsStatusBack) {
  answer(0xC0000123, L"D", 2);
  domain_length = 3;
  DWORD length = 4;
  EXPECT_EQ(KvGetImpersonatedUserInfo(L"otto", domain, &length), static_cast<NTSTATUS>(0xC0000123));
  EXPECT_EQ(asked_name, L"otto");
  EXPECT_EQ(asked_length, 4u);
  EXPECT_EQ(length, 2u);
  EXPECT_STREQ(domain, L"D");
}

}  // namespace
