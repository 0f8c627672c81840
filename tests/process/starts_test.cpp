// Programs that start the library never, twice, or take it down early.
#include <gtest/gtest.h>

#include "tests/process/recorded_run.h"

namespace kvtest {
namespace {

TEST(UnstartedProgram, EndsCleanlyAndTouchesNothing) {
  const Recorded_Run run = recorded_run({KVTEST_UNSTARTED});
  EXPECT_EQ(run.result.exit_status, 5) << "signal " << run.result.signal;
  EXPECT_EQ(run.record, "");
  EXPECT_EQ(run.result.out, "");
  EXPECT_EQ(run.result.err, "");
}

TEST(UnstartedProgram, HasARegistryThatIsNotAlive) {
  const Recorded_Run run = recorded_run({KVTEST_UNSTARTED, "tell"});
  EXPECT_EQ(run.result.exit_status, 5);
  EXPECT_EQ(run.result.out, "alive 0\n");
}

TEST(ProgramThatStartsAgain, BindsAgainAndClosesOnce) {
  const Recorded_Run run = recorded_run({KVTEST_PROGRAM, "start", "flush", "return"});
  EXPECT_EQ(run.result.exit_status, 5) << "signal " << run.result.signal;
  EXPECT_EQ(run.record,
            "load, create program-object, create program-function, load, flush, "
            "close program-object, close program-function, end");
}

TEST(ProgramThatTakesTheLibraryDown, StillUsesAndClosesItsRegistry) {
  const Recorded_Run run = recorded_run({KVTEST_PROGRAM, "destroy", "flush", "return"});
  EXPECT_EQ(run.result.exit_status, 5) << "signal " << run.result.signal;
  EXPECT_EQ(run.record,
            "load, create program-object, create program-function, flush, "
            "close program-object, close program-function, end");
}

TEST(ProgramInAnUnknownMode, BindsNothingAndEndsCleanly) {
  const Recorded_Run run = recorded_run({KVTEST_BYSTANDER}, {"KVREGISTRY_MODE=7"});
  EXPECT_EQ(run.result.exit_status, 5) << "signal " << run.result.signal;
  EXPECT_EQ(run.record, "");
  EXPECT_EQ(run.result.err, "");
}

TEST(ProgramWithFixedAddresses, SharesTheTableAndTheFlagsWithTheLibrary) {
  const Recorded_Run run = recorded_run({KVTEST_FIXED_PROGRAM});
  EXPECT_EQ(run.result.exit_status, 5) << "signal " << run.result.signal;
  EXPECT_EQ(run.result.out, "the program's entry 77\ninitialized 1 alive 1\nalive 0\nalive 1\n");
  EXPECT_EQ(run.record, "load, end");
}

}  // namespace
}  // namespace kvtest
