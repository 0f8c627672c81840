// The steps of start-up and of shutdown, as seen from the functions that they call.
#include <gtest/gtest.h>

#include <kelvane/registry_ops.h>

#include <filesystem>

#include "tests/bootstrap/in_child.h"

namespace kvtest {
namespace {

const char* const started_in_process =
    "global_init 1\n"
    "library globals\n"
    "load advapi32impl.dll\n"
    "section\n"
    "handler 0\n"
    "TlsAlloc\n"
    "TlsSetValue 7 null\n";

void tell_start(const char* mode) {
  choose_witness(mode);
  use_thread_index(7);
  tell_steps();
}

int descriptors_on(const char* file) {
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code gone;
    if (std::filesystem::read_symlink(entry.path(), gone) == file) ++count;
  }
  return count;
}

TEST(StartUp, TakesItsStepsInOrder) {
  const Child_Result child = run_child([] {
    tell_start("1");
    init_advapi32();
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, started_in_process);
  EXPECT_EQ(child.err, "");
}

TEST(StartUp, TakesTheSameStepsThroughEachOfItsThreeEntries) {
  for (void (*start)() : {init_advapi32, initialize_windows_stubs, InitAdvapi32}) {
    const Child_Result child = run_child([start] {
      tell_start("1");
      start();
    });
    EXPECT_EQ(child.exit_status, 0) << child.err;
    EXPECT_EQ(child.out, started_in_process);
  }
}

TEST(StartUp, RunsAgainAtASecondCall) {
  Temp_Folder folder;
  const Child_Result child = run_child([&] {
    setenv("KVTEST_RECORD", (folder / "record").c_str(), 1);
    tell_start("1");
    init_advapi32();
    RegistryOps* const first = registry_ops;
    init_advapi32();
    say("%s\n", registry_ops != nullptr && registry_ops != first ? "other operations" : "same operations");
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, std::string(started_in_process) + started_in_process + "other operations\n");
  EXPECT_EQ(content_of(folder / "record"), "advapi32impl.dll KvIOnLoadDll\nadvapi32impl.dll KvIOnLoadDll\n");
}

TEST(StartUp, StoresNoValueWhenNoThreadIndexIsLeft) {
  const Child_Result child = run_child([] {
    tell_start("1");
    use_thread_index(0xFFFFFFFF);
    init_advapi32();
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "global_init 1\nlibrary globals\nload advapi32impl.dll\nsection\nhandler 0\nTlsAlloc\n");
}

// The call log and the defaults of the profile.
TEST(StartUp, OpensItsTwoStreamsOnTheNullDeviceUntilShutdown) {
  const Child_Result child = run_child([] {
    choose_witness("1");
    const int before = descriptors_on("/dev/null");
    init_advapi32();
    say("%d\n", descriptors_on("/dev/null") - before);
    KvDestroyAdvapi32();
    say("%d\n", descriptors_on("/dev/null") - before);
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "2\n0\n");
}

TEST(StartUp, HasItsTwoStreamsBeforeTheImplementationIsCalled) {
  const Child_Result child = run_child([] {
    kvrecording::Control& recording = choose_recording();
    static int before = 0;
    before = descriptors_on("/dev/null");
    recording.script("KvIOnLoadDll", [](const kvrecording::Call&) {
      say("%d\n", descriptors_on("/dev/null") - before);
      return 0;
    });
    init_advapi32();
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "2\n");
}

TEST(StartUp, CallsTheImplementationsEntryOnceWithAFullTableAndADeadRegistry) {
  const Child_Result child = run_child([] {
    kvrecording::Control& recording = choose_recording();
    recording.script("KvIOnLoadDll", [](const kvrecording::Call&) {
      int bound = 0;
      for (int i = 0; i < KV_SLOT_COUNT; ++i) bound += KvIRegFunctions[i].entry != nullptr;
      say("%d bound, alive %d, initialized %d\n", bound, KvRegistryIsAlive(), KvRegistryIsInitialized);
      return 0;
    });
    init_advapi32();
    say("%zu call of %s\n", recording.calls().size(), recording.calls().at(0).entry.c_str());
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "42 bound, alive 0, initialized 0\n1 call of KvIOnLoadDll\n");
}

TEST(StartUp, LeavesTheSystemsHeapInUse) {
  const Child_Result child = run_child([] {
    choose_witness("1");
    say("%d %d\n", KvDllUseMalloc, KvSafeToUseMalloc());
    init_advapi32();
    say("%d %d\n", KvDllUseMalloc, KvSafeToUseMalloc());
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "1 1\n1 1\n");
}

TEST(ShutDown, GoesBackwardsThroughTheStart) {
  const Child_Result child = run_child([] {
    choose_witness("1");
    init_advapi32();
    tell_steps();
    KvDestroyAdvapi32();
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "no library globals\nglobal_init 0\n");
}

TEST(ShutDown, DeletesEachBoneThenTheirHeapThenTheRest) {
  const Child_Result child = run_child([] {
    choose_witness("1");
    tell_heap_of_bones();
    init_advapi32();
    tell_steps();
    KvDestroyAdvapi32();
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "each bone\nno heap of bones\nno library globals\nglobal_init 0\n");
}

TEST(ShutDown, WithoutAStartOnlyEndsTheObjectModel) {
  const Child_Result child = run_child([] {
    tell_steps();
    KvDestroyAdvapi32();
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "global_init 0\n");
}

TEST(ShutDown, ASecondOneFindsNothingToTakeDown) {
  const Child_Result child = run_child([] {
    choose_witness("1");
    init_advapi32();
    KvDestroyAdvapi32();
    tell_steps();
    KvDestroyAdvapi32();
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "global_init 0\n");
}

TEST(ShutDown, RunsOnceAtTheEndOfTheProcessBehindTheClose) {
  const Child_Result child = run_child([] {
    kvrecording::Control& recording = choose_recording();
    recording.script("KvIRegProcessEnding", [](const kvrecording::Call&) {
      say("closing\n");
      return 0;
    });
    init_advapi32();
    tell_steps();
    exit(0);
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "closing\nno library globals\nglobal_init 0\n");
}

TEST(ShutDown, RunsOnceAtTheEndAfterTwoStarts) {
  const Child_Result child = run_child([] {
    choose_witness("1");
    init_advapi32();
    init_advapi32();
    tell_steps();
    exit(0);
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "no library globals\nglobal_init 0\n");
}

TEST(ShutDown, RunsAtTheEndOfAProcessThatNeverStartedTheLibrary) {
  const Child_Result child = run_child([] {
    tell_steps();
    exit(0);
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "global_init 0\n");
}

}  // namespace
}  // namespace kvtest
