// The close of the registry: its steps, and the file of the user's hive that it leaves.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "tests/bootstrap/in_child.h"

namespace kvtest {
namespace {

using kvrecording::Call;

// In a child: a started library whose user hive has this image.
void start_with_image(std::uint64_t result, const char* image, int size) {
  kvrecording::Control& recording = choose_recording();
  init_advapi32();
  recording.script("KvIRegProcessEnding", [=](const Call& call) {
    call.store("out_image", const_cast<char*>(image));
    call.store("out_size", size);
    return result;
  });
}

// In a child: closes a registry whose machine file and user file have these names.
void close_with_image(const std::string& registry, std::uint64_t result, const char* image, int size) {
  setenv("KVREGISTRY", registry.c_str(), 1);
  start_with_image(result, image, size);
  RegUxClose(0, 0);
}

std::vector<std::string> names_in(const Temp_Folder& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
    names.push_back(entry.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

TEST(Close, HandsItsArgumentsToTheHeapBeforeAnythingElse) {
  const Child_Result child = run_child([] {
    kvrecording::Control& recording = choose_recording();
    init_advapi32();
    recording.script("KvIRegProcessEnding", [](const Call&) {
      say("asked for the hive\n");
      return 0;
    });
    answer_heap_init(0);
    RegUxClose(0x1122334455667788, 0x99AABBCCDDEEFF00);
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out,
            "KvKernelMallocInit 1122334455667788 99aabbccddeeff00 while 1\n"
            "asked for the hive\n");
}

TEST(Close, AsksForTheHiveWithEmptyOutputsWhenTheRegistryIsClosed) {
  const Child_Result child = run_child([] {
    kvrecording::Control& recording = choose_recording();
    init_advapi32();
    recording.reset();
    recording.script("KvIRegProcessEnding", [](const Call& call) {
      say("%s %d %d\n", *call.pointer<BYTE*>("out_image") == nullptr ? "null" : "image", *call.pointer<int>("out_size"),
          static_cast<int>(call.raw("zero")));
      say("%d %d %d %d\n", KvDllUseMalloc, KvRegistryIsInitialized, KvRegistryClosed, KvRegistryIsAlive());
      return 0;
    });
    RegUxClose(0, 0);
    say("%zu call\n", recording.calls().size());
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "null 0 0\n0 0 1 0\n1 call\n");
}

TEST(Close, WritesTheImageWhole) {
  Temp_Folder folder;
  const std::string image("\0hive\xFF\0with zeros\0", 18);
  const Child_Result child =
      run_child([&] { close_with_image(folder / "hklm.bin" + ":" + folder / "hkcu.bin", 0, image.data(), 18); });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "");
  EXPECT_EQ(content_of(folder / "hkcu.bin"), image);
  EXPECT_EQ(names_in(folder), std::vector<std::string>({"hkcu.bin"}));
}

TEST(Close, GivesTheFileItsModeWhateverTheMask) {
  Temp_Folder folder;
  const Child_Result child = run_child([&] {
    umask(0777);
    close_with_image(folder / "hklm.bin" + ":" + folder / "hkcu.bin", 0, "hive", 4);
  });
  struct stat status;
  EXPECT_EQ(child.exit_status, 0) << child.err;
  ASSERT_EQ(stat((folder / "hkcu.bin").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0666u);
}

TEST(Close, ReplacesTheFileSoThatAReaderKeepsTheOldOne) {
  Temp_Folder folder;
  write_file(folder / "hkcu.bin", "the old hive, which is longer");
  std::ifstream reader(folder / "hkcu.bin", std::ios::binary);
  const Child_Result child =
      run_child([&] { close_with_image(folder / "hklm.bin" + ":" + folder / "hkcu.bin", 0, "new hive", 8); });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(reader), {}), "the old hive, which is longer");
  EXPECT_EQ(content_of(folder / "hkcu.bin"), "new hive");
}

TEST(Close, WritesNothingWhenTheImplementationFails) {
  for (std::uint64_t result : {1, 112, 1359}) {
    Temp_Folder folder;
    write_file(folder / "hkcu.bin", "old");
    const Child_Result child =
        run_child([&] { close_with_image(folder / "hklm.bin" + ":" + folder / "hkcu.bin", result, "new", 3); });
    EXPECT_EQ(child.exit_status, 0) << child.err;
    EXPECT_EQ(child.out, "");
    EXPECT_EQ(content_of(folder / "hkcu.bin"), "old");
  }
}

TEST(Close, WritesNothingForAnEmptyHive) {
  Temp_Folder folder;
  write_file(folder / "hkcu.bin", "old");
  const Child_Result child =
      run_child([&] { close_with_image(folder / "hklm.bin" + ":" + folder / "hkcu.bin", 0, "new", 0); });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "");
  EXPECT_EQ(content_of(folder / "hkcu.bin"), "old");
}

TEST(Close, LeavesTheImplementationsBufferAsItIs) {
  const Child_Result child = run_child([] {
    char* const image = strdup("an image from malloc");
    close_with_image("/nowhere/hklm.bin:/nowhere/hkcu.bin", 0, image, 20);
    say("%s\n", image);
    free(image);
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "an image from malloc\n");
}

TEST(Close, KeepsSilentWhenTheFileCannotBeMade) {
  const Child_Result child = run_child([] { close_with_image("/nowhere/hklm.bin:/nowhere/hkcu.bin", 0, "new", 3); });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "");
  EXPECT_EQ(child.err, "");
}

TEST(Close, KeepsSilentWhenTheFileCannotBeReplaced) {
  Temp_Folder folder;
  std::filesystem::create_directory(folder / "hkcu.bin");
  const Child_Result child =
      run_child([&] { close_with_image(folder / "hklm.bin" + ":" + folder / "hkcu.bin", 0, "new", 3); });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "");
  EXPECT_EQ(names_in(folder), std::vector<std::string>({"hkcu.bin"}));
  EXPECT_TRUE(std::filesystem::is_directory(folder / "hkcu.bin"));
}

TEST(Close, UsesTheDefaultFileWhenKvregistryNamesNone) {
  Temp_Folder folder;
  const Child_Result child = run_child([&] {
    setenv("HOME", folder.path().c_str(), 1);
    close_with_image(folder / "hklm.bin", 0, "the hive", 8);
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(content_of(folder / ".kv/windows/hkcu.bin"), "the hive");
}

TEST(Close, EndsTheProcessWhenThereIsAHiveToWriteAndNoKvregistry) {
  const Child_Result child = run_child([] {
    unsetenv("KVREGISTRY");
    start_with_image(0, "new", 3);
    RegUxClose(0, 0);
    say("came back\n");
  });
  EXPECT_EQ(child.exit_status, 255);
  EXPECT_EQ(child.out, "");
  EXPECT_EQ(child.err, "Fatal Error: environment variable KVREGISTRY is not defined !!!\n");
}

TEST(Close, NeedsNoKvregistryWhenThereIsNothingToWrite) {
  const Child_Result child = run_child([] {
    unsetenv("KVREGISTRY");
    start_with_image(0, nullptr, 0);
    RegUxClose(0, 0);
    say("came back\n");
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "came back\n");
  EXPECT_EQ(child.err, "");
}

TEST(Close, TakesTheFileNamesFromTheKernelHeap) {
  Temp_Folder folder;
  const Child_Result child = run_child([&] {
    setenv("KVREGISTRY", (folder / "hklm.bin" + ":" + folder / "hkcu.bin").c_str(), 1);
    start_with_image(0, "new", 3);
    tell_kernel_blocks();
    RegUxClose(0, 0);
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out.find("KvKernelCalloc "), 0u) << child.out;
}

TEST(Close, AShortWriteForAnyCauseIsToldAsAFullDisk) {
  Temp_Folder folder;
  write_file(folder / "hkcu.bin", "old");
  const Child_Result child = run_child([&] {
    signal(SIGXFSZ, SIG_IGN);
    const rlimit four_bytes = {4, 4};
    setrlimit(RLIMIT_FSIZE, &four_bytes);
    close_with_image(folder / "hklm.bin" + ":" + folder / "hkcu.bin", 0, "new hive", 8);
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(without_times(child.out),
            "TIME  [# 1] ->\n"
            "Failed to write HKCU file to disc: the device is full.\n"
            "The changes made to the HKEY_CURRENT_USER in this session have been lost.\n");
  EXPECT_EQ(child.err, "");
  EXPECT_EQ(content_of(folder / "hkcu.bin"), "old");
  EXPECT_EQ(names_in(folder), std::vector<std::string>({"hkcu.bin"}));
}

TEST(Close, ParksEveryLaterCallBeforeItReachesTheImplementation) {
  const Child_Result child = run_child([] {
    kvrecording::Control& recording = choose_recording();
    init_advapi32();
    RegUxClose(0, 0);
    recording.reset();
    end_at_sleep();
    RegCloseKey(HKEY_USERS);
    say("came back\n");
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "sleep 100\n");
}

}  // namespace
}  // namespace kvtest
