// Absolute descriptors: made into larger buffers and of a descriptor that says it is self-relative; and what is refused
// or taken of their flags.
#include <kelvane/security.h>

#include "tests/security/descriptor/parts.h"

namespace kvtest {
namespace {

// Around each test: nothing here sets the last error.
class Absolute_Descriptors : public testing::Test {
 protected:
  Absolute_Descriptors() { SetLastError(0x5A5A); }
  ~Absolute_Descriptors() override { EXPECT_EQ(GetLastError(), 0x5A5Au); }
};

class Made_Absolute : public Absolute_Descriptors {};
class Told_Descriptor : public Absolute_Descriptors {};
class Native_Flags : public Absolute_Descriptors {};

TEST_F(Made_Absolute, IntoLargerBuffersLeavesTheirSizesAndWhatIsBehindTheParts) {
  Absolute source(system_sid, admins_sid, list_of_32, list_of_64, 0x003F);
  Guarded header(bytes("ee*44")), dacl(bytes("ee*65")), sacl(bytes("ee*33")), owner(bytes("ee*13")),
      group(bytes("ee*17"));
  DWORD sizes[] = {44, 65, 33, 13, 17};
  EXPECT_EQ(MakeAbsoluteSD(source, header, &sizes[0], dacl.as<ACL>(), &sizes[1], sacl.as<ACL>(), &sizes[2], owner,
                           &sizes[3], group, &sizes[4]),
            1);
  EXPECT_EQ(sizes[0], 44u);
  EXPECT_EQ(sizes[1], 65u);
  EXPECT_EQ(sizes[2], 33u);
  EXPECT_EQ(sizes[3], 13u);
  EXPECT_EQ(sizes[4], 17u);
  EXPECT_BYTES(header.content().substr(40), "ee*4");
  EXPECT_BYTES(dacl.content(), std::string(list_of_64) + " ee");
  EXPECT_BYTES(sacl.content(), std::string(list_of_32) + " ee");
  EXPECT_BYTES(owner.content(), std::string(system_sid) + " ee");
  EXPECT_BYTES(group.content(), std::string(admins_sid) + " ee");
}

// A page at 0x20000000, so that the words that grow by the descriptor's address can be written out.
class Known_Page {
 public:
  Known_Page() {
    void* const wanted = reinterpret_cast<void*>(0x20000000);
    void* const page =
        mmap(wanted, 4096, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0);
    if (page == wanted) start_ = static_cast<char*>(page);
    if (page != wanted && page != MAP_FAILED) munmap(page, 4096);
  }
  ~Known_Page() {
    if (start_ != nullptr) munmap(start_, 4096);
  }
  Known_Page(const Known_Page&) = delete;
  Known_Page& operator=(const Known_Page&) = delete;

  char* start() { return start_; }
  void put(std::size_t offset, const char* content) {
    const std::string copied = bytes(content);
    std::memcpy(start_ + offset, copied.data(), copied.size());
  }

