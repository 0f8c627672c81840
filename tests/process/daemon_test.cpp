// Programs that fork: each process closes its own registry.
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include "tests/process/recorded_run.h"

namespace kvtest {
namespace {

TEST(Daemon, ClosesTheRegistryOnceThoughItsDescriptorsAreGone) {
  Temp_Folder folder;
  const std::string record = folder / "record";
  const Child_Result parent = run_child([&] {
    // The daemon becomes a child of this process when its parent ends, so that its end can be waited for.
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    const Child_Result program = run_program(
        {KVTEST_PROGRAM, "daemon", "flush", "return"},
        {"KVTEST_RECORD=" + record, "KVMODULE_PATH=" KVTEST_WITNESS_FOLDER "/whole", "KVREGISTRY=" + folder / "hklm"});
    int status = -1;
    wait(&status);
    printf("parent %d daemon %d\n", program.exit_status, WIFEXITED(status) ? WEXITSTATUS(status) : -1);
  });
  EXPECT_EQ(parent.out, "parent 0 daemon 5\n");
  EXPECT_EQ(short_record(record),
            "load, create program-object, create program-function, flush, "
            "close program-object, close program-function, end");
}

TEST(Fork, ParentAndChildCloseEachTheirOwn) {
  const Recorded_Run run = recorded_run({KVTEST_PROGRAM, "fork", "return"});
  const std::string end = "close program-object, close program-function, end";
  EXPECT_EQ(run.result.exit_status, 5) << "signal " << run.result.signal;
  EXPECT_EQ(run.record, "load, create program-object, create program-function, " + end + ", " + end);
}

}  // namespace
}  // namespace kvtest
