// LoadLibraryA and KvModuleError: where modules are found, and what is said when they are not. Each load runs
// in a child of its own.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <kelvane/module.h>
#include <stdlib.h>
#include <winbase.h>
#include <winerror.h>

#include <filesystem>
#include <fstream>
#include <thread>

#include "tests/support/child.h"

namespace {

using kvtest::Child_Result;
using kvtest::Temp_Folder;

const std::string first_folder = KVTEST_FIRST_FOLDER;    // its probe.dll is number 1
const std::string second_folder = KVTEST_SECOND_FOLDER;  // its probe.dll is number 2, with unresolved.dll

int number_of(HMODULE module) { return static_cast<int>(GetProcAddress(module, "probe_number")()); }

// Runs the function in a child with this KVMODULE_PATH.
Child_Result with_module_path(const std::string& path, const std::function<void()>& function) {
  return kvtest::run_child([&] {
    setenv("KVMODULE_PATH", path.c_str(), 1);
    function();
  });
}

// Loads a name and ends with the number of the module that was found, 100 when there was none.
std::function<void()> exit_with_number(const char* name) {
  return [name] {
    HMODULE module = LoadLibraryA(name);
    _exit(module != nullptr ? number_of(module) : 100);
  };
}

TEST(LoadLibraryA, FindsTheFileOfTheNameInTheModulePath) {
  EXPECT_EQ(with_module_path(first_folder, exit_with_number("probe.dll")).exit_status, 1);
  EXPECT_EQ(with_module_path(second_folder, exit_with_number("probe.dll")).exit_status, 2);
}

TEST(LoadLibraryA, TakesTheFirstFolderThatHasTheFileAndPassesOverEmptyParts) {
  std::string path = "::/nowhere:" + second_folder + "::" + first_folder + ":";
  EXPECT_EQ(with_module_path(path, exit_with_number("probe.dll")).exit_status, 2);
}

TEST(LoadLibraryA, AFolderOfTheNameIsNoModule) {
  Temp_Folder folder;
  std::filesystem::create_directory(folder / "probe.dll");
  EXPECT_EQ(with_module_path(folder.path() + ":" + first_folder, exit_with_number("probe.dll")).exit_status, 1);
}

TEST(LoadLibraryA, TakesANameWithASlashAsItStands) {
  std::string path = second_folder + "/probe.dll";
  EXPECT_EQ(with_module_path(first_folder, exit_with_number(path.c_str())).exit_status, 2);
}

TEST(LoadLibraryA, GivesTheSameModuleForTheSameFile) {
  Child_Result result = with_module_path(first_folder, [] {
    HMODULE by_name = LoadLibraryA("probe.dll");
    HMODULE by_path = LoadLibraryA(KVTEST_FIRST_FOLDER "/probe.dll");
    HMODULE other = LoadLibraryA(KVTEST_SECOND_FOLDER "/probe.dll");
    printf("%d %d", by_name == by_path, by_name == other);
  });
  EXPECT_EQ(result.out, "1 0");
}

TEST(LoadLibraryA, FindsModulesBesideTheBaseLibrary) {
  Temp_Folder folder;
  std::filesystem::copy_file(KVTEST_KERNEL32, folder / "libkernel32.so.1");
  std::filesystem::create_directory(folder / "kelvane");
  std::filesystem::copy_file(first_folder + "/probe.dll", folder / "kelvane/probe.dll");
  std::string libraries = folder.path() + ":" + first_folder;
  Child_Result result =
      kvtest::run_program({KVTEST_SHOW_MODULE, "probe.dll"}, {"LD_LIBRARY_PATH=" + libraries, "KVMODULE_PATH"});
  EXPECT_EQ(result.exit_status, 0) << result.err;
  EXPECT_EQ(result.out, folder / "kelvane/probe.dll\n");
}

TEST(LoadLibraryA, TheModulePathComesBeforeTheFolderBesideTheBaseLibrary) {
  Temp_Folder folder;
  std::filesystem::copy_file(KVTEST_KERNEL32, folder / "libkernel32.so.1");
  std::filesystem::create_directory(folder / "kelvane");
  std::filesystem::copy_file(first_folder + "/probe.dll", folder / "kelvane/probe.dll");
  Child_Result result = kvtest::run_program({KVTEST_SHOW_MODULE, "probe.dll"},
                                            {"LD_LIBRARY_PATH=" + folder.path(), "KVMODULE_PATH=" + second_folder});
  EXPECT_EQ(result.out, second_folder + "/probe.dll\n") << result.err;
}

TEST(LoadLibraryA, GoesAlongTheLoadersPathAtLast) {
  Child_Result result =
      kvtest::run_program({KVTEST_SHOW_MODULE, "probe.dll"}, {"LD_LIBRARY_PATH=" + first_folder, "KVMODULE_PATH"});
  EXPECT_EQ(result.out, first_folder + "/probe.dll\n") << result.err;
}

TEST(LoadLibraryA, AMissingModuleIsError126AndTheReasonNamesTheFolders) {
  Child_Result result = with_module_path("/nowhere", [] {
    HMODULE module = LoadLibraryA("no-such-module.dll");
    printf("%d %u %s", module == nullptr, GetLastError(), KvModuleError());
  });
  EXPECT_EQ(result.out.substr(0, 6), "1 126 ");
  EXPECT_NE(result.out.find("no-such-module.dll"), std::string::npos) << result.out;
  EXPECT_NE(result.out.find("(searched: /nowhere:/"), std::string::npos) << result.out;
}

TEST(LoadLibraryA, AFileThatDoesNotLoadIsTheFailureThoughAnotherFolderHasAGoodOne) {
  Temp_Folder folder;
  std::ofstream(folder / "probe.dll") << std::string(1000, 'x');
  Child_Result result = with_module_path(folder.path() + ":" + first_folder, [] {
    HMODULE module = LoadLibraryA("probe.dll");
    printf("%d %u %s", module == nullptr, GetLastError(), KvModuleError());
  });
  EXPECT_EQ(result.out, "1 126 " + folder.path() + "/probe.dll: invalid ELF header");
}

TEST(LoadLibraryA, AModuleWithAnUnresolvedSymbolSaysWhich) {
  Child_Result result = with_module_path(second_folder, [] {
    HMODULE module = LoadLibraryA("unresolved.dll");
    printf("%d %s", module == nullptr, KvModuleError());
  });
  EXPECT_EQ(result.out, "1 " + second_folder + "/unresolved.dll: undefined symbol: probe_defined_by_nobody");
}

TEST(LoadLibraryA, NoNameIsNoModule) {
  for (const char* name : {static_cast<const char*>(nullptr), ""}) {
    SetLastError(0);
    EXPECT_EQ(LoadLibraryA(name), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
    EXPECT_STREQ(KvModuleError(), "no module name");
  }
}

TEST(ModuleError, BelongsToTheThreadAndASuccessClearsIt) {
  Child_Result result = with_module_path(first_folder, [] {
    LoadLibraryA("");
    std::thread([] { printf("[%s]", KvModuleError()); }).join();
    printf("[%s]", KvModuleError());
    LoadLibraryA("probe.dll");
    printf("[%s]", KvModuleError());
  });
  EXPECT_EQ(result.out, "[][no module name][]");
}

TEST(LoadLibraryA, ASuccessLeavesTheLastErrorAlone) {
  Child_Result result = with_module_path(first_folder, [] {
    SetLastError(1234);
    LoadLibraryA("probe.dll");
    printf("%u", GetLastError());
  });
  EXPECT_EQ(result.out, "1234");
}

TEST(ModuleIsInstalled, LooksInTheModulePathAndLoadsNothing) {
  Child_Result result = with_module_path(first_folder, [] {
    int installed = KvModuleIsInstalled("probe.dll");
    bool loaded = dlopen(KVTEST_FIRST_FOLDER "/probe.dll", RTLD_LAZY | RTLD_NOLOAD) != nullptr;
    printf("%d %d %d %d %d", installed, loaded, KvModuleIsInstalled("libc.so.6"), KvModuleIsInstalled(""),
           KvModuleIsInstalled(KVTEST_FIRST_FOLDER "/probe.dll"));
  });
  EXPECT_EQ(result.out, "1 0 0 0 0");
}

}  // namespace