 private:
  char* start_ = nullptr;
};

TEST_F(Made_Absolute, OfOneThatSaysItIsSelfRelativeNoLongerSaysIt) {
  Known_Page page;
  if (page.start() == nullptr) GTEST_SKIP() << "the address 0x20000000 is taken in this process";
  // The fields hold addresses, where the words grow: the lists' sizes from 0xE008 to 8.
  page.put(0, "01 77 3F 80 00*4  00 01 00 20 00*4  00 02 00 20 00*4  00 03 00 20 00*4  00 04 00 20 00*4");
  page.put(0x100, "01 01 00 00 00 00 00 05 12 00 00 00");
  page.put(0x200, "01 02 00 00 00 00 00 05 20 00 00 00 20 02 00 00");
  page.put(0x300, "02 00 08 e0 00 00 00 00");
  page.put(0x400, "02 00 08 e0 00 00 00 00");
  Guarded header(bytes("ee*40")), dacl(bytes("ee*8")), sacl(bytes("ee*8")), owner(bytes("ee*12")),
      group(bytes("ee*16"));
  DWORD sizes[] = {40, 8, 8, 12, 16};
  EXPECT_EQ(MakeAbsoluteSD(page.start(), header, &sizes[0], dacl.as<ACL>(), &sizes[1], sacl.as<ACL>(), &sizes[2], owner,
                           &sizes[3], group, &sizes[4]),
            1);
  EXPECT_BYTES(header.content().substr(0, 8), "01 77 3F 00 00*4");
  EXPECT_EQ(header.as<SECURITY_DESCRIPTOR>()->Owner, owner.as<void>());
  EXPECT_EQ(header.as<SECURITY_DESCRIPTOR>()->Dacl, dacl.as<ACL>());
  EXPECT_BYTES(owner.content(), "01 01 00 20 00 00 00 05 12 00 00 00");
  EXPECT_BYTES(group.content(), "01 02 00 20 00 00 00 05 20 00 00 00 20 02 00 00");
  EXPECT_BYTES(sacl.content(), "02 00 08 00 01 00 00 00");
  EXPECT_BYTES(dacl.content(), "02 00 08 00 01 00 00 00");
}

TEST_F(Told_Descriptor, OfTheSelfRelativeFormGivesTheOffsetsOfGroupAndSaclToo) {
  Guarded descriptor(bytes("01 00 10 80 00*4 00*8 34 00*7 44 00*7 00*8"));
  PSID sid = nullptr;
  PACL acl = nullptr;
  BOOL present = -1, defaulted = -1;
  EXPECT_EQ(GetSecurityDescriptorGroup(descriptor, &sid, &defaulted), 1);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(sid), 52u);
  EXPECT_EQ(GetSecurityDescriptorSacl(descriptor, &present, &acl, &defaulted), 1);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(acl), 68u);
  EXPECT_EQ(present, 16);
}

TEST_F(Told_Descriptor, HasItsControlToldInTheSelfRelativeFormAndInAnyRevision) {
  Guarded descriptor(bytes("00 00 04 80 00*36"));
  WORD control = 0;
  DWORD revision = 77;
  EXPECT_EQ(GetSecurityDescriptorControl(descriptor, &control, &revision), 1);
  EXPECT_EQ(control, 0x8004);
  EXPECT_EQ(revision, 0u);
}

TEST_F(Native_Flags, ButTheDaclsAreTakenWhole) {
  Guarded descriptor(bytes("01 00*39"));
  SetLastError(0x5A5A);
  EXPECT_EQ(RtlSetSaclSecurityDescriptor(descriptor, 0x100, nullptr, 0x10000), 0x5A5A);
  EXPECT_BYTES(descriptor.content(), "01 00 30 00 00*36");
  EXPECT_EQ(RtlSetOwnerSecurityDescriptor(descriptor, nullptr, 0x100), 0x5A5A);
  EXPECT_EQ(RtlSetGroupSecurityDescriptor(descriptor, nullptr, 0x1000000), 1);
  EXPECT_BYTES(descriptor.content(), "01 00 33 00 00*36");
}

TEST_F(Native_Flags, OfASelfRelativeOneAreRefusedEachInItsOwnWay) {
  Guarded descriptor(bytes("01 00 00 80 00*36"));
  EXPECT_EQ(RtlSetDaclSecurityDescriptor(descriptor, 1, nullptr, 1), 13);
  EXPECT_EQ(RtlSetSaclSecurityDescriptor(descriptor, 1, nullptr, 1), 0x5A5A);
  EXPECT_EQ(RtlSetOwnerSecurityDescriptor(descriptor, nullptr, 1), 0x5A5A);
  EXPECT_EQ(RtlSetGroupSecurityDescriptor(descriptor, nullptr, 1), 0x5A5A);
  EXPECT_BYTES(descriptor.content(), "01 00 00 80 00*36");
}

}  // namespace
}  // namespace kvtest
