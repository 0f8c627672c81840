// One principal into or out of a descriptor: the lists as they lie in memory.
#include "security/com_principals.h"

#include <windows.h>

#include "tests/security/guarded.h"

namespace kvtest {
namespace {

// Owner and group in blocks of 1,036 bytes that end at an unreadable page.
class Principals_Of_A_Descriptor : public testing::Test {
 protected:
  Principals_Of_A_Descriptor() { SetLastError(0x5A5A); }
  ~Principals_Of_A_Descriptor() override { EXPECT_EQ(GetLastError(), 0x5A5Au); }

  void set(const std::string& owner_content, const std::string& group_content) {
    put(owner, owner_content);
    put(group, group_content);
    descriptor.as<SECURITY_DESCRIPTOR>()->Owner = owner;
    descriptor.as<SECURITY_DESCRIPTOR>()->Group = group;
  }
  LONG add_user(DWORD id) { return KvSDHandleSinglePrincipal(descriptor, id, true, true); }
  LONG add_group(DWORD id) { return KvSDHandleSinglePrincipal(descriptor, id, false, true); }
  LONG remove_user(DWORD id) { return KvSDHandleSinglePrincipal(descriptor, id, true, false); }
  LONG remove_group(DWORD id) { return KvSDHandleSinglePrincipal(descriptor, id, false, false); }

  static std::string start(const Guarded& block, std::size_t size) { return block.content().substr(0, size); }

  Guarded descriptor{bytes("01 00*39")}, owner{bytes("00*1036")}, group{bytes("00*1036")};

