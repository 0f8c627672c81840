// GetProcAddress, GetModuleFileNameA and KvGetInstanceProgramName.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <kelvane/module.h>
#include <unistd.h>
#include <winbase.h>
#include <winerror.h>

#include <filesystem>
#include <string>

#include "tests/support/child.h"

namespace {

HMODULE probe() {
  static HMODULE module = LoadLibraryA(KVTEST_FIRST_FOLDER "/probe.dll");
  return module;
}

// Something that was never a module.
HMODULE stranger() {
  static char object[4096];
  return reinterpret_cast<HMODULE>(object);
}

TEST(GetProcAddress, GivesFunctionsAndVariablesOfTheModule) {
  FARPROC number = GetProcAddress(probe(), "probe_number");
  ASSERT_NE(number, nullptr);
  EXPECT_EQ(number(), 1);
  EXPECT_EQ(*reinterpret_cast<int*>(GetProcAddress(probe(), "probe_variable")), 1);
}

TEST(GetProcAddress, ASymbolOfALibraryThatTheModuleLeansOnIsNotTheModules) {
  ASSERT_EQ(GetProcAddress(probe(), "probe_calls_its_library")(), 7);
  SetLastError(0);
  EXPECT_EQ(GetProcAddress(probe(), "probe_of_another_library"), nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PROC_NOT_FOUND));
  EXPECT_STREQ(KvModuleError(), KVTEST_FIRST_FOLDER "/probe.dll: does not define probe_of_another_library");
}

TEST(GetProcAddress, AMissingSymbolIsError127) {
  SetLastError(0);
  EXPECT_EQ(GetProcAddress(probe(), "no_such_symbol"), nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PROC_NOT_FOUND));
}

TEST(GetProcAddress, AStrangersHandleAndAnOrdinalAreAnsweredWithNull) {
  EXPECT_EQ(GetProcAddress(stranger(), "probe_number"), nullptr);
  EXPECT_EQ(GetProcAddress(nullptr, "probe_number"), nullptr);
  EXPECT_EQ(GetProcAddress(probe(), reinterpret_cast<LPCSTR>(uintptr_t{17})), nullptr);
  EXPECT_EQ(GetProcAddress(probe(), nullptr), nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PROC_NOT_FOUND));
}

TEST(GetModuleFileNameA, GivesTheFullPathAndItsLength) {
  char path[4096];
  std::string expected = KVTEST_FIRST_FOLDER "/probe.dll";
  EXPECT_EQ(GetModuleFileNameA(probe(), path, sizeof path), expected.size());
  EXPECT_EQ(path, expected);
}

TEST(GetModuleFileNameA, GivesTheProgramForNullAndForTheProgramsOwnHandle) {
  std::string expected = std::filesystem::read_symlink("/proc/self/exe");
  char path[4096];
  EXPECT_EQ(GetModuleFileNameA(nullptr, path, sizeof path), expected.size());
  EXPECT_EQ(path, expected);
  EXPECT_EQ(GetModuleFileNameA(static_cast<HMODULE>(dlopen(nullptr, RTLD_LAZY)), path, sizeof path), expected.size());
  EXPECT_EQ(path, expected);
}

TEST(GetModuleFileNameA, KnowsModulesThatTheProgramItselfLoaded) {
  void* module = dlopen(KVTEST_SECOND_FOLDER "/probe.dll", RTLD_NOW | RTLD_LOCAL);
  char path[4096];
  GetModuleFileNameA(static_cast<HMODULE>(module), path, sizeof path);
  EXPECT_STREQ(path, KVTEST_SECOND_FOLDER "/probe.dll");
  EXPECT_EQ(GetProcAddress(static_cast<HMODULE>(module), "probe_number")(), 2);
}

TEST(GetModuleFileNameA, APathThatFitsExactlyIsWhole) {
  std::string expected = KVTEST_FIRST_FOLDER "/probe.dll";
  std::string path(expected.size() + 1, '#');
  EXPECT_EQ(GetModuleFileNameA(probe(), path.data(), static_cast<DWORD>(path.size())), expected.size());
  EXPECT_STREQ(path.c_str(), expected.c_str());
}

TEST(GetModuleFileNameA, APathThatDoesNotFitIsCutAndTerminated) {
  char path[8] = {'#', '#', '#', '#', '#', '#', '#', '#'};
  SetLastError(0);
  EXPECT_EQ(GetModuleFileNameA(probe(), path, 5), 5u);
  EXPECT_EQ(std::string(path, 4), std::string(KVTEST_FIRST_FOLDER).substr(0, 4));
  EXPECT_EQ(path[4], '\0');
  EXPECT_EQ(path[5], '#');
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
}

TEST(GetModuleFileNameA, AStrangersHandleGivesZeroAndError6) {
  char path[8] = "before";
  SetLastError(0);
  EXPECT_EQ(GetModuleFileNameA(stranger(), path, sizeof path), 0u);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
  EXPECT_STREQ(path, "before");
  EXPECT_EQ(GetModuleFileNameA(probe(), path, 0), 0u);
}

TEST(GetModuleFileNameA, APathGivenRelativelyIsFullAlsoAfterAChangeOfDirectory) {
  kvtest::Child_Result result = kvtest::run_child([] {
    if (chdir(KVTEST_FIRST_FOLDER) != 0) _exit(1);
    HMODULE module = LoadLibraryA("./probe.dll");
    if (chdir("/") != 0) _exit(1);
    char path[4096] = "";
    GetModuleFileNameA(module, path, sizeof path);
    printf("%s", path);
  });
  EXPECT_EQ(std::filesystem::path(result.out).lexically_normal(), KVTEST_FIRST_FOLDER "/probe.dll");
}

TEST(InstanceProgramName, IsTheFileNameWithoutFolderAndExtension) {
  EXPECT_STREQ(KvGetInstanceProgramName(probe()), "probe");
  EXPECT_STREQ(KvGetInstanceProgramName(nullptr), "kernel32_module_test");
}

TEST(InstanceProgramName, DropsLibAndTheVersionOfASharedLibrary) {
  void* c_library = dlopen("libc.so.6", RTLD_LAZY);
  EXPECT_STREQ(KvGetInstanceProgramName(static_cast<HMODULE>(c_library)), "c");
}

TEST(InstanceProgramName, IsTheSameTextEachTimeAndEmptyForAStranger) {
  EXPECT_EQ(KvGetInstanceProgramName(probe()), KvGetInstanceProgramName(probe()));
  EXPECT_STREQ(KvGetInstanceProgramName(stranger()), "");
}

}  // namespace
