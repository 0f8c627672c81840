// The fields of a security descriptor: made, read, edited.
#include <kelvane/security.h>

#include "tests/security/guarded.h"

namespace kvtest {
namespace {

// Around each test: none of these functions sets the last error.
class Descriptor_Fields : public testing::Test {
 protected:
  Descriptor_Fields() { SetLastError(0x5A5A); }
  ~Descriptor_Fields() override { EXPECT_EQ(GetLastError(), 0x5A5Au); }
};

class Initialize_Descriptor : public Descriptor_Fields {};
class Get_Descriptor : public Descriptor_Fields {};
class Set_Descriptor : public Descriptor_Fields {};

// A part is only handed on: any address will do.
template <class T>
T* any_address(std::uintptr_t number) {
  return reinterpret_cast<T*>(number);
}

const char* const full = "01 00 FF 7F 00*4 08 07 06 05 04 03 02 01 18*8 28*8 38*8";

TEST_F(Initialize_Descriptor, ClearsFortyBytesAndWritesTheRevision) {
  Guarded descriptor(bytes("ee*40"));
  EXPECT_EQ(InitializeSecurityDescriptor(descriptor, 1), 1);
  EXPECT_BYTES(descriptor.content(), "01 00*39");
}

// QUIRK descriptor-cleared-first
TEST_F(Initialize_Descriptor, OfAnotherRevisionFailsAndClearsItAllTheSame) {
  for (const DWORD revision : {0u, 2u, 0x101u, 0xFFFFFFFFu}) {
    Guarded descriptor(bytes("ee*40"));
    EXPECT_EQ(InitializeSecurityDescriptor(descriptor, revision), 0) << revision;
    EXPECT_BYTES(descriptor.content(), "00*40");
  }
}

TEST_F(Get_Descriptor, ControlIsTheWordAndTheRevisionWidened) {
  Guarded descriptor(bytes("f9 ee 34 92 00*36"));
  Guarded control(bytes("ee*2")), revision(bytes("ee*4"));
  EXPECT_EQ(GetSecurityDescriptorControl(descriptor, control.as<WORD>(), revision.as<DWORD>()), 1);
  EXPECT_BYTES(control.content(), "34 92");
  EXPECT_BYTES(revision.content(), "f9 00 00 00");
}

// QUIRK descriptor-bit-values
TEST_F(Get_Descriptor, BitsAreToldByTheirOwnValues) {
  Guarded descriptor(bytes(full));
  PSID sid = nullptr;
  PACL acl = nullptr;
  BOOL present = -1, defaulted = -1;
  EXPECT_EQ(GetSecurityDescriptorOwner(descriptor, &sid, &defaulted), 1);
  EXPECT_EQ(sid, any_address<void>(0x0102030405060708));
  EXPECT_EQ(defaulted, 1);
  EXPECT_EQ(GetSecurityDescriptorGroup(descriptor, &sid, &defaulted), 1);
  EXPECT_EQ(sid, any_address<void>(0x1818181818181818));
  EXPECT_EQ(defaulted, 2);
  EXPECT_EQ(GetSecurityDescriptorDacl(descriptor, &present, &acl, &defaulted), 1);
  EXPECT_EQ(acl, any_address<ACL>(0x3838383838383838));
  EXPECT_EQ(present, 4);
  EXPECT_EQ(defaulted, 8);
  EXPECT_EQ(GetSecurityDescriptorSacl(descriptor, &present, &acl, &defaulted), 1);
  EXPECT_EQ(acl, any_address<ACL>(0x2828282828282828));
  EXPECT_EQ(present, 0x10);
  EXPECT_EQ(defaulted, 0x20);
}

TEST_F(Get_Descriptor, BitsThatAreNotSetAreZeroWhateverElseIs) {
  Guarded descriptor(bytes("09 00 C0 FF 00*36"));
  PSID sid = this;
  PACL acl = any_address<ACL>(8);
  BOOL present = -1, defaulted = -1;
  EXPECT_EQ(GetSecurityDescriptorOwner(descriptor, &sid, &defaulted), 1);
  EXPECT_EQ(sid, nullptr);
  EXPECT_EQ(defaulted, 0);
  defaulted = -1;
  EXPECT_EQ(GetSecurityDescriptorGroup(descriptor, &sid, &defaulted), 1);
  EXPECT_EQ(defaulted, 0);
  defaulted = -1;
  EXPECT_EQ(GetSecurityDescriptorDacl(descriptor, &present, &acl, &defaulted), 1);
  EXPECT_EQ(acl, nullptr);
  EXPECT_EQ(present, 0);
  EXPECT_EQ(defaulted, 0);
  present = defaulted = -1;
  EXPECT_EQ(GetSecurityDescriptorSacl(descriptor, &present, &acl, &defaulted), 1);
  EXPECT_EQ(present, 0);
  EXPECT_EQ(defaulted, 0);
}

TEST_F(Get_Descriptor, AListIsToldAlsoWhenItIsNotPresent) {
  Guarded descriptor(bytes("01 00 00 00 00*4 00*16 28 00*7 38 00*7"));
  PACL acl = nullptr;
  BOOL present = -1, defaulted = -1;
  EXPECT_EQ(GetSecurityDescriptorDacl(descriptor, &present, &acl, &defaulted), 1);
  EXPECT_EQ(acl, any_address<ACL>(0x38));
  EXPECT_EQ(present, 0);
  EXPECT_EQ(GetSecurityDescriptorSacl(descriptor, &present, &acl, &defaulted), 1);
  EXPECT_EQ(acl, any_address<ACL>(0x28));
}

TEST_F(Get_Descriptor, OfASelfRelativeOneGivesOffsets) {
  Guarded descriptor(bytes("01 00 04 80 00*4 28 00*7 00*16 34 00*7"));
  PSID sid = nullptr;
  PACL acl = nullptr;
  BOOL present = -1, defaulted = -1;
  EXPECT_EQ(GetSecurityDescriptorOwner(descriptor, &sid, &defaulted), 1);
  EXPECT_EQ(sid, any_address<void>(40));
  EXPECT_EQ(GetSecurityDescriptorDacl(descriptor, &present, &acl, &defaulted), 1);
  EXPECT_EQ(acl, any_address<ACL>(52));
}

TEST_F(Set_Descriptor, OwnerStoresTheFieldAndItsBit) {
  Guarded descriptor(bytes("01 00 FE 7F 00*36"));
  EXPECT_EQ(SetSecurityDescriptorOwner(descriptor, any_address<void>(0x1122334455667788), 7), 1);
  EXPECT_BYTES(descriptor.content(), "01 00 FF 7F 00*4 88 77 66 55 44 33 22 11 00*24");
  EXPECT_EQ(SetSecurityDescriptorOwner(descriptor, nullptr, 0), 1);
  EXPECT_BYTES(descriptor.content(), "01 00 FE 7F 00*36");
}

TEST_F(Set_Descriptor, GroupStoresTheFieldAndItsBit) {
  Guarded descriptor(bytes("01 00 FD 7F 00*36"));
  EXPECT_EQ(SetSecurityDescriptorGroup(descriptor, any_address<void>(0x1122334455667788), -1), 1);
  EXPECT_BYTES(descriptor.content(), "01 00 FF 7F 00*4 00*8 88 77 66 55 44 33 22 11 00*16");
  EXPECT_EQ(SetSecurityDescriptorGroup(descriptor, nullptr, 0), 1);
  EXPECT_BYTES(descriptor.content(), "01 00 FD 7F 00*36");
}

TEST_F(Set_Descriptor, DaclStoresTheFieldAndItsBits) {
  Guarded descriptor(bytes("01 00 F3 7F 00*36"));
  EXPECT_EQ(SetSecurityDescriptorDacl(descriptor, 1, any_address<ACL>(0x1122334455667788), 1), 1);
  EXPECT_BYTES(descriptor.content(), "01 00 FF 7F 00*4 00*24 88 77 66 55 44 33 22 11");
  EXPECT_EQ(SetSecurityDescriptorDacl(descriptor, 256, nullptr, 0), 1);
  EXPECT_BYTES(descriptor.content(), "01 00 F7 7F 00*4 00*32");
}

TEST_F(Set_Descriptor, SaclStoresTheFieldAndItsBits) {
  Guarded descriptor(bytes("01 00 CF 7F 00*36"));
  EXPECT_EQ(SetSecurityDescriptorSacl(descriptor, 1, any_address<ACL>(0x1122334455667788), 1), 1);
  EXPECT_BYTES(descriptor.content(), "01 00 FF 7F 00*4 00*16 88 77 66 55 44 33 22 11 00*8");
  EXPECT_EQ(SetSecurityDescriptorSacl(descriptor, 256, nullptr, 0), 1);
  EXPECT_BYTES(descriptor.content(), "01 00 DF 7F 00*4 00*32");
}

// QUIRK absent-acl-stays
TEST_F(Set_Descriptor, AnAbsentListClearsThePresentBitOnly) {
  Guarded descriptor(bytes(full));
  EXPECT_EQ(SetSecurityDescriptorDacl(descriptor, 0, any_address<ACL>(0x99), 0), 1);
  EXPECT_BYTES(descriptor.content(), "01 00 FB 7F 00*4 08 07 06 05 04 03 02 01 18*8 28*8 38*8");
  EXPECT_EQ(SetSecurityDescriptorSacl(descriptor, 0, any_address<ACL>(0x99), 0), 1);
  EXPECT_BYTES(descriptor.content(), "01 00 EB 7F 00*4 08 07 06 05 04 03 02 01 18*8 28*8 38*8");
  Guarded cleared(bytes("01 00 00 00 00*36"));
  EXPECT_EQ(SetSecurityDescriptorDacl(cleared, 0, any_address<ACL>(0x99), 1), 1);
  EXPECT_EQ(SetSecurityDescriptorSacl(cleared, 0, any_address<ACL>(0x99), 1), 1);
  EXPECT_BYTES(cleared.content(), "01 00*39");
}

TEST_F(Set_Descriptor, OfASelfRelativeOneOrOfNullFails) {
  Guarded descriptor(bytes("01 00 00 80 00*36"));
  for (const PSECURITY_DESCRIPTOR refused : {static_cast<void*>(descriptor), static_cast<void*>(nullptr)}) {
    EXPECT_EQ(SetSecurityDescriptorOwner(refused, any_address<void>(8), 1), 0);
    EXPECT_EQ(SetSecurityDescriptorGroup(refused, any_address<void>(8), 1), 0);
    EXPECT_EQ(SetSecurityDescriptorDacl(refused, 1, any_address<ACL>(8), 1), 0);
    EXPECT_EQ(SetSecurityDescriptorSacl(refused, 1, any_address<ACL>(8), 1), 0);
    EXPECT_EQ(SetSecurityDescriptorDacl(refused, 0, nullptr, 0), 0);
    EXPECT_EQ(SetSecurityDescriptorSacl(refused, 0, nullptr, 0), 0);
  }
  EXPECT_BYTES(descriptor.content(), "01 00 00 80 00*36");
}

TEST_F(Set_Descriptor, DoesNotLookAtTheRevision) {
  Guarded descriptor(bytes("00*40"));
  EXPECT_EQ(SetSecurityDescriptorOwner(descriptor, nullptr, 1), 1);
  EXPECT_BYTES(descriptor.content(), "00 00 01 00 00*36");
}

TEST_F(Set_Descriptor, AtAnOddAddressWorks) {
  Guarded block(bytes("ee*41"));
  EXPECT_EQ(InitializeSecurityDescriptor(block.as<void>(1), 1), 1);
  EXPECT_EQ(SetSecurityDescriptorOwner(block.as<void>(1), any_address<void>(0x28), 0), 1);
  EXPECT_BYTES(block.content(), "ee 01 00*7 28 00*31");
}

// The native forms, with the last error at 77.
class Native_Descriptors : public testing::Test {
 protected:
  Native_Descriptors() { SetLastError(77); }
  ~Native_Descriptors() override { EXPECT_EQ(GetLastError(), 77u); }
};

TEST_F(Native_Descriptors, AreMadeWithTheLastErrorWhateverTheOutcome) {
  Guarded descriptor(bytes("ee*40"));
  EXPECT_EQ(RtlCreateSecurityDescriptor(descriptor, 2), 77);
  EXPECT_BYTES(descriptor.content(), "00*40");
  EXPECT_EQ(RtlCreateSecurityDescriptor(descriptor, 1), 77);
  EXPECT_BYTES(descriptor.content(), "01 00*39");
}

TEST_F(Native_Descriptors, TakeADaclWithZeroOr13) {
  Guarded descriptor(bytes("01 00 00 00 00*36"));
  EXPECT_EQ(RtlSetDaclSecurityDescriptor(descriptor, 1, any_address<ACL>(8), 1), 0);
  EXPECT_BYTES(descriptor.content(), "01 00 0C 00 00*4 00*24 08 00*7");
  EXPECT_EQ(RtlSetDaclSecurityDescriptor(nullptr, 1, any_address<ACL>(8), 1), 13);
}

TEST_F(Native_Descriptors, TakeTheFlagsOfADaclAsBytes) {
  Guarded descriptor(bytes("01 00 00 00 00*36"));
  // As a program calls it whose own declaration has wider flags.
  const auto wide_flags = reinterpret_cast<NTSTATUS (*)(PSECURITY_DESCRIPTOR, DWORD, PACL, DWORD)>(
      reinterpret_cast<void*>(&RtlSetDaclSecurityDescriptor));
  EXPECT_EQ(wide_flags(descriptor, 0x101, any_address<ACL>(8), 0x100), 0);
  EXPECT_BYTES(descriptor.content(), "01 00 04 00 00*4 00*24 08 00*7");
  EXPECT_EQ(wide_flags(descriptor, 0x100, nullptr, 0), 0);
  EXPECT_BYTES(descriptor.content(), "01 00 00 00 00*4 00*24 08 00*7");
}

TEST_F(Native_Descriptors, TakeASaclAndAnOwnerWithTheLastErrorWhateverTheOutcome) {
  Guarded descriptor(bytes("01 00 00 00 00*36"));
  EXPECT_EQ(RtlSetSaclSecurityDescriptor(descriptor, 1, any_address<ACL>(8), 1), 77);
  EXPECT_EQ(RtlSetOwnerSecurityDescriptor(descriptor, any_address<void>(9), 1), 77);
  EXPECT_BYTES(descriptor.content(), "01 00 31 00 00*4 09 00*7 00*8 08 00*7 00*8");
  EXPECT_EQ(RtlSetSaclSecurityDescriptor(nullptr, 1, nullptr, 1), 77);
  EXPECT_EQ(RtlSetOwnerSecurityDescriptor(nullptr, nullptr, 1), 77);
}

TEST_F(Native_Descriptors, TakeAGroupWithOneOrTheLastError) {
  Guarded descriptor(bytes("01 00 00 00 00*36"));
  EXPECT_EQ(RtlSetGroupSecurityDescriptor(descriptor, any_address<void>(9), 1), 1);
  EXPECT_BYTES(descriptor.content(), "01 00 02 00 00*4 00*8 09 00*7 00*16");
  EXPECT_EQ(RtlSetGroupSecurityDescriptor(nullptr, any_address<void>(9), 1), 77);
}

}  // namespace
}  // namespace kvtest
