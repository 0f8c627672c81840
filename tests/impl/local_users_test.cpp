// The users of this host as the library in this process knows them.
#include <sys/utsname.h>
#include <winbase.h>

#include "tests/impl/module.h"
#include "tests/support/child.h"
#include "tests/support/private_users.h"

namespace {

using namespace kvtest;

// What the entry answers in a child whose host has the user "anna", in code page UTF-8 also "jörg".
std::string answer_about(const wchar_t* name) {
  Temp_Folder etc;
  return run_child([&] {
           setenv("LC_ALL", "C.UTF-8", 1);
           const std::string no =
               put_users_over_etc(etc.path(), "anna:x:500:100::/:/bin/sh\nj\xC3\xB6rg:x:501:100::/:/bin/sh\n", "");
           if (!no.empty()) {
             printf("skip: %s", no.c_str());
             return;
           }
           wchar_t domain[256] = L"";
           DWORD length = 256;
           const NTSTATUS status = entries().KvIGetImpersonatedUserInfo(name, domain, &length);
           printf("%08X %u %ls", static_cast<unsigned>(status), length, domain);
         })
      .out;
}

// "00000000", the length and the name of this host as uname has it.
std::string answer_with_host() {
  utsname host;
  uname(&host);
  const std::string name = host.nodename;
  return "00000000 " + std::to_string(name.size() + 1) + " " + name;
}

TEST(LocalUsers, HaveTheHostAsTheirDomain) {
  const std::string answer = answer_about(L"anna");
  if (answer.starts_with("skip: ")) GTEST_SKIP() << answer;
  EXPECT_EQ(answer, answer_with_host());
}

TEST(LocalUsers, AreFoundByNamesInTheCodePage) {
  const std::string answer = answer_about(L"j\u00F6rg");
  if (answer.starts_with("skip: ")) GTEST_SKIP() << answer;
  EXPECT_EQ(answer, answer_with_host());
}

TEST(LocalUsers, AreNobodyElse) {
  for (const wchar_t* name : {L"Anna", L"nobody-here", L""}) {
    const std::string answer = answer_about(name);
    if (answer.starts_with("skip: ")) GTEST_SKIP() << answer;
    EXPECT_EQ(answer, "C0000225 256 ");
  }
}

}  // namespace
