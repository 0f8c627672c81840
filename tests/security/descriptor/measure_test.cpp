// Length and validity of absolute descriptors.
#include "tests/security/descriptor/parts.h"

namespace kvtest {
namespace {

// Around each test: neither function sets the last error.
class Measures : public testing::Test {
 protected:
  Measures() { SetLastError(0x5A5A); }
  ~Measures() override { EXPECT_EQ(GetLastError(), 0x5A5Au); }
};

class Descriptor_Length : public Measures {};
class Valid_Descriptor : public Measures {};

TEST_F(Descriptor_Length, OfADescriptorWithoutPartsIsForty) {
  Absolute descriptor(nullptr, nullptr, nullptr, nullptr);
  EXPECT_EQ(GetSecurityDescriptorLength(descriptor), 40u);
}

// QUIRK descriptor-length-in-use
TEST_F(Descriptor_Length, CountsTheBytesOfAListThatAreInUse) {
  Absolute descriptor(system_sid, nullptr, nullptr, list_of_64);
  EXPECT_EQ(GetSecurityDescriptorLength(descriptor), 40u + 12 + 28);
}

TEST_F(Descriptor_Length, CountsEveryPart) {
  Absolute descriptor(admins_sid, system_sid, list_of_32, "02 00 08 00 00 00 00 00");
  EXPECT_EQ(GetSecurityDescriptorLength(descriptor), 40u + 16 + 12 + 28 + 8);
}

TEST_F(Descriptor_Length, CountsListsWhetherTheyArePresentOrNot) {
  Absolute absent(nullptr, nullptr, list_of_32, list_of_64, 0);
  Absolute present(nullptr, nullptr, list_of_32, list_of_64, SE_DACL_PRESENT | SE_SACL_PRESENT);
  EXPECT_EQ(GetSecurityDescriptorLength(absent), 96u);
  EXPECT_EQ(GetSecurityDescriptorLength(present), 96u);
}

TEST_F(Descriptor_Length, OfAnOverrunListIsLongerThanItsSize) {
  Absolute descriptor(nullptr, nullptr, nullptr,
                      "02 00 14 00 01 00 00 00 00 00 14 00 01 00 00 00 01 01 00 00 00 00 00 05 12 00 00 00");
  EXPECT_EQ(GetSecurityDescriptorLength(descriptor), 40u + 28);
}

TEST_F(Valid_Descriptor, HasTheRevisionsOfItsPartsRight) {
  EXPECT_EQ(IsValidSecurityDescriptor(Absolute(system_sid, admins_sid, list_of_32, list_of_64)), 1);
  EXPECT_EQ(IsValidSecurityDescriptor(Absolute(nullptr, nullptr, nullptr, nullptr)), 1);
}

TEST_F(Valid_Descriptor, HasNoOtherRevision) {
  EXPECT_EQ(IsValidSecurityDescriptor(Absolute(nullptr, nullptr, nullptr, nullptr, 0, "00*40")), 0);
  EXPECT_EQ(IsValidSecurityDescriptor(Absolute(nullptr, nullptr, nullptr, nullptr, 0, "02 00*39")), 0);
  EXPECT_EQ(IsValidSecurityDescriptor(Absolute("02 00*7", nullptr, nullptr, nullptr)), 0);
  EXPECT_EQ(IsValidSecurityDescriptor(Absolute(nullptr, "00 00*7", nullptr, nullptr)), 0);
  EXPECT_EQ(IsValidSecurityDescriptor(Absolute(nullptr, nullptr, "01 00*7", nullptr)), 0);
  EXPECT_EQ(IsValidSecurityDescriptor(Absolute(nullptr, nullptr, nullptr, "04 00*7")), 0);
}

TEST_F(Valid_Descriptor, IsAskedForNothingButRevisions) {
  EXPECT_EQ(IsValidSecurityDescriptor(Absolute("01", "01", "02", "02", 0x7FC0, "01 ee 00 00 dd*4 00*32")), 1);
}

}  // namespace
}  // namespace kvtest
