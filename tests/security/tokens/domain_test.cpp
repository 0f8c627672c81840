// Name and domain of an impersonated user in an ordinary ported program, over the library that serves the registry in
// the program.
#include <kelvane/token.h>
#include <sys/utsname.h>

#include "tests/security/tokens/access_checks.h"

namespace kvtest {
namespace {

std::string host_name() {
  utsname host;
  uname(&host);
  return host.nodename;
}

TEST(ImpersonatedUser, HasItsLoginNameAndTheHostAsDomain) {
  const Host_Of_Users host;
  EXPECT_ANSWER(host.run([] {
    KvSetThreadToken(nullptr, token_of(500));
    char name[32] = "";
    char domain[256] = "";
    DWORD name_length = sizeof name;
    DWORD domain_length = sizeof domain;
    SetLastError(77);
    const BOOL done = KvGetImpersonatedUserNameExA(name, &name_length, domain, &domain_length);
    return std::to_string(done) + " " + std::to_string(GetLastError()) + " " + name + " " +
           std::to_string(name_length) + " " + domain + " " + std::to_string(domain_length);
  }),
                "1 0 anna 5 " + host_name() + " " + std::to_string(host_name().size() + 1));
}

TEST(ImpersonatedUser, WithoutRoomForTheDomainIs234) {
  const Host_Of_Users host;
  EXPECT_ANSWER(host.run([] {
    KvSetThreadToken(nullptr, token_of(500));
    wchar_t name[32] = L"";
    wchar_t domain[1] = {L'#'};
    DWORD name_length = 32;
    DWORD domain_length = 1;
    const BOOL done = KvGetImpersonatedUserNameExW(name, &name_length, domain, &domain_length);
    return std::to_string(done) + " " + std::to_string(GetLastError()) + " " + std::to_string(domain_length) +
           (domain[0] == L'#' ? " untouched" : " written");
  }),
                "0 234 " + std::to_string(host_name().size() + 1) + " untouched");
}

TEST(ImpersonatedUser, WithoutAnEntryIs1317) {
  const Host_Of_Users host;
  EXPECT_ANSWER(host.run([] {
    KvSetThreadToken(nullptr, token_of(12345));
    wchar_t name[32] = L"";
    wchar_t domain[32] = L"";
    DWORD name_length = 32;
    DWORD domain_length = 32;
    const BOOL done = KvGetImpersonatedUserNameExW(name, &name_length, domain, &domain_length);
    return std::to_string(done) + " " + std::to_string(GetLastError());
  }),
                "0 1317");
}

}  // namespace
}  // namespace kvtest
