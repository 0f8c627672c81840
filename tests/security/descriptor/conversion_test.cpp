// Between the absolute and the self-relative form.
#include "tests/security/descriptor/parts.h"

namespace kvtest {
namespace {

// Around each test the last error is what the test says: 0x5A5A unless it says otherwise.
class Conversions : public testing::Test {
 protected:
  Conversions() { SetLastError(0x5A5A); }
  ~Conversions() override { EXPECT_EQ(GetLastError(), expected_error); }
  DWORD expected_error = 0x5A5A;
};

class Make_Self_Relative : public Conversions {};
class Make_Absolute : public Conversions {};

TEST_F(Make_Self_Relative, PacksTheHeaderTheOwnerAndTheWholeDacl) {
  Absolute source(system_sid, nullptr, nullptr, list_of_64, SE_DACL_PRESENT);
  Guarded made(bytes("ee*116"));
  DWORD size = 116;
  EXPECT_EQ(MakeSelfRelativeSD(source, made, &size), 1);
  EXPECT_EQ(size, 116u);
  EXPECT_BYTES(made.content(),
               "01 00 04 80 00*4  28 00*7  00*8  00*8  34 00*7 "
               "01 01 00 00 00 00 00 05 12 00 00 00"
               "02 00 40 00 01 00 00 00 00 00 14 00 19 00 02 00 01 01 00 00 00 00 00 05 12 00 00 00 aa*36");
}

TEST_F(Make_Self_Relative, PacksOwnerGroupSaclAndDaclInThisOrder) {
  Absolute source(admins_sid, system_sid, list_of_32, list_of_64, 0x003F);
  Guarded made(bytes("ee*164"));
  DWORD size = 164;
  EXPECT_EQ(MakeSelfRelativeSD(source, made, &size), 1);
  EXPECT_BYTES(made.content(),
               "01 00 3F 80 00*4  28 00*7  38 00*7  44 00*7  64 00*7 "
               "01 02 00 00 00 00 00 05 20 00 00 00 20 02 00 00"
               "01 01 00 00 00 00 00 05 12 00 00 00"
               "02 00 20 00 01 00 00 00 02 c0 14 00 01 00 00 00 01 01 00 00 00 00 00 05 12 00 00 00 bb*4 "
               "02 00 40 00 01 00 00 00 00 00 14 00 19 00 02 00 01 01 00 00 00 00 00 05 12 00 00 00 aa*36");
}

TEST_F(Make_Self_Relative, LeavesNoGapsBehindPartsOfOddSize) {
  Absolute source(nullptr, "01 00 00 00 00 00 00 05", "02 00 09 00 00 00 00 00 77", "02 00 08 00 00 00 00 00");
  Guarded made(bytes("ee*65"));
  DWORD size = 65;
  EXPECT_EQ(MakeSelfRelativeSD(source, made, &size), 1);
  EXPECT_BYTES(made.content(),
               "01 00 00 80 00*4  00*8  28 00*7  30 00*7  39 00*7 "
               "01 00 00 00 00 00 00 05  02 00 09 00 00 00 00 00 77  02 00 08 00 00 00 00 00");
}

TEST_F(Make_Self_Relative, OfADescriptorWithoutPartsIsItsHeader) {
  Absolute source(nullptr, nullptr, nullptr, nullptr, 0x1234, "ff ee 00 00 dd*4 00*32");
  Guarded made(bytes("ee*40"));
  DWORD size = 40;
  EXPECT_EQ(MakeSelfRelativeSD(source, made, &size), 1);
  EXPECT_BYTES(made.content(), "ff ee 34 92 00*4 00*32");
}

TEST_F(Make_Self_Relative, WithoutRoomTellsTheSizeNeeded) {
  Absolute source(system_sid, nullptr, nullptr, list_of_64, SE_DACL_PRESENT);
  for (const DWORD room : {115u, 40u, 1u, 0u}) {
    Guarded made(std::string(room, '\xEE'));
    DWORD size = room;
    SetLastError(0);
    EXPECT_EQ(MakeSelfRelativeSD(source, made, &size), 0) << room;
    EXPECT_EQ(size, 116u);
    EXPECT_EQ(GetLastError(), 122u);
    EXPECT_EQ(made.content(), std::string(room, '\xEE'));
  }
  DWORD size = 0;
  EXPECT_EQ(MakeSelfRelativeSD(source, nullptr, &size), 0);
  EXPECT_EQ(size, 116u);
  expected_error = 122;
}

TEST_F(Make_Self_Relative, WithMoreRoomLeavesTheSizeAndTheRest) {
  Absolute source(system_sid, nullptr, nullptr, nullptr);
  Guarded made(bytes("ee*60"));
  DWORD size = 60;
  EXPECT_EQ(MakeSelfRelativeSD(source, made, &size), 1);
  EXPECT_EQ(size, 60u);
  EXPECT_BYTES(made.content(), "01 00 00 80 00*4 28 00*7 00*24 01 01 00 00 00 00 00 05 12 00 00 00 ee*8");
}

TEST_F(Make_Self_Relative, OfNullOfItselfOrOfASelfRelativeOneFailsWithoutALastError) {
  Absolute source(system_sid, nullptr, nullptr, nullptr);
  Guarded relative(bytes("01 00 00 80 00*36"));
  Guarded made(bytes("ee*60"));
  DWORD size = 60;
  EXPECT_EQ(MakeSelfRelativeSD(nullptr, made, &size), 0);
  EXPECT_EQ(MakeSelfRelativeSD(source, source, &size), 0);
  EXPECT_EQ(MakeSelfRelativeSD(relative, made, &size), 0);
  size = 0;
  EXPECT_EQ(MakeSelfRelativeSD(source, source, &size), 0);
  EXPECT_EQ(MakeSelfRelativeSD(relative, made, &size), 0);
  EXPECT_EQ(size, 0u);
  EXPECT_BYTES(made.content(), "ee*60");
}

TEST_F(Make_Self_Relative, TakesTheLargestParts) {
  const std::string longest = "01 ff 00 00 00 00 00 05 77*1020", full = "02 00 ff ff 00 00 00 00 55*65527";
  Absolute source(longest.c_str(), longest.c_str(), full.c_str(), full.c_str());
  Guarded made(bytes("ee*133166"));
  DWORD size = 133166;
  EXPECT_EQ(MakeSelfRelativeSD(source, made, &size), 1);
  EXPECT_BYTES(made.content().substr(0, 40), "01 00 00 80 00*4  28 00*7  2c 04 00*6  30 08 00*6  2f 08 01 00*5");
  EXPECT_EQ(made.content().substr(40), bytes(longest) + bytes(longest) + bytes(full) + bytes(full));
  size = 133165;
  EXPECT_EQ(MakeSelfRelativeSD(source, made, &size), 0);
  EXPECT_EQ(size, 133166u);
  expected_error = 122;
}

TEST_F(Make_Self_Relative, OfAnOverrunListLosesWhatStandsBehindItsSize) {
  Absolute source(nullptr, nullptr, nullptr,
                  "02 00 14 00 01 00 00 00 00 00 14 00 01 00 00 00 01 01 00 00 00 00 00 05 12 00 00 00");
  Guarded made(bytes("ee*60"));
  DWORD size = 60;
  EXPECT_EQ(MakeSelfRelativeSD(source, made, &size), 1);
  EXPECT_BYTES(made.content(),
               "01 00 00 80 00*4 00*24 28 00*7 02 00 14 00 01 00 00 00 00 00 14 00 01 00 00 00 01 01 00 00");
}

// The five buffers of MakeAbsoluteSD with their sizes.
struct Buffers {
  explicit Buffers(DWORD header = 40, DWORD dacl = 64, DWORD sacl = 32, DWORD owner = 12, DWORD group = 16)
      : header(std::string(header, '\xEE')),
        dacl(std::string(dacl, '\xEE')),
        sacl(std::string(sacl, '\xEE')),
        owner(std::string(owner, '\xEE')),
        group(std::string(group, '\xEE')),
        sizes{header, dacl, sacl, owner, group} {}

