// Modules that are loaded already, under their Windows names.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <winbase.h>
#include <winerror.h>

#include <string>

namespace {

std::string file_of(HMODULE module) {
  char path[4096] = "";
  GetModuleFileNameA(module, path, sizeof path);
  return path;
}

std::string base_name_of(HMODULE module) {
  const std::string path = file_of(module);
  return path.substr(path.rfind('/') + 1);
}

TEST(ModuleHandle, FindsTheLayersLibrariesWithoutRegardToCaseAndSuffix) {
  HMODULE module = GetModuleHandleA("advapi32.dll");
  ASSERT_NE(module, nullptr);
  EXPECT_EQ(base_name_of(module), "libadvapi32.so.1");
  for (const char* name : {"ADVAPI32", "advapi32", "AdvApi32.DLL", "libadvapi32.so", "libadvapi32.so.1"})
    EXPECT_EQ(GetModuleHandleA(name), module) << name;
  EXPECT_EQ(GetModuleHandleW(L"ADVAPI32"), module);
  EXPECT_EQ(base_name_of(GetModuleHandleA("Kernel32.dll")), "libkernel32.so.1");
}

TEST(ModuleHandle, LoadsTheLayersLibrariesUnderTheirWindowsNames) {
  HMODULE module = GetModuleHandleA("advapi32");
  for (const char* name : {"advapi32.dll", "ADVAPI32", "Advapi32.Dll"}) EXPECT_EQ(LoadLibraryA(name), module) << name;
  EXPECT_EQ(LoadLibraryW(L"ADVAPI32.DLL"), module);
  EXPECT_NE(GetProcAddress(module, "RegCloseKey"), nullptr);
}

TEST(ModuleHandle, OfNothingIsNull) {
  SetLastError(0);
  EXPECT_EQ(GetModuleHandleA("advapi33.dll"), nullptr);
  EXPECT_EQ(GetLastError(), 126u);
  SetLastError(0);
  EXPECT_EQ(GetModuleHandleW(L""), nullptr);
  EXPECT_EQ(GetLastError(), 126u);
  SetLastError(0);
  EXPECT_EQ(LoadLibraryW(L"no_such_module"), nullptr);
  EXPECT_EQ(GetLastError(), 126u);
  EXPECT_EQ(LoadLibraryW(nullptr), nullptr);
}

TEST(ModuleHandle, IsNullForAModuleThatIsInstalledButNotLoaded) {
  setenv("KVMODULE_PATH", KVTEST_FIRST_FOLDER, 1);
  EXPECT_EQ(GetModuleHandleA("probe"), nullptr);
  HMODULE probe = LoadLibraryA("probe");
  ASSERT_NE(probe, nullptr) << "a name without suffix has .dll";
  EXPECT_EQ(file_of(probe), std::string(KVTEST_FIRST_FOLDER) + "/probe.dll");
  EXPECT_EQ(GetModuleHandleA("PROBE.DLL"), probe);
  EXPECT_EQ(GetModuleHandleA((std::string(KVTEST_FIRST_FOLDER) + "/probe.dll").c_str()), probe);
}

TEST(ModuleHandle, OfNullIsTheProgram) {
  HMODULE program = GetModuleHandleA(nullptr);
  ASSERT_NE(program, nullptr);
  EXPECT_EQ(GetModuleHandleW(nullptr), program);
  EXPECT_EQ(file_of(program), file_of(nullptr));
}

TEST(FreeLibrary, SucceedsForAModuleWhichStays) {
  HMODULE module = LoadLibraryA("advapi32");
  EXPECT_EQ(FreeLibrary(module), TRUE);
  EXPECT_EQ(FreeLibrary(module), TRUE);
  EXPECT_EQ(GetModuleHandleA("advapi32"), module);
}

TEST(FreeLibrary, RefusesWhatIsNoModule) {
  SetLastError(0);
  EXPECT_EQ(FreeLibrary(nullptr), FALSE);
  EXPECT_EQ(GetLastError(), 126u);
  int none = 0;
  EXPECT_EQ(FreeLibrary(reinterpret_cast<HMODULE>(&none)), FALSE);
}

}  // namespace
