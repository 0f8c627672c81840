// Entries of access-control lists: added, found and removed in place.
#include <windows.h>

#include "tests/security/guarded.h"

namespace kvtest {
namespace {

// Around each test: no function of the room sets the last error.
class Aces : public testing::Test {
 protected:
  Aces() { SetLastError(0x5A5A); }
  ~Aces() override { EXPECT_EQ(GetLastError(), 0x5A5Au); }

  Guarded system{bytes("01 01 00 00 00 00 00 05 12 00 00 00")};
};

class Append_Ace : public Aces {};
class Add_Ace : public Aces {};
class Get_Ace : public Aces {};
class Delete_Ace : public Aces {};
class First_Free_Ace : public Aces {};

TEST_F(Append_Ace, AllowedHasTypeZeroMaskAndSid) {
  Guarded acl(bytes("02 00 20 00 00 00 00 00 ee*24"));
  EXPECT_EQ(AddAccessAllowedAce(acl.as<ACL>(), 2, 0x80020019, system), 1);
  EXPECT_BYTES(acl.content(),
               "02 00 20 00 01 00 00 00  00 00 14 00 19 00 02 80 01 01 00 00 00 00 00 05 12 00 00 00  ee*4");
}

TEST_F(Append_Ace, DeniedHasTypeOne) {
  Guarded acl(bytes("02 00 20 00 00 00 00 00 ee*24"));
  EXPECT_EQ(AddAccessDeniedAce(acl.as<ACL>(), 2, 1, system), 1);
  EXPECT_BYTES(acl.content(),
               "02 00 20 00 01 00 00 00  01 00 14 00 01 00 00 00 01 01 00 00 00 00 00 05 12 00 00 00  ee*4");
}

TEST_F(Append_Ace, AuditHasTypeTwoAndAFlagForEachOutcome) {
  struct Case {
    BOOL success, failure;
    const char* flags;
  };
  for (const Case& c : {Case{0, 0, "00"}, {1, 0, "40"}, {0, 1, "80"}, {1, 1, "c0"}, {-1, 256, "c0"}}) {
    Guarded acl(bytes("02 00 1c 00 00 00 00 00 ee*20"));
    EXPECT_EQ(AddAuditAccessAce(acl.as<ACL>(), 2, 1, system, c.success, c.failure), 1);
    EXPECT_BYTES(acl.content(), std::string("02 00 1c 00 01 00 00 00  02 ") + c.flags +
                                    " 14 00 01 00 00 00 01 01 00 00 00 00 00 05 12 00 00 00");
  }
}

TEST_F(Append_Ace, GoesBehindAllOthersInWhateverOrder) {
  Guarded acl(bytes("02 00 30 00 00 00 00 00 ee*40"));
  EXPECT_EQ(AddAccessAllowedAce(acl.as<ACL>(), 2, 1, system), 1);
  EXPECT_EQ(AddAccessDeniedAce(acl.as<ACL>(), 2, 2, system), 1);
  EXPECT_BYTES(acl.content(),
               "02 00 30 00 02 00 00 00"
               "00 00 14 00 01 00 00 00 01 01 00 00 00 00 00 05 12 00 00 00"
               "01 00 14 00 02 00 00 00 01 01 00 00 00 00 00 05 12 00 00 00");
}

TEST_F(Append_Ace, TakesASidWithoutSubAuthoritiesAndOneWithAll) {
  Guarded empty(bytes("01 00 00 00 00 00 00 05"));
  Guarded small(bytes("02 00 18 00 00 00 00 00 ee*16"));
  EXPECT_EQ(AddAccessAllowedAce(small.as<ACL>(), 2, 1, empty), 1);
  EXPECT_BYTES(small.content(), "02 00 18 00 01 00 00 00  00 00 10 00 01 00 00 00 01 00 00 00 00 00 00 05");

  Guarded longest(bytes("01 ff 00 00 00 00 00 05 77*1020"));
  Guarded large(bytes("02 00 14 04 00 00 00 00 ee*1036"));
  EXPECT_EQ(AddAccessAllowedAce(large.as<ACL>(), 2, 1, longest), 1);
  EXPECT_BYTES(large.content(), "02 00 14 04 01 00 00 00  00 00 0c 04 01 00 00 00 01 ff 00 00 00 00 00 05 77*1020");
}

// QUIRK acl-add-free-check
TEST_F(Append_Ace, MayOverrunTheListByEightBytes) {
  Guarded acl(bytes("02 00 14 00 00 00 00 00 ee*20"));
  EXPECT_EQ(AddAccessAllowedAce(acl.as<ACL>(), 2, 1, system), 1);
  EXPECT_BYTES(acl.content(), "02 00 14 00 01 00 00 00  00 00 14 00 01 00 00 00 01 01 00 00 00 00 00 05 12 00 00 00");
  EXPECT_EQ(IsValidAcl(acl.as<ACL>()), 0);
}

TEST_F(Append_Ace, WithOneFreeByteLessThanTheSidFails) {
  Guarded acl(bytes("02 00 13 00 00 00 00 00 ee*11"));
  EXPECT_EQ(AddAccessAllowedAce(acl.as<ACL>(), 2, 1, system), 0);
  EXPECT_BYTES(acl.content(), "02 00 13 00 00 00 00 00 ee*11");
}

TEST_F(Append_Ace, ToAnOverrunListFails) {
  const char* overrun = "02 00 14 00 01 00 00 00  00 00 14 00 01 00 00 00 01 01 00 00 00 00 00 05 12 00 00 00";
  Guarded acl(bytes(overrun));
  EXPECT_EQ(AddAccessAllowedAce(acl.as<ACL>(), 2, 1, system), 0);
  EXPECT_EQ(AddAccessDeniedAce(acl.as<ACL>(), 2, 1, system), 0);
  EXPECT_EQ(AddAuditAccessAce(acl.as<ACL>(), 2, 1, system, 1, 1), 0);
  Guarded list(bytes("00 00 04 00"));
  EXPECT_EQ(AddAce(acl.as<ACL>(), 2, 0xFFFFFFFF, list, 4), 0);
  EXPECT_BYTES(acl.content(), overrun);
}

TEST_F(Append_Ace, TakesRevisionTwoOnly) {
  Guarded acl(bytes("02 00 20 00 00 00 00 00 ee*24"));
  for (const DWORD revision : {0u, 1u, 3u, 4u, 0x102u}) {
    EXPECT_EQ(AddAccessAllowedAce(acl.as<ACL>(), revision, 1, system), 0) << revision;
    EXPECT_EQ(AddAccessDeniedAce(acl.as<ACL>(), revision, 1, system), 0) << revision;
    EXPECT_EQ(AddAuditAccessAce(acl.as<ACL>(), revision, 1, system, 1, 1), 0) << revision;
  }
  EXPECT_BYTES(acl.content(), "02 00 20 00 00 00 00 00 ee*24");
}

TEST_F(Append_Ace, DoesNotAskForTheRevisionOfTheListOrTheSid) {
  Guarded acl(bytes("04 00 20 00 00 00 00 00 ee*24"));
  Guarded odd(bytes("09 01 00 00 00 00 00 05 12 00 00 00"));
  EXPECT_EQ(AddAccessAllowedAce(acl.as<ACL>(), 2, 1, odd), 1);
  EXPECT_BYTES(acl.content(),
               "04 00 20 00 01 00 00 00  00 00 14 00 01 00 00 00 09 01 00 00 00 00 00 05 12 00 00 00  ee*4");
}

TEST_F(Append_Ace, WithANullFails) {
  Guarded acl(bytes("02 00 20 00 00 00 00 00 ee*24"));
  EXPECT_EQ(AddAccessAllowedAce(nullptr, 2, 1, system), 0);
  EXPECT_EQ(AddAccessAllowedAce(acl.as<ACL>(), 2, 1, nullptr), 0);
  EXPECT_EQ(AddAccessDeniedAce(nullptr, 2, 1, system), 0);
  EXPECT_EQ(AddAuditAccessAce(acl.as<ACL>(), 2, 1, nullptr, 1, 1), 0);
  EXPECT_BYTES(acl.content(), "02 00 20 00 00 00 00 00 ee*24");
}

TEST_F(Append_Ace, BehindAnEntryOfOddSizeWorks) {
  Guarded acl(bytes("02 00 21 00 01 00 00 00  00 00 05 00 aa  ee*20"));
  EXPECT_EQ(AddAccessAllowedAce(acl.as<ACL>(), 2, 1, system), 1);
  EXPECT_BYTES(acl.content(),
               "02 00 21 00 02 00 00 00  00 00 05 00 aa  00 00 14 00 01 00 00 00 01 01 00 00 00 00 00 05 12 00 00 00");
}

// Entries of 4, 6 and 8 bytes whose content tells them apart.
const char* const three = "02 00 28 00 03 00 00 00  00 0a 04 00  00 0b 06 00 bb bb  00 0c 08 00 cc cc cc cc  ee*14";

TEST_F(Add_Ace, AtTheEndAppendsTheList) {
  for (const DWORD index : {3u, 4u, 0xFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
    Guarded acl(bytes(three));
    Guarded list(bytes("01 0d 05 00 dd"));
    EXPECT_EQ(AddAce(acl.as<ACL>(), 2, index, list, 5), 1);
    EXPECT_BYTES(acl.content(),
                 "02 00 28 00 04 00 00 00  00 0a 04 00  00 0b 06 00 bb bb  00 0c 08 00 cc cc cc cc  01 0d 05 00 dd"
                 "ee*9");
  }
}

TEST_F(Add_Ace, AppendsAListOfManyBytesWhole) {
  Guarded acl(bytes("02 00 24 00 00 00 00 00 ee*28"));
  Guarded list(bytes("00 0a 1b 00  01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f 10 11 12 13 14 15 16 17"));
  EXPECT_EQ(AddAce(acl.as<ACL>(), 2, 0, list, 27), 1);
  EXPECT_BYTES(acl.content(),
               "02 00 24 00 01 00 00 00  00 0a 1b 00 "
               "01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f 10 11 12 13 14 15 16 17 ee");
}

// QUIRK add-ace-counts-one
TEST_F(Add_Ace, OfTwoEntriesRaisesTheCountByOne) {
  Guarded acl(bytes("02 00 10 00 00 00 00 00 ee*8"));
  Guarded list(bytes("00 01 04 00  00 02 04 00"));
  EXPECT_EQ(AddAce(acl.as<ACL>(), 2, 0xFFFFFFFF, list, 8), 1);
  EXPECT_BYTES(acl.content(), "02 00 10 00 01 00 00 00  00 01 04 00  00 02 04 00");
}

// QUIRK add-ace-two-step
TEST_F(Add_Ace, InsideTheListKeepsTheEntryAtTheIndexAndMovesTheRest) {
  // The list has the size of the entry at the index: what follows moves onto itself.
  Guarded acl(bytes(three));
  Guarded list(bytes("01 0d 06 00 dd dd"));
  EXPECT_EQ(AddAce(acl.as<ACL>(), 2, 1, list, 6), 1);
  EXPECT_BYTES(acl.content(),
               "02 00 28 00 04 00 00 00  00 0a 04 00  00 0b 06 00 bb bb  00 0c 08 00 cc cc cc cc  01 0d 06 00 dd dd"
               "ee*8");
}

TEST_F(Add_Ace, InsideTheListWithASmallerListMovesTheRestOverTheEntry) {
  Guarded acl(bytes(three));
  Guarded list(bytes("01 0d 04 00"));
  EXPECT_EQ(AddAce(acl.as<ACL>(), 2, 1, list, 4), 1);
  EXPECT_BYTES(acl.content(),
               "02 00 28 00 04 00 00 00  00 0a 04 00  00 0b 06 00 00 0c 08 00 cc cc cc cc cc cc  01 0d 04 00  ee*10");
}

TEST_F(Add_Ace, InsideTheListWithALargerListMovesTheRestFurther) {
  // The last entry but one at the index: the 8 bytes behind it move 8 bytes on and do not meet themselves.
  Guarded acl(bytes(three));
  Guarded list(bytes("01 0d 0e 00 dd*10"));
  EXPECT_EQ(AddAce(acl.as<ACL>(), 2, 1, list, 14), 1);
  EXPECT_BYTES(acl.content(),
               "02 00 28 00 04 00 00 00  00 0a 04 00  00 0b 06 00 bb bb  00 0c 08 00 cc cc cc cc"
               "00 0c 08 00 cc cc cc cc  dd*6");
}

TEST_F(Add_Ace, AtTheLastEntryAppends) {
  Guarded acl(bytes(three));
  Guarded list(bytes("01 0d 04 00"));
  EXPECT_EQ(AddAce(acl.as<ACL>(), 2, 2, list, 4), 1);
  EXPECT_BYTES(acl.content(),
               "02 00 28 00 04 00 00 00  00 0a 04 00  00 0b 06 00 bb bb  00 0c 08 00 cc cc cc cc  01 0d 04 00  ee*10");
}

TEST_F(Add_Ace, NeedsRoomForTheWholeList) {
  Guarded exact(bytes("02 00 0c 00 00 00 00 00 ee*4"));
  Guarded list(bytes("01 0d 04 00 dd"));
  EXPECT_EQ(AddAce(exact.as<ACL>(), 2, 0, list, 5), 0);
  EXPECT_BYTES(exact.content(), "02 00 0c 00 00 00 00 00 ee*4");
  EXPECT_EQ(AddAce(exact.as<ACL>(), 2, 0, list, 4), 1);
  EXPECT_BYTES(exact.content(), "02 00 0c 00 01 00 00 00 01 0d 04 00");
}

TEST_F(Add_Ace, OfALengthThatFitsNowhereFails) {
  Guarded acl(bytes(three));
  Guarded list(bytes("01 0d 04 00"));
  for (const DWORD size : {0x10000u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
    EXPECT_EQ(AddAce(acl.as<ACL>(), 2, 0, list, size), 0) << size;
  }
  EXPECT_BYTES(acl.content(), three);
}

TEST_F(Add_Ace, TakesNoLessThanFourBytes) {
  Guarded acl(bytes("02 00 10 00 00 00 00 00 ee*8"));
  Guarded list(bytes("01 0d 03"));
  for (const DWORD size : {0u, 1u, 3u}) EXPECT_EQ(AddAce(acl.as<ACL>(), 2, 0, list, size), 0) << size;
  EXPECT_BYTES(acl.content(), "02 00 10 00 00 00 00 00 ee*8");
}

TEST_F(Add_Ace, IgnoresTheRevision) {
  for (const DWORD revision : {0u, 1u, 4u, 0xFFFFFFFFu}) {
    Guarded acl(bytes("04 00 0c 00 00 00 00 00 ee*4"));
    Guarded list(bytes("01 0d 04 00"));
    EXPECT_EQ(AddAce(acl.as<ACL>(), revision, 0, list, 4), 1) << revision;
  }
}

TEST_F(Add_Ace, WithANullFails) {
  Guarded acl(bytes("02 00 10 00 00 00 00 00 ee*8"));
  Guarded list(bytes("01 0d 04 00"));
  EXPECT_EQ(AddAce(nullptr, 2, 0, list, 4), 0);
  EXPECT_EQ(AddAce(acl.as<ACL>(), 2, 0, nullptr, 4), 0);
  EXPECT_BYTES(acl.content(), "02 00 10 00 00 00 00 00 ee*8");
}

// The offset of an entry that GetAce finds; -1 when it fails and leaves the pointer alone.
std::ptrdiff_t found(Guarded& acl, DWORD number) {
  LPVOID ace = &acl;
  if (GetAce(acl.as<ACL>(), number, &ace) == 0) {
    EXPECT_EQ(ace, static_cast<void*>(&acl));
    return -1;
  }
  return static_cast<char*>(ace) - acl.as<char>();
}

// QUIRK get-ace-one-based
TEST_F(Get_Ace, CountsFromOneAndTakesZeroForOne) {
  Guarded acl(bytes(three));
  EXPECT_EQ(found(acl, 0), 8);
  EXPECT_EQ(found(acl, 1), 8);
  EXPECT_EQ(found(acl, 2), 12);
  EXPECT_EQ(found(acl, 3), 18);
  EXPECT_EQ(found(acl, 4), -1);
  EXPECT_EQ(found(acl, 0xFFFFFFFF), -1);
}

TEST_F(Get_Ace, OfAnEmptyListFindsWhereTheFirstWouldBe) {
  Guarded acl(bytes("02 00 08 00 00 00 00 00"));
  EXPECT_EQ(found(acl, 0), 8);
  EXPECT_EQ(found(acl, 1), -1);
}

TEST_F(Get_Ace, OfANullListFails) {
  LPVOID ace = nullptr;
  EXPECT_EQ(GetAce(nullptr, 1, &ace), 0);
}

TEST_F(Get_Ace, ReadsNoFurtherThanTheEntryBeforeIt) {
  Guarded acl(bytes("02 00 08 00 ff ff 00 00  00 00 ff ff"));
  EXPECT_EQ(found(acl, 2), 8 + 65535);
}

TEST_F(Delete_Ace, RemovesTheEntryOfTheNumber) {
  struct Case {
    DWORD number;
    const char* left;
  };
  for (const Case& c : {Case{1, "00 0b 06 00 bb bb  00 0c 08 00 cc cc cc cc  00*18"},
                        {2, "00 0a 04 00  00 0c 08 00 cc cc cc cc  00*20"},
                        {3, "00 0a 04 00  00 0b 06 00 bb bb  00*22"}}) {
    Guarded acl(bytes(three));
    EXPECT_EQ(DeleteAce(acl.as<ACL>(), c.number), 1);
    EXPECT_BYTES(acl.content(), std::string("02 00 28 00 02 00 00 00 ") + c.left);
  }
}

TEST_F(Delete_Ace, KeepsTheWholeHeader) {
  Guarded acl(bytes("04 f1 0c 00 01 00 f2 f3 00 00 04 00"));
  EXPECT_EQ(DeleteAce(acl.as<ACL>(), 1), 1);
  EXPECT_BYTES(acl.content(), "04 f1 0c 00 00 00 f2 f3 00*4");
}

// QUIRK delete-ace-zero
TEST_F(Delete_Ace, OfNumberZeroRemovesNothingAndLowersTheCount) {
  Guarded acl(bytes(three));
  EXPECT_EQ(DeleteAce(acl.as<ACL>(), 0), 1);
  EXPECT_BYTES(acl.content(),
               "02 00 28 00 02 00 00 00  00 0a 04 00  00 0b 06 00 bb bb  00 0c 08 00 cc cc cc cc  00*14");
  Guarded empty(bytes("02 00 08 00 00 00 00 00"));
  EXPECT_EQ(DeleteAce(empty.as<ACL>(), 0), 1);
  EXPECT_BYTES(empty.content(), "02 00 08 00 ff ff 00 00");
}

TEST_F(Delete_Ace, OfANumberBeyondTheCountOrBelowZeroFails) {
  Guarded acl(bytes(three));
  for (const DWORD number : {4u, 0xFFFFu, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
    EXPECT_EQ(DeleteAce(acl.as<ACL>(), number), 0) << number;
  }
  EXPECT_EQ(DeleteAce(nullptr, 1), 0);
  EXPECT_BYTES(acl.content(), three);
}

TEST_F(Delete_Ace, OfAnOverrunListReadsBehindItAndWritesInsideIt) {
  const std::string overrun =
      "02 00 1c 00 02 00 00 00  00 0a 08 00 aa aa aa aa  00 00 14 00 01 00 00 00 01 01 00 00 00 00 00 05 12 00 00 00";
  Guarded first(bytes(overrun));
  EXPECT_EQ(DeleteAce(first.as<ACL>(), 1), 1);
  EXPECT_BYTES(first.content(),
               "02 00 1c 00 01 00 00 00  00 00 14 00 01 00 00 00 01 01 00 00 00 00 00 05 12 00 00 00"
               "00 00 00 05 12 00 00 00");
  Guarded none(bytes(overrun));
  EXPECT_EQ(DeleteAce(none.as<ACL>(), 0), 1);
  EXPECT_BYTES(none.content(),
               "02 00 1c 00 01 00 00 00  00 0a 08 00 aa aa aa aa  00 00 14 00 01 00 00 00 01 01 00 00 00 00 00 05 12"
               "00 00 00");
}

TEST_F(Delete_Ace, OfAListWhoseSizesLieStaysInsideIt) {
  // The count goes far beyond the list, and an entry ends where it ends.
  Guarded acl(bytes("02 00 10 00 ff ff 00 00  00 0a 04 00  00 0b 04 00"));
  EXPECT_EQ(DeleteAce(acl.as<ACL>(), 0xFFFF), 1);
  EXPECT_BYTES(acl.content(), "02 00 10 00 fe ff 00 00  00 0a 04 00  00 0b 04 00");
  // The entry's size does.
  Guarded entry(bytes("02 00 10 00 02 00 00 00  00 0a ff ff aa aa aa aa"));
  EXPECT_EQ(DeleteAce(entry.as<ACL>(), 2), 1);
  EXPECT_BYTES(entry.content(), "02 00 10 00 01 00 00 00  00 0a ff ff aa aa aa aa");
  // So do those of a list that is smaller than its header.
  Guarded tiny(bytes("02 00 03 00 01 00 00 00"));
  EXPECT_EQ(DeleteAce(tiny.as<ACL>(), 1), 1);
  EXPECT_BYTES(tiny.content(), "02 00 03 00 01 00 00 00");
}

// QUIRK first-free-ace-false
TEST_F(First_Free_Ace, IsToldThroughThePointerWhileTheResultIsFalse) {
  Guarded fresh(bytes("02 00 08 00 00 00 00 00"));
  LPVOID free = nullptr;
  EXPECT_EQ(FindFirstFreeAce(fresh.as<ACL>(), &free), 0);
  EXPECT_EQ(static_cast<char*>(free) - fresh.as<char>(), 8);
  Guarded acl(bytes(three));
  EXPECT_EQ(FindFirstFreeAce(acl.as<ACL>(), &free), 0);
  EXPECT_EQ(static_cast<char*>(free) - acl.as<char>(), 26);
}

TEST_F(First_Free_Ace, OfANullListIsNull) {
  LPVOID free = &system;
  EXPECT_EQ(FindFirstFreeAce(nullptr, &free), 0);
  EXPECT_EQ(free, nullptr);
}

TEST_F(First_Free_Ace, MayLieBehindTheList) {
  Guarded overrun(bytes("02 00 14 00 01 00 00 00 00 00 14 00 00*16"));
  LPVOID free = nullptr;
  EXPECT_EQ(FindFirstFreeAce(overrun.as<ACL>(), &free), 0);
  EXPECT_EQ(static_cast<char*>(free) - overrun.as<char>(), 28);
}

}  // namespace
}  // namespace kvtest