 private:
  static void put(Guarded& block, const std::string& content) {
    std::memset(block.as<char>(), 0, block.size());
    const std::string copied = bytes(content);
    std::memcpy(block.as<char>(), copied.data(), copied.size());
  }
};

const char* const user_500 = "01 01 00*6 f4 01 00 00";
const char* const group_100 = "01 01 00*6 64 00 00 00";
const char* const everybody = "01 01 00*6 ff*4";
const char* const placeholder = "01 01 00*6 f0 ff ff ff";

TEST_F(Principals_Of_A_Descriptor, AreAppended) {
  set(user_500, group_100);
  EXPECT_EQ(add_user(7), 0);
  EXPECT_EQ(add_group(8), 0);
  EXPECT_BYTES(start(owner, 20), "01 02 00*6 f4 01 00 00 07 00 00 00 00*4");
  EXPECT_BYTES(start(group, 20), "01 02 00*6 64 00 00 00 08 00 00 00 00*4");
}

TEST_F(Principals_Of_A_Descriptor, TakeAnEmptyListsFirstPlace) {
  set("01 00 00*6", group_100);
  EXPECT_EQ(add_user(7), 0);
  EXPECT_BYTES(start(owner, 12), "01 01 00*6 07 00 00 00");
}

TEST_F(Principals_Of_A_Descriptor, TakeThePlaceholdersPlace) {
  set(placeholder, group_100);
  EXPECT_EQ(add_user(7), 0);
  EXPECT_BYTES(start(owner, 16), "01 01 00*6 07 00 00 00 00*4");
}

TEST_F(Principals_Of_A_Descriptor, BesideAPlaceholderAmongOthersAreAppended) {
  set("01 02 00*6 f0 ff ff ff f4 01 00 00", group_100);
  EXPECT_EQ(add_user(7), 0);
  EXPECT_BYTES(start(owner, 20), "01 03 00*6 f0 ff ff ff f4 01 00 00 07 00 00 00");
}

TEST_F(Principals_Of_A_Descriptor, ThatAreThereAre1316ForUsersAnd1318ForGroups) {
  set("01 02 00*6 07 00 00 00 f4 01 00 00", "01 02 00*6 64 00 00 00 08 00 00 00");
  EXPECT_EQ(add_user(500), 1316);
  EXPECT_EQ(add_group(8), 1318);
  EXPECT_BYTES(start(owner, 20), "01 02 00*6 07 00 00 00 f4 01 00 00 00*4");
  EXPECT_BYTES(start(group, 20), "01 02 00*6 64 00 00 00 08 00 00 00 00*4");
}

TEST_F(Principals_Of_A_Descriptor, AreAtMost255) {
  set("01 fe 00*6 01 02 03 04 00*1012", group_100);
  EXPECT_EQ(add_user(7), 0);
  EXPECT_BYTES(start(owner, 2), "01 ff");
  EXPECT_BYTES(owner.content().substr(8 + 4 * 254), "07 00 00 00 00*8");
  EXPECT_EQ(add_user(8), 84);
  EXPECT_EQ(add_user(7), 84);
  EXPECT_BYTES(owner.content().substr(8 + 4 * 254), "07 00 00 00 00*8");
}

TEST_F(Principals_Of_A_Descriptor, AreRemovedFromTheirListOnly) {
  set("01 03 00*6 05 00 00 00 06 00 00 00 07 00 00 00", "01 02 00*6 05 00 00 00 06 00 00 00");
  EXPECT_EQ(remove_user(6), 0);
  EXPECT_BYTES(start(owner, 16), "01 02 00*6 05 00 00 00 07 00 00 00");
  EXPECT_BYTES(start(group, 16), "01 02 00*6 05 00 00 00 06 00 00 00");
  EXPECT_EQ(remove_group(5), 0);
  EXPECT_BYTES(start(group, 12), "01 01 00*6 06 00 00 00");
}

TEST_F(Principals_Of_A_Descriptor, AreRemovedWhereverTheyStand) {
  set("01 05 00*6 05 00 00 00 05 00 00 00 06 00 00 00 05 00 00 00 05 00 00 00", group_100);
  EXPECT_EQ(remove_user(5), 0);
  EXPECT_BYTES(start(owner, 12), "01 01 00*6 06 00 00 00");
}

TEST_F(Principals_Of_A_Descriptor, LeaveThePlaceholderBehindThem) {
  set("01 03 00*6 05 00 00 00 05 00 00 00 05 00 00 00", group_100);
  EXPECT_EQ(remove_user(5), 0);
  EXPECT_BYTES(start(owner, 12), placeholder);
  EXPECT_EQ(remove_user(5), 1168);
  EXPECT_EQ(remove_user(0xFFFFFFF0), 0);
  EXPECT_BYTES(start(owner, 12), placeholder);
}

TEST_F(Principals_Of_A_Descriptor, ThatAreNotThereAre1168) {
  set("01 02 00*6 05 00 00 00 06 00 00 00 07 00 00 00", "01 00 00*6 05 00 00 00");
  EXPECT_EQ(remove_user(7), 1168);
  EXPECT_EQ(remove_group(5), 1168);
  EXPECT_BYTES(start(owner, 20), "01 02 00*6 05 00 00 00 06 00 00 00 07 00 00 00");
  EXPECT_BYTES(start(group, 12), "01 00 00*6 05 00 00 00");
}

// QUIRK principal-move
TEST_F(Principals_Of_A_Descriptor, MoveDownWithTheTwoEntriesBehindTheList) {
  set("01 02 00*6 05 00 00 00 06 00 00 00 0a 00 00 00 0b 00 00 00 0c 00 00 00", group_100);
  EXPECT_EQ(remove_user(5), 0);
  EXPECT_BYTES(start(owner, 28), "01 01 00*6 06 00 00 00 0a 00 00 00 0b 00 00 00 0b 00 00 00 0c 00 00 00");
}

TEST_F(Principals_Of_A_Descriptor, OfAFullListMoveInsideTheBlock) {
  set("01 ff 00*6 05 00 00 00 06*1016 0a*8", group_100);
  EXPECT_EQ(remove_user(5), 0);
  EXPECT_BYTES(owner.content(), "01 fe 00*6 06*1016 0a*8 0a*4");
}

TEST_F(Principals_Of_A_Descriptor, ReplaceEverybody) {
  set(everybody, everybody);
  EXPECT_EQ(add_user(500), 0);
  EXPECT_BYTES(start(owner, 12), user_500);
  EXPECT_BYTES(start(group, 12), placeholder);
  set(everybody, everybody);
  EXPECT_EQ(add_group(100), 0);
  EXPECT_BYTES(start(owner, 12), placeholder);
  EXPECT_BYTES(start(group, 12), group_100);
}

TEST_F(Principals_Of_A_Descriptor, AreNotRemovedFromEverybody) {
  set(everybody, everybody);
  EXPECT_EQ(remove_user(500), static_cast<LONG>(0x80070057));
  EXPECT_EQ(remove_group(0xFFFFFFFF), static_cast<LONG>(0x80070057));
  EXPECT_BYTES(start(owner, 12), everybody);
  EXPECT_BYTES(start(group, 12), everybody);
}

TEST_F(Principals_Of_A_Descriptor, WithEverybodysNumberFillOneList) {
  set("01 02 00*6 05 00 00 00 06 00 00 00", group_100);
  EXPECT_EQ(add_user(0xFFFFFFFF), 0);
  EXPECT_BYTES(start(owner, 16), "01 01 00*6 ff*4 06 00 00 00");
  EXPECT_BYTES(start(group, 12), group_100);
  EXPECT_EQ(add_group(0xFFFFFFFF), 0);
  EXPECT_BYTES(start(group, 12), everybody);
}

TEST_F(Principals_Of_A_Descriptor, WithEverybodysNumberAddedToEverybodyLeaveTheOtherListToThePlaceholder) {
  set(everybody, everybody);
  EXPECT_EQ(add_user(0xFFFFFFFF), 0);
  EXPECT_BYTES(start(owner, 12), everybody);
  EXPECT_BYTES(start(group, 12), placeholder);
}

TEST_F(Principals_Of_A_Descriptor, WithEverybodysNumberAreNotRemoved) {
  set(everybody, group_100);
  EXPECT_EQ(remove_user(0xFFFFFFFF), static_cast<LONG>(0x80070057));
  EXPECT_BYTES(start(owner, 12), everybody);
}

TEST_F(Principals_Of_A_Descriptor, BesideOthersEverybodysNumberIsNotEverybody) {
  set("01 02 00*6 ff*4 05 00 00 00", everybody);
  EXPECT_EQ(add_user(7), 0);
  EXPECT_BYTES(start(owner, 20), "01 03 00*6 ff*4 05 00 00 00 07 00 00 00");
  EXPECT_BYTES(start(group, 12), everybody);
}

}  // namespace
}  // namespace kvtest
