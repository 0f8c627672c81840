// The native forms of the functions for SIDs and lists: the outcome each in its own way.
#include <kelvane/security.h>

#include "tests/security/guarded.h"

namespace kvtest {
namespace {

SID_IDENTIFIER_AUTHORITY nt_authority = SECURITY_NT_AUTHORITY;

TEST(Native_Sids, AreAllocatedWithZero) {
  PSID sid = nullptr;
  SetLastError(77);
  EXPECT_EQ(RtlAllocateAndInitializeSid(&nt_authority, 2, 0x20, 0x220, 0, 0, 0, 0, 0, 0, &sid), 0);
  EXPECT_BYTES(std::string(static_cast<char*>(sid), 16), "01 02 00 00 00 00 00 05 20 00 00 00 20 02 00 00");
  EXPECT_EQ(GetLastError(), 77u);
  FreeSid(sid);
}

// QUIRK native-statuses
TEST(Native_Sids, AreCopiedWithZeroAndRefusedWith13) {
  Guarded source(bytes("01 01 00 00 00 00 00 05 12 00 00 00"));
  Guarded destination(bytes("ee*12"));
  SetLastError(77);
  EXPECT_EQ(RtlCopySid(11, destination, source), 13);
  EXPECT_BYTES(destination.content(), "ee*12");
  EXPECT_EQ(RtlCopySid(12, destination, source), 0);
  EXPECT_EQ(destination.content(), source.content());
  EXPECT_EQ(RtlCopySid(0, destination, nullptr), 0);
  EXPECT_EQ(GetLastError(), 77u);
}

TEST(Native_Sids, AreComparedWithAByteAndMeasuredWithALength) {
  Guarded first(bytes("01 01 00 00 00 00 00 05 12 00 00 00"));
  Guarded second(bytes("01 01 00 00 00 00 00 05 13 00 00 00"));
  static_assert(sizeof(RtlEqualSid(nullptr, nullptr)) == 1);
  EXPECT_EQ(RtlEqualSid(first, first), 1);
  EXPECT_EQ(RtlEqualSid(first, second), 0);
  EXPECT_EQ(RtlEqualSid(first, nullptr), 0);
  EXPECT_EQ(RtlLengthSid(first), 12u);
  EXPECT_EQ(RtlLengthSid(nullptr), 0u);
}

TEST(Native_Acls, AreMadeWithTheLastErrorWhateverTheOutcome) {
  Guarded acl(bytes("ee*8"));
  SetLastError(77);
  EXPECT_EQ(RtlCreateAcl(acl.as<ACL>(), 8, 4), 77);
  EXPECT_BYTES(acl.content(), "ee*8");
  EXPECT_EQ(RtlCreateAcl(acl.as<ACL>(), 8, 2), 77);
  EXPECT_BYTES(acl.content(), "02 00 08 00 00 00 00 00");
  SetLastError(0);
  EXPECT_EQ(RtlCreateAcl(nullptr, 8, 2), 0);
}

TEST(Native_Acls, TakeEntriesWithTheLastErrorWhateverTheOutcome) {
  Guarded acl(bytes("02 00 0c 00 00 00 00 00 ee*4"));
  Guarded list(bytes("01 0d 04 00"));
  SetLastError(0xC0000001);
  EXPECT_EQ(static_cast<DWORD>(RtlAddAce(acl.as<ACL>(), 0, 0xFFFFFFFF, list, 4)), 0xC0000001u);
  EXPECT_BYTES(acl.content(), "02 00 0c 00 01 00 00 00 01 0d 04 00");
  SetLastError(0);
  EXPECT_EQ(RtlAddAce(acl.as<ACL>(), 0, 0xFFFFFFFF, list, 4), 0);
  EXPECT_BYTES(acl.content(), "02 00 0c 00 01 00 00 00 01 0d 04 00");
}

}  // namespace
}  // namespace kvtest
