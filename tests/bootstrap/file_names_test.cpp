// The names of the hive files, from KVREGISTRY and the registry's mode.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/bootstrap/in_child.h"
#include "tests/registry/heap_use.h"

namespace kvtest {
namespace {

// What KvGetRegistryFileNames gives in a child: "machine|user". HOME is the folder; without a value KVREGISTRY
// is not set.
Child_Result file_names(const char* mode, const char* value, const Temp_Folder& home) {
  return run_child([&] {
    setenv("HOME", home.path().c_str(), 1);
    setenv("KVREGISTRY_MODE", mode, 1);
    unsetenv("KVREGISTRY");
    if (value != nullptr) setenv("KVREGISTRY", value, 1);
    char* user = nullptr;
    char* machine = nullptr;
    KvGetRegistryFileNames(&user, &machine);
    say("%s|%s", machine == nullptr ? "null" : machine, user == nullptr ? "null" : user);
  });
}

void expect_names(const char* mode, const char* value, const char* machine, const char* user) {
  Temp_Folder home;
  const Child_Result child = file_names(mode, value, home);
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, std::string(machine) + "|" + user);
  EXPECT_EQ(child.err, "");
}

void expect_default_user_file(const char* mode, const char* value, const char* machine) {
  Temp_Folder home;
  const Child_Result child = file_names(mode, value, home);
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, std::string(machine) + "|" + home.path() + "/.kv/windows/hkcu.bin");
}

TEST(RegistryFileNames, BothAreTakenFromTheVariable) {
  expect_names("1", "/r/hklm.bin:/r/u.bin", "/r/hklm.bin", "/r/u.bin");
  expect_names("0", "/r/hklm.bin:/r/u.bin", "/r/hklm.bin", "/r/u.bin");
}

TEST(RegistryFileNames, OnlyTheFirstColonSplits) { expect_names("1", "a:b:c", "a", "b:c"); }

TEST(RegistryFileNames, WithoutAColonTheUsersIsTheDefault) {
  expect_default_user_file("1", "/r/hklm.bin", "/r/hklm.bin");
  expect_default_user_file("0", "/r/hklm.bin", "/r/hklm.bin");
}

TEST(RegistryFileNames, AnEmptyUserPartIsTheDefault) { expect_default_user_file("1", "/r/hklm.bin:", "/r/hklm.bin"); }

TEST(RegistryFileNames, AUserPartOfWhiteSpaceIsTheDefault) {
  expect_default_user_file("1", "/r/hklm.bin:   ", "/r/hklm.bin");
  expect_default_user_file("1", "/r/hklm.bin: \t\n", "/r/hklm.bin");
}

TEST(RegistryFileNames, WhiteSpaceAroundANameBelongsToIt) { expect_names("1", " a : b ", " a ", " b "); }

TEST(RegistryFileNames, Mode0AcceptsAnEmptyMachinePart) {
  expect_names("0", ":/r/u.bin", "", "/r/u.bin");
  expect_default_user_file("0", "", "");
  expect_default_user_file("0", ":", "");
}

TEST(RegistryFileNames, Mode0HasNoMachineFileWithoutTheVariable) { expect_default_user_file("0", nullptr, "null"); }

TEST(RegistryFileNames, AnEmptyMachinePartEndsAProfessionalProcess) {
  for (const char* mode : {"1", "2", "3", "7"}) {
    for (const char* value : {":/r/u.bin", "", ":", "  \t:/r/u.bin", "   "}) {
      Temp_Folder home;
      const Child_Result child = file_names(mode, value, home);
      EXPECT_EQ(child.exit_status, 255);
      EXPECT_EQ(child.out, "");
      EXPECT_EQ(child.err, "Fatal Error: HKEY_LOCAL_MACHINE is not defined by KVREGISTRY environment variable !!!\n");
    }
  }
}

TEST(RegistryFileNames, AMissingVariableEndsAProfessionalProcess) {
  for (const char* mode : {"1", "2", "3", "7"}) {
    Temp_Folder home;
    const Child_Result child = file_names(mode, nullptr, home);
    EXPECT_EQ(child.exit_status, 255);
    EXPECT_EQ(child.out, "");
    EXPECT_EQ(child.err, "Fatal Error: environment variable KVREGISTRY is not defined !!!\n");
  }
}