  BOOL fill(PSECURITY_DESCRIPTOR source) {
    return MakeAbsoluteSD(source, header, &sizes[0], dacl.as<ACL>(), &sizes[1], sacl.as<ACL>(), &sizes[2], owner,
                          &sizes[3], group, &sizes[4]);
  }
  std::string told() const {
    std::string text;
    for (const DWORD size : sizes) text += std::to_string(size) + " ";
    return text;
  }
  bool are_untouched() const {
    for (const Guarded* buffer : {&header, &dacl, &sacl, &owner, &group}) {
      if (buffer->content() != std::string(buffer->size(), '\xEE')) return false;
    }
    return true;
  }

  Guarded header, dacl, sacl, owner, group;
  DWORD sizes[5];
};

// The source of most tests here: every part, each as large as the buffers are by default.
struct Whole : Absolute {
  Whole() : Absolute(system_sid, admins_sid, list_of_32, list_of_64, 0x003F, "01 ee 00 00 dd*4 00*32") {}
};

TEST_F(Make_Absolute, CopiesEveryPartAndPointsToTheCopies) {
  Whole source;
  Buffers to;
  EXPECT_EQ(to.fill(source), 1);
  EXPECT_BYTES(to.header.content().substr(0, 8), "01 ee 3F 00 00*4");
  const auto* const fields = to.header.as<SECURITY_DESCRIPTOR>();
  EXPECT_EQ(fields->Owner, to.owner.as<void>());
  EXPECT_EQ(fields->Group, to.group.as<void>());
  EXPECT_EQ(fields->Sacl, to.sacl.as<ACL>());
  EXPECT_EQ(fields->Dacl, to.dacl.as<ACL>());
  EXPECT_BYTES(to.owner.content(), system_sid);
  EXPECT_BYTES(to.group.content(), admins_sid);
  EXPECT_BYTES(to.sacl.content(), list_of_32);
  EXPECT_BYTES(to.dacl.content(), list_of_64);
  EXPECT_EQ(to.told(), "40 64 32 12 16 ");
}

TEST_F(Make_Absolute, OfAbsentPartsNeedsNeitherBuffersNorSizes) {
  Absolute source(system_sid, nullptr, nullptr, nullptr, 0x0001);
  Guarded header(bytes("ee*40")), owner(bytes("ee*12"));
  DWORD header_size = 40, owner_size = 12;
  EXPECT_EQ(MakeAbsoluteSD(source, header, &header_size, nullptr, nullptr, nullptr, nullptr, owner, &owner_size,
                           nullptr, nullptr),
            1);
  EXPECT_BYTES(owner.content(), system_sid);
  EXPECT_EQ(header.as<SECURITY_DESCRIPTOR>()->Owner, owner.as<void>());
  EXPECT_BYTES(header.content().substr(0, 8), "01 00 01 00 00*4");
  EXPECT_BYTES(header.content().substr(16), "00*24");
}

TEST_F(Make_Absolute, OfNullFailsWithoutALastError) {
  Buffers to;
  EXPECT_EQ(to.fill(nullptr), 0);
  EXPECT_TRUE(to.are_untouched());
  EXPECT_EQ(to.told(), "40 64 32 12 16 ");
}

TEST_F(Make_Absolute, OfAPartWithoutABufferFailsWithoutALastErrorBeforeAnySize) {
  Whole source;
  Buffers to(39, 1, 1, 1, 1);
  DWORD* const sizes = to.sizes;
  EXPECT_EQ(MakeAbsoluteSD(source, to.header, sizes, nullptr, sizes + 1, to.sacl.as<ACL>(), sizes + 2, to.owner,
                           sizes + 3, to.group, sizes + 4),
            0);
  EXPECT_EQ(MakeAbsoluteSD(source, to.header, sizes, to.dacl.as<ACL>(), sizes + 1, nullptr, sizes + 2, to.owner,
                           sizes + 3, to.group, sizes + 4),
            0);
  EXPECT_EQ(MakeAbsoluteSD(source, to.header, sizes, to.dacl.as<ACL>(), sizes + 1, to.sacl.as<ACL>(), sizes + 2,
                           nullptr, sizes + 3, to.group, sizes + 4),
            0);
  EXPECT_EQ(MakeAbsoluteSD(source, to.header, sizes, to.dacl.as<ACL>(), sizes + 1, to.sacl.as<ACL>(), sizes + 2,
                           to.owner, sizes + 3, nullptr, sizes + 4),
            0);
  EXPECT_EQ(to.told(), "39 1 1 1 1 ");
  EXPECT_TRUE(to.are_untouched());
}

// QUIRK absolute-size-silent
TEST_F(Make_Absolute, WithoutRoomForTheHeaderTellsFortyWithoutALastError) {
  Whole source;
  Buffers to(39, 1, 1, 1, 1);
  EXPECT_EQ(to.fill(source), 0);
  EXPECT_EQ(to.told(), "40 1 1 1 1 ");
  Buffers none;
  none.sizes[0] = 4096;
  EXPECT_EQ(MakeAbsoluteSD(source, nullptr, none.sizes, none.dacl.as<ACL>(), none.sizes + 1, none.sacl.as<ACL>(),
                           none.sizes + 2, none.owner, none.sizes + 3, none.group, none.sizes + 4),
            0);
  EXPECT_EQ(none.told(), "40 64 32 12 16 ");
  EXPECT_TRUE(to.are_untouched());
  EXPECT_TRUE(none.are_untouched());
}

TEST_F(Make_Absolute, TellsTheSizeOfEveryPartWithoutRoom) {
  Whole source;
  Buffers all(40, 63, 31, 11, 15);
  EXPECT_EQ(all.fill(source), 0);
  EXPECT_EQ(all.told(), "40 64 32 12 16 ");
  EXPECT_TRUE(all.are_untouched());
  expected_error = 122;
}

TEST_F(Make_Absolute, FailsForASinglePartWithoutRoomAndLeavesTheOtherSizes) {
  Whole source;
  for (int part = 1; part < 5; ++part) {
    Buffers to(41, 65, 33, 13, 17);
    to.sizes[part] = 7;
    SetLastError(0);
    EXPECT_EQ(to.fill(source), 0) << part;
    const char* const told[] = {"", "41 64 33 13 17 ", "41 65 32 13 17 ", "41 65 33 12 17 ", "41 65 33 13 16 "};
    EXPECT_EQ(to.told(), told[part]);
    EXPECT_EQ(GetLastError(), 122u);
    EXPECT_TRUE(to.are_untouched());
  }
  expected_error = 122;
}

// Words of a page of known address that a self-relative descriptor's fields lead to.
class Low_Page {
 public:
  Low_Page() {
    void* const wanted = reinterpret_cast<void*>(0x20000000);
    void* const page =
        mmap(wanted, 4096, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0);
    page_ = page == wanted ? static_cast<char*>(page) : nullptr;
  }
  ~Low_Page() {
    if (page_ != nullptr) munmap(page_, 4096);
  }
  char* at(std::size_t offset) { return page_ + offset; }
  bool is_there() const { return page_ != nullptr; }
  void put(std::size_t offset, const char* content) {
    const std::string copied = bytes(content);
    memcpy(page_ + offset, copied.data(), copied.size());
  }
  std::string content(std::size_t offset, std::size_t size) const { return {page_ + offset, size}; }

