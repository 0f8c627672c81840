// Programs that are linked with nothing of ours and load the library by name.
#include <gtest/gtest.h>

#include "tests/process/recorded_run.h"

namespace kvtest {
namespace {

class Host_End : public testing::TestWithParam<const char*> {};

INSTANTIATE_TEST_SUITE_P(Ways, Host_End, testing::Values("return", "exit"));

TEST_P(Host_End, ClosesTheRegistryWhenTheObjectsOfTheStartAreGone) {
  const Recorded_Run run =
      recorded_run({KVTEST_HOST, "load", KVTEST_KVSTART, "load", KVTEST_ADVAPI32, "key", "open", "end", GetParam()});
  EXPECT_EQ(run.result.exit_status, 5) << run.result.err;
  EXPECT_EQ(run.record, "global_init 1, load, create open, global_init 0, end");
}

TEST_P(Host_End, ClosesTheRegistryThoughEverythingWasUnloaded) {
  const Recorded_Run run = recorded_run({KVTEST_HOST, "load", KVTEST_KVSTART, "load", KVTEST_ADVAPI32, "key", "open",
                                         "unload", "unload", "end", GetParam()});
  EXPECT_EQ(run.result.exit_status, 5) << run.result.err;
  EXPECT_EQ(run.record, "global_init 1, load, create open, global_init 0, end");
}

TEST_P(Host_End, StartsOnceThoughTheStartIsLoadedAgain) {
  const Recorded_Run run = recorded_run({KVTEST_HOST, "load", KVTEST_KVSTART, "unload", "load", KVTEST_KVSTART, "load",
                                         KVTEST_PLUG_IN, "end", GetParam()});
  EXPECT_EQ(run.result.exit_status, 5) << run.result.err;
  EXPECT_EQ(run.record,
            "global_init 1, load, create plug-in-object, create plug-in-function, close plug-in-object, "
            "global_init 0, close plug-in-function, end");
}

TEST_P(Host_End, HasNothingToCloseWithoutAStart) {
  const Recorded_Run run = recorded_run({KVTEST_HOST, "load", KVTEST_ADVAPI32, "end", GetParam()});
  EXPECT_EQ(run.result.exit_status, 5) << run.result.err;
  EXPECT_EQ(run.record, "global_init 0");
}

TEST(Host, WritesTheUsersHiveAtTheEnd) {
  Temp_Folder folder;
  const Child_Result result = run_program({KVTEST_HOST, "load", KVTEST_KVSTART, "end", "return"},
                                          {"KVMODULE_PATH=" KVTEST_WITNESS_FOLDER "/whole", "KVTEST_IMAGE=the image",
                                           "KVREGISTRY=" + folder / "hklm.bin" + ":" + folder / "hkcu.bin"});
  EXPECT_EQ(result.exit_status, 5) << result.err;
  std::ifstream file(folder / "hkcu.bin");
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "the image");
}

TEST(Host, ClosesNothingWhenItEndsSuddenly) {
  for (const char* how : {"quick_exit", "_exit"}) {
    const Recorded_Run run = recorded_run({KVTEST_HOST, "load", KVTEST_PLUG_IN, "end", how});
    EXPECT_EQ(run.result.exit_status, 5) << run.result.err;
    EXPECT_EQ(run.record, "global_init 1, load, create plug-in-object, create plug-in-function");
  }
}

}  // namespace
}  // namespace kvtest
