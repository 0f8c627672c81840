// The logger that prints.
#include <gtest/gtest.h>
#include <kelvane/log.h>

#include "tests/log/log_test.h"

namespace kvtest {
namespace {

TEST(StdoutLog, PrintsTheTextOfEveryLevelAsItIs) {
  const Child_Result child = run_child([] {
    StdoutLog().Output(0, "zero");
    StdoutLog().Output(100, " %s", "hundred");
    StdoutLog().Output(-1, "\n");
  });
  EXPECT_EQ(child.out, "zero hundred\n");
}

TEST(StdoutLog, ARecordIsOutWhenTheCallReturns) {
  const Child_Result child = run_child([] {
    StdoutLog().Output(0, "message");
    _exit(0);
  });
  EXPECT_EQ(child.out, "message");
}

TEST(StdoutLog, IsOneLoggerWithoutSizes) {
  EXPECT_EQ(&StdoutLog(), &StdoutLog());
  EXPECT_STREQ(StdoutLog().Name(), "stdout");
  EXPECT_EQ(StdoutLog().Level(), 1);
  EXPECT_EQ(StdoutLog().MaxSize(), 0u);
  EXPECT_EQ(StdoutLog().BaseSize(), 0u);
}

TEST(StdoutLog, AsksTheRegistryNothing) {
  const Child_Result child = run_child([] {
    Settings_Double settings("2");
    StdoutLog().Output(0, "message\n");
    printf("calls: %s\n", settings.calls().c_str());
  });
  EXPECT_EQ(child.out, "message\ncalls: \n");
}

}  // namespace
}  // namespace kvtest
