// SIDs and lists at the ends of their numbers: counts that wrap round and sizes beyond 31 bits.
#include <kelvane/security.h>

#include "tests/security/guarded.h"

namespace kvtest {
namespace {

// Around each test: no function of the room sets the last error.
class Extremes : public testing::Test {
 protected:
  Extremes() { SetLastError(0x5A5A); }
  ~Extremes() override { EXPECT_EQ(GetLastError(), 0x5A5Au); }

  Guarded system{bytes("01 01 00 00 00 00 00 05 12 00 00 00")};
};

class Count_Of_Entries : public Extremes {};
class Size_Of_A_List : public Extremes {};
class Written_Sid : public Extremes {};

TEST_F(Count_Of_Entries, OfSixteenBitsWrapsRoundWhenAnEntryIsAppended) {
  // 65,535 entries of no size: the next one goes where they all begin.
  Guarded acl(bytes("02 00 1c 00 ff ff 00 00  00*20"));
  EXPECT_EQ(AddAccessAllowedAce(acl.as<ACL>(), 2, 1, system), 1);
  EXPECT_BYTES(acl.content(), "02 00 1c 00 00 00 00 00  00 00 14 00 01 00 00 00 01 01 00 00 00 00 00 05 12 00 00 00");
}

TEST_F(Count_Of_Entries, OfSixteenBitsWrapsRoundWhenAListIsAdded) {
  Guarded acl(bytes("02 00 0c 00 ff ff 00 00  00*4"));
  Guarded list(bytes("01 0d 04 00"));
  EXPECT_EQ(AddAce(acl.as<ACL>(), 2, 0xFFFFFFFF, list, 4), 1);
  EXPECT_BYTES(acl.content(), "02 00 0c 00 00 00 00 00  01 0d 04 00");
}

TEST_F(Count_Of_Entries, IsAllThatDecidesWhatGetAceFinds) {
  Guarded acl(bytes("02 00 08 00 ff ff 00 00  00*4"));
  LPVOID ace = nullptr;
  EXPECT_EQ(GetAce(acl.as<ACL>(), 65535, &ace), 1);
  EXPECT_EQ(ace, acl.as<void>(8));
  ace = nullptr;
  EXPECT_EQ(GetAce(acl.as<ACL>(), 65536, &ace), 0);
  EXPECT_EQ(ace, nullptr);
}

TEST_F(Count_Of_Entries, OfZeroIsStillLoweredOnlyByNumberZero) {
  Guarded acl(bytes("02 00 08 00 00 00 00 00"));
  EXPECT_EQ(DeleteAce(acl.as<ACL>(), 1), 0);
  EXPECT_BYTES(acl.content(), "02 00 08 00 00 00 00 00");
}

TEST_F(Size_Of_A_List, HasNoUpperBound) {
  Guarded acl(bytes("ee*8"));
  EXPECT_EQ(InitializeAcl(acl.as<ACL>(), 0x80000000, 2), 1);
  EXPECT_BYTES(acl.content(), "02 00 00 00 00 00 00 00");
  EXPECT_EQ(InitializeAcl(acl.as<ACL>(), 0xFFFFFFFF, 2), 1);
  EXPECT_BYTES(acl.content(), "02 00 ff ff 00 00 00 00");
}

TEST_F(Size_Of_A_List, OfSixteenBitsMayBeFilledToItsLastByte) {
  Guarded acl(bytes("02 00 ff ff 00 00 00 00") + std::string(65527, '\xEE'));
  Guarded list(std::string(65527, '\x77'));
  EXPECT_EQ(AddAce(acl.as<ACL>(), 2, 0, list, 65527), 1);
  EXPECT_BYTES(acl.content().substr(0, 8), "02 00 ff ff 01 00 00 00");
  EXPECT_EQ(acl.content().substr(8), std::string(65527, '\x77'));
}

TEST_F(Size_Of_A_List, IsToldOfNeitherClassToANullBuffer) {
  Guarded acl(bytes("02 00 08 00 00 00 00 00"));
  EXPECT_EQ(GetAclInformation(acl.as<ACL>(), nullptr, 4, AclRevisionInformation), 0);
  EXPECT_EQ(GetAclInformation(acl.as<ACL>(), nullptr, 12, AclSizeInformation), 0);
}

TEST_F(Size_Of_A_List, IsToldIntoABufferOfAnyLargerSize) {
  Guarded acl(bytes("02 00 08 00 00 00 00 00"));
  Guarded told(bytes("ee*16"));
  EXPECT_EQ(GetAclInformation(acl.as<ACL>(), told, 0xFFFFFFFF, AclSizeInformation), 1);
  EXPECT_BYTES(told.content(), "00 00 00 00 08 00 00 00 00 00 00 00 ee*4");
  EXPECT_EQ(GetAclInformation(acl.as<ACL>(), told, 0x80000000, AclRevisionInformation), 1);
  EXPECT_BYTES(told.content(), "02 00 00 00 08 00 00 00 00 00 00 00 ee*4");
}

TEST_F(Written_Sid, TakesALengthBeyond31Bits) {
  Guarded destination(bytes("ee*12"));
  EXPECT_EQ(CopySid(0xFFFFFFFF, destination, system), 1);
  EXPECT_BYTES(destination.content(), "01 01 00 00 00 00 00 05 12 00 00 00");
}

TEST_F(Written_Sid, OfAnotherRevisionIsNotPrinted) {
  for (const char* content : {"00 01 00 00 00 00 00 05 12 00 00 00", "02 01 00 00 00 00 00 05 12 00 00 00"}) {
    Guarded sid(bytes(content));
    char text[] = "untouched";
    EXPECT_EQ(AdvPrintSid(sid, text), 0) << content;
    EXPECT_STREQ(text, "untouched") << content;
  }
}

TEST_F(Written_Sid, IsPrintedFromTheBuffersStartWhateverStandsThere) {
  char text[194] = "S-1-5";
  EXPECT_EQ(AdvPrintSid(system, text), 1);
  EXPECT_STREQ(text, "S-83886080-18");
}

}  // namespace
}  // namespace kvtest
