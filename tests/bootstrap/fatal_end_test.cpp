// How the process ends over a fault of its configuration: where handlers of the program still run, and where not.
#include <gtest/gtest.h>

#include <kelvane/registry_ops.h>

#include "tests/bootstrap/in_child.h"
#include "tests/support/private_etc.h"

namespace kvtest {
namespace {

constexpr int no_private_etc = 88;

// A child with a handler for the end of the process, which says that it ran.
Child_Result ended_by(const std::function<void()>& fault) {
  return run_child([&] {
    atexit([] { say("handler\n"); });
    fault();
    say("came back\n");
  });
}

bool runs_handlers(const Child_Result& child) {
  EXPECT_EQ(child.out.find("came back"), std::string::npos) << child.out;
  return child.out.find("handler\n") != std::string::npos;
}

void ask_for_file_names(const char* registry) {
  setenv("KVREGISTRY_MODE", "1", 1);
  unsetenv("KVREGISTRY");
  if (registry != nullptr) setenv("KVREGISTRY", registry, 1);
  char* user = nullptr;
  char* machine = nullptr;
  KvGetRegistryFileNames(&user, &machine);
}

TEST(FatalEnd, WithoutKvregistryRunsNoHandlers) {
  const Child_Result child = ended_by([] { ask_for_file_names(nullptr); });
  EXPECT_EQ(child.exit_status, 255);
  EXPECT_FALSE(runs_handlers(child));
}

TEST(FatalEnd, WithoutAMachineFileRunsNoHandlers) {
  const Child_Result child = ended_by([] { ask_for_file_names(":/u.bin"); });
  EXPECT_EQ(child.exit_status, 255);
  EXPECT_FALSE(runs_handlers(child));
}

TEST(FatalEnd, OverABackupFolderThatIsTooLongRunsThem) {
  const Child_Result child = ended_by([] {
    setenv("KVREGISTRY_MODE", "1", 1);
    unsetenv("KVREG_BACKUP_DIR");
    setenv("KVUSER_DIRECTORY", std::string(5000, 'p').c_str(), 1);
    int size = 0;
    KvGetRegistryBackupDir(nullptr, &size);
  });
  EXPECT_EQ(child.exit_status, 1);
  EXPECT_TRUE(runs_handlers(child));
}

TEST(FatalEnd, WithoutALibraryRunsThem) {
  const Child_Result child = ended_by([] { KvRegInitializeWrappers(nullptr, "missing.dll"); });
  EXPECT_EQ(child.exit_status, 1);
  EXPECT_TRUE(runs_handlers(child));
}

TEST(FatalEnd, WithoutTheMachinesConfigurationRunsThem) {
  Temp_Folder etc;
  const Child_Result child = ended_by([&] {
    const std::string reason = put_folder_over_etc(etc.path());
    if (!reason.empty()) {
      say("%s", reason.c_str());
      _exit(no_private_etc);
    }
    setenv("KVREGISTRY_MODE", "0", 1);
    char folder[4096] = "";
    KvICalculateCoreDataDirectory(folder);
  });
  if (child.exit_status == no_private_etc) GTEST_SKIP() << child.out;
  EXPECT_EQ(child.exit_status, 1);
  EXPECT_TRUE(runs_handlers(child));
}

// The witnesses write what they are asked between what is said about the loading.
std::string loads_and_calls(const char* mode) {
  const Child_Result child = run_child([mode] {
    setenv("KVTEST_RECORD", "/proc/self/fd/1", 1);
    choose_witness(mode);
    tell_loads();
    KelvaneInitializeRegistry();
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  return child.out;
}

TEST(Binding, CallsEachLibraryBeforeTheNextIsLoaded) {
  EXPECT_EQ(loads_and_calls("2"), "load advapi32impl.dll\nadvapi32impl.dll KvIOnLoadDll\nload advapi32server.dll\n");
  EXPECT_EQ(loads_and_calls("3"),
            "load advapi32server.dll\nadvapi32server.dll KvIOnLoadDll\n"
            "load advapi32client.dll\nadvapi32client.dll KvIOnLoadDll\n");
}

TEST(Binding, HasNoOperationsYetWhenTheLibraryIsCalled) {
  const Child_Result child = run_child([] {
    kvrecording::Control& recording = choose_recording();
    recording.script("KvIOnLoadDll", [](const kvrecording::Call&) {
      say("%s\n", registry_ops == nullptr ? "none" : "some");
      return 0;
    });
    KelvaneInitializeRegistry();
    say("%s\n", registry_ops == nullptr ? "none" : "some");
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "none\nsome\n");
}

TEST(RegistryFileNames, Mode0AcceptsAMachinePartOfWhiteSpace) {
  const Child_Result child = run_child([] {
    setenv("KVREGISTRY_MODE", "0", 1);
    setenv("KVREGISTRY", " \t:/r/u.bin", 1);
    char* user = nullptr;
    char* machine = nullptr;
    KvGetRegistryFileNames(&user, &machine);
    say("%s|%s", machine, user);
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, " \t|/r/u.bin");
}

}  // namespace
}  // namespace kvtest