TEST(RegistryFileNames, WithoutAWindowsDirectoryTheUsersIsATemporaryName) {
  Temp_Folder folder;
  const Child_Result child = run_child([&] {
    unsetenv("HOME");
    setenv("TMPDIR", folder.path().c_str(), 1);
    setenv("KVREGISTRY_MODE", "1", 1);
    setenv("KVREGISTRY", "/r/hklm.bin", 1);
    char* user = nullptr;
    char* machine = nullptr;
    KvGetRegistryFileNames(&user, &machine);
    const std::string start = folder.path() + "/hku";
    say("%s %s\n", std::string(user).rfind(start, 0) == 0 ? "in the temporary directory" : user,
        access(user, F_OK) == 0 ? "taken" : "free");
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "in the temporary directory free\n");
}

TEST(RegistryFileNames, ReleasesWhatItAskedForAndDidNotNeed) {
  const Child_Result child = run_child([] {
    unsetenv("HOME");
    setenv("KVREGISTRY_MODE", "1", 1);
    const auto ask = [] {
      char* names[2] = {};
      KvGetRegistryFileNames(&names[0], &names[1]);
      for (char* name : names) delete[] name;
    };
    for (const char* registry : {"/r/hklm.bin", "/r/hklm.bin:/r/hkcu.bin"}) {
      setenv("KVREGISTRY", registry, 1);
      ask();
      const std::size_t before = heap_in_use();
      for (int i = 0; i < 1000; ++i) ask();
      say("%s\n", heap_in_use() < before + 10'000 ? "released" : "kept");
    }
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "released\nreleased\n");
}

TEST(RegistryFileNames, AsksForTheWindowsDirectoryInto4096Bytes) {
  Temp_Folder home;
  const Child_Result child = run_child([&] {
    setenv("HOME", home.path().c_str(), 1);
    setenv("KVREGISTRY_MODE", "0", 1);
    tell_questions_for_names();
    char* names[2] = {};
    KvGetRegistryFileNames(&names[0], &names[1]);
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "windows directory in 4096\n");
}

TEST(RegistryFileNames, LeavesTheVariableAsItIs) {
  const Child_Result child = run_child([] {
    setenv("KVREGISTRY_MODE", "1", 1);
    setenv("KVREGISTRY", "a:b:c", 1);
    char* user = nullptr;
    char* machine = nullptr;
    KvGetRegistryFileNames(&user, &machine);
    say("%s", getenv("KVREGISTRY"));
  });
  EXPECT_EQ(child.out, "a:b:c");
}

TEST(RegistryFileNames, EachCallGivesCopiesOfTheCallersOwn) {
  const Child_Result child = run_child([] {
    setenv("KVREGISTRY_MODE", "1", 1);
    setenv("KVREGISTRY", "a:b", 1);
    char* user[2] = {};
    char* machine[2] = {};
    for (int i = 0; i < 2; ++i) KvGetRegistryFileNames(&user[i], &machine[i]);
    say("%s %s\n", user[0] != user[1] ? "own" : "shared", machine[0] != machine[1] ? "own" : "shared");
    for (int i = 0; i < 2; ++i) {
      delete[] user[i];
      delete[] machine[i];
    }
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "own own\n");
}

TEST(NilFile, IsNullEmptyOrWhiteSpace) {
  EXPECT_EQ(is_nil_file(nullptr), 1);
  EXPECT_EQ(is_nil_file(""), 1);
  EXPECT_EQ(is_nil_file(" "), 1);
  EXPECT_EQ(is_nil_file(" \t\n\v\f\r "), 1);
}

TEST(NilFile, IsNotAnyOtherName) {
  EXPECT_EQ(is_nil_file("a"), 0);
  EXPECT_EQ(is_nil_file("  a  "), 0);
  EXPECT_EQ(is_nil_file("\x01"), 0);
  EXPECT_EQ(is_nil_file("\xA0"), 0);
}

}  // namespace
}  // namespace kvtest