 private:
  char* page_;
};

// Puts a self-relative header at 0x20000000 whose fields hold the addresses of four parts behind it.
void put_crafted_descriptor(Low_Page& page) {
  page.put(0, "01 00 3F 80 00*4  00 01 00 20 00*4  00 02 00 20 00*4  00 03 00 20 00*4  00 04 00 20 00*4");
  page.put(0x100, "01 01 00 00 00 00 00 05 12 00 00 00");
  page.put(0x200, "01 02 00 00 00 00 00 05 20 00 00 00 20 02 00 00");
  page.put(0x300, "02 00 08 00 00 00 00 00");
  page.put(0x400, "02 00 08 e0 00 00 00 00 00 00 04 00");
}

// What adding 0x20000000 to the first eight bytes of each part makes of them; the header stays.
void expect_words_grown_once(const Low_Page& page) {
  EXPECT_BYTES(page.content(0, 40),
               "01 00 3F 80 00*4  00 01 00 20 00*4  00 02 00 20 00*4  00 03 00 20 00*4  00 04 00 20 00*4");
  EXPECT_BYTES(page.content(0x100, 12), "01 01 00 20 00 00 00 05 12 00 00 00");
  EXPECT_BYTES(page.content(0x200, 16), "01 02 00 20 00 00 00 05 20 00 00 00 20 02 00 00");
  EXPECT_BYTES(page.content(0x300, 8), "02 00 08 20 00 00 00 00");
  EXPECT_BYTES(page.content(0x400, 12), "02 00 08 00 01 00 00 00 00 00 04 00");
}

// QUIRK unpack-writes
TEST_F(Conversions, AddTheDescriptorsAddressToTheWordsThatASelfRelativeOneLeadsTo) {
  {
    Low_Page page;
    if (!page.is_there()) GTEST_SKIP() << "the address 0x20000000 is taken in this process";
    put_crafted_descriptor(page);
    EXPECT_EQ(GetSecurityDescriptorLength(page.at(0)), 40u + 12 + 16 + 8 + 12);
    expect_words_grown_once(page);
  }
  {
    Low_Page page;
    put_crafted_descriptor(page);
    EXPECT_EQ(IsValidSecurityDescriptor(page.at(0)), 1);
    expect_words_grown_once(page);
  }
  Low_Page page;
  put_crafted_descriptor(page);
  Buffers to(40, 8, 8, 12, 16);
  EXPECT_EQ(to.fill(page.at(0)), 0);
  EXPECT_EQ(to.told(), "40 8 8200 12 16 ");
  expect_words_grown_once(page);
  expected_error = 122;
}

}  // namespace
}  // namespace kvtest
