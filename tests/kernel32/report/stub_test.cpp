#include <gtest/gtest.h>
#include <kelvane/report.h>
#include <stdlib.h>
#include <winbase.h>

#include "tests/support/child.h"

namespace {

TEST(Stub, IsSilentByItselfAndAnswers0) {
  kvtest::Child_Result result = kvtest::run_child([] { _exit(KvStub(40, &AdvSecurity, "RevertToSelf")); });
  EXPECT_EQ(result.out + result.err, "");
  EXPECT_EQ(result.exit_status, 0);
}

TEST(Stub, NamesCategoryLevelAndTextWhenStubsAreTraced) {
  kvtest::Child_Result result = kvtest::run_child([] {
    setenv("KVTRACE_STUBS", "1", 1);
    int sum = KvStub(40, &AdvSecurity, "RevertToSelf");
    sum += KvStub(40, &AdvServices, "LsaClose");
    sum += KvStub(7, &KvTrImageHdr, "StackWalk");
    _exit(sum);
  });
  EXPECT_EQ(result.err,
            "Not implemented (security, level 40): RevertToSelf\n"
            "Not implemented (services, level 40): LsaClose\n"
            "Not implemented (image help, level 7): StackWalk\n");
  EXPECT_EQ(result.exit_status, 0);
}

TEST(Stub, TakesNullAndLeavesTheLastError) {
  kvtest::Child_Result result = kvtest::run_child([] {
    setenv("KVTRACE_STUBS", "1", 1);
    SetLastError(77);
    KvStub(40, nullptr, nullptr);
    _exit(static_cast<int>(GetLastError()));
  });
  EXPECT_EQ(result.err, "Not implemented ((null), level 40): (null)\n");
  EXPECT_EQ(result.exit_status, 77);
}

}  // namespace
