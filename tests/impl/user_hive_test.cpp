// HKEY_CURRENT_USER: its live hive, its image, and how one is taken back. Each use is a process of its own.
#include <sys/stat.h>

#include <fstream>

#include "tests/impl/module.h"
#include "tests/support/child.h"

namespace {

using namespace kvtest;

class UserHive : public testing::Test {
 protected:
  // Runs the function in a process with its hives in the folder.
  Child_Result in_process(const std::function<void()>& function) {
    return run_child([&] {
      put_hives_into(folder.path());
      function();
    });
  }

  // What the end of a process does: asks for the image and writes it to the per-user file. The size.
  int write_image() {
    BYTE* image = nullptr;
    int size = -1;
    if (entries().KvIRegProcessEnding(&image, &size, 0) != 0) return -1;
    if (size != 0) std::ofstream(file, std::ios::binary).write(reinterpret_cast<char*>(image), size);
    delete[] image;
    return size;
  }

  static DWORD set_user_value(std::string_view data) {
    HKEY key = nullptr;
    create_key(HKEY_CURRENT_USER, u"Software\\Test", &key);
    return set_value(key, u"v", REG_BINARY, data);
  }
  static Value user_value() {
    HKEY key = nullptr;
    Value missing;
    missing.code = open_key(HKEY_CURRENT_USER, u"Software\\Test", &key);
    return missing.code == 0 ? value_of(key, u"v") : missing;
  }
  std::string live_hive() const {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder / "core")) {
      if (entry.path().filename() == "hkcu.hive") return entry.path().string();
    }
    return "";
  }

  Temp_Folder folder;
  std::string file = folder / "hkcu.bin";
};

TEST_F(UserHive, LiesInTheCoreDataFolderWhichIsTheUsersAlone) {
  ASSERT_EQ(in_process([&] { _exit(static_cast<int>(set_user_value("x"))); }).exit_status, 0);
  const std::string live = live_hive();
  ASSERT_NE(live, "");
  struct stat found;
  ASSERT_EQ(stat(live.c_str(), &found), 0);
  EXPECT_EQ(found.st_mode & 07777, 0600u);
  ASSERT_EQ(stat(std::filesystem::path(live).parent_path().c_str(), &found), 0);
  EXPECT_EQ(found.st_mode & 07777, 0700u);
}

TEST_F(UserHive, KeepsWhatWasWrittenWithoutAnyImage) {
  ASSERT_EQ(in_process([&] { _exit(static_cast<int>(set_user_value("kept"))); }).exit_status, 0);
  const auto reader = in_process([&] { _exit(user_value().data == "kept" ? 0 : 1); });
  EXPECT_EQ(reader.exit_status, 0) << reader.err;
}

TEST_F(UserHive, ImageIsMadeAtTheEndOnceForEachState) {
  const auto first = in_process([&] {
    set_user_value("x");
    const int size = write_image();
    _exit(size > 0 && write_image() == 0 ? 0 : 1);
  });
  EXPECT_EQ(first.exit_status, 0) << first.err;
  const auto reader = in_process([&] { _exit(user_value().code == 0 && write_image() == 0 ? 0 : 1); });
  EXPECT_EQ(reader.exit_status, 0) << reader.err;
  const auto writer = in_process([&] { _exit(set_user_value("y") == 0 && write_image() > 0 ? 0 : 1); });
  EXPECT_EQ(writer.exit_status, 0) << writer.err;
}

TEST_F(UserHive, ProcessThatNeverUsedItHasNothingToSave) {
  EXPECT_EQ(in_process([&] { _exit(write_image() == 0 ? 0 : 1); }).exit_status, 0);
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST_F(UserHive, ImageIsTakenWhenThereIsNoLiveHive) {
  ASSERT_EQ(in_process([&] { _exit(set_user_value("kept") == 0 && write_image() > 0 ? 0 : 1); }).exit_status, 0);
  std::filesystem::remove_all(folder / "core");
  const auto reader = in_process([&] { _exit(user_value() == Value{0, REG_BINARY, "kept"} ? 0 : 1); });
  EXPECT_EQ(reader.exit_status, 0) << reader.err;
  EXPECT_EQ(reader.err, "");
}

TEST_F(UserHive, ImageHasNoVolatileKeys) {
  ASSERT_EQ(in_process([&] {
              HKEY key = nullptr;
              create_key(HKEY_CURRENT_USER, u"Gone", &key, KEY_ALL_ACCESS, REG_OPTION_VOLATILE);
              _exit(set_user_value("kept") == 0 && write_image() > 0 ? 0 : 1);
            }).exit_status,
            0);
  std::filesystem::remove_all(folder / "core");
  const auto reader = in_process([&] {
    HKEY key = nullptr;
    _exit(user_value().code == 0 && open_key(HKEY_CURRENT_USER, u"Gone", &key) == 2 ? 0 : 1);
  });
  EXPECT_EQ(reader.exit_status, 0) << reader.err;
}

TEST_F(UserHive, DamagedImageIsSetAsideWithOneLineAndTheHiveStartsEmpty) {
  std::ofstream(file) << "KVIMAGE\nnot much of it";
  const auto child = in_process([&] { _exit(set_user_value("new") == 0 ? 0 : 1); });
  EXPECT_EQ(child.exit_status, 0);
  EXPECT_EQ(child.err, "kelvane registry: " + file + " is damaged; it is kept as " + file +
                           ".damaged.1, and HKEY_CURRENT_USER starts without it\n");
  EXPECT_FALSE(std::filesystem::exists(file));
  EXPECT_TRUE(std::filesystem::exists(file + ".damaged.1"));
}

TEST_F(UserHive, ImageFollowsTheSizeRulesAndDoesNotShrink) {
  const auto child = in_process([&] {
    set_user_value("x");
    DWORD needed = 0, again = 0;
    const DWORD first = entries().KvIRegGetHKCU(nullptr, &needed, nullptr);
    std::vector<BYTE> image(needed + 512);
    DWORD small = needed - 1, size = needed + 512;
    const DWORD too_small = entries().KvIRegGetHKCU(image.data(), &small, nullptr);
    const DWORD enough = entries().KvIRegGetHKCU(image.data(), &size, nullptr);
    entries().KvIRegGetHKCU(nullptr, &again, nullptr);
    const bool sizes = needed > 116 && small == needed && size == needed && again == needed;
    _exit(first == 0 && too_small == 234 && enough == 0 && sizes && image[0] == 'K' ? 0 : 1);
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
}

TEST_F(UserHive, IsPrivateToTheProcessWithoutACoreDataFolder) {
  const auto child = in_process([&] {
    unsetenv("KVCORE_PRIVATE_DATA");
    unsetenv("HOME");
    _exit(set_user_value("x") == 0 && user_value().data == "x" && write_image() == 0 ? 0 : 1);
  });
  EXPECT_EQ(child.exit_status, 0);
  EXPECT_EQ(child.err, "HOME is not set.\n");
}

TEST_F(UserHive, IsPrivateWithOneLineWhenTheFolderCannotBeMade) {
  std::ofstream(folder / "core") << "a file in its place";
  const auto child = in_process([&] { _exit(set_user_value("x") == 0 && write_image() == 0 ? 0 : 1); });
  EXPECT_EQ(child.exit_status, 0);
  EXPECT_EQ(child.err.rfind("kelvane registry: " + (folder / "core"), 0), 0u) << child.err;
  EXPECT_NE(child.err.find("HKEY_CURRENT_USER lasts only as long as this process"), std::string::npos);
}

}  // namespace
