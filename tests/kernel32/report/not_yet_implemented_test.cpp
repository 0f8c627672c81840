#include <gtest/gtest.h>
#include <kelvane/report.h>
#include <stdlib.h>

#include "tests/support/child.h"

namespace {

TEST(NotYetImplemented, IsSilentByItself) {
  kvtest::Child_Result result = kvtest::run_child([] { KvNotYetImplemented("RegReplaceKeyW"); });
  EXPECT_EQ(result.out + result.err, "");
}

TEST(NotYetImplemented, NamesTheFunctionWhenStubsAreTraced) {
  kvtest::Child_Result result = kvtest::run_child([] {
    setenv("KVTRACE_STUBS", "1", 1);
    KvNotYetImplemented("RegReplaceKeyW");
    KvNotYetImplemented("RegReplaceKeyW");
  });
  EXPECT_EQ(result.err, "Not yet implemented: RegReplaceKeyW\nNot yet implemented: RegReplaceKeyW\n");
}

}  // namespace
