// Shared objects that come and go in a ported program.
#include <gtest/gtest.h>

#include "tests/process/recorded_run.h"

namespace kvtest {
namespace {

TEST(PlugIn, ClosesItsKeysWhenItIsUnloadedAndTheRegistryStaysOpen) {
  const Recorded_Run run = recorded_run({KVTEST_PROGRAM, "load", KVTEST_PLUG_IN, "unload", "flush", "return"});
  EXPECT_EQ(run.result.exit_status, 5) << "signal " << run.result.signal;
  EXPECT_EQ(run.record,
            "load, create program-object, create program-function, "
            "create plug-in-object, create plug-in-function, close plug-in-function, close plug-in-object, "
            "flush, close program-object, close program-function, end");
}

TEST(PlugIn, IsLoadedAgain) {
  const Recorded_Run run =
      recorded_run({KVTEST_PROGRAM, "load", KVTEST_PLUG_IN, "unload", "load", KVTEST_PLUG_IN, "unload", "exit"});
  const std::string once =
      "create plug-in-object, create plug-in-function, close plug-in-function, close plug-in-object, ";
  EXPECT_EQ(run.result.exit_status, 5) << "signal " << run.result.signal;
  EXPECT_EQ(run.record, "load, create program-object, create program-function, " + once + once +
                            "close program-object, close program-function, end");
}

TEST(PlugIn, StartsTheLibraryForAHostThatDoesNot) {
  const Recorded_Run run = recorded_run({KVTEST_HOST, "load", KVTEST_PLUG_IN, "end", "return"});
  EXPECT_EQ(run.result.exit_status, 5) << run.result.err;
  EXPECT_EQ(run.record,
            "global_init 1, load, create plug-in-object, create plug-in-function, close plug-in-object, "
            "global_init 0, close plug-in-function, end");
}

TEST(PlugIn, UnloadedByAHostLeavesTheLibraryStartedForTheNext) {
  for (const char* how : {"return", "exit"}) {
    const Recorded_Run run =
        recorded_run({KVTEST_HOST, "load", KVTEST_PLUG_IN, "unload", "load", KVTEST_PLUG_IN, "unload", "end", how});
    const std::string once =
        "create plug-in-object, create plug-in-function, close plug-in-function, close plug-in-object, ";
    EXPECT_EQ(run.result.exit_status, 5) << run.result.err;
    EXPECT_EQ(run.record, "global_init 1, load, " + once + once + "global_init 0, end");
  }
}

}  // namespace
}  // namespace kvtest
