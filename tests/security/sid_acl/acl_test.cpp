// Access-control lists as a whole: made, checked, measured, given another revision.
#include <windows.h>

#include "tests/security/guarded.h"

namespace kvtest {
namespace {

// Around each test: no function of the room sets the last error.
class Acls : public testing::Test {
 protected:
  Acls() { SetLastError(0x5A5A); }
  ~Acls() override { EXPECT_EQ(GetLastError(), 0x5A5Au); }
};

class Initialize_Acl : public Acls {};
class Valid_Acl : public Acls {};
class Acl_Information : public Acls {};
class Set_Acl_Information : public Acls {};

TEST_F(Initialize_Acl, WritesTheHeaderAndLeavesTheRest) {
  Guarded acl(bytes("ee*32"));
  EXPECT_EQ(InitializeAcl(acl.as<ACL>(), 32, 2), 1);
  EXPECT_BYTES(acl.content(), "02 00 20 00 00 00 00 00 ee*24");
}

TEST_F(Initialize_Acl, TakesEightBytesButNotSeven) {
  Guarded acl(bytes("ee*8"));
  EXPECT_EQ(InitializeAcl(acl.as<ACL>(), 7, 2), 0);
  EXPECT_BYTES(acl.content(), "ee*8");
  EXPECT_EQ(InitializeAcl(acl.as<ACL>(), 8, 2), 1);
  EXPECT_BYTES(acl.content(), "02 00 08 00 00 00 00 00");
}

TEST_F(Initialize_Acl, TakesRevisionTwoOnly) {
  for (const DWORD revision : {0u, 1u, 3u, 4u, 0x102u, 0xFFFFFFFFu}) {
    Guarded acl(bytes("ee*8"));
    EXPECT_EQ(InitializeAcl(acl.as<ACL>(), 8, revision), 0) << revision;
    EXPECT_BYTES(acl.content(), "ee*8");
  }
}

// QUIRK acl-size-truncated
TEST_F(Initialize_Acl, KeepsSixteenBitsOfTheSize) {
  Guarded acl(bytes("ee*8"));
  EXPECT_EQ(InitializeAcl(acl.as<ACL>(), 0x12345, 2), 1);
  EXPECT_BYTES(acl.content(), "02 00 45 23 00 00 00 00");
  EXPECT_EQ(InitializeAcl(acl.as<ACL>(), 0x10000, 2), 1);
  EXPECT_BYTES(acl.content(), "02 00 00 00 00 00 00 00");
}

TEST_F(Initialize_Acl, TakesSizesThatAreNoMultiplesOfFour) {
  Guarded acl(bytes("ee*9"));
  EXPECT_EQ(InitializeAcl(acl.as<ACL>(), 9, 2), 1);
  EXPECT_BYTES(acl.content(), "02 00 09 00 00 00 00 00 ee");
}

TEST_F(Initialize_Acl, OfNullFails) { EXPECT_EQ(InitializeAcl(nullptr, 8, 2), 0); }

TEST_F(Valid_Acl, HasRevisionTwo) {
  for (const char* content :
       {"00 00 08 00 00 00 00 00", "01 00 08 00 00 00 00 00", "03 00 08 00 00 00 00 00", "04 00 08 00 00 00 00 00"}) {
    Guarded acl(bytes(content));
    EXPECT_EQ(IsValidAcl(acl.as<ACL>()), 0) << content;
  }
  Guarded acl(bytes("02 00 08 00 00 00 00 00"));
  EXPECT_EQ(IsValidAcl(acl.as<ACL>()), 1);
}

TEST_F(Valid_Acl, UsesNoMoreThanItsSize) {
  Guarded fits(bytes("02 00 14 00 02 00 00 00 00 00 04 00 00 00 08 00 00 00 00 00"));
  EXPECT_EQ(IsValidAcl(fits.as<ACL>()), 1);
  Guarded overrun(bytes("02 00 13 00 02 00 00 00 00 00 04 00 00 00 08 00 00 00 00 00"));
  EXPECT_EQ(IsValidAcl(overrun.as<ACL>()), 0);
  Guarded below_header(bytes("02 00 07 00 00 00 00 00"));
  EXPECT_EQ(IsValidAcl(below_header.as<ACL>()), 0);
}

TEST_F(Valid_Acl, MayHoldEntriesOfAnyKindAndOfNoSize) {
  Guarded acl(bytes("02 00 10 00 03 00 00 00 ff ff 04 00 77 77 00 00"));
  EXPECT_EQ(IsValidAcl(acl.as<ACL>()), 1);
}

TEST_F(Valid_Acl, IsToldWithoutReadingFurtherOnceTheSizeIsExceeded) {
  Guarded acl(bytes("02 00 10 00 ff ff 00 00 00 00 ff ff 00 00 00 00"));
  EXPECT_EQ(IsValidAcl(acl.as<ACL>()), 0);
}

TEST_F(Valid_Acl, IsToldByEntriesBehindTheListWhenItsCountSaysSo) {
  Guarded sizeless(bytes("02 00 08 00 01 00 00 00  00 00 00 00"));
  EXPECT_EQ(IsValidAcl(sizeless.as<ACL>()), 1);
  Guarded sized(bytes("02 00 08 00 01 00 00 00  00 00 01 00"));
  EXPECT_EQ(IsValidAcl(sized.as<ACL>()), 0);
}

TEST_F(Acl_Information, OfTheRevisionIsTheByteWidened) {
  Guarded acl(bytes("f2 00 08 00 00 00 00 00"));
  Guarded told(bytes("ee*6"));
  EXPECT_EQ(GetAclInformation(acl.as<ACL>(), told, 6, AclRevisionInformation), 1);
  EXPECT_BYTES(told.content(), "f2 00 00 00 ee ee");
  Guarded exact(bytes("ee*4"));
  EXPECT_EQ(GetAclInformation(acl.as<ACL>(), exact, 4, AclRevisionInformation), 1);
  EXPECT_BYTES(exact.content(), "f2 00 00 00");
}

TEST_F(Acl_Information, OfTheSizesIsCountUsedAndFree) {
  Guarded acl(bytes("02 00 40 00 02 00 00 00 00 00 14 00 00*16 00 00 18 00 00*20 00*12"));
  Guarded told(bytes("ee*13"));
  EXPECT_EQ(GetAclInformation(acl.as<ACL>(), told, 13, AclSizeInformation), 1);
  EXPECT_BYTES(told.content(), "02 00 00 00 34 00 00 00 0c 00 00 00 ee");
  Guarded exact(bytes("ee*12"));
  EXPECT_EQ(GetAclInformation(acl.as<ACL>(), exact, 12, AclSizeInformation), 1);
  EXPECT_BYTES(exact.content(), "02 00 00 00 34 00 00 00 0c 00 00 00");
}

TEST_F(Acl_Information, WithoutRoomFailsAndWritesNothing) {
  Guarded acl(bytes("02 00 08 00 00 00 00 00"));
  Guarded three(bytes("ee*3")), eleven(bytes("ee*11"));
  EXPECT_EQ(GetAclInformation(acl.as<ACL>(), three, 3, AclRevisionInformation), 0);
  EXPECT_BYTES(three.content(), "ee*3");
  EXPECT_EQ(GetAclInformation(acl.as<ACL>(), eleven, 11, AclSizeInformation), 0);
  EXPECT_BYTES(eleven.content(), "ee*11");
}

TEST_F(Acl_Information, OfAnotherClassOrIntoNullFails) {
  Guarded acl(bytes("02 00 08 00 00 00 00 00"));
  Guarded told(bytes("ee*64"));
  for (const int other : {0, 3, 4, 77, -1}) {
    EXPECT_EQ(GetAclInformation(acl.as<ACL>(), told, 64, static_cast<ACL_INFORMATION_CLASS>(other)), 0) << other;
  }
  EXPECT_BYTES(told.content(), "ee*64");
  EXPECT_EQ(GetAclInformation(acl.as<ACL>(), nullptr, 64, AclSizeInformation), 0);
}

TEST_F(Acl_Information, OfAnOverrunListHasFreeBytesBelowZero) {
  Guarded acl(bytes("02 00 14 00 01 00 00 00 00 00 14 00 00*16"));
  Guarded told(bytes("ee*12"));
  EXPECT_EQ(GetAclInformation(acl.as<ACL>(), told, 12, AclSizeInformation), 1);
  EXPECT_BYTES(told.content(), "01 00 00 00 1c 00 00 00 f8 ff ff ff");
}

TEST_F(Acl_Information, FollowsTheEntriesWhereverTheirSizesLead) {
  Guarded acl(bytes("02 00 08 00 02 00 00 00 00 00 10 00 ee*12 00 00 20 00"));
  Guarded told(bytes("ee*12"));
  EXPECT_EQ(GetAclInformation(acl.as<ACL>(), told, 12, AclSizeInformation), 1);
  EXPECT_BYTES(told.content(), "02 00 00 00 38 00 00 00 d0 ff ff ff");
}

// QUIRK acl-any-revision
TEST_F(Set_Acl_Information, StoresTheLowByteWhateverTheClass) {
  Guarded acl(bytes("02 ee 08 00 00 00 00 00"));
  Guarded revision(bytes("04 11 22 33"));
  for (const int any : {1, 2, 0, 77, -1}) {
    *acl.as<BYTE>() = 2;
    EXPECT_EQ(SetAclInformation(acl.as<ACL>(), revision, 4, static_cast<ACL_INFORMATION_CLASS>(any)), 1) << any;
    EXPECT_BYTES(acl.content(), "04 ee 08 00 00 00 00 00");
  }
  EXPECT_EQ(IsValidAcl(acl.as<ACL>()), 0);
}

TEST_F(Set_Acl_Information, TakesExactlyFourBytes) {
  Guarded acl(bytes("02 00 08 00 00 00 00 00"));
  Guarded revision(bytes("04 00 00 00"));
  for (const DWORD size : {0u, 3u, 5u, 12u, 0xFFFFFFFFu}) {
    EXPECT_EQ(SetAclInformation(acl.as<ACL>(), revision, size, AclRevisionInformation), 0) << size;
  }
  EXPECT_EQ(SetAclInformation(nullptr, revision, 4, AclRevisionInformation), 0);
  EXPECT_EQ(SetAclInformation(acl.as<ACL>(), nullptr, 4, AclRevisionInformation), 0);
  EXPECT_BYTES(acl.content(), "02 00 08 00 00 00 00 00");
}

}  // namespace
}  // namespace kvtest
