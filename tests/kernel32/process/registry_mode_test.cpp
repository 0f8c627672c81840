// How the registry mode is settled. Each case is a child with an environment of its own.
#include <gtest/gtest.h>
#include <kelvane/process.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "tests/support/child.h"
#include "tests/support/private_etc.h"

namespace {

using kvtest::Child_Result;
using kvtest::Temp_Folder;

constexpr int skipped = 77;

// Prints the mode and KVREGISTRY after it was settled, in this environment and nothing of the registry else.
void print_mode(const std::vector<std::string>& changes) {
  for (const char* name : {"KVREGISTRY_MODE", "KVREGISTRY", "KVMODULE_PATH"}) unsetenv(name);
  kvtest::detail::change_environment(changes);
  unsigned mode = KvGetRegistryMode();
  const char* file = getenv("KVREGISTRY");
  printf("%u %s", mode, file != nullptr ? file : "(none)");
}

Child_Result mode_with(const std::vector<std::string>& changes) {
  return kvtest::run_child([&] { print_mode(changes); });
}

// The same with a folder of the test's at /etc; the exit status tells when that cannot be had.
Child_Result mode_with_etc(const std::string& etc, const std::vector<std::string>& changes) {
  return kvtest::run_child([&] {
    std::string reason = kvtest::put_folder_over_etc(etc);
    if (!reason.empty()) {
      fprintf(stderr, "%s", reason.c_str());
      _exit(skipped);
    }
    print_mode(changes);
  });
}

unsigned access_bits(const std::string& path) {
  struct stat status;
  return stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

TEST(RegistryMode, ANumberIsTakenAsItStands) {
  EXPECT_EQ(mode_with({"KVREGISTRY_MODE=0"}).out, "0 (none)");
  EXPECT_EQ(mode_with({"KVREGISTRY_MODE=2"}).out, "2 (none)");
  EXPECT_EQ(mode_with({"KVREGISTRY_MODE=7"}).out, "7 (none)");
  EXPECT_EQ(mode_with({"KVREGISTRY_MODE=4294967295"}).out, "4294967295 (none)");
}

TEST(RegistryMode, ANameIsItsNumber) {
  EXPECT_EQ(mode_with({"KVREGISTRY_MODE=client"}).out, "0 (none)");
  EXPECT_EQ(mode_with({"KVREGISTRY_MODE=in-process"}).out, "1 (none)");
  EXPECT_EQ(mode_with({"KVREGISTRY_MODE=host"}).out, "2 (none)");
  EXPECT_EQ(mode_with({"KVREGISTRY_MODE=server"}).out, "3 (none)");
}

TEST(RegistryMode, AnyOtherTextEndsTheProcessWith255) {
  for (const char* text : {"", " 1", "-1", "1x", "Client", "4294967296"}) {
    Child_Result result = mode_with({std::string("KVREGISTRY_MODE=") + text});
    EXPECT_EQ(result.exit_status, 255) << text;
    EXPECT_EQ(result.out, "") << text;
    EXPECT_EQ(result.err, std::string("Fatal Error: KVREGISTRY_MODE is \"") + text +
                              "\", which is neither a number nor client, in-process, host or server.\n");
  }
}

TEST(RegistryMode, AnExplicitModeDecidesBeforeTheFile) {
  EXPECT_EQ(mode_with({"KVREGISTRY_MODE=3", "KVREGISTRY=/r/hklm.bin"}).out, "3 /r/hklm.bin");
}

TEST(RegistryMode, ARegistryFileMeansInProcess) {
  EXPECT_EQ(mode_with({"KVREGISTRY=/r/hklm.bin:/r/u.bin"}).out, "1 /r/hklm.bin:/r/u.bin");
}

TEST(RegistryMode, WithNothingConfiguredTheUsersOwnRegistryIsUsed) {
  Temp_Folder home;
  EXPECT_EQ(mode_with({"HOME=" + home.path()}).out, "1 " + home.path() + "/.kv/registry/hklm.bin");
  EXPECT_EQ(access_bits(home / ".kv"), 0700u);
  EXPECT_EQ(access_bits(home / ".kv/registry"), 0700u);
}

TEST(RegistryMode, TheUsersFoldersArePrivateWhateverTheCreationMask) {
  Temp_Folder home;
  kvtest::run_child([&] {
    umask(0277);
    print_mode({"HOME=" + home.path()});
  });
  EXPECT_EQ(access_bits(home / ".kv"), 0700u);
  EXPECT_EQ(access_bits(home / ".kv/registry"), 0700u);
}

TEST(RegistryMode, WithoutHomeTheDefaultLiesInAFolderOfTheUsersInTheTemporaryDirectory) {
  Temp_Folder temporary;
  std::string folder = temporary / ("kv-" + std::to_string(geteuid()));
  EXPECT_EQ(mode_with({"HOME", "TMPDIR=" + temporary.path()}).out, "1 " + folder + "/registry/hklm.bin");
  EXPECT_EQ(access_bits(folder), 0700u);
  EXPECT_EQ(access_bits(folder + "/registry"), 0700u);
}

TEST(RegistryMode, AFolderInTheTemporaryDirectoryThatOthersMayEnterIsRefused) {
  Temp_Folder temporary;
  std::string folder = temporary / ("kv-" + std::to_string(geteuid()));
  ASSERT_EQ(mkdir(folder.c_str(), 0755), 0);
  Child_Result result = mode_with({"HOME", "TMPDIR=" + temporary.path()});
  EXPECT_EQ(result.exit_status, 255);
  EXPECT_EQ(result.err, "Fatal Error: \"" + folder + "\" is no private folder of this user; set HOME or KVREGISTRY.\n");
  EXPECT_EQ(access_bits(folder + "/registry"), 0u);
}

TEST(RegistryMode, ALinkInPlaceOfThatFolderIsRefused) {
  Temp_Folder temporary;
  Temp_Folder target;
  std::string folder = temporary / ("kv-" + std::to_string(geteuid()));
  ASSERT_EQ(symlink(target.path().c_str(), folder.c_str()), 0);
  EXPECT_EQ(mode_with({"HOME", "TMPDIR=" + temporary.path()}).exit_status, 255);
  EXPECT_EQ(access_bits(target / "registry"), 0u);
}

TEST(RegistryMode, AHomeWithAColonEndsTheProcessWith255AndMakesNothing) {
  Temp_Folder folder;
  std::string home = folder / "a:b";
  ASSERT_EQ(mkdir(home.c_str(), 0700), 0);
  Child_Result result = mode_with({"HOME=" + home});
  EXPECT_EQ(result.exit_status, 255);
  EXPECT_EQ(result.err, "Fatal Error: the default registry would lie in \"" + home +
                            "\", whose colon KVREGISTRY cannot carry; set KVREGISTRY to another file.\n");
  EXPECT_EQ(access_bits(home + "/.kv"), 0u);
}

TEST(RegistryMode, AHomeThatCannotBeWrittenIsLeftToTheStore) {
  EXPECT_EQ(mode_with({"HOME=/proc/nowhere"}).out, "1 /proc/nowhere/.kv/registry/hklm.bin");
}

TEST(RegistryMode, AConfiguredMachineWithTheClientLibraryIsMode0) {
  Temp_Folder etc;
  Temp_Folder modules;
  std::ofstream(etc / "kelvane.conf") << "CORE_DATA=/var/lib/kelvane\n";
  std::ofstream(modules / "advapi32client.dll") << "";
  Child_Result result = mode_with_etc(etc.path(), {"KVMODULE_PATH=" + modules.path()});
  if (result.exit_status == skipped) GTEST_SKIP() << result.err;
  EXPECT_EQ(result.out, "0 (none)");
}

TEST(RegistryMode, AConfiguredMachineWithoutTheClientLibraryHasTheDefault) {
  Temp_Folder etc;
  Temp_Folder home;
  Temp_Folder libraries;  // a base library with no modules beside it
  std::ofstream(etc / "kelvane.conf") << "CORE_DATA=/var/lib/kelvane\n";
  std::filesystem::copy_file(KVTEST_KERNEL32, libraries / "libkernel32.so.1");
  Child_Result result = kvtest::run_child([&] {
    std::string reason = kvtest::put_folder_over_etc(etc.path());
    if (!reason.empty()) {
      fprintf(stderr, "%s", reason.c_str());
      _exit(skipped);
    }
    Child_Result shown = kvtest::run_program(
        {KVTEST_SHOW_MODE}, {"HOME=" + home.path(), "LD_LIBRARY_PATH=" + libraries.path(), "KVMODULE_PATH"});
    printf("%s%s", shown.out.c_str(), shown.err.c_str());
  });
  if (result.exit_status == skipped) GTEST_SKIP() << result.err;
  EXPECT_EQ(result.out, "1 " + home.path() + "/.kv/registry/hklm.bin");
}

TEST(RegistryMode, TheClientLibraryAloneDoesNotMakeMode0) {
  Temp_Folder etc;
  Temp_Folder home;
  Temp_Folder modules;
  std::ofstream(modules / "advapi32client.dll") << "";
  Child_Result result = mode_with_etc(etc.path(), {"HOME=" + home.path(), "KVMODULE_PATH=" + modules.path()});
  if (result.exit_status == skipped) GTEST_SKIP() << result.err;
  EXPECT_EQ(result.out, "1 " + home.path() + "/.kv/registry/hklm.bin");
}

TEST(RegistryMode, IsConstantFromTheFirstQuestionOn) {
  Child_Result result = kvtest::run_child([] {
    print_mode({"KVREGISTRY_MODE=2"});
    setenv("KVREGISTRY_MODE", "0", 1);
    printf(" %u", KvGetRegistryMode());
  });
  EXPECT_EQ(result.out, "2 (none) 2");
}

TEST(ProfessionalMode, IsEveryModeButTheClients) {
  auto professional = [](const char* mode) {
    return kvtest::run_child([=] {
             setenv("KVREGISTRY_MODE", mode, 1);
             _exit(KvIsProfessionalRegistryMode());
           })
        .exit_status;
  };
  EXPECT_EQ(professional("0"), 0);
  EXPECT_EQ(professional("1"), 1);
  EXPECT_EQ(professional("3"), 1);
  EXPECT_EQ(professional("7"), 1);
}

TEST(ProfessionalMode, HasOnePathComponent) { EXPECT_STREQ(KvGetProfessionalRegistryModeString(), "professional"); }

}  // namespace
