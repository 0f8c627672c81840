// The narrow form of an impersonated user's name where the name cannot be told.
#include <kelvane/token.h>

#include "tests/security/tokens/access_checks.h"

namespace kvtest {
namespace {

// What the narrow form answers with this room for the name, and what it left in the caller's buffers.
std::string ask_with_room(DWORD room) {
  char name[8] = "#######";
  char domain[300] = "###";
  DWORD name_length = room;
  DWORD domain_length = sizeof domain;
  SetLastError(77);
  const BOOL done = KvGetImpersonatedUserNameExA(name, &name_length, domain, &domain_length);
  return std::to_string(done) + " " + std::to_string(GetLastError()) + " " + std::string(name, 7) + " " +
         std::to_string(name_length) + " " + std::string(domain, 3) + " " + std::to_string(domain_length);
}

TEST(NarrowName, WithoutRoomTellsTheLengthThroughTheCallersVariableAndWritesNothing) {
  const Host_Of_Users host;
  EXPECT_ANSWER(host.run([] {
    KvSetThreadToken(nullptr, token_of(500));
    return ask_with_room(4);
  }),
                "0 122 ####### 5 ### 300");
}

TEST(NarrowName, OfAUserWithoutAnEntryWritesNothing) {
  const Host_Of_Users host;
  EXPECT_ANSWER(host.run([] {
    KvSetThreadToken(nullptr, token_of(12345));
    return ask_with_room(7);
  }),
                "0 1317 ####### 7 ### 300");
}

}  // namespace
}  // namespace kvtest
