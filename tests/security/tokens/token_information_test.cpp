// What a token tells about itself. Buffers have exactly the size that is asked for and end at a guard page.
#include <kelvane/token.h>

#include "tests/security/guarded.h"
#include "tests/security/tokens/any_class.h"

namespace kvtest {
namespace {

const HANDLE plain_token = reinterpret_cast<HANDLE>(1);

struct Answer {
  BOOL done;
  DWORD error;
  DWORD size;
  std::string content;
};

// Asks into a buffer of 0x5A bytes; 77 stands in the last error and in the size.
Answer ask(DWORD number, DWORD size, HANDLE token = plain_token) {
  Guarded buffer(std::string(size, '\x5A'));
  Answer answer = {};
  answer.size = 77;
  SetLastError(77);
  answer.done = get_information(token, number, buffer, size, &answer.size);
  answer.error = GetLastError();
  answer.content = buffer.content();
  if (answer.done && number == 1) FreeSid(buffer.as<TOKEN_USER>()->User.Sid);
  return answer;
}

constexpr DWORD class_sizes[11] = {0, 16, 24, 16, 8, 8, 8, 16, 4, 4, 56};

// QUIRK token-size-on-failure
TEST(TokenInformation, TellsTheSizeOfEachClassOnlyToABufferThatIsTooSmall) {
  for (DWORD number = 1; number <= 10; ++number) {
    SCOPED_TRACE(number);
    const Answer small = ask(number, class_sizes[number] - 1);
    EXPECT_EQ(small.done, FALSE);
    EXPECT_EQ(small.error, 122u);
    EXPECT_EQ(small.size, class_sizes[number]);
    EXPECT_EQ(small.content, std::string(class_sizes[number] - 1, '\x5A'));
    const Answer enough = ask(number, class_sizes[number]);
    EXPECT_EQ(enough.done, TRUE);
    EXPECT_EQ(enough.error, 77u);
    EXPECT_EQ(enough.size, 77u);
  }
}

TEST(TokenInformation, OfClass8Into3BytesAsksFor4) {
  const Answer answer = ask(8, 3);
  EXPECT_EQ(answer.done, FALSE);
  EXPECT_EQ(answer.error, 122u);
  EXPECT_EQ(answer.size, 4u);
}

TEST(TokenInformation, OfAnyOtherClassIs87) {
  for (DWORD number : {0u, 11u, 12u, 0x7FFFFFFFu, 0x80000001u, 0xFFFFFFFFu}) {
    const Answer answer = ask(number, 64);
    EXPECT_EQ(answer.done, FALSE) << number;
    EXPECT_EQ(answer.error, 87u) << number;
    EXPECT_EQ(answer.size, 77u) << number;
    EXPECT_EQ(answer.content, std::string(64, '\x5A')) << number;
  }
}

TEST(TokenInformation, OfTheUserIsAnEmptySidOfAuthority5) {
  Guarded buffer(std::string(16, '\x5A'));
  DWORD size = 77;
  EXPECT_EQ(GetTokenInformation(plain_token, TokenUser, buffer, 16, &size), TRUE);
  const TOKEN_USER user = *buffer.as<TOKEN_USER>();
  EXPECT_BYTES(std::string(static_cast<char*>(user.User.Sid), 8), "01 00 00 00 00 00 00 05");
  EXPECT_EQ(user.User.Attributes, 0u);
  EXPECT_BYTES(buffer.content().substr(12), "5a*4");
  FreeSid(user.User.Sid);
}

TEST(TokenInformation, OfStatisticsIsTheTokenAsAuthenticationIdAndNothingElse) {
  const Answer answer = ask(10, 56, reinterpret_cast<HANDLE>(0x1122334455667788));
  EXPECT_EQ(answer.done, TRUE);
  EXPECT_BYTES(answer.content, "5a*8 88 77 66 55 44 33 22 11 5a*40");
}

// QUIRK token-classes-untouched
TEST(TokenInformation, OfAllOtherClassesLeavesTheBufferAsItIs) {
  for (DWORD number : {2u, 3u, 4u, 5u, 6u, 7u, 8u, 9u}) {
    const Answer answer = ask(number, class_sizes[number]);
    EXPECT_EQ(answer.done, TRUE) << number;
    EXPECT_EQ(answer.content, std::string(class_sizes[number], '\x5A')) << number;
  }
}

TEST(TokenInformation, InItsNativeFormIsAStatus) {
  Guarded buffer(std::string(56, '\x5A'));
  ULONG size = 77;
  SetLastError(77);
  EXPECT_EQ(NtQueryInformationToken(plain_token, TokenStatistics, buffer, 56, &size), 0);
  EXPECT_BYTES(buffer.content().substr(8, 8), "01 00*7");
  EXPECT_EQ(size, 77u);
  EXPECT_EQ(NtQueryInformationToken(plain_token, TokenType, buffer, 3, &size), static_cast<NTSTATUS>(0xC0000023));
  EXPECT_EQ(size, 4u);
  EXPECT_EQ(GetLastError(), 122u);
  for (DWORD number : {0u, 11u, 0x7FFFFFFFu}) EXPECT_EQ(query_information(plain_token, number, buffer, 56, &size), 87);
}

}  // namespace
}  // namespace kvtest
