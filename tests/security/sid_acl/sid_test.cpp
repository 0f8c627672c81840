// Security identifiers: what each function writes, reads and leaves alone.
#include <kelvane/security.h>

#include "tests/security/guarded.h"

namespace kvtest {
namespace {

SID_IDENTIFIER_AUTHORITY nt_authority = SECURITY_NT_AUTHORITY;
SID_IDENTIFIER_AUTHORITY six_bytes = {{0xA1, 0xB2, 0xC3, 0xD4, 0xE5, 0xF6}};

// Around each test: no function of the room sets the last error.
class Sids : public testing::Test {
 protected:
  Sids() { SetLastError(0x5A5A); }
  ~Sids() override { EXPECT_EQ(GetLastError(), 0x5A5Au); }

  // What a SID of the system's heap holds; releases it as callers may, with free.
  static std::string taken(PSID sid, std::size_t size) {
    const std::string content(static_cast<const char*>(sid), size);
    free(sid);
    return content;
  }
};

class Allocate_Sid : public Sids {};
class Initialize_Sid : public Sids {};
class Copy_Sid : public Sids {};
class Equal_Sid : public Sids {};
class Equal_Prefix_Sid : public Sids {};
class Sid_Length : public Sids {};
class Sid_Fields : public Sids {};
class Valid_Sid : public Sids {};
class Print_Sid : public Sids {};

TEST_F(Allocate_Sid, WritesRevisionCountAuthorityAndTheFirstSubAuthorities) {
  PSID sid = nullptr;
  EXPECT_EQ(AllocateAndInitializeSid(&six_bytes, 3, 0x11223344, 0x220, 7, 8, 9, 10, 11, 12, &sid), 1);
  EXPECT_BYTES(taken(sid, 20), "01 03 a1 b2 c3 d4 e5 f6 44 33 22 11 20 02 00 00 07 00 00 00");
}

TEST_F(Allocate_Sid, WithoutSubAuthoritiesHasEightBytes) {
  PSID sid = nullptr;
  EXPECT_EQ(AllocateAndInitializeSid(&nt_authority, 0, 1, 2, 3, 4, 5, 6, 7, 8, &sid), 1);
  EXPECT_BYTES(taken(sid, 8), "01 00 00 00 00 00 00 05");
}

TEST_F(Allocate_Sid, TakesAllEight) {
  PSID sid = nullptr;
  EXPECT_EQ(AllocateAndInitializeSid(&nt_authority, 8, 1, 2, 3, 4, 5, 6, 7, 8, &sid), 1);
  EXPECT_BYTES(taken(sid, 40),
               "01 08 00 00 00 00 00 05 01 00 00 00 02 00 00 00 03 00 00 00 04 00 00 00"
               "05 00 00 00 06 00 00 00 07 00 00 00 08 00 00 00");
}

// QUIRK sid-count-unchecked
TEST_F(Allocate_Sid, TakesAnyCountAndFillsWithZerosBeyondTheEighth) {
  PSID sid = nullptr;
  EXPECT_EQ(AllocateAndInitializeSid(&nt_authority, 9, 1, 1, 1, 1, 1, 1, 1, 0x88, &sid), 1);
  EXPECT_BYTES(taken(sid, 44).substr(36), "88 00 00 00 00 00 00 00");
  EXPECT_EQ(AllocateAndInitializeSid(&nt_authority, 255, 1, 1, 1, 1, 1, 1, 1, 0x88, &sid), 1);
  const std::string all = taken(sid, 1028);
  EXPECT_BYTES(all.substr(0, 8), "01 ff 00 00 00 00 00 05");
  EXPECT_BYTES(all.substr(36), "88 00 00 00 00*988");
}

TEST_F(Allocate_Sid, IsReleasedByFreeSidWhichAnswersNull) {
  PSID sid = nullptr;
  AllocateAndInitializeSid(&nt_authority, 1, 18, 0, 0, 0, 0, 0, 0, 0, &sid);
  EXPECT_EQ(FreeSid(sid), nullptr);
  EXPECT_EQ(FreeSid(nullptr), nullptr);
}

TEST_F(Allocate_Sid, FreeSidReleasesWhatMallocGave) { EXPECT_EQ(FreeSid(malloc(12)), nullptr); }

TEST_F(Initialize_Sid, ClearsTheFirstSubAuthorityAndLeavesTheLaterOnes) {
  Guarded sid(bytes("ee*20"));
  EXPECT_EQ(InitializeSid(sid, &six_bytes, 3), 1);
  EXPECT_BYTES(sid.content(), "01 03 a1 b2 c3 d4 e5 f6 00 00 00 00 ee*8");
}

// QUIRK sid-first-sub-authority
TEST_F(Initialize_Sid, WithACountOfZeroStillClearsTwelveBytes) {
  Guarded sid(bytes("ee*12"));
  EXPECT_EQ(InitializeSid(sid, &nt_authority, 0), 1);
  EXPECT_BYTES(sid.content(), "01 00 00 00 00 00 00 05 00 00 00 00");
}

TEST_F(Initialize_Sid, TakesAnyCount) {
  for (const int count : {15, 16, 255}) {
    Guarded sid(bytes("ee*16"));
    EXPECT_EQ(InitializeSid(sid, &nt_authority, static_cast<BYTE>(count)), 1);
    EXPECT_EQ(static_cast<unsigned char>(sid.content()[1]), count);
    EXPECT_BYTES(sid.content().substr(8), "00 00 00 00 ee*4");
  }
}

TEST_F(Copy_Sid, CopiesExactlyTheSid) {
  Guarded source(bytes("01 02 00 00 00 00 00 05 20 00 00 00 20 02 00 00"));
  Guarded destination(bytes("ee*18"));
  EXPECT_EQ(CopySid(18, destination, source), 1);
  EXPECT_BYTES(destination.content(), "01 02 00 00 00 00 00 05 20 00 00 00 20 02 00 00 ee ee");
  Guarded exact(bytes("ee*16"));
  EXPECT_EQ(CopySid(16, exact, source), 1);
  EXPECT_BYTES(exact.content(), "01 02 00 00 00 00 00 05 20 00 00 00 20 02 00 00");
}

TEST_F(Copy_Sid, WithoutRoomFailsAndWritesNothing) {
  Guarded source(bytes("01 02 00 00 00 00 00 05 20 00 00 00 20 02 00 00"));
  Guarded destination(bytes("ee*15"));
  EXPECT_EQ(CopySid(15, destination, source), 0);
  EXPECT_BYTES(destination.content(), "ee*15");
}

// QUIRK copy-null-sid
TEST_F(Copy_Sid, OfNullSucceedsAndWritesNothing) {
  Guarded destination(bytes("ee*12"));
  EXPECT_EQ(CopySid(12, destination, nullptr), 1);
  EXPECT_EQ(CopySid(0, nullptr, nullptr), 1);
  EXPECT_BYTES(destination.content(), "ee*12");
}

TEST_F(Copy_Sid, ChecksNothingButTheLength) {
  Guarded source(bytes("77 10 00 00 00 00 00 05 01 00 00 00 00*60"));
  Guarded destination(bytes("ee*72"));
  EXPECT_EQ(CopySid(72, destination, source), 1);
  EXPECT_BYTES(destination.content(), "77 10 00 00 00 00 00 05 01 00 00 00 00*60");
}

TEST_F(Copy_Sid, OfAllCountsStaysInsideBothBuffers) {
  for (const int count : {0, 15, 16, 255}) {
    const std::string sid =
        std::string("\x01", 1) + static_cast<char>(count) + bytes("00*5 05") + std::string(4u * count, '\x42');
    Guarded source(sid);
    Guarded destination(std::string(sid.size(), '\xEE'));
    EXPECT_EQ(CopySid(static_cast<DWORD>(sid.size()), destination, source), 1);
    EXPECT_EQ(destination.content(), sid);
    EXPECT_EQ(CopySid(static_cast<DWORD>(sid.size() - 1), destination, source), 0);
    Guarded low(sid, Guarded::at_start);
    EXPECT_EQ(EqualSid(low, source), 1);
  }
}

TEST_F(Equal_Sid, IsTrueForTheSameBytes) {
  Guarded first(bytes("01 02 00 00 00 00 00 05 20 00 00 00 20 02 00 00"));
  Guarded second(bytes("01 02 00 00 00 00 00 05 20 00 00 00 20 02 00 00"));
  EXPECT_EQ(EqualSid(first, second), 1);
  EXPECT_EQ(EqualSid(first, first), 1);
}

TEST_F(Equal_Sid, IsFalseWhereAnyByteDiffers) {
  const std::string sid = bytes("01 02 00 00 00 00 00 05 20 00 00 00 20 02 00 00");
  Guarded first(sid);
  for (std::size_t at = 0; at < sid.size(); ++at) {
    if (at == 1) continue;
    std::string other = sid;
    other[at] = static_cast<char>(other[at] ^ 0x40);
    Guarded second(other);
    EXPECT_EQ(EqualSid(first, second), 0) << at;
    EXPECT_EQ(EqualSid(second, first), 0) << at;
  }
}

TEST_F(Equal_Sid, OfDifferentCountsIsFalseAndReadsNoFurther) {
  Guarded longest(bytes("01 ff 00 00 00 00 00 05 00*1020"));
  Guarded shortest(bytes("01 00 00 00 00 00 00 05"));
  EXPECT_EQ(EqualSid(longest, shortest), 0);
  EXPECT_EQ(EqualSid(shortest, longest), 0);
  EXPECT_EQ(EqualPrefixSid(longest, shortest), 0);
  EXPECT_EQ(EqualPrefixSid(shortest, longest), 0);
}

TEST_F(Equal_Sid, WithANullIsFalse) {
  Guarded sid(bytes("01 00 00 00 00 00 00 05"));
  EXPECT_EQ(EqualSid(nullptr, sid), 0);
  EXPECT_EQ(EqualSid(sid, nullptr), 0);
  EXPECT_EQ(EqualSid(nullptr, nullptr), 0);
}

TEST_F(Equal_Prefix_Sid, LeavesTheLastSubAuthorityOut) {
  Guarded first(bytes("01 02 00 00 00 00 00 05 15 00 00 00 f4 01 00 00"));
  Guarded second(bytes("01 02 00 00 00 00 00 05 15 00 00 00 f5 01 00 00"));
  Guarded third(bytes("01 02 00 00 00 00 00 05 16 00 00 00 f4 01 00 00"));
  EXPECT_EQ(EqualPrefixSid(first, second), 1);
  EXPECT_EQ(EqualPrefixSid(first, third), 0);
}

// QUIRK prefix-needs-equal-counts
TEST_F(Equal_Prefix_Sid, OfADomainAndItsUserIsFalse) {
  Guarded domain(bytes("01 02 00 00 00 00 00 05 15 00 00 00 01 00 00 00"));
  Guarded user(bytes("01 03 00 00 00 00 00 05 15 00 00 00 01 00 00 00 f4 01 00 00"));
  EXPECT_EQ(EqualPrefixSid(domain, user), 0);
  EXPECT_EQ(EqualPrefixSid(user, domain), 0);
}

TEST_F(Equal_Prefix_Sid, WithoutSubAuthoritiesComparesFourBytes) {
  Guarded first(bytes("01 00 0a 0b 00 00 00 05"));
  Guarded same_start(bytes("01 00 0a 0b 99 99 99 99"));
  Guarded other_start(bytes("01 00 0a 0c 00 00 00 05"));
  EXPECT_EQ(EqualPrefixSid(first, same_start), 1);
  EXPECT_EQ(EqualPrefixSid(first, other_start), 0);
}

TEST_F(Equal_Prefix_Sid, WithANullIsFalse) {
  Guarded sid(bytes("01 01 00 00 00 00 00 05 12 00 00 00"));
  EXPECT_EQ(EqualPrefixSid(nullptr, sid), 0);
  EXPECT_EQ(EqualPrefixSid(sid, nullptr), 0);
}

TEST_F(Sid_Length, IsEightAndFourForEachSubAuthority) {
  EXPECT_EQ(GetSidLengthRequired(0), 8u);
  EXPECT_EQ(GetSidLengthRequired(1), 12u);
  EXPECT_EQ(GetSidLengthRequired(15), 68u);
  EXPECT_EQ(GetSidLengthRequired(16), 72u);
  EXPECT_EQ(GetSidLengthRequired(255), 1028u);
}

TEST_F(Sid_Length, LooksAtTheCountByteOnly) {
  Guarded sid(bytes("77 ff"));
  EXPECT_EQ(GetLengthSid(sid), 1028u);
  Guarded empty(bytes("01 00"));
  EXPECT_EQ(GetLengthSid(empty), 8u);
}

TEST_F(Sid_Length, OfNullIsZero) { EXPECT_EQ(GetLengthSid(nullptr), 0u); }

TEST_F(Sid_Fields, AreAddressesInsideTheSid) {
  Guarded sid(bytes("01 02 00 00 00 00 00 05 20 00 00 00 20 02 00 00"));
  EXPECT_EQ(GetSidIdentifierAuthority(sid), sid.as<SID_IDENTIFIER_AUTHORITY>(2));
  EXPECT_EQ(GetSidSubAuthorityCount(sid), sid.as<UCHAR>(1));
  EXPECT_EQ(GetSidSubAuthority(sid, 0), sid.as<DWORD>(8));
  EXPECT_EQ(GetSidSubAuthority(sid, 1), sid.as<DWORD>(12));
  EXPECT_EQ(*GetSidSubAuthority(sid, 1), 0x220u);
}

TEST_F(Sid_Fields, OfAnIndexBeyondTheCountAreNotRefused) {
  Guarded sid(bytes("01 00 00 00 00 00 00 05"));
  EXPECT_EQ(reinterpret_cast<char*>(GetSidSubAuthority(sid, 7)) - sid.as<char>(), 36);
}

TEST_F(Valid_Sid, HasRevisionOneAndAtMostFifteenSubAuthorities) {
  struct Case {
    const char* sid;
    BOOL valid;
  };
  for (const Case& c : {Case{"01 00", 1},
                        {"01 01", 1},
                        {"01 0f", 1},
                        {"01 10", 0},
                        {"01 ff", 0},
                        {"00 01", 0},
                        {"02 01", 0},
                        {"ff 0f", 0}}) {
    Guarded sid(bytes(c.sid));
    EXPECT_EQ(IsValidSid(sid), c.valid) << c.sid;
  }
}

std::string printed(const char* content) {
  Guarded sid(bytes(content));
  char text[194];
  memset(text, 'x', sizeof text);
  EXPECT_EQ(AdvPrintSid(sid, text), 1);
  return text;
}

// QUIRK print-sid-authority
TEST_F(Print_Sid, ShowsBytesTwoToFiveOfTheAuthorityAsOneSignedNumber) {
  EXPECT_EQ(printed("01 01 00 00 00 00 00 05 20 00 00 00"), "S-83886080-32");
  EXPECT_EQ(printed("01 00 11 22 01 02 03 04"), "S-67305985");
  EXPECT_EQ(printed("01 00 00 00 00 00 00 80"), "S--2147483648");
}

TEST_F(Print_Sid, ShowsSubAuthoritiesAsSignedNumbers) {
  EXPECT_EQ(printed("01 03 00 00 00 00 00 00 15 00 00 00 ff ff ff ff f0 ff ff ff"), "S-0-21--1--16");
}

TEST_F(Print_Sid, OfTheLongestTextFillsOneHundredAndNinetyFourBytes) {
  std::string sid = "01 0f 00 00 00 00 00 80", text = "S--2147483648";
  for (int i = 0; i < 15; ++i) {
    sid += " 00 00 00 80";
    text += "--2147483648";
  }
  EXPECT_EQ(printed(sid.c_str()), text);
  EXPECT_EQ(text.size(), 193u);
}

TEST_F(Print_Sid, OfAnInvalidSidWritesNothing) {
  Guarded sid(bytes("01 10 00 00 00 00 00 05 00*64"));
  char text[] = "untouched";
  EXPECT_EQ(AdvPrintSid(sid, text), 0);
  EXPECT_STREQ(text, "untouched");
}

TEST_F(Sids, AtOddAddressesWork) {
  Guarded block(bytes("ee 01 02 00 00 00 00 00 05 20 00 00 00 20 02 00 00"));
  Guarded even(bytes("01 02 00 00 00 00 00 05 20 00 00 00 20 02 00 00"));
  EXPECT_EQ(EqualSid(block.as<void>(1), even), 1);
  char text[194];
  EXPECT_EQ(AdvPrintSid(block.as<void>(1), text), 1);
  EXPECT_STREQ(text, "S-83886080-32-544");
  EXPECT_EQ(InitializeSid(block.as<void>(1), &six_bytes, 2), 1);
  EXPECT_BYTES(block.content(), "ee 01 02 a1 b2 c3 d4 e5 f6 00 00 00 00 20 02 00 00");
}

}  // namespace
}  // namespace kvtest
